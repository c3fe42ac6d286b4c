#include <strings/StringFixture.h>

#include <common/OverrideProvider.h>
#include <common/TestOwner.h>

#include <EVL/EVL.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_Expression.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SpareData.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

namespace
{

/// A path owner that rewrites expanded paths.
class RewritingOwner : public TestOwner
{
public:
    void adjustExpandedPath(KIT_String &path) override { path += "!"; }
};

} // namespace

TEST(Strings, ExpandedReadsReplaceVariablesAndBackticks)
{
    ::setenv("HOME", "/home/me", 1);
    const std::tuple<ZEL_Type, const char *, const char *, const char *> cases[] = {
        {ZEL_STRING, nullptr, "", ""},
        {ZEL_STRING, nullptr, "abc", "abc"},
        {ZEL_STRING, nullptr, "$SHOT/x`1+1`", "/show/x2"},
        {ZEL_STRING, nullptr, "\\$SHOT \\`", "$SHOT `"},
        {ZEL_STRING, nullptr, "~/x", "~/x"},
        {ZEL_FILE, nullptr, "~/$SHOT", "/home/me//show"},
        {ZEL_COMMAND, nullptr, "~", "/home/me"},
        {ZEL_FILE, nullptr, "~other a~", "~other a~"},
        {ZEL_STRING, "KSL", "\\$SHOT $SHOT ${SHOT} ~",
         "$SHOT /show /show ~"}, // code is expanded, too
        {ZEL_ALPHASTRING, nullptr, "$SHOT-1", "_show_1"},
    };
    for (const auto &[type, language, raw, expanded] : cases) {
        OneString p(type);
        ZEL_SpareData spare;
        if (language) {
            spare.addTokenValue(KIT_StringHolder("editorlang"), language);
        }
        p.description.entry.setSparePtr(&spare);
        p.build();
        p.setText(raw);
        EXPECT_EQ(p.read(), expanded) << raw;
        const bool alpha = type == ZEL_ALPHASTRING;
        EXPECT_EQ(p.raw(), alpha ? "_SHOT_1" : raw);
        EXPECT_EQ(p.channel(), nullptr);
    }
}

