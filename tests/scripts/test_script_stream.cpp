#include <scripts/ScriptText.h>

#include <gtest/gtest.h>

#include <DS/DS_HandleBinding.h>
#include <DS/DS_ParmInfo.h>
#include <DS/DS_ParmReader.h>
#include <DS/DS_SelectorBinding.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptQuote.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <cstring>
#include <memory>
#include <tuple>

namespace
{

/// A stream over a text, with what it prints taken from the standard error stream.
struct Script
{
    explicit Script(const std::string &script, const char *name = nullptr, bool reduced = false)
        : text(script), memory(text.data(), text.size(), KIT_IStream::TEXT),
          stream(memory, name, reduced)
    {}

    std::string text;
    KIT_IStream memory;
    DS_Stream stream;
};

std::string messagesOf(DS_Stream &stream)
{
    KIT_String out;
    stream.getErrorMessages(out, KIT_ERROR_MESSAGE);
    return out.toStdString();
}

/// "1<result> next token" or "0<result> next token".
std::string block(const char *text, char separator, bool protect)
{
    Script script(text);
    KIT_String result("before");
    const int done = script.stream.parseBlock(result, separator, protect);
    KIT_String next("end");
    script.stream.getToken(next);
    return std::to_string(done) + "<" + result.toStdString() + "> " + next.toStdString();
}

class Reader : public DS_ParmReader
{
public:
    using DS_ParmReader::DS_ParmReader;

    void subclassHook1() override {}
    void subclassHook2() override {}
    void prepareParms() override { myParms.append(new DS_ParmInfo("a")); }
    const char *getDialogName() override { return "name"; }
    const char *getDialogScript() override { return "script"; }
    const char *getDialogLabel() override { return "label"; }
    const char *getHelpText() override { return ""; }
    const char *getInfoText() override { return ""; }

    void addBindings()
    {
        myGroups.append(::strdup("group"));
        myUnboundSelectors.append(new DS_SelectorBinding);
        myReservedSelectors.append(new DS_SelectorBinding);
        myReservedHandles.append(new DS_HandleBinding);
        myBoundHandles.append(new DS_HandleBinding);
    }
    unsigned options() const { return myReaderOption1 * 16u + myReaderOption2; }
};

} // namespace

TEST(ScriptStream, TokensAreResolvedOnceAndAgainWhenPutBack)
{
    Script script("\"a\\\\\\\\b\\n\" c\\td");
    KIT_String token;
    ASSERT_EQ(script.stream.getToken(token), 1);
    EXPECT_STREQ(token, "a\\\\b\n");
    script.stream.ungetToken(token);
    ASSERT_EQ(script.stream.getToken(token), 1);
    EXPECT_STREQ(token, "a\\b\n");
    ASSERT_EQ(script.stream.getToken(token), 1);
    EXPECT_STREQ(token, "c\td");
    EXPECT_EQ(script.stream.getToken(token), 0);
    EXPECT_STREQ(token, "c\td");
}

TEST(ScriptStream, AnOpenBraceIsConsumedWhateverItIs)
{
    Script script("{ [ a {");
    KIT_String token;
    EXPECT_EQ(script.stream.getOpenBrace(), 1);
    EXPECT_EQ(script.stream.getOpenBrace(), 0);
    EXPECT_EQ(script.stream.getToken(token), 1);
    EXPECT_STREQ(token, "a");
    EXPECT_EQ(script.stream.getOpenBrace(), 1);
    EXPECT_EQ(script.stream.getOpenBrace(), 0);
    EXPECT_EQ(messagesOf(script.stream), "");
}

TEST(ScriptStream, Blocks)
{
    const std::tuple<const char *, bool, const char *> cases[] = {
        {"{ \"one\" \"two\" } x", false, "1<one,two,> x"},
        {"{ } x", false, "1<,> x"},
        {"{}", true, "1<,> end"},
        {"{ a { b { } } c } x", false, "1<a,{,b,{,},},c,> x"},
        {"{ k a}b x", false, "1<k,> x"}, // the whole token is consumed
        {"{ k a}{b x", false, "1<k,> x"},
        {"{ k \"a{b\" c } d } x", false, "1<k,a{b,c,},d,> x"}, // depth counts in every token
        {"{ a\"}b\"} c } x", false, "1<,> c"},
        {"{ a\"{b } x", false, "1<a\"{b,> x"},   // but not after a double quote
        {"{ \"a\\\\\\\"}\" b", false, "1<,> b"}, // unless a backslash is in front of it
        {"{ \"say \\\"x\\\"\" \"\" \"a\\nb\" } x", true, "1<\"say \\\"x\\\"\",\"\",\"a\\nb\",> x"},
        {"a } x", false, "0<> }"},
        {"", false, "0<> end"},
    };
    for (const auto &[text, protect, wanted] : cases) {
        EXPECT_EQ(block(text, ',', protect), wanted) << text;
    }

    testing::internal::CaptureStderr();
    EXPECT_EQ(block("{ a { } b", ',', false), "0<> end");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Dialog Script  Error: Expecting close brace for block\n");
    const std::string longWord(5000, 'x');
    EXPECT_EQ(block(("{ " + longWord + " " + longWord + " }").c_str(), '\n', false),
              "1<" + longWord + "\n" + longWord + "\n> end");
}

