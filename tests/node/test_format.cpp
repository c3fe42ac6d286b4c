// Scripts laid out anew: what they say stays, and a second time changes nothing; the differences that are shown.

#include <NOD/NOD_Description.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptFormat.h>
#include <NOD/NOD_UnifiedDifference.h>
#include <TOK/TOK_SourceTokens.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

struct Script
{
    std::string path;
    std::string text;
};

std::string readText(const fs::path &path)
{
    std::ifstream is(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(is), {});
}

/// All of the tree, broken ones and the fuzzers' too.
std::vector<Script> allScripts()
{
    const fs::path top = fs::path(ZEL_TESTS_DIR) / "..";
    std::vector<Script> scripts;
    for (const char *folder :
         {"examples", "tests", "fuzz/corpus/script", "fuzz/corpus/tokens", "fuzz/corpus/format"}) {
        for (const auto &entry : fs::recursive_directory_iterator(top / folder)) {
            const std::string kind = entry.path().extension().string();
            const bool seedFlag = std::string(folder).compare(0, 4, "fuzz") == 0;
            if (entry.is_regular_file() && (seedFlag || kind == ".ds" || kind == ".dsh")) {
                scripts.push_back({entry.path().string(), readText(entry.path())});
            }
        }
    }
    return scripts;
}

/// What is read of a script and said of it, but for lines; an unreadable one has messages only.
std::string meaning(const Script &script, bool &readable)
{
    NOD_Report report;
    const auto read = NOD_Interface::fromText(script.text, script.path, report);
    std::vector<std::string> said;
    for (NOD_Message message : report.getMessages()) {
        message.line = 0;
        said.push_back(message.asText());
    }
    std::sort(said.begin(), said.end());
    std::string text;
    for (const std::string &one : said) {
        text += one + '\n';
    }
    readable = read != nullptr;
    return read ? text + NODdescriptionJson(NODdescribe(*read)) : text;
}

/// The words, comments and directives, without blanks at their ends, one in a line.
std::string wordsOf(const std::string &text)
{
    const TOK_SourceTokens tokens(text);
    std::string words;
    for (const TOK_SourceTokens::Token &token : tokens.getTokens()) {
        const bool wordFlag =
            token.kind == TOK_SourceTokens::WORD || token.kind == TOK_SourceTokens::QUOTED;
        std::string_view word = token.text;
        while (!wordFlag && !word.empty() &&
               std::isspace(static_cast<unsigned char>(word.back()))) {
            word.remove_suffix(1);
        }
        words += std::to_string(token.kind) + std::string(word) + '\n';
    }
    return words;
}

/// The script with other blanks, line ends and comments between its words.
std::string disturbed(const std::string &text, std::mt19937 &random)
{
    static const char *const theGaps[] = {
        " ",         "\t",         "\n",           "\n\n\n", " \\\n ",
        " /* c */ ", " // c\n",    "\n// own\n",   "  ",     "\n/* a\nb */\n",
        "\r\n",      " /* e */\n", "\n\n/* d */ ", " \\\r\n"};
    const TOK_SourceTokens tokens(text);
    std::string result;
    bool startFlag = true;
    for (const TOK_SourceTokens::Token &token : tokens.getTokens()) {
        const bool directiveFlag = token.kind == TOK_SourceTokens::DIRECTIVE;
        const bool hashFlag = TOK_SourceTokens::startsDirective(token.text);
        std::string gap = random() % 3 ? " " : theGaps[random() % std::size(theGaps)];
        if (directiveFlag) {
            gap += '\n';
        } else if (hashFlag && !startFlag) {
            gap = " ";
        } else if (startFlag) {
            gap = '\n' + gap;
        }
        result += gap;
        result += token.text;
        startFlag = directiveFlag || token.kind == TOK_SourceTokens::LINE_COMMENT;
    }
    return result + (startFlag || random() % 2 ? "\n" : "");
}

std::string formatted(const std::string &text, bool sort = false)
{
    DS_FormatOptions options;
    options.sort = sort;
    DS_Formatter formatter(options);
    std::string result = "unchanged";
    EXPECT_TRUE(formatter.format(text, result)) << formatter.getFault();
    return result;
}

