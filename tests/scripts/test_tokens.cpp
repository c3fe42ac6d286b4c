#include <scripts/ScriptText.h>

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <utility>

namespace
{

struct Case
{
    const char *text, *tokens, *messages = nullptr;
};

void expectCases(std::initializer_list<Case> cases, const char *const *options = nullptr)
{
    for (const auto &[text, tokens, messages] : cases) {
        const ReadText read(text, options);
        EXPECT_EQ(read.tokens, tokens) << text;
        EXPECT_EQ(read.messages, messages ? messages : "") << text;
    }
}

std::string repeated(const std::string &text, int count)
{
    std::string all;
    for (int i = 0; i < count; i++) {
        all += text;
    }
    return all;
}

} // namespace

TEST(Tokens, WordsBracketsAndQuotes)
{
    expectCases({
        {"parm { name \"a b\" }", "parm { name <a b> }"},
        {"range\t{ 0! 10 }", "range { 0! 10 }"},
        {"range{ 0! 10}", "range { 0! 10 }"},
        {"{help{ \"x\"}}", "{ help { x } }"},
        {"[ text meaning ]", "[ text meaning ]"},
        {"{{}}[[]]", "{ { } } [ [ ] ]"},
        {"a}b a{b x[0] x[0]] ${F}/y z]}", "a}b a{b x[0] x[0] ] ${F}/y z ] }"},
        {"a\"}{ don't", "a\"}{ don't"}, // a quote inside a word is an ordinary byte
        {"\"\" \"a\"\"b\"c", "<> a b c"},
        {"\"a\\\"b\\\\\" c", "a\\\"b\\\\ c"}, // the second quote closes
        {"\"a\nb\"", "<a\nb>"},
        {"\"a\\\nb\\\r\nc\\n\"", "abc\\n"},
        {"ab\\\ncd \\\n ef", "ab cd ef"},
        {"\xEF\xBB\xBFname", "name"},
        {"", ""},
    });
}

TEST(Tokens, CommentsBeginWhereATokenCould)
{
    expectCases({
        {"a // b } \"\n c", "a c"},
        {"a /* b\n // c */d", "a d"},
        {"}// End of Group: x\n}", "} }"},
        {"\"a\"/* b */\"// c\"", "a <// c>"},
        {"/obj/* a//b /x", "/obj/* a//b /x"},
        {"/**/a/***/", "a/***/"},
        {"a /*/ b */ c", "a c"},
    });
}

TEST(Tokens, WhatIsNeverClosedIsToldWithItsFirstLine)
{
    expectCases({
        {"a\n\"b\nc", "a <b\nc>", "s(2): a quote is never closed"},
        {"\"b\\", "b\\", "s(1): a quote is never closed"},
        {"a\n\n/* b\n c", "a", "s(3): a comment is never closed"},
        {"a\n#if 1\n#if 0\n b", "a", "s(3): #if without #endif; s(2): #if without #endif"},
        {"#endif\n#else\n#elif 1\nx", "x",
         "s(1): #endif without #if; s(2): #else without #if; s(3): #elif without #if"},
    });
}

TEST(Tokens, NulBytesAreBlanks)
{
    const std::string text("a\n\0b \"c\0d\" \"\\\0e\"", 17);
    const ReadText read(text);
    EXPECT_EQ(read.tokens, "a b <c d> <\\ e>");
    EXPECT_EQ(read.messages, "s(2): NUL bytes are read as blanks");
}

TEST(Tokens, PositionsAreThoseOfTheTokenReadLast)
{
    EXPECT_EQ(ReadText("a\n/* \n */ b \"c\n\nd\" e\r\n\\\nf\n#define M g\\\nh\nM i", nullptr, true)
                  .tokens,
              "a@1 b@3 <c\n\nd>@3 e@5 f@7 g@10 h@10 i@10");

    KIT_IStream memory("a\nb", 3, KIT_IStream::TEXT);
    TOK_TokenStream named(memory, "s");
    KIT_String token;
    EXPECT_EQ(named.getManager()->getLineNumber(), 0);
    while (named.getToken(token)) {
    }
    EXPECT_EQ(named.getManager()->getLineNumber(), 2); // the end moves nothing
    EXPECT_STREQ(token, "b");
    EXPECT_STREQ(named.getManager()->getFileName(), "s");

    KIT_IStream other("a", 1, KIT_IStream::TEXT, false, "own");
    EXPECT_STREQ(TOK_TokenStream(other, nullptr).getManager()->getFileName(), "own");
    KIT_IStream unnamed("\"", 1, KIT_IStream::TEXT);
    KIT_ErrorManager::Scope scope(1);
    TOK_TokenStream withoutName(unnamed, "");
    EXPECT_EQ(withoutName.getManager(), nullptr);
    EXPECT_TRUE(withoutName.getToken(token));
    EXPECT_EQ(scope.getManager().getError(0).text, "line 1: a quote is never closed");
}

