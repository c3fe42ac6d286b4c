#include <strings/StringFixture.h>

#include <gtest/gtest.h>

#include <tuple>

#include <EVL/EVL.h>
#include <TRK/TRK_Expression.h>

TEST(StringConvert, LiteralsBecomeExpressionsAndMostComeBack)
{
    struct Case
    {
        const char *literal, *expression, *back = nullptr; // null: the same
    };
    const Case cases[] = {
        {"", "\"\""},
        {"abc", "\"abc\""},
        {"  a b ", "\"  a b \""},
        {"a+b", "\"a+b\""},
        {"a`$F`b", "\"a\"+$F+\"b\""},
        {"`$F`", "$F"},
        {"a`$F+1`b", "\"a\"+($F+1)+\"b\""},
        {"`$F*(2-1)`x`ch(\"tx\")`", "($F*(2-1))+\"x\"+ch(\"tx\")"},
        {"`strcat('a+b', ch(\"tx\"))`", "strcat('a+b', ch(\"tx\"))"}, // operators in quotes
        {"`ifs($F>1,\"`\",'x')`!", "(ifs($F>1,\"`\",'x'))+\"!\""},    // a backtick in quotes
        {"a`{ return 1+2; }`b", "\"a\"+{ return 1+2; }+\"b\""},       // a block gets none
        {"`{ if (1) { x; } }`", "{ if (1) { x; } }"},
        // Some don't come back.
        {"say \"x\"", "\"say \\\"x\\\"\"", "say \\\"x\\\""}, // escapes stay escaped
        {"a\\\"b", "\"a\\\"b\"", "a\\\"b"},                  // a pair is copied as it is
        {"a\\`b", "\"a\\`b\"", "a\\`b"},                     // and so is a protected backtick
        {"C:\\", "\"C:\\\\\"", "C:\\\\"},                    // the quote must not be escaped
        {"`$F``$T`", "$F$T", "`$F$T`"},                      // pieces that touch
        {"x`$F", "\"x\"+$F", "x`$F`"},                       // never closed
        {"x`$F+1", "\"x\"+($F+1)", "x`$F+1`"},
        {"``x", "+\"x\"", "x"},   // an empty piece in front
        {"` $F`", " $F", "`$F`"}, // blanks in front
        {"`  { 1+1; }`", "  { 1+1; }", "`{ 1+1; }`"},
        {"`\"a\"`", "\"a\"", "a"},
    };
    for (const auto &[literal, expression, back] : cases) {
        EXPECT_EQ(toExpression(literal), expression);
        EXPECT_EQ(fromExpression(expression), back ? back : literal);
    }
    EXPECT_EQ(toExpression(nullptr), "\"\"");
    EXPECT_EQ(fromExpression(nullptr), "");
}

TEST(StringConvert, ExpressionsByHandBecomeLiterals)
{
    const std::tuple<const char *, const char *> cases[] = {
        {" \"a\" + \"b\" ", "ab"},
        {"$F + \"x\"", "`$F `x"},
        {"ch(\"a\") + ch(\"b\")", "`ch(\"a\") ``ch(\"b\")`"},
        {"((1+2)*3)", "`(1+2)*3`"},
        {"(1+2)*3", "`1+2``*3`"}, // the parenthesis ends the piece
        {"f(\"\\)\"+1)", "`f(\"\\)\"+1)`"},
        {"f({1})+\"b\"", "`f({1})`b"},
        {"{a}{b}", "`{a}``{b}`"},
        {"f(1", "`f(1"}, // stays open
        {"1\\+2", "`1\\+2`"},
    };
    for (const auto &[expression, literal] : cases) {
        EXPECT_EQ(fromExpression(expression), literal);
    }
}

TEST(StringConvert, TheExpressionMeansWhatTheLiteralDoes)
{
    BuiltString p;
    for (const char *literal :
         {"a", "a`1+1`b", "`ch('q')`", "x y`strcat('a', \"b\")`", "q\"q", "C:\\"}) {
        KIT_String expanded;
        TRK_Manager::getContext().expandString(literal, expanded, 0.0, &p.channels, 1);
        EVL::theErrNo[1] = EVL::EVL_OK;
        KIT_String evaluated;
        TRK_Expression::evaluateTextString(toExpression(literal).c_str(), 0.0, &p.channels, 1,
                                           evaluated);
        EVL::theErrNo[1] = EVL::EVL_OK;
        EXPECT_EQ(evaluated.toStdString(), expanded.toStdString()) << literal;
    }
}

TEST(StringConvert, TextsThatCanExpand)
{
    for (const char *text : {"$F", "a`b", "\\\\$F", "!!ch(tx)", "\\!!ch(tx)"}) {
        EXPECT_TRUE(ZEL_Parm::isStringThatCanExpand(text)) << text;
    }
    for (const char *text : {"", "abc", "\\$F \\`", "!!ch", "a\\"}) {
        EXPECT_FALSE(ZEL_Parm::isStringThatCanExpand(text)) << text;
    }
    EXPECT_FALSE(ZEL_Parm::isStringThatCanExpand(nullptr));
    EXPECT_TRUE(ZEL_Parm::isStringExpression("", TRK_MEANING_COLLECTION, nullptr));
    EXPECT_FALSE(ZEL_Parm::isStringExpression("$F", TRK_MEANING_LITERAL, nullptr));
    EXPECT_FALSE(ZEL_Parm::isStringExpression("$F", TRK_MEANING_UNUSED, nullptr));
}