TEST(Strings, NumbersAreReadFromTheExpandedText)
{
    const std::tuple<const char *, double, std::int64_t, int> cases[] = {
        {"", 0.0, 0, 0},
        {"`3*4`.5x", 12.5, 12, 12},
        {"-7", -7.0, -7, -7},
        {"99999999999", 99999999999.0, 99999999999, 2147483647},
        {"x1", 0.0, 0, 0}};
    for (const auto &[text, number, wantedWide, wantedNarrow] : cases) {
        OneString p(text);
        std::int64_t wide = 5;
        int narrow = 5;
        p.instance->getValue(p.list.get(), 0.0, wide, 0, 1);
        p.instance->getValue(p.list.get(), 0.0, narrow, 0, 1);
        EXPECT_EQ(p.eval(), number) << text;
        EXPECT_EQ(wide, wantedWide) << text;
        EXPECT_EQ(narrow, wantedNarrow) << text;
    }
    BuiltString p;
    p.instance->setValue(0.0, 3, false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ(p.raw(), "3");
    p.set(3.5);
    EXPECT_EQ(p.raw(), "3.5");
    p.setInteger(std::int64_t(1) << 40);
    EXPECT_EQ(p.raw(), "1099511627776");
    p.instance->setValue(0.0, std::shared_ptr<const ZEL_DataItem>(), false, 0, ZEL_ADDKEY_PENDING,
                         ZEL_KEYSET_PREFERENCE);
    EXPECT_EQ(p.raw(), "");
}

TEST(Strings, AnIndexOutsideTheVectorLeavesTheTextAlone)
{
    OneString p("x");
    EXPECT_EQ(p.read(true, 0.0, 1), "untouched");
    EXPECT_EQ(p.read(false, 0.0, -1), "untouched");
    BuiltString none(ZEL_LABEL, 0);
    EXPECT_EQ(none.read(), "") << "no values at all";
}

TEST(Strings, AFailedExpansionIsReportedForTheComponent)
{
    OneString p("a`nofunction()`b");
    EVL::theErrNo[1] = EVL::EVL_CYCLE;
    EXPECT_EQ(p.read(), "ab");
    EXPECT_EQ(EVL::theErrNo[1], EVL::EVL_CYCLE) << "the number from before is put back";
    EVL::theErrNo[1] = EVL::EVL_OK;
    EXPECT_EQ(takeMessages(), "TRK " + std::to_string(EVL::EVL_UNKNOWN_FUNCTION));
    p.setText("nofunction()", 0, TRK_MEANING_NATIVE);
    EXPECT_EQ(takeMessages(), "") << "a set tests its expression in silence";
    EXPECT_NE(p.channel(), nullptr);
}

TEST(Strings, WhatATextReadsIsPartOfOneEvaluation)
{
    const auto times = [](int count, const std::string &text) {
        std::string out;
        for (int i = 0; i < count; ++i) {
            out += text;
        }
        return out;
    };
    const auto wide = [&times](int count, int component) {
        return times(count, "`chs('p" + std::to_string(component) + "')`");
    };
    const std::string kilobyte(1000, 'x');
    const std::tuple<std::vector<std::string>, int, std::size_t> cases[] = {
        {{wide(1, 1)}, EVL::EVL_CYCLE, 0},
        {{"a " + wide(4, 1) + " b"}, EVL::EVL_CYCLE, 0},
        {{"a" + wide(1, 2), "b" + wide(2, 1)}, EVL::EVL_CYCLE, 0},
        {{wide(2, 2), "=chs('p1')"}, EVL::EVL_CYCLE, 0},
        {{"=chs('p2')", wide(2, 1)}, EVL::EVL_CYCLE, 0},
        {{"`ch('p1') + 1`"}, EVL::EVL_CYCLE, 0},
        {{wide(2, 2), "a"}, EVL::EVL_OK, 2},
        // Steps.
        {{wide(16, 2), wide(16, 3), wide(16, 4), wide(16, 5), wide(16, 6), ""}, EVL::EVL_DEPTH, 0},
        {{wide(16, 2), wide(16, 3), "b"}, EVL::EVL_OK, 256},
        // Bytes of one text, and of all that are made on the way.
        {{wide(40, 2), wide(40, 3), kilobyte}, EVL::EVL_DEPTH, 0},
        {{wide(20, 2), wide(20, 3), kilobyte}, EVL::EVL_OK, 400000},
        {{times(100, "`strlen(chs('p2'))`"), wide(20, 3), wide(20, 4), kilobyte},
         EVL::EVL_DEPTH,
         0},
        {{times(10, "`strlen(chs('p2'))`"), wide(20, 3), wide(20, 4), kilobyte}, EVL::EVL_OK, 60},
        // What fails otherwise leaves a gap.
        {{"a" + wide(1, 2) + "b", "`1/0`"}, EVL::EVL_BAD_ARGUMENT, 2},
    };
    for (const auto &[texts, error, length] : cases) {
        BuiltString p(ZEL_STRING, 8);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const bool expression = texts[i][0] == '=';
            p.setText(texts[i].c_str() + (expression ? 1 : 0), int(i),
                      expression ? TRK_MEANING_NATIVE : TRK_MEANING_LITERAL);
        }
        takeMessages();
        SCOPED_TRACE(texts[0].substr(0, 40));
        EXPECT_EQ(p.read().size(), length);
        const std::string messages = takeMessages();
        const bool channel = texts[0][0] == '='; // its error is the thread's
        EXPECT_EQ(messages.substr(0, 5), error ? "TRK " + std::to_string(error) : "") << channel;
        // A number that depends on the text has the same error.
        EVL::theErrNo[1] = EVL::EVL_OK;
        EXPECT_EQ(TRK_Expression::evaluateTextNumber("strlen(chs('p1'))", 0.0, &p.channels, 1),
                  error ? 0.0 : double(length));
        EXPECT_EQ(EVL::theErrNo[1], error);
        EVL::theErrNo[1] = EVL::EVL_OK;
        takeMessages();
    }
}

TEST(Strings, AnExpressionThatNoChannelCanHoldIsTold)
{
    const std::string longest(255, 'n');
    for (const std::string &name :
         {longest, longest + "n", std::string("#c"), std::string("a b")}) {
        for (const ZEL_Type *type : {&ZEL_FLT, &ZEL_INT, &ZEL_STRING}) {
            BuiltParm one(*type, 1, name.c_str());
            const bool heldFlag = one.animate("$F + 1") != nullptr;
            EXPECT_EQ(heldFlag, name == longest);
            EXPECT_EQ(takeMessages(), heldFlag ? "" : "ZEL 25") << name;
        }
    }
}