/// Each token as its bytes in its file, with the line, and the lines of the includes around it.
static std::string placesOf(TOK_TokenStream &stream)
{
    std::string all;
    KIT_String token;
    while (stream.getToken(token)) {
        TOK_Place place;
        EXPECT_TRUE(stream.getPlace(place));
        all += (all.empty() ? "" : " ") +
               std::string(place.text.substr(place.begin, place.end - place.begin)) + "@" +
               std::to_string(place.line) + (place.firstFlag ? "!" : "") +
               (place.openFlag ? "?" : "") + (place.macroFlag ? "m" : "");
        TOK_Place from;
        for (int level = 0; stream.getIncluder(level, from); level++) {
            all += "<" + std::to_string(from.line);
        }
    }
    return all;
}

TEST(Tokens, PlacesAreBytesOfTheFileThatHasTheToken)
{
    const ScriptFolder folder;
    const std::string root = folder.write(
        "root.ds", "a \"b c\" {\n#define M x } y\n#include \"one.ds\"\n  M ]]\n\"d\\\"e\"");
    folder.write("one.ds", "\n#include \"two.ds\"\nf");
    folder.write("two.ds", "g");
    TOK_TokenStream stream(root.c_str(), -1);
    stream.setKeepsTexts(true);
    TOK_Place place;
    EXPECT_FALSE(stream.getPlace(place)); // nothing was read
    EXPECT_EQ(placesOf(stream), "a@1! \"b c\"@1 {@1 g@1!<2<3 f@3!<3 M@4!m M@4!m M@4!m ]@4 ]@4 "
                                "\"d\\\"e\"@5!");
    EXPECT_TRUE(stream.getPlace(place)); // the end changes nothing
    EXPECT_EQ(place.line, 5);

    // Without the texts the last token of an included file has no place after its end.
    const std::string last = folder.write("last.ds", "#include \"two.ds\"\n");
    TOK_TokenStream other(last.c_str(), -1);
    KIT_String token;
    EXPECT_TRUE(other.getToken(token));
    EXPECT_TRUE(other.getPlace(place));
    EXPECT_FALSE(other.getToken(token));
    EXPECT_FALSE(other.getPlace(place));
}

TEST(Tokens, OpenTextsEndWhereTheySeemTo)
{
    const std::pair<const char *, const char *> cases[] = {
        {"name \"x\nlabel \"y\"\nsize 1", "name@1! \"x@1? label@2! \"y\"@2 size@3! 1@3"},
        {"{ \"a \"A\" }\nb", "{@1! \"a@1? \"A\"@1 }@1 b@2!"},
        {"when \"{ a == 1 }\nmenu { \"a\" }", "when@1! \"{ a == 1 }@1? menu@2! {@2 \"a\"@2 }@2"},
        {"tag { \"a\" \"b }\nc", "tag@1! {@1 \"a\"@1 \"b@1? }@1 c@2!"},
        // these are closed
        {"help \"one\n  two\"\nb", "help@1! \"one\n  two\"@1 b@3!"},
        {"a \"b\"c \"d\"", "a@1! \"b\"@1 c@1 \"d\"@1"},
        {"{\"a\"}", "{@1! \"a\"@1 }@1"},
    };
    for (const auto &[text, expected] : cases) {
        const KIT_ErrorManager::Scope quiet(1);
        KIT_IStream memory(text, std::strlen(text), KIT_IStream::TEXT);
        TOK_TokenStream stream(memory, "s");
        stream.setPreserveBackslashes(true);
        stream.setEndsOpenTexts(true);
        EXPECT_EQ(placesOf(stream), expected) << text;
    }
}

TEST(Tokens, TokensPutBackComeFirstTheLastOneFirst)
{
    KIT_IStream memory("a \"b\\n\"", 7, KIT_IStream::TEXT);
    TOK_TokenStream stream(memory, "s");
    KIT_String token;
    ASSERT_TRUE(stream.getToken(token));
    stream.ungetToken("one");
    stream.ungetToken("two words");
    EXPECT_EQ(tokensOf(stream), "<two words> one <b\n>"); // backslashes resolved here
    stream.ungetToken(token);
    EXPECT_EQ(tokensOf(stream), "a"); // at the end too
}