bool canBeSplit(const std::string &text)
{
    return !TOK_SourceTokens(text).getFault() && (text.empty() || text.back() != '\\') &&
           text.find('\0') == std::string::npos;
}

/// The laws; whether the script can be read.
bool checkLaws(const Script &script)
{
    if (canBeSplit(script.text)) {
        const std::string once = formatted(script.text);
        EXPECT_EQ(wordsOf(once), wordsOf(script.text));
        EXPECT_EQ(formatted(once), once);
        const std::string sorted = formatted(script.text, true);
        EXPECT_EQ(formatted(sorted, true), sorted);
        EXPECT_EQ(formatted(sorted), sorted);
    }
    bool readable = false;
    const std::string before = meaning(script, readable);
    for (const bool sort : {false, true}) {
        DS_FormatOptions options;
        options.sort = sort;
        NOD_Report report;
        std::string result = "unchanged";
        const bool done = NODformatScript(script.text, script.path, options, result, report);
        EXPECT_EQ(done, readable && canBeSplit(script.text)) << report.asText();
        EXPECT_EQ(done, !report.hasErrors());
        bool again = readable;
        EXPECT_EQ(done ? meaning({script.path, result}, again) : result,
                  done ? before : "unchanged");
        EXPECT_EQ(again, readable);
    }
    return readable;
}

} // namespace

TEST(Format, KeepsWhatScriptsSay)
{
    std::mt19937 random(7);
    int readable = 0;
    for (const Script &script : allScripts()) {
        SCOPED_TRACE(script.path);
        readable += checkLaws(script);
        const int rounds = script.text.size() > 20000 ? 2 : canBeSplit(script.text) ? 12 : 0;
        for (int i = 0; i < rounds && !::testing::Test::HasFailure(); ++i) {
            const Script other{script.path, disturbed(script.text, random)};
            checkLaws(other);
            EXPECT_FALSE(::testing::Test::HasFailure()) << other.text;
        }
    }
    EXPECT_GE(readable, 20);
}