TEST(Strings, TimeDependenceIsOneBitForAllComponents)
{
    BuiltString p(ZEL_STRING, 2);
    p.setText("$F", 1);
    p.list->clearTimeDependent();
    EXPECT_EQ(p.read(true, 1.0, 1), "25");
    EXPECT_TRUE(p.instance->isTimeDependent(1));
    EXPECT_TRUE(p.instance->isTimeDependent(0)) << "the other component's";
    EXPECT_TRUE(p.list->isTimeDependent());
    EXPECT_EQ(p.read(true, 1.0, 0), "");
    EXPECT_FALSE(p.instance->isTimeDependent(1)) << "an empty text clears it";
    p.read(false, 1.0, 1);
    EXPECT_FALSE(p.instance->isTimeDependent(1)) << "a raw read says nothing";

    BuiltString still(ZEL_STRING_E);
    still.animate("$F");
    takeMessages();
    EXPECT_EQ(still.read(true, 2.0), "1") << "a channel that isn't animatible is read at time 0";
    EXPECT_EQ(takeMessages(), "ZEL 18");
}

TEST(Strings, ChannelsAnswerWhateverExpandSays)
{
    BuiltString p;
    p.setText("\"a`1+1`\"+$F", 0, TRK_MEANING_NATIVE);
    ASSERT_NE(p.channel(), nullptr);
    EXPECT_EQ(p.raw(), "a`1+1`1");
    EXPECT_EQ(p.read(), "a`1+1`1");
    EXPECT_EQ(p.expression(), "\"a`1+1`\"+$F");

    // Set later than at time 0 an expression makes no key.
    p.setText("strcat(\"x\", 1)", 0, TRK_MEANING_NATIVE, 2.0);
    p.setText("strcat(\"y\", 1)", 0, TRK_MEANING_NATIVE, 3.0);
    EXPECT_EQ(p.channel()->getNSegments(), 1);
    EXPECT_EQ(p.raw(), "y1");
}

TEST(Strings, LiteralsReadBackAsExpressions)
{
    OneString p("");
    EXPECT_EQ(p.expression(), "\"\"");
    p.setText("a`$F`");
    EXPECT_EQ(p.expression(), "\"a\"+$F");
    KIT_String ui;
    p.instance->getExpressionStringForUI(0.0, ui, 0, 1);
    EXPECT_EQ(ui.toStdString(), "a1");
    OneString label("a`$F`", ZEL_LABEL);
    EXPECT_EQ(label.expression(), "a`$F`");
}

TEST(Strings, SettingALiteralKeysTheChannelInItsLanguage)
{
    BuiltString p;
    p.setText("\"x\"", 0, TRK_MEANING_NATIVE);
    p.setText("a`$F`", 0, TRK_MEANING_LITERAL, 1.0);
    EXPECT_EQ(p.channel()->getNSegments(), 2);
    EXPECT_EQ(p.expression(0, 1.0), "\"a\"+$F");
    EXPECT_EQ(p.read(true, 1.0), "a25");
    EXPECT_EQ(p.read(true, 0.5), "x");

    BuiltString same;
    same.setText("\"x\"", 0, TRK_MEANING_NATIVE);
    same.setText("x", 0, TRK_MEANING_LITERAL, 1.0);
    EXPECT_EQ(same.channel()->getNSegments(), 1) << "an equal text makes no key";
    same.setText("X", 0, TRK_MEANING_LITERAL, 1.0);
    EXPECT_EQ(same.channel()->getNSegments(), 2) << "case counts";

    BuiltString python;
    python.setText("'old'", 0, TRK_MEANING_PYTHON);
    python.setText("it's", 0, TRK_MEANING_LITERAL);
    EXPECT_EQ(python.expression(), "'it\\'s'");
    EXPECT_EQ(python.channel()->getExprLanguageAtTime(0.0), TRK_LANGUAGE_PYTHON);
    python.setText("word", 0, TRK_MEANING_LITERAL);
    EXPECT_EQ(python.expression(), "'word'") << "a bare word would be a name";
}