TEST(Tokens, ConditionsSelectText)
{
    const std::pair<const char *, bool> values[] = {
        {"1", true},
        {"0", false},
        {"-1", true},
        {"unknown", false},
        {"defined(A) && defined B && !defined(C)", true},
        {"A == 3 && B==A", true},
        {"1 + 2 * 3 == 7 && (1 + 2) * 3 == 9", true},
        {"7 % 4 - 3", false},
        {"10 - 4 - 3 == 3 && 24 / 4 / 3 == 2", true},
        {"1 < 2 && 2 <= 2 && 3 > 2 && 2 >= 2 && 1 != 2", true},
        {"0 && 1 || 1", true},
        {"0x10 == 16", true},
        {"9223372036854775807 + 1 < 0", true},
        {"(-9223372036854775807 - 1) / -1 < 0", true},
        {"(-9223372036854775807 - 1) % -1", false},
    };
    for (const auto &[expression, wanted] : values) {
        const std::string text = std::string("#define A 3\n#define B (A)\n#if ") + expression +
                                 " // why\nyes\n#else\nno\n#endif\n";
        const ReadText read(text);
        EXPECT_EQ(read.tokens, wanted ? "yes" : "no") << expression;
        EXPECT_EQ(read.messages, "") << expression;
    }

    expectCases({
        {"#if 0\na\n#elif 1\nb\n#elif 1\nc\n#else\nd\n#endif\ne", "b e"},
        {"#if 1\n#if 0\na\n#else\nb\n#endif\n#else\n#if 1\nc\n#else\nd\n#endif\n#endif", "b"},
        {"#ifdef A\na\n#endif\n#define A\n#ifdef A\nb\n#endif\n#ifndef A\nc\n#endif", "b"},
        {"#if 0\n#define A x\n#include \"none\"\n#if 1/0\n#endif\n#endif\nA", "A"},
        {"#if 0\n#ifndef A\na\n#else\nb\n#endif\n#else\nc\n#endif", "c"},
        {"#if 0\n\"\n#endif\n\" /* \n#endif\n */ a\n#endif\nb", "b"},
        {"  /* x */ # if 0\na\n# endif\nb #if 0\n", "b #if 0"},
    });
}

TEST(Tokens, BadConditionsAreFalseAndTold)
{
    expectCases({
        {"#if\na\n#endif\nb", "b", "s(1): #if: the expression lacks a value"},
        {"#if 1 +\na\n#endif\nb", "b", "s(1): #if: the expression lacks a value"},
        {"#if (1\na\n#endif\nb", "b", "s(1): #if: the expression lacks a closing parenthesis"},
        {"#if 1 1\na\n#endif\nb", "b", "s(1): #if: the expression has something behind its end"},
        {"#if 1/0\na\n#endif\nb", "b", "s(1): #if: the expression divides by zero"},
        {"#if 1%0\na\n#endif\nb", "b", "s(1): #if: the expression divides by zero"},
        {"#if defined()\na\n#endif\nb", "b", "s(1): #if: 'defined' lacks a name"},
        {"#if 9223372036854775808\n#endif", "",
         "s(1): #if: a number in the expression is too large"},
        {"#define A x y\n#if A\n#endif", "", "s(2): #if: a macro in the expression is no number"},
        {"#define A A+1\n#if A\na\n#endif\nb", "b",
         "s(2): #if: the expression is nested deeper than the limit allows"},
        {"#ifdef\na\n#endif\nb", "b", "s(1): #if lacks a name"},
        {"#if 0\n#else\na\n#else\nb\n#elif 1\nc\n#endif\nd", "a d",
         "s(4): a second #else; s(6): #elif behind #else"},
    });
    const std::string deep =
        "#if " + repeated("(", 100000) + "1" + repeated(")", 100000) + "\n#endif\na";
    EXPECT_EQ(ReadText(deep).tokens, "a");
    const std::string wide = "#if 0" + repeated("+1", 20000) + "\na\n#endif\nb";
    EXPECT_EQ(ReadText(wide).messages,
              "s(1): #if: the expression has more names and numbers than the limit allows");
}

TEST(Tokens, MacrosStandForTheirText)
{
    expectCases({
        {"#define A x \"A b\" }\nA { A}", "x <A b> } { x <A b> } }"},
        {"#define A // nothing\na A b", "a b"},
        {"#define A B 1\n#define B A 2\nA B", "A 2 1 B 1 2"}, // none in its own text
        {"#define A x\n\"A\" AA A.A #A\n#undef A\nA", "A AA A.A #A A"},
        {"#define A x\\\n y /* z\n */ w\nA", "x y w"},
        {"#define A #define B 1\nA", "#define B 1"}, // no directive comes out of one
        {"#define A x\n#define A x\n#define A y\nA", "y",
         "s(3): defined with another text before: 'A'"},
        {"#define\n#define 1 x\n#undef\na", "a",
         "s(1): #define lacks a name; s(2): #define lacks a name; s(3): #undef lacks a name"},
        {"#define F(x) x\nF(1)", "F(1)", "s(1): macros have no arguments: 'F'"},
        {"#define A-b x\nA", "A", "s(1): the name of a macro goes on after 'A'"},
        {"#define A \"x\nA", "x", "s(2): a quote is never closed"},
    });
}

