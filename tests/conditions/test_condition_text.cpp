// The text of conditions: what is read, what is refused, what is written, and instance numbers.

#include <conditions/ConditionContents.h>

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptQuote.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <utility>

namespace
{

std::string written(const ZEL_Conditional &conditional)
{
    KIT_String text("left over", true);
    conditional.getStringFromList(text);
    return text.nonNullStr();
}

/// The groups, or "!" and the message. A check without storing must give the same.
std::string read(const char *text)
{
    ZEL_Conditional conditional("{ old == 1 }", ZEL_CONDTYPE_DISABLE);
    KIT_StringHolder message;
    const bool goodFlag = conditional.setListFromString(text, message);
    KIT_StringHolder checked;
    EXPECT_EQ(ZEL_Conditional::verifyConditionalString(text, checked), goodFlag) << text;
    EXPECT_EQ(checked, message) << text;
    EXPECT_EQ(goodFlag, message.isNull()) << text;
    if (goodFlag) {
        return contents(conditional);
    }
    EXPECT_EQ(conditional.entries(), 0) << text;
    return std::string("!") + message.nonNullStr();
}

std::string protectedText(const char *text, bool quoteEmpty, bool smartQuotes)
{
    KIT_WorkBuffer out("<");
    ZELprotectString(out, text, quoteEmpty, smartQuotes);
    return out.buffer();
}

constexpr char theNoBrace[] = "!Conditional doesn't start with an opening curly brace.";
constexpr char theEmptyGroup[] = "!Expected a parameter or an expression.";
constexpr char theEnd[] = "!Unexpected end of conditional";
constexpr char theNoName[] = "!No parameter name or expression given.";
constexpr char theNoSpace[] =
    "!Parameter and value must be separated by a space if there's no operator given.";
constexpr char theNoClose[] = "!Missing closing '}'";

} // namespace

TEST(ConditionText, ReadsGroupsOfComparisons)
{
    const std::pair<const char *, const char *> theCases[] = {
        {nullptr, ""},
        {"", ""},
        {"{ a == 1 b != 2 } { c > 3 }", "{[a][==][1] [b][!=][2]}{[c][>][3]}"},
        {"{a 1}{b 2}", "{[a][==][1]}{[b][==][2]}"},
        {" \t\n\v\f\r{\n a\t1\v} \r ", "{[a][==][1]}"},
        {"{ a >= 1 b <= 2 c < 3 d =~ x.* e !~ y }",
         "{[a][>=][1] [b][<=][2] [c][<][3] [d][=~][x.*] [e][!~][y]}"},
        {"{ a >=1 b ==2 }", "{[a][>=][1] [b][==][2]}"},
        {"{ a==1 }", "{[a==1][==][]}"},
        {"{ a = 1 }", "{[a][==][=] [1][==][]}"},
        // A missing right word is the empty one; a word directly before the brace is dropped.
        {"{ a }", "{[a][==][]}"},
        {"{ a == }", "{[a][==][]}"},
        {"{ a}", "{}"},
        {"{ \"a\"} { a == 1 b}", "{}{[a][==][1]}"},
        // Words: quotes of both kinds, quotes inside, escapes, braces.
        {"{ a\"b\" }", "{[a\"b\"][==][]}"},
        {"{ a == \"x y\" b == `p \"q\"` }", "{[a][==][x y] [b][==][p \"q\"]}"},
        {"{ \"a\">=\"1\"b 2 }", "{[a][>=][1] [b][==][2]}"},
        {"{ a == \"\" }", "{[a][==][]}"},
        {"{ a == \"{x}\" }", "{[a][==][{x}]}"},
        {"{ a == x{y }", "{[a][==][x{y]}"},
        {"{ a == \"q\\\"r\" b == t\\tu c == \\\\ }", "{[a][==][q\"r] [b][==][t\tu] [c][==][\\]}"},
        {"{ strlen(\"a\")==1 }", "{[strlen(\"a\")==1][==][]}"},
    };
    for (const auto &[text, groups] : theCases) {
        EXPECT_EQ(read(text), groups) << (text ? text : "null");
    }
}

TEST(ConditionText, RefusesWithAMessage)
{
    const std::pair<const char *, const char *> theCases[] = {
        {" ", theNoBrace},
        {"a == 1", theNoBrace},
        {"}", theNoBrace},
        {"{ a == 1 } junk", theNoBrace},
        {"{ a == 1 } }", theNoBrace},
        {"{}", theEmptyGroup},
        {"{ a == 1 } { \t}", theEmptyGroup},
        {"{", theEnd},
        {"{ ", theEnd},
        {"{ a", theEnd},
        {"{ a ", theEnd},
        {"{ a ==", theEnd},
        {"{ a == 1 b", theEnd},
        {"{ \"a", theEnd},
        {"{ \"a\"", theEnd},
        {"{ \"a\\\" }", theEnd},
        {"{ \"\" == 1 }", theNoName},
        {"{ a == 1 `` 2 }", theNoName},
        {"{ \"a\"1 }", theNoSpace},
        {"{ \"a\"=1 }", theNoSpace},
        {"{ a == ", theNoClose},
        {"{ a == 1", theNoClose},
        {"{ a == 1 ", theNoClose},
        {"{ a == \"1 }", theNoClose},
    };
    for (const auto &[text, message] : theCases) {
        EXPECT_EQ(read(text), message) << text;
    }
    EXPECT_EQ(contents(ZEL_Conditional("{ a == 1 } {", ZEL_CONDTYPE_HIDE)), "");
}