TEST(ScriptStream, MessagesHaveTheirPlaceInFront)
{
    Script named("a\nb", "f.ds");
    Script unnamed("a");
    KIT_String token;
    while (named.stream.getToken(token)) {
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(named.stream.getErrorSeverity(), KIT_ERROR_NONE);
    named.stream.message("m");
    EXPECT_EQ(named.stream.getErrorSeverity(), KIT_ERROR_MESSAGE);
    named.stream.warning("w");
    named.stream.error("100%s");
    EXPECT_EQ(named.stream.getErrorSeverity(), KIT_ERROR_ABORT);
    unnamed.stream.error("e");
    unnamed.stream.warning("w");
    unnamed.stream.message("m");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "f.ds(2): m\nf.ds Warning(2): w\nf.ds Error(2): 100%s\n"
              "Dialog Script  Error: e\nDialog Script  Warning: w\nDialog Script : m\n");

    KIT_String out;
    EXPECT_EQ(named.stream.getErrorMessages(out, KIT_ERROR_WARNING), 2);
    EXPECT_STREQ(out, "Warning (Common 14): Script: f.ds Warning(2): w\n"
                      "Error (Common 14): Script: f.ds Error(2): 100%s\n");

    unnamed.stream.stealErrors(named.stream);
    EXPECT_EQ(messagesOf(named.stream), "");
    EXPECT_EQ(unnamed.stream.getErrorMessages(out, KIT_ERROR_NONE), 6);

    KIT_ErrorManager::Scope scope(1);
    KITaddCommonError(14, "of the preprocessor");
    unnamed.stream.clearErrors();
    EXPECT_EQ(scope.getManager().entries(), 0);
    EXPECT_EQ(unnamed.stream.getErrorSeverity(), KIT_ERROR_NONE);
}

TEST(ScriptStream, OnlyTheFullOptionsIncludeFiles)
{
    const ScriptFolder folder;
    folder.write("in.ds", "\nin");
    const std::string root = folder.write("root.ds", "#include \"in.ds\"\nout");
    const auto first = [](DS_Stream &stream) {
        KIT_String token;
        stream.getToken(token);
        testing::internal::CaptureStderr();
        stream.message(token);
        return testing::internal::GetCapturedStderr();
    };
    DS_Stream file(root.c_str(), -1);
    EXPECT_EQ(first(file), folder.path("in.ds") + "(2): in\n");

    KIT_ErrorManager::Scope scope(1);
    Script full("#include \"in.ds\"\nout", root.c_str(), false);
    EXPECT_EQ(first(full.stream), folder.path("in.ds") + "(2): in\n");
    EXPECT_EQ(scope.getManager().entries(), 0);
    Script reduced("#include \"in.ds\"\nout", "r", true);
    EXPECT_EQ(first(reduced.stream), "r(2): out\n");
    EXPECT_EQ(scope.getManager().getError(0).text, "r(1): this text can't include files: 'in.ds'");
}

TEST(ScriptStream, WhatIsProtectedReadsBack)
{
    for (const char *text : {"plain", "a b", "say \"x\"", "back\\slash", "\\n", "two\nlines\r", "{",
                             "// no comment", "\\", "tab\there"}) {
        KIT_WorkBuffer written;
        ZELprotectString(written, text, true, false);
        Script script("\"" + std::string(written.buffer()) + "\" behind");
        KIT_String token;
        ASSERT_EQ(script.stream.getToken(token), 1);
        EXPECT_STREQ(token, text);
        ASSERT_EQ(script.stream.getToken(token), 1);
        EXPECT_STREQ(token, "behind");
    }
}