TEST(Tokens, OptionsSetMacrosAndAskForWarnings)
{
    static const char *const options[] = {"",    "-P",  "-DA", "-DB=x y", "-DC=1",
                                          "-UC", "-zz", "-D",  nullptr};
    expectCases(
        {
            {"A B C", "1 x y C"},
            {"#inlcude \"x\"\n#1 # 2", "#inlcude x #1 # 2",
             "s(1): no directive: '#inlcude'; s(2): no directive: '#1'"},
            {"#include \"x\"", "", "s(1): this text can't include files: 'x'"},
        },
        options);
    expectCases({{"#inlcude \"x\"\n#if_x", "#inlcude x #if_x"}});
}

TEST(Tokens, FilesAreIncluded)
{
    const ScriptFolder folder;
    const std::string root =
        folder.write("root.ds", "a\n#include \"sub/one.ds\" // first\nM\n#include <two.ds>\nb");
    folder.write("sub/one.ds", "#define M m\none\n#include \"beside.ds\"\none");
    folder.write("sub/beside.ds", "\nbeside");
    folder.write("path/two.ds", "two");
    folder.write("two.ds", "wrong"); // <> does not look beside the file

    KIT_ErrorManager::Scope scope(1);
    TOK_TokenStream stream(root.c_str(), -1);
    stream.setIncludePath((":" + folder.path("none") + ":" + folder.path("path")).c_str());
    EXPECT_TRUE(stream.isReadable());
    EXPECT_EQ(tokensOf(stream, true), "a@1 one@one.ds:2 beside@beside.ds:2 one@one.ds:4 m@3 "
                                      "two@two.ds:1 b@5");
    EXPECT_EQ(scope.getManager().entries(), 0);

    const std::string folderOption = "-I" + folder.path("path");
    const char *const options[] = {folderOption.c_str(), nullptr};
    EXPECT_EQ(ReadText("#include <two.ds>\n#include \"two.ds\"", options).tokens, "two two");
}

TEST(Tokens, ConfinedIncludesLeadOutOfNoFolder)
{
    const ScriptFolder folder;
    folder.write("out/secret.ds", "secret");
    folder.write("in/out.ds", "wrong");
    folder.write("in/sub/one.ds", "one\n#include \"../two.ds\"");
    folder.write("in/two.ds", "two");
    folder.write("path/three.ds", "three");
    folder.write("path-2/four.ds", "four");
    std::filesystem::create_symlink(folder.path("out"), folder.path("in/linked"));
    std::filesystem::create_symlink(folder.path("out/secret.ds"), folder.path("path/secret.ds"));
    std::filesystem::create_symlink(folder.path("in"), folder.path("same"));

    const std::pair<std::string, const char *> cases[] = {
        {"\"sub/one.ds\"", "one two"},
        {"<three.ds>", "three"},
        {"\"" + folder.path("same/two.ds") + "\"", "two"},
        {"\"" + folder.path("path/three.ds") + "\"", "three"},
        {"\"../out/secret.ds\"", nullptr},
        {"\"linked/secret.ds\"", nullptr},
        {"<secret.ds>", nullptr},
        {"<../path-2/four.ds>", nullptr},
        {"\"" + folder.path("out/secret.ds") + "\"", nullptr},
    };
    // By one stream's own setting, or by the process's.
    for (const bool processFlag : {false, true}) {
        for (const auto &[name, tokens] : cases) {
            const std::string root = folder.write("in/root.ds", "\n#include " + name);
            KIT_ErrorManager::Scope scope(1);
            TOK_TokenStream::setAllIncludesConfined(processFlag);
            TOK_TokenStream stream(folder.path("same/root.ds").c_str(), -1);
            TOK_TokenStream::setAllIncludesConfined(false);
            stream.setIncludePath(folder.path("path").c_str());
            if (!processFlag) {
                stream.setIncludesConfined(true);
            }
            EXPECT_EQ(tokensOf(stream), tokens ? tokens : "") << name;
            ASSERT_EQ(scope.getManager().entries(), tokens ? 0 : 1) << name;
            const std::string text = tokens ? "" : scope.getManager().getError(0).text;
            EXPECT_EQ(text.find("root.ds(2): the file to include lies outside"),
                      tokens ? std::string::npos : folder.path("same/").size())
                << text;
            TOK_TokenStream free(root.c_str(), -1);
            free.setIncludePath(folder.path("path").c_str());
            EXPECT_NE(tokensOf(free), "") << name;
        }
    }
}

