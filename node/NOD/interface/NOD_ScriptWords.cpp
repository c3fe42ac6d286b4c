#include <NOD/interface/NOD_ScriptWordsPrivate.h>

#include <iterator>
#include <map>

namespace
{

/// What the parsers of the table read; of those that aren't here, the form in the table says it.
constexpr std::pair<std::string_view, NOD_ScriptWord::Form> theParsers[] = {
    {"parseCondition", NOD_ScriptWord::CONDITION},
    {"parseGroupCondition", NOD_ScriptWord::CONDITION},
    {"parseTabCondition", NOD_ScriptWord::CONDITION},
    {"parseDefault", NOD_ScriptWord::TEXT},
    {"parseTag", NOD_ScriptWord::PAIRS},
    {"parseGroupTag", NOD_ScriptWord::PAIRS},
    {"parseMenuWord", NOD_ScriptWord::MENU},
    {"parseHelpWord", NOD_ScriptWord::LINES},
    {"parseObsolete", NOD_ScriptWord::NUMBER},
    {"parseParm", NOD_ScriptWord::PARM},
    {"parseGroup", NOD_ScriptWord::PAGE},
    {"parseMulti", NOD_ScriptWord::PAGE},
    {"parseImportWord", NOD_ScriptWord::PAGE},
};

using Words = std::map<std::string_view, NOD_ScriptWord>;

void add(Words &words, const char *word, NOD_ScriptWord::Form form, std::string_view parser)
{
    for (const auto &[name, special] : theParsers) {
        form = name == parser ? special : form;
    }
    words.try_emplace(word, NOD_ScriptWord{word, form});
}

Words makeWords(bool inParm)
{
    using W = NOD_ScriptWord;
    Words parm;
    Words page;
#define ZEL_PARM_KEYWORD(word, form, parser, argument, writer) add(parm, word, W::form, #parser);
#define ZEL_PAGE_KEYWORD(word, form, parser, argument, place) add(page, word, W::form, #parser);
#define ZEL_PARM_SKIPPED(word, count, writer) parm.try_emplace(word, W{word, W::SKIPPED, count});
#define ZEL_PAGE_SKIPPED(word, count)                                                              \
    page.try_emplace(word, W{word, W::SKIPPED, (count) < 0 ? -(count)-1 : (count), (count) < 0});
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
    return inParm ? parm : page;
}

const Words &wordsOf(bool inParm)
{
    static const Words theParm = makeWords(true);
    static const Words thePage = makeWords(false);
    return inParm ? theParm : thePage;
}

std::vector<std::string> namesOf(const Words &words)
{
    std::vector<std::string> names;
    for (const auto &row : words) {
        names.emplace_back(row.first);
    }
    return names;
}

} // namespace

const NOD_ScriptWord *NODfindScriptWord(std::string_view word, bool inParm)
{
    const Words &words = wordsOf(inParm);
    const auto found = words.find(word);
    return found == words.end() ? nullptr : &found->second;
}

const std::vector<std::string> &NODgetScriptWords(bool inParm)
{
    static const std::vector<std::string> theParm = namesOf(wordsOf(true));
    static const std::vector<std::string> thePage = namesOf(wordsOf(false));
    return inParm ? theParm : thePage;
}

const std::vector<std::string> &NODgetScriptTypeWords()
{
    static const std::vector<std::string> theTypes = [] {
        constexpr const char *theWords[] = {
#define ZEL_SCRIPT_TYPE(word, other, ...) word, other,
#include <ZEL/scripts/ZEL_ScriptTypes.def>
        };
        std::vector<std::string> words;
        for (const char *word : theWords) {
            if (word) {
                words.emplace_back(word);
            }
        }
        return words;
    }();
    return theTypes;
}