TEST(ParmReader, CopiesBorrowTheRecords)
{
    Reader reader(1, 2, 3);
    reader.setGroupSize(7);
    reader.addBindings();
    reader.prepareParms();
    EXPECT_STREQ(reader.getClassName(), "DS_ParmReader");
    EXPECT_EQ(reader.getNumInputLabels(), 0);
    EXPECT_STREQ(reader.getInputLabel(0), "");
    EXPECT_STREQ(reader.getRenderMask(), "");
    EXPECT_EQ(reader.getParmInfo(1), nullptr);

    Reader copy(reader);
    copy.prepareParms(); // a record of its own
    EXPECT_EQ(copy.getParmInfo(0), reader.getParmInfo(0));
    EXPECT_EQ(copy.getBoundHandles()[0], reader.getBoundHandles()[0]);
    EXPECT_EQ(copy.getUnboundSelectors()[0], reader.getUnboundSelectors()[0]);
    EXPECT_EQ(copy.getGroups().entries(), 0);
    EXPECT_EQ(copy.numParms(), 2);
    EXPECT_EQ(reader.numParms(), 1);

    Reader assigned;
    EXPECT_FALSE(assigned.isDoingGroups());
    EXPECT_EQ(assigned.options(), 1u);
    assigned.prepareParms(); // replaced by the assignment
    assigned = reader;
    assigned = *&assigned;
    EXPECT_TRUE(assigned.isDoingGroups());
    EXPECT_EQ(assigned.getGroupSize(), 7u);
    EXPECT_EQ(assigned.options(), 2u * 16u + 3u);
    EXPECT_EQ(assigned.getParmInfo(0), reader.getParmInfo(0));
}

TEST(ParmReader, OnlyASingleNumberIsLogarithmic)
{
    DS_ParmInfo info("size");
    EXPECT_STREQ(info.label, "size");
    info.setLogarithmic(true);
    EXPECT_TRUE(info.isLogarithmic());
    info.size = 3;
    EXPECT_FALSE(info.isLogarithmic());
    info.setLogarithmic(false); // does nothing
    info.size = 1;
    EXPECT_TRUE(info.isLogarithmic());
    info.type = ZEL_STRING;
    EXPECT_FALSE(info.isLogarithmic());
    EXPECT_FALSE(info.isInvisible());
    info.setInvisible();
    EXPECT_TRUE(info.isInvisible());
    EXPECT_EQ(info.getFlag(DS_ParmInfo::theLogarithmicFlag | DS_ParmInfo::theEmbedFlag),
              DS_ParmInfo::theLogarithmicFlag);
}

TEST(ScriptStream, MessagesHaveDetailsWhereTheyAreWanted)
{
    for (const bool wantedFlag : {false, true}) {
        Script script("{\n  name x wibble }", "s");
        script.stream.setDetails(wantedFlag);
        KIT_ErrorManager::Scope scope(1);
        static std::shared_ptr<const KIT_MessageDetail> theSeen;
        theSeen.reset();
        script.stream.setOwnSink(
            [](void *data, KIT_ErrorSeverity, const char *, int, const char *) {
                theSeen = static_cast<DS_Stream *>(data)->makeDetail();
            },
            &script.stream);
        KIT_String token;
        while (script.stream.getToken(token) && token != "wibble") {
        }
        script.stream.error("no such word");
        EXPECT_EQ(messagesOf(script.stream),
                  "Error (Common 14): Script: s Error(2): no such word\n");
        EXPECT_EQ(theSeen != nullptr, wantedFlag);
        if (theSeen) {
            EXPECT_EQ(theSeen->place.file, "s");
            EXPECT_EQ(theSeen->place.line, 2);
            EXPECT_EQ(theSeen->place.column, 10);
            EXPECT_EQ(theSeen->place.endColumn, 16);
            EXPECT_EQ(theSeen->found, "wibble");
        }
        theSeen.reset();
    }
}

/// A sink of all streams is told which one reports, and whether they keep places is a setting of the process.
TEST(ScriptStream, TheSinkOfAllStreamsCanAskForTheDetail)
{
    static std::shared_ptr<const KIT_MessageDetail> theSeen;
    DS_Stream::setMessageSink(
        [](void *, KIT_ErrorSeverity, const char *, int, const char *) {
            theSeen = DS_Stream::getReporting()->makeDetail();
        },
        nullptr);
    for (const bool wantedFlag : {true, false}) {
        DS_Stream::setAllDetails(wantedFlag);
        Script script("{\n  name x }", "s");
        KIT_String token;
        script.stream.getToken(token);
        script.stream.error("no such word");
        EXPECT_EQ(theSeen != nullptr && theSeen->place.line == 1, wantedFlag);
        EXPECT_EQ(DS_Stream::getReporting(), nullptr);
    }
    DS_Stream::setMessageSink(nullptr, nullptr);
    theSeen.reset();
}
