// Fuzzes the layout of dialog scripts: of any text the words stay, and a second time changes nothing; what can be
// read says the same afterwards, with the keywords sorted too.

#include "FuzzMemory.h"
#include "FuzzScript.h"

#include <DS/DS_Formatter.h>
#include <KIT/KIT_Error.h>
#include <NOD/NOD_Description.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_UnifiedDifference.h>
#include <TOK/TOK_SourceTokens.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <string>
#include <vector>

namespace
{

/// Blanks at the end of a comment or directive don't count.
std::vector<std::string> wordsOf(const std::string &text)
{
    std::vector<std::string> words;
    const TOK_SourceTokens tokens(text);
    require(!tokens.getFault());
    for (const TOK_SourceTokens::Token &token : tokens.getTokens()) {
        std::string_view word = token.text;
        const bool wordFlag =
            token.kind == TOK_SourceTokens::WORD || token.kind == TOK_SourceTokens::QUOTED;
        while (!wordFlag && !word.empty() &&
               std::isspace(static_cast<unsigned char>(word.back()))) {
            word.remove_suffix(1);
        }
        words.push_back(std::to_string(token.kind) + std::string(word));
    }
    return words;
}

std::string meaning(const std::string &text)
{
    NOD_Report report;
    const auto read = NOD_Interface::fromText(text, "fuzz", report, NOD_Interface::Includes::NONE);
    std::vector<std::string> said;
    for (NOD_Message message : report.getMessages()) {
        message.line = 0;
        said.push_back(message.asText());
    }
    std::sort(said.begin(), said.end());
    std::string all = read ? NODdescriptionJson(NODdescribe(*read)) : "";
    for (const std::string &one : said) {
        all += one;
    }
    return all;
}

std::string formatted(const std::string &text, bool sort)
{
    DS_FormatOptions options;
    options.sort = sort;
    std::string result;
    require(DS_Formatter(options).format(text, result));
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory oracle(size);
    setScriptLimits();
    KIT_ErrorManager::Scope scope(1);
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::string laid;
    if (!DS_Formatter().format(text, laid)) {
        return 0;
    }
    require(wordsOf(laid) == wordsOf(text));
    require(formatted(laid, false) == laid);
    const std::string sorted = formatted(text, true);
    require(formatted(sorted, true) == sorted);
    require(formatted(sorted, false) == sorted);
    const bool sameFlag = NODunifiedDifference(text, laid, "a", "b").empty();
    require(sameFlag == (text == laid));

    const std::string before = meaning(text);
    require(meaning(laid) == before);
    // Macros may make other keywords of keywords.
    if (text.find('#') == std::string::npos && !before.empty() && before[0] == '{') {
        require(meaning(sorted) == before);
    }
    return 0;
}