TEST(Format, LaysOut)
{
    struct Case
    {
        const char *what;
        const char *text;
        const char *laid;
    };
    const Case cases[] = {
        {"one keyword a line",
         "{name a label \"A\" parm {name b type float default {1 2} range {0! 1} joinnext}}",
         "{\n\tname    a\n\tlabel   \"A\"\n\tparm {\n\t\tname    b\n\t\ttype    float\n\t\tdefault { 1 2 }\n"
         "\t\trange   { 0! 1 }\n\t\tjoinnext\n\t}\n}\n"},
        {"menus are aligned",
         "parm { name m menu usetokenvalue { a \"A\" \"longer one\" L\n\n\nc C } }",
         "parm {\n\tname    m\n\tmenu usetokenvalue {\n\t\ta               \"A\"\n\t\t\"longer one\"    L\n\n"
         "\t\tc               C\n\t}\n}\n"},
        {"scripts of menus", "parm { name m menu { [ \"return []\" ] [ a b ] language python } }",
         "parm {\n\tname    m\n\tmenu {\n\t\t[ \"return []\" ]\n\t\t[ a b ]\n\t\tlanguage python\n\t}\n}\n"},
        {"conditions",
         "parm { name a hidewhen { { b == 1 c 2 } { d != } } disablewhen \"{ e == 1 }\" }",
         "parm {\n\tname    a\n\thidewhen {\n\t\t{ b == 1 c 2 }\n\t\t{ d != }\n\t}\n"
         "\tdisablewhen \"{ e == 1 }\"\n}\n"},
        {"comments keep their places",
         "// top\n\n\n\nparm { // of a\n\n  name a /* in */ // behind\n\n  // own\n  type // t\n float }",
         "// top\n\nparm { // of a\n\tname    a /* in */ // behind\n\n\t// own\n\ttype // t\n\t\tfloat\n}\n"},
        {"lists with comments keep their lines", "parm { name a range { 0 // least\n 1 } }",
         "parm {\n\tname    a\n\trange {\n\t\t0 // least\n\t\t1\n\t}\n}\n"},
        {"directives",
         "parm { name a\n#ifdef B\ntype float\n  #else  // no\ntype int }\n# endif\n}\n",
         "parm {\n\tname    a\n\t#ifdef B\n\ttype    float\n\t#else  // no\n\ttype    int\n}\n\t# endif\n}\n"},
        {"words of macros stay in their lines", "parm { ONE TWO name a THREE\nFOUR }",
         "parm {\n\tONE TWO\n\tname    a THREE\n\tFOUR\n}\n"},
        {"code stays as it is", "code { a  {\n   \"b\" }\n // c\n  } name x",
         "code { a  {\n   \"b\" }\n // c\n  }\nname    x\n"},
        {"a brace in quotes is a brace", "help { \"a } b\" } name x",
         "help { \"a } b\" }\nname    x\n"},
        {"a backslash joins no lines", "parm { name a\\ label b\\\\ }",
         "parm {\n\tname    a\\ \n\tlabel   b\\\\ \n}\n"},
        {"what reads as a directive starts no line", "parm { menu { \\\n#define b #if c } }",
         "parm {\n\tmenu { #define b #if c\n\t}\n}\n"},
        {"nor does it lose the bracket that keeps it from being one", "parm { name // c\n#endif} x",
         "parm {\n\tname // c\n\t\t#endif} x\n"},
        {"nor another one before it", "# #if a", "# #if a\n"},
        {"behind a comment neither", "/**/ #if{", "/**/ #if{\n"},
        {"line ends", "name a\r\nlabel b", "name    a\r\nlabel   b\r\n"},
        {"which those in texts aren't", "a \"\r\n\"\nb", "a \"\r\n\"\nb\n"},
        {"a mark of the byte order", "\xEF\xBB\xBFname a", "\xEF\xBB\xBFname    a\n"},
        {"which a word isn't that looks like it", "\n\xEF\xBB\xBFname a", "\n\xEF\xBB\xBFname a\n"},
        {"nothing", "", ""},
        {"blanks", " \n\n ", ""},
        {"empty blocks", "help {\n} parm { name a menu { } }",
         "help { }\nparm {\n\tname    a\n\tmenu { }\n}\n"},
    };
    for (const Case &one : cases) {
        EXPECT_EQ(formatted(one.text), one.laid) << one.what;
    }
}

TEST(Format, SortsWhatMayChangePlaces)
{
    const std::pair<const char *, const char *> cases[] = {
        {"parm { help h /* h */ type float // t\n// l\nlabel l range { 0 1 } size 2 default { 1 } name a }",
         "parm {\n\tname    a\n\t// l\n\tlabel   l\n\ttype    float // t\n\tsize    2\n\thelp    h /* h */\n"
         "\tdefault { 1 }\n\trange   { 0 1 }\n}\n"},
        // A default before its type is dropped, a look is.
        {"parm { default { 1 } joinnext type float name a }",
         "parm {\n\tname    a\n\tjoinnext\n\tdefault { 1 }\n\ttype    float\n}\n"},
        // Tags keep their order, with what else sets them.
        {"parm { name a parmtag { b c } attribute { a d } callback e label l }",
         "parm {\n\tname    a\n\tlabel   l\n\tparmtag { b c }\n\tattribute { a d }\n\tcallback e\n}\n"},
        // Nothing passes a parameter, a directive, or a word of a macro.
        {"label l name a parm { type int name b }\nMACRO rman label m name n\n#define X\nlabel o name p",
         "name    a\nlabel   l\nparm {\n\tname    b\n\ttype    int\n}\nMACRO\nname    n\nlabel   m\nrman\n"
         "#define X\nname    p\nlabel   o\n"},
    };
    for (const auto &[text, sorted] : cases) {
        EXPECT_EQ(formatted(text, true), sorted);
    }
    NOD_Report report;
    std::string result = "unchanged";
    DS_FormatOptions options;
    options.sort = true;
    // The macro makes two names of it: the last one counts.
    EXPECT_FALSE(NODformatScript("{ name a\n#define label name\nparm { type int label b name c } }",
                                 "m.ds", options, result, report));
    EXPECT_EQ(report.asText(),
              "m.ds: its keywords can't be sorted: it would mean something else\n");
    EXPECT_EQ(result, "unchanged");
}