TEST(Strings, HardeningStoresTheExpressionFormAndLeavesNothingPending)
{
    const ManagerSettings settings;
    TRK_Manager::getContext().setCommitPreference(false);
    BuiltString p;
    p.setText("\"x\"", 0, TRK_MEANING_NATIVE);
    p.instance->hardenChanges(0.0, 0, true, nullptr, nullptr);
    p.setText("y", 0, TRK_MEANING_LITERAL, 1.0);
    EXPECT_EQ(p.channel()->getNSegments(), 1) << "pending";
    EXPECT_EQ(p.expression(0, 1.0), "\"y\"") << "the default slot";
    p.instance->hardenChanges(1.0, 0, false, nullptr, nullptr);
    EXPECT_EQ(p.channel()->getNSegments(), 2);
    p.instance->setChannel(0, nullptr);
    EXPECT_EQ(p.raw(), "\"y\"") << "what was stored";

    TRK_Manager::getContext().setCommitPreference(true);
    BuiltString driven;
    driven.setText("strcat(\"x\", 1)", 0, TRK_MEANING_NATIVE);
    driven.instance->hardenChanges(0.0, 0, true, nullptr, nullptr);
    EXPECT_EQ(driven.instance->getChanState(0.0, 0), ZEL_CHAN_KEY) << "by an expression";
    EXPECT_EQ(driven.expression(), "\"x1\"");
    TRK_Manager::getContext().setCommitPreference(false);
    driven.setText("z", 0, TRK_MEANING_LITERAL, 1.0);
    ASSERT_EQ(driven.instance->getChanState(1.0, 0), ZEL_CHAN_PENDING);
    driven.instance->setKey(1.0, 0);
    EXPECT_EQ(driven.instance->getChanState(1.0, 0), ZEL_CHAN_KEY);
    EXPECT_EQ(driven.read(true, 0.5) + driven.read(true, 1.0), "x1z") << "the pending text";
}

TEST(Strings, MenusReadTheTextOfAChannel)
{
    const std::tuple<bool, const char *, const char *> cases[] = {
        {true, "`ch(\"q\")`", "`chs(\"q\")`"},
        {true, "x`ch(\"q\")`", "x`ch(\"q\")`"}, // not a plain reference
        {true, "`chs(\"q\")`", "`chs(\"q\")`"},
        {false, "`ch(\"q\")`", "`ch(\"q\")`"},
        {true, "!!ch(q)", "`chs(q)"},
        {false, "!!ch(q)", "`chs(q)"},
        {false, " !!ch(\"../q\")!!", " `chs(\"../q\")`"},
        {false, "`!!ch(\"q\")!!`", "chs(\"q\")"},
        {false, "`!!ch(\"q\")`", "`!!ch(\"q\")`"},
        {false, "!!ch(\"q\")!!x", "!!ch(\"q\")!!x"},
        {false, "!!ch", "!!ch"}};
    for (const auto &[menu, text, stored] : cases) {
        BuiltString p;
        if (menu) {
            p.parm->getTemplatePtr()->setChoiceListPtr(&ZELtoggleMenu);
        }
        p.setText(text);
        EXPECT_EQ(p.raw(), stored);
    }
    BuiltString p;
    p.parm->getTemplatePtr()->setChoiceListPtr(&ZELtoggleMenu);
    p.setText("\"x\"", 0, TRK_MEANING_NATIVE);
    p.instance->setExpression(0.0, "ch(\"q\")", TRK_LANGUAGE_NATIVE, 0, false, false);
    EXPECT_EQ(p.expression(), "chs(\"q\")");
    p.instance->setExpression(0.0, "!!ch(q)", TRK_LANGUAGE_NATIVE, 0, false, false);
    EXPECT_EQ(p.expression(), "chs(q)");
    for (const char *old : {"!!ch(\"r\")!!", "`!!ch(\"r\")!!`"}) {
        p.instance->setExpression(0.0, "1", TRK_LANGUAGE_NATIVE, 0, false, false);
        p.instance->setExpression(0.0, old, TRK_LANGUAGE_NATIVE, 0, false, false);
        EXPECT_EQ(p.expression(), "chs(\"r\")") << old;
    }
    p.instance->setExpression(0.0, "ch(\"q\")", TRK_LANGUAGE_PYTHON, 0, false, false);
    EXPECT_EQ(p.expression(), "ch(\"q\")") << "Python is kept as it stands";
}

TEST(Strings, OverridesAnswerUnexpandedAndOwnersMayFail)
{
    OverrideProvider provider;
    provider.text = "provider$F";
    for (const ZEL_Type *type : {&ZEL_STRING, &ZEL_STRING_E}) {
        OneString timed("own", *type);
        timed.instance->setOverride(0, 3, "source", ZEL_OVERRIDE_OVERRIDDEN);
        EXPECT_EQ(timed.read(true, 2.0), "provider$F");
        EXPECT_EQ(provider.timeAsked, type == &ZEL_STRING ? 2.0 : 0.0);
    }
    TestOwner owner;
    owner.setPendingOverrideString("pending");
    owner.cookResult = KIT_ERROR_ABORT;
    OneString failing;
    failing.build(&owner);
    EXPECT_EQ(failing.read(), "(null)");
}

