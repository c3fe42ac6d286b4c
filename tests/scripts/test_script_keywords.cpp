// The tables of the language's words against its documentation and the script that shows them all.

#include <DS/DS_Stream.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace
{

std::string fileText(const std::string &path)
{
    std::ifstream file(std::string(ZEL_TESTS_DIR "/../") + path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

using Words = std::set<std::pair<std::string, std::string>>;

/// Each word of a script with the one after it, apart by whether a `parm` block is around it.
void readWords(Words &ofParms, Words &ofPages)
{
    const std::string text = fileText("examples/keywords.ds");
    KIT_IStream source(text.data(), text.size(), KIT_IStream::TEXT);
    DS_Stream stream(source, "keywords.ds", false);
    std::string last;
    int depth = 0; // of the braces within a parameter
    for (KIT_String token; stream.getToken(token);) {
        const std::string word = token.toStdString();
        (depth > 0 ? ofParms : ofPages).insert({last, word});
        if (word == "{" && (depth > 0 || last == "parm")) {
            ++depth;
        } else if (word == "}" && depth > 0) {
            --depth;
        }
        last = word;
    }
}

constexpr const char *theListHead = "\n## All keywords\n";

bool contains(const Words &words, const std::string &word, const std::string &form)
{
    const auto found = words.lower_bound({word, ""});
    return form == "BLOCK" ? words.count({word, "{"}) != 0
                           : found != words.end() && found->first == word;
}

} // namespace

TEST(ScriptKeywords, AllAreDocumentedAndShown)
{
    Words ofParms;
    Words ofPages;
    readWords(ofParms, ofPages);
    const std::string whole = fileText("docs/dialog-scripts.md");
    const std::string page = whole.substr(0, whole.find(theListHead)); // the list has them all
    const auto isDocumented = [&page](const std::string &word) {
        return page.find('`' + word + '`') != std::string::npos;
    };
#define ZEL_PARM_KEYWORD(word, form, ...)                                                          \
    EXPECT_TRUE(isDocumented(word)) << word;                                                       \
    EXPECT_TRUE(contains(ofParms, word, #form)) << word;
#define ZEL_PAGE_KEYWORD(word, form, ...)                                                          \
    EXPECT_TRUE(isDocumented(word)) << word;                                                       \
    EXPECT_TRUE(contains(ofPages, word, #form)) << word;
    // Those of pages are in an example, each on its line.
#define ZEL_PARM_SKIPPED(word, ...) ZEL_PARM_KEYWORD(word, WORD)
#define ZEL_PAGE_SKIPPED(word, count)                                                              \
    EXPECT_NE(page.find("\n" word), std::string::npos) << word;                                    \
    EXPECT_TRUE(contains(ofPages, word, "WORD")) << word;
#include <ZEL/scripts/ZEL_ScriptKeywords.def>

    const auto checkType = [&](const char *word) {
        EXPECT_TRUE(!word || isDocumented(word)) << word;
        EXPECT_TRUE(!word || ofParms.count({"type", word})) << word;
    };
#define ZEL_SCRIPT_TYPE(word, otherWord, ...)                                                      \
    checkType(word);                                                                               \
    checkType(otherWord);
#include <ZEL/scripts/ZEL_ScriptTypes.def>

#define ZEL_CONDITION_OPERATOR(name, number, text, ...) EXPECT_TRUE(isDocumented(text)) << text;
#include <ZEL/ZEL_ConditionOperators.def>

#define ZEL_SPARE_TOKEN(stem, text) EXPECT_TRUE(isDocumented(text)) << text;
#define ZEL_SPARE_EXTRA_TOKEN(stem, text) EXPECT_TRUE(isDocumented(text)) << text;
#include <ZEL/ZEL_SpareDataTokens.def>
}

/// Places by keyword: a parameter's block, a page.
std::set<std::pair<std::string, std::string>> keywords()
{
    std::set<std::pair<std::string, std::string>> all;
#define ZEL_PARM_KEYWORD(word, ...) all.insert({word, "PARM"});
#define ZEL_PARM_SKIPPED(word, ...) all.insert({word, "PARM"});
#define ZEL_PAGE_KEYWORD(word, ...) all.insert({word, "PAGE"});
#define ZEL_PAGE_SKIPPED(word, ...) all.insert({word, "PAGE"});
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
    return all;
}

TEST(ScriptKeywords, EachHasASentence)
{
    std::set<std::pair<std::string, std::string>> told;
    const auto tell = [&told](const char *word, const char *place, std::string_view sentence) {
        EXPECT_TRUE(told.insert({word, place}).second) << word;
        EXPECT_TRUE(sentence.size() > 5 && sentence.back() == '.') << word;
    };
#define ZEL_KEYWORD_DOC(word, place, sentence)                                                     \
    if (std::string_view(#place) == "BOTH") {                                                      \
        tell(word, "PARM", sentence);                                                              \
        tell(word, "PAGE", sentence);                                                              \
    } else {                                                                                       \
        tell(word, #place, sentence);                                                              \
    }
#include <ZEL/scripts/ZEL_ScriptKeywordDocs.def>
    EXPECT_EQ(told, keywords());
}

TEST(ScriptKeywords, ThePageListsAll)
{
    std::ostringstream list;
    list << "\n| keyword | in | what it does |\n|---|---|---|\n";
    const auto add = [&list](const char *word, std::string_view place, const char *sentence) {
        list << "| `" << word << "` | "
             << (place == "PARM"   ? "a parameter"
                 : place == "PAGE" ? "a page"
                                   : "both")
             << " | " << sentence << " |\n";
    };
#define ZEL_KEYWORD_DOC(word, place, sentence) add(word, #place, sentence);
#include <ZEL/scripts/ZEL_ScriptKeywordDocs.def>
    const std::string page = fileText("docs/dialog-scripts.md");
    const std::size_t mark = page.find("-->\n", page.find(theListHead));
    ASSERT_NE(mark, std::string::npos);
    const std::string head = page.substr(0, mark + 4);
    if (ZEL_UPDATE_GOLDEN) {
        std::ofstream(ZEL_TESTS_DIR "/../docs/dialog-scripts.md") << head << list.str();
    } else {
        EXPECT_EQ(page.substr(head.size()), list.str());
    }
}

// ---------------------------------------------------------------------- //
// Colours
// ---------------------------------------------------------------------- //

/// The words of the alternatives `(?:a|b)` of a rule of the grammar.
std::set<std::string> wordsOfRule(const nlohmann::json &grammar, const std::string &rule)
{
    std::set<std::string> words;
    const std::string match = grammar["repository"][rule]["match"];
    const std::size_t begin = match.find("(?:") + 3;
    std::istringstream list(match.substr(begin, match.find(')', begin) - begin));
    for (std::string word; std::getline(list, word, '|');) {
        words.insert(word);
    }
    return words;
}

TEST(ScriptKeywords, TheGrammarOfEditorsHasThem)
{
    const nlohmann::json grammar =
        nlohmann::json::parse(fileText("tools/editors/dialog-script.tmLanguage.json"));
    std::set<std::string> words;
    std::set<std::string> blocks;
    const std::set<std::string> pages = {"parseGroup", "parseMulti", "parseImportWord",
                                         "parseParm"};
#define ZEL_PARM_KEYWORD(word, ...) words.insert(word);
#define ZEL_PARM_SKIPPED(word, ...) words.insert(word);
#define ZEL_PAGE_SKIPPED(word, ...) words.insert(word);
#define ZEL_PAGE_KEYWORD(word, form, parser, ...)                                                  \
    (pages.count(#parser) ? blocks : words).insert(word);
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
    EXPECT_EQ(wordsOfRule(grammar, "keyword"), words);
    EXPECT_EQ(wordsOfRule(grammar, "block"), blocks);

    std::set<std::string> types;
    const auto addType = [&types](const char *word) {
        if (word) {
            types.insert(word);
        }
    };
#define ZEL_SCRIPT_TYPE(word, otherWord, ...)                                                      \
    addType(word);                                                                                 \
    addType(otherWord);
#include <ZEL/scripts/ZEL_ScriptTypes.def>
    EXPECT_EQ(wordsOfRule(grammar, "type"), types);
}