TEST(Format, RefusesWhatIsNoScript)
{
    const std::pair<std::string, const char *> cases[] = {
        {"{ name a parm { flaot } }", "x.ds(1): Dialog Script: unknown identifier: 'flaot'\n"},
        {"{ name a }\n\"open", "x.ds(2): a quote is never closed\n"},
        {"name a\n\\", "x.ds(2): ends in a backslash\n"},
        {std::string("{ name a\n}\0", 12), "x.ds(2): has bytes of zero: it is no text\n"},
    };
    for (const auto &[text, message] : cases) {
        NOD_Report report;
        std::string result = "unchanged";
        EXPECT_FALSE(NODformatScript(text, "x.ds", {}, result, report));
        EXPECT_EQ(result, "unchanged");
        EXPECT_NE(report.asText().find(message), std::string::npos) << report.asText();
    }
}

namespace
{

/// What `patch` makes of a text.
std::string patched(const std::string &text, const std::string &difference)
{
    constexpr const char *theNoEnd = "\\ No newline at end of file";
    std::vector<std::string> lines;
    std::istringstream is(text);
    for (std::string line; std::getline(is, line);) {
        lines.push_back(line + (is.eof() ? "" : "\n"));
    }
    std::string result;
    std::size_t at = 0;
    std::istringstream changes(difference);
    std::string line;
    std::getline(changes, line);
    std::getline(changes, line);
    std::string last;
    for (char mark = 0; std::getline(changes, line); mark = line[0]) {
        if (line == theNoEnd) {
            if (mark != '-') {
                result.pop_back();
            }
        } else if (line[0] == '@') {
            const long start = std::stol(line.substr(4));
            const bool noneFlag =
                line.substr(4, line.find(' ', 4) - 4).find(",0") != std::string::npos;
            for (const auto end = std::size_t(noneFlag ? start : start - 1); at < end; ++at) {
                result += lines[at];
            }
        } else {
            if (line[0] != '+') {
                std::string there = lines.at(at++);
                if (!there.empty() && there.back() == '\n') {
                    there.pop_back();
                }
                EXPECT_EQ(there, line.substr(1));
            }
            result += line[0] == '-' ? "" : line.substr(1) + '\n';
        }
    }
    for (; at < lines.size(); ++at) {
        result += lines[at];
    }
    return result;
}

} // namespace

TEST(Format, DifferencesArePatches)
{
    EXPECT_EQ(NODunifiedDifference("a\n", "a\n", "x", "y"), "");
    EXPECT_EQ(NODunifiedDifference("a\nb\nc\nd\ne\nf\n", "a\nb\nc\nd\nE\nf", "x", "y", 1),
              "--- x\n+++ y\n@@ -4,3 +4,3 @@\n d\n-e\n-f\n+E\n+f\n\\ No newline at end of file\n");
    EXPECT_EQ(NODunifiedDifference("", "a\n", "x", "y"), "--- x\n+++ y\n@@ -0,0 +1 @@\n+a\n");
    std::mt19937 random(3);
    const auto pick = [&](unsigned count) { return int(random() % count); };
    for (int i = 0; i < 3000; ++i) {
        std::string before;
        std::string after;
        const unsigned kinds = 2 + unsigned(pick(40));
        for (int k = pick(60); k > 0; --k) {
            const std::string line = std::to_string(pick(kinds)) + '\n';
            before += pick(5) ? line : "";
            after += pick(5) ? line : pick(2) ? "" : "x\n" + line;
        }
        for (std::string *text : {&before, &after}) {
            if (!text->empty() && pick(4) == 0) {
                text->pop_back();
            }
        }
        const std::string difference = NODunifiedDifference(before, after, "x", "y", pick(4));
        ASSERT_EQ(patched(before, difference), after) << before << difference;
    }
}