TEST(Strings, OwnersAdjustExpandedPathsAndTheStateOfEditing)
{
    for (const ZEL_Type *type : {&ZEL_FILE, &ZEL_STRING, &ZEL_COMMAND}) {
        RewritingOwner owner;
        OneString p(*type);
        p.build(&owner);
        p.setText("a");
        EXPECT_EQ(p.read(), type == &ZEL_FILE ? "a!" : "a");
        EXPECT_EQ(p.raw(), "a");

        owner.editState = 1;
        EXPECT_TRUE(p.instance->isEditable(p.list.get(), 0.0, 0));
        EXPECT_TRUE(p.instance->isEditableByUI(p.list.get(), 0.0, 0));
        p.instance->setValueState(true);
        EXPECT_FALSE(p.instance->isEditable(p.list.get(), 0.0, 0));
        EXPECT_EQ(p.instance->isEditableByUI(p.list.get(), 0.0, 0), type != &ZEL_FILE);
        owner.editState = 2;
        EXPECT_TRUE(p.instance->isEditable(p.list.get(), 0.0, 0));
    }
}

TEST(Strings, PathsBelowTheSceneAreShortenedIfAsked)
{
    ::setenv("SCN", "/show/shot/", 1);
    KIT_EnvControl::setInt(KIT_ENV_CONDENSE_PATHS, 1);
    OneString p("/show/shot/tex.pic");
    EXPECT_EQ(p.raw(), "$SCN/tex.pic");
    p.setText("/show/shots/tex.pic");
    EXPECT_EQ(p.raw(), "/show/shots/tex.pic");
    p.setText("/show/shot");
    EXPECT_EQ(p.raw(), "$SCN");
    KIT_EnvControl::setInt(KIT_ENV_CONDENSE_PATHS, 0);
    p.setText("/show/shot/tex.pic");
    EXPECT_EQ(p.raw(), "/show/shot/tex.pic");
    ::unsetenv("SCN");
}

TEST(Strings, DefaultsComeWithTheirMeaning)
{
    OneString p(ZEL_STRING, 3);
    p.description.defaults[0] = ZEL_Default(0.0, "plain");
    p.description.defaults[1] = ZEL_Default(0.0, "\"e\"+$F", TRK_MEANING_NATIVE);
    p.build();
    p.list->getParmPtr(0)->getInstance()->revertToDefaults(false);
    EXPECT_EQ(p.raw(0), "plain");
    EXPECT_EQ(p.raw(1), "e1");
    EXPECT_EQ(p.raw(2), "");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(p.channel(i) != nullptr, i == 1);
        const int factory = ZEL_DEFAULT_FACTORY_EXPRESSION | ZEL_DEFAULT_FACTORY_VALUE;
        EXPECT_TRUE(p.instance->isDefault(i, ZEL_DefaultType(factory), true)) << i;
    }
    p.setText("\"plain\"", 0, TRK_MEANING_NATIVE);
    EXPECT_FALSE(p.instance->isDefault(0, ZEL_DEFAULT_FACTORY_EXPRESSION, true))
        << "an expression where the default is a literal";
    p.setText("mine", 2);
    p.instance->overwriteDefault(0.0, 2);
    EXPECT_STREQ(p.parm->getTemplatePtr()->getDefault(2)->getString(), "mine");
    p.instance->restoreFactoryDefault(2);
    EXPECT_STREQ(p.parm->getTemplatePtr()->getDefault(2)->getString(), "");
}

TEST(Strings, MagicStringsHoldExpandedAndRawTexts)
{
    BuiltString p(ZEL_STRING, 2);
    KIT_TokenString tokens;
    p.setText("$SHOT", 1);
    EXPECT_TRUE(p.instance->getMagicString(tokens, p.list.get(), 2, 0.0, false, 1));
    KIT_TokenString expected;
    expected.append("/show");
    expected.append("$SHOT");
    expected.append('d');
    EXPECT_EQ(tokens, expected);
    EXPECT_FALSE(p.instance->getMagicString(tokens, p.list.get(), 0, 0.0, true, 1));
    p.setText("same", 1);
    tokens.clear();
    p.instance->getMagicString(tokens, p.list.get(), 2, 0.0, false, 1);
    expected.clear();
    expected.append("same");
    expected.append('d');
    EXPECT_EQ(tokens, expected) << "an equal raw text isn't repeated";
}

TEST(Strings, MemoryCountsTheText)
{
    OneString p("other");
    const std::int64_t before = p.instance->getMemoryUsage(true);
    p.setText("othermore");
    EXPECT_EQ(p.instance->getMemoryUsage(true), before + 4);
}
