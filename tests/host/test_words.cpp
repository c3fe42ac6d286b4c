// Words: splitting and ordering texts, word tables, patterns, and the words of commands.

#include <CON/CON_Manager.h>
#include <KIT/KIT_FSA.h>
#include <KIT/KIT_Regex.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkArgs.h>
#include <TRK/TRK_Manager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{
std::string wordsOf(const char *text, char comment = 0, const char *quotes = "\"'",
                    bool keepQuotes = false)
{
    KIT_WorkArgs words;
    words.append("left over");
    const int count = KIT_String(text).parse(words, comment, quotes, keepQuotes);
    EXPECT_EQ(count, words.entries()) << text;
    EXPECT_EQ(words[count], nullptr);
    std::string joined;
    for (int i = 0; i < count; ++i) {
        joined += "[" + std::string(words[i]) + "]";
    }
    KIT_String split(text);
    char *fields[8];
    const int inPlace = keepQuotes ? -1 : split.parseInPlace(fields, 8, quotes, comment);
    for (int i = 0; i < inPlace; ++i) {
        EXPECT_STREQ(fields[i], words[i]);
    }
    EXPECT_TRUE(keepQuotes || inPlace == std::min(count, 8)) << text;
    return joined;
}

std::string protectedWord(const std::string &text)
{
    std::ostringstream os;
    CON_Manager::saveProtectedString(os, text.c_str());
    return os.str();
}

std::string expanded(const std::string &word)
{
    KIT_String text(word);
    CON_Manager::expandControlSequences(text);
    return text.toStdString();
}
} // namespace

TEST(Words, ParsingKeepsQuotedRunsTogether)
{
    const std::pair<const char *, const char *> cases[] = {
        {"a \"b c\"\t'd \"e'\n", "[a][b c][d \"e]"},
        {"\"\" ''", "[][]"},
        {"x'y z'w", "[xy zw]"},
        {"\"say \\\"hi\\\" \\\\ \\n\"", "[say \"hi\" \\ \\n]"},
        {"'it\\'s' it\\ s", "[it's][it\\][s]"},
        {"a \"b c", "[a][b c]"},
        {"\"b\\", "[b\\]"},
        {"#a", "[#a]"},
        {" \t ", ""},
        {nullptr, ""},
    };
    for (const auto &[given, words] : cases) {
        EXPECT_EQ(wordsOf(given), words);
    }
    EXPECT_EQ(wordsOf("a#b \"#c\" #d 'e'", '#'), "[a#b][#c]");
    EXPECT_EQ(wordsOf("\"a\\\" b\" 'c d'e", 0, "\"'", true), "[\"a\\\" b\"]['c d'e]");
    EXPECT_EQ(wordsOf("\"a b\" 'c d'", 0, "'"), "[\"a][b\"][c d]");
    EXPECT_EQ(wordsOf("'a b'", 0, nullptr), "['a][b']");
    const std::string longWord(5000, 'w');
    EXPECT_EQ(wordsOf((longWord + " b").c_str()), "[" + longWord + "][b]");
    EXPECT_EQ(wordsOf("1 2 3 4 5 6 '7 7'8 9 10"), "[1][2][3][4][5][6][7 78][9][10]");
}

TEST(Words, NumbersInTextsOrderByValue)
{
    const std::string nines(24, '9'), zeros(24, '0');
    const std::vector<std::string> ordered = {
        "",    "2",         "10",         "a",  "a2b", "a02b", "a2b1",
        "a10", "a" + nines, "a1" + zeros, "ab", "b-3", "b-20", "\xc3\xa9",
    };
    std::vector<std::string> mixed = ordered;
    // "a02b" and "a2b" differ in zeros alone, and then the bytes decide.
    std::swap(mixed[4], mixed[5]);
    const std::vector<std::string> expected = mixed;
    std::mt19937 random(7);
    for (int i = 0; i < 20; ++i) {
        std::shuffle(mixed.begin(), mixed.end(), random);
        std::sort(mixed.begin(), mixed.end(), [](const std::string &a, const std::string &b) {
            return KIT_String::compareNumberedString(a.c_str(), b.c_str()) < 0;
        });
        EXPECT_EQ(mixed, expected);
    }
    EXPECT_EQ(KIT_String::compareNumberedString("a7", "a7"), 0);
    EXPECT_EQ(KIT_String::compareNumberedString(nullptr, ""), 0);
    EXPECT_GT(KIT_String::compareNumberedString("b1", "A2"), 0);
    EXPECT_LT(KIT_String::compareNumberedString("a1", "A2", true), 0);
}

TEST(Words, TablesGiveTheNumberOfTheWholeWord)
{
    static const KIT_FSA::Row theRows[] = {
        {"string", 3}, {"float", 0}, {"floatx", 7}, {"float", 5}, {nullptr, 9}, {"", 4},
    };
    KIT_FSA table(6, theRows);
    EXPECT_EQ(table.entries(), 4);
    const std::pair<const char *, int> cases[] = {
        {"float", 0},  {"floatx", 7},   {"string", 3}, {"", 4},       {"floa", -1},
        {"Float", -1}, {"strings", -1}, {"zzz", -1},   {nullptr, -1},
    };
    for (const auto &[word, symbol] : cases) {
        EXPECT_EQ(table.findSymbol(word), symbol) << (word ? word : "null");
    }
    table.build(1, theRows);
    EXPECT_EQ(table.findSymbol("float"), KIT_FSA::theNoSymbol);
    EXPECT_EQ(KIT_FSA().findSymbol(""), KIT_FSA::theNoSymbol);
}

