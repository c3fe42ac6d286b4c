// The tables of the language's words against its documentation and the script that shows them all.

#include <DS/DS_Stream.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
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
    const std::string page = fileText("docs/dialog-scripts.md");
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