TEST(Tokens, IncludesThatFailAreToldAndSkipped)
{
    const ScriptFolder folder;
    const std::string a = folder.write("a.ds", "a\n#include \"b.ds\"\nA");
    const std::string b = folder.write("b.ds", "b\n\n#include \"./a.ds\"\n#if 1\nB");
    folder.write(
        "c.ds",
        "#include \"nowhere.ds\"\n#include nothing\n#include \"\"\n#include \".\"\nc\n#endif");

    const auto messages = [&](const char *name, int mode, const char *tokens) {
        KIT_ErrorManager::Scope scope(1);
        TOK_TokenStream stream(folder.path(name).c_str(), mode);
        EXPECT_EQ(tokensOf(stream), tokens) << name;
        std::string all;
        for (int64_t i = 0; i < scope.getManager().entries(); i++) {
            std::string text = scope.getManager().getError(i).text;
            for (size_t at; (at = text.find(folder.path(""))) != std::string::npos;) {
                text.erase(at, folder.path("").size());
            }
            all += text + "\n";
        }
        return all;
    };
    EXPECT_EQ(messages("a.ds", -1, "a b B A"),
              "b.ds(3): a file includes itself: './a.ds'\nb.ds(4): #if without #endif\n");
    EXPECT_EQ(messages("a.ds", 0, "a A"),
              "a.ds(2): #include nests deeper than the limit of 0 files: 'b.ds'\n");
    EXPECT_EQ(messages("c.ds", -1, "c"), "c.ds(1): can't find the file to include: 'nowhere.ds'\n"
                                         "c.ds(2): #include lacks a file name in \"\" or <>\n"
                                         "c.ds(3): #include lacks a file name in \"\" or <>\n"
                                         "c.ds(4): can't find the file to include: '.'\n"
                                         "c.ds(6): #endif without #if\n");
    EXPECT_EQ(messages("none.ds", -1, ""), "none.ds: can't read the file\n");
    EXPECT_FALSE(TOK_TokenStream(nullptr, -1).isReadable());
}

TEST(Tokens, LimitsEndTheTextWithAMessageThatNamesThem)
{
    std::string chain;
    for (int i = 0; i < 70; i++) {
        chain += "#define A" + std::to_string(i) + " A" + std::to_string(i + 1) + "\n";
    }
    const ReadText deep(chain + "x A0 y");
    EXPECT_EQ(deep.tokens, "x");
    EXPECT_EQ(deep.messages, "s(71): macros nest deeper than the limit of 64");

    std::string doubling;
    for (int i = 0; i < 40; i++) {
        const std::string next = " A" + std::to_string(i + 1);
        doubling += "#define A" + std::to_string(i) + next + next + "\n";
    }
    const ReadText large(doubling + "#define A40\nx A0 y");
    EXPECT_EQ(large.tokens, "x");
    EXPECT_EQ(large.messages, "s(42): macros give more text than the limit of 16777216 bytes");

    const ReadText groups(repeated("#if 1\n", 300) + "x");
    EXPECT_EQ(groups.tokens, "");
    EXPECT_EQ(groups.messages, "s(257): #if nests deeper than the limit of 256");

    const ScriptFolder folder;
    folder.write("one.ds", "");
    const std::string root =
        folder.write("root.ds", repeated("#include \"one.ds\"\n", 10001) + "x");
    // The first reading of a file costs its author its bytes, the next ones none.
    folder.write("large.ds", std::string(1 << 20, ' '));
    const std::string again = folder.write("again.ds", repeated("#include \"large.ds\"\n", 5) +
                                                           "x\n#include \"large.ds\"\ny");
    const auto read = [](const std::string &file, const char *tokens) {
        const KIT_ErrorManager::Scope scope(1);
        TOK_TokenStream stream(file.c_str(), -1);
        EXPECT_EQ(tokensOf(stream), tokens);
        const KIT_ErrorManager &told = KITgetErrorManager();
        return told.entries() == 1 ? std::string(told.getError(0).text.c_str()) : "";
    };
    EXPECT_EQ(read(root, ""), root + "(10001): more files are included than the limit of 10000");
    EXPECT_EQ(read(again, "x"), again + "(7): files that are included again are larger than the "
                                        "limit of 4194304 bytes");
}