TEST(Words, PatternsMatchWholeTexts)
{
    const std::tuple<const char *, const char *, bool> cases[] = {
        {"b", "abc", false},      {".*b.*", "abc", true},   {"a|ab", "ab", true},
        {"^t[xyz]$", "ty", true}, {"(?i)ON", "on", true},   {"", "", true},
        {"", "a", false},         {nullptr, nullptr, true}, {"a.b", "a\303\251b", true},
        {"a.b", "a\377b", false}, {"a.b", "a\nb", false},   {"\\d+", "12", true},
    };
    for (const auto &[pattern, text, matchFlag] : cases) {
        const KIT_Regex regex(pattern);
        EXPECT_TRUE(regex.isValid() && regex.getErrorText().isEmpty());
        EXPECT_EQ(regex.match(text), matchFlag) << (pattern ? pattern : "null");
    }
    for (const char *pattern : {"(", "a**b[", "\\", "(?=a)", "(a)\\1", "a{1001}", "\xff"}) {
        const KIT_Regex regex(pattern);
        EXPECT_FALSE(regex.isValid()) << pattern;
        EXPECT_FALSE(regex.getErrorText().isEmpty()) << pattern;
        EXPECT_FALSE(regex.match(pattern) || regex.match("")) << pattern;
    }
    KIT_Regex moved(KIT_Regex("a+"));
    EXPECT_TRUE(moved.match("aa"));
    // Back-tracking would never return from this, nor would a larger machine be built for long.
    EXPECT_FALSE(KIT_Regex("(a*)*b").match(std::string(100000, 'a').c_str()));
    EXPECT_FALSE(KIT_Regex("((a{100}){100}){100}").isValid());
}

TEST(Words, ProtectedWordsComeBack)
{
    const std::pair<const char *, const char *> cases[] = {
        {"plain", "plain"},
        {"", "\"\""},
        {"a b", "\"a b\""},
        {"\"a\"", "\"\\\"a\\\"\""},
        {"it's", "\"it's\""},
        {"c:\\new", "\"c:\\\\new\""},
        {"l\nm\x01", "\"l\\nm\\001\""},
        {"-1.5e3", "-1.5e3"},
        {"$F4", "\"$F4\""},
        {"\xc3\xa9", "\xc3\xa9"},
    };
    for (const auto &[text, word] : cases) {
        EXPECT_EQ(protectedWord(text), word);
    }

    const std::string usual = "\"\\'\n\t\x01\x7f 0n$#;ab\xff";
    std::mt19937 random(11);
    for (int i = 0; i < 2000; ++i) {
        std::string text(random() % 8, ' ');
        for (char &c : text) {
            c = usual[random() % usual.size()];
        }
        const std::string word = protectedWord(text);
        EXPECT_EQ(expanded(word), text) << word;
        // A reader of commands may have taken the quotes off already.
        if (word[0] == '"') {
            EXPECT_EQ(expanded(word.substr(1, word.size() - 2)), text) << word;
        }
        KIT_WorkArgs words;
        EXPECT_EQ(KIT_String(word).parse(words, 0, "\"", true), 1) << word;
    }
    // What isn't one quoted word keeps its quotes.
    EXPECT_EQ(expanded("\"a\" \"b\""), "\"a\" \"b\"");
    EXPECT_EQ(expanded("\"a\\\""), "\"a\"");
    EXPECT_EQ(expanded("\""), "\"");
}

TEST(Words, VariablesComeBeforeTheEnvironment)
{
    CON_Manager &manager = CON_Manager::getContext();
    ::setenv("ZEL_TEST_VARIABLE", "outside", 1);
    KIT_String value("untouched");
    EXPECT_FALSE(manager.getEnv("ZEL_TEST_NOWHERE", value));
    EXPECT_FALSE(manager.getEnv(KIT_StringRef(), value));
    EXPECT_STREQ(value, "untouched");
    EXPECT_TRUE(manager.getEnv("ZEL_TEST_VARIABLE", value));
    EXPECT_STREQ(value, "outside");
    EXPECT_FALSE(manager.getVariable("ZEL_TEST_VARIABLE", value));

    // The global variables of channels are these, without the environment.
    TRK_Manager &channels = TRK_Manager::getContext();
    EXPECT_FALSE(channels.getGlobalVariable("ZEL_TEST_VARIABLE", value));
    manager.setVariable("ZEL_TEST_VARIABLE", "");
    EXPECT_TRUE(manager.getEnv("ZEL_TEST_VARIABLE", value));
    EXPECT_STREQ(value, "");
    manager.setVariable("ZEL_TEST_VARIABLE", "inside");
    EXPECT_TRUE(channels.getGlobalVariable("ZEL_TEST_VARIABLE", value));
    EXPECT_STREQ(value, "inside");
    manager.setVariable("ZEL_TEST_VARIABLE", nullptr);
    EXPECT_TRUE(manager.getEnv("ZEL_TEST_VARIABLE", value));
    EXPECT_STREQ(value, "outside");
    ::unsetenv("ZEL_TEST_VARIABLE");
}