TEST(ConditionText, WritesWhatTheFilterLeaves)
{
    const ZEL_Conditional conditional("{a 1 b \"x y\"} { \"strlen(a, b)\" > 3 } { a}{ b =~ \"\" }",
                                      ZEL_CONDTYPE_HIDE);
    const char *const all = "{ a == 1 b == \"x y\" } { \"strlen(a, b)\" > 3 } { b =~ \"\" }";
    EXPECT_EQ(written(conditional), all);
    KIT_StringHolder holder;
    conditional.getStringFromList(holder, nullptr);
    EXPECT_EQ(holder, KIT_StringRef(all));

    const std::pair<const char *, const char *> theCases[] = {
        {"b", "{ b == \"x y\" } { b =~ \"\" }"},
        {"a", "{ a == 1 }"},
        {"strlen(a,b) c", ""},
        {"", ""},
    };
    for (const auto &[names, expected] : theCases) {
        KIT_StringArray filter;
        KIT_String(names).tokenize(filter, " ");
        KIT_String text("left over", true);
        conditional.getStringFromList(text, filter);
        EXPECT_STREQ(text.nonNullStr(), expected) << names;
        conditional.getStringFromList(holder, &filter);
        EXPECT_STREQ(holder.nonNullStr(), expected) << names;
    }
}

TEST(ConditionText, ReadsBackWhatItWrites)
{
    std::mt19937 random(11);
    const std::string theBytes = "ab1)=!<>~{ \t\n\r\"\\#'n.\xc3\xa9";
    const auto randomWord = [&](size_t shortest) {
        std::string word;
        while (word.size() < shortest || random() % 5) {
            word += theBytes[random() % theBytes.size()];
        }
        return word + "x"; // a last backslash would escape the closing quote
    };
    for (int round = 0; round < 3000; ++round) {
        ZEL_Conditional conditional(ZEL_CONDTYPE_NOCOOK);
        for (unsigned groups = random() % 4; groups > 0; --groups) {
            ZEL_ConditionalInfo *info = conditional.createInfo();
            for (unsigned count = random() % 3 + 1; count > 0; --count) {
                info->addCondition(randomWord(1), random() % 4 ? randomWord(0) : "",
                                   ZEL_ConditionalOperator(random() % 8));
            }
        }
        ASSERT_EQ(read(written(conditional).c_str()), contents(conditional))
            << written(conditional);
    }
}

TEST(ConditionText, ProtectsTextsForDialogScripts)
{
    const std::tuple<const char *, const char *, const char *> theCases[] = {
        {"abc", "<abc", "<abc"},
        {"a b", "<a b", "<\"a b\""},
        {"a\"b", "<a\\\"b", "<\"a\\\"b\""},
        {"a\nb\rc\td", "<a\\nb\\rc\td", "<\"a\\nb\\rc\td\""},
        {"a\\b", "<a\\\\b", "<a\\\\b"},
        {"{}`'$\xc3\xa9", "<{}`'$\xc3\xa9", "<{}`'$\xc3\xa9"},
    };
    for (const auto &[text, plain, smart] : theCases) {
        EXPECT_EQ(protectedText(text, true, false), plain);
        EXPECT_EQ(protectedText(text, false, true), smart);
    }
    for (const char *empty : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_EQ(protectedText(empty, true, false), "<\"\"");
        EXPECT_EQ(protectedText(empty, false, true), "<");
    }
}

TEST(ConditionText, NamesAndOperators)
{
    const std::tuple<int, const char *, const char *> theTypes[] = {
        {0, "disablewhen", "Disable When"},
        {1, "hidewhen", "Hide When"},
        {2, "nocookwhen", "No-Cook When"},
        {3, nullptr, nullptr},
        {-1, nullptr, nullptr}};
    for (const auto &[type, word, display] : theTypes) {
        const ZEL_Conditional conditional{ZEL_ConditionalType(type)};
        EXPECT_STREQ(conditional.getName(false), word);
        EXPECT_STREQ(conditional.getName(true), display);
    }
    const char *const theOperators[] = {"==", "!=", ">=", "<=", ">", "<", "=~", "!~"};
    for (int i = 0; i < 8; ++i) {
        ZEL_ConditionalOperator op = ZEL_ConditionalOperator(-1);
        EXPECT_TRUE(ZEL_Conditional::getOperatorFromString(theOperators[i], op));
        EXPECT_EQ(int(op), i);
        EXPECT_STREQ(ZEL_Conditional::getOperatorString(op), theOperators[i]);
    }
    for (const char *text :
         {static_cast<const char *>(nullptr), "", "=", "!", ">=1", " ==", "== "}) {
        EXPECT_FALSE(ZEL_Conditional::isValidOperator(text)) << (text ? text : "null");
    }
}

TEST(ConditionText, TakesInstanceNumbers)
{
    const ZEL_Conditional conditional(
        "{ a# == 1 plain == #_# } { \"ch(\\\"b#\\\") + ch(\\\"b#\\\")\" > \\\\# } { c}",
        ZEL_CONDTYPE_HIDE);
    const std::pair<KIT_ValArray<int>, const char *> theCases[] = {
        {{3}, "{[a3][==][1] [plain][==][3_#]}{[ch(\"b3\") + ch(\"b#\")][>][\\#]}{}"},
        {{12, -4}, "{[a12][==][1] [plain][==][12_-4]}{[ch(\"b12\") + ch(\"b-4\")][>][\\#]}{}"},
        {{}, "{[a#][==][1] [plain][==][#_#]}{[ch(\"b#\") + ch(\"b#\")][>][\\#]}{}"},
    };
    for (const auto &[numbers, groups] : theCases) {
        const std::unique_ptr<ZEL_Conditional> made(conditional.instance(numbers));
        EXPECT_EQ(contents(*made), groups);
        EXPECT_EQ(made->getType(), ZEL_CONDTYPE_HIDE);
    }
}
