#include <NOD/interface/NOD_ScriptWordsPrivate.h>

#include <TRK/TRK_Types.h>
#include <ZEL/scripts/ZEL_ScriptShapesPrivate.h>

#include <cstddef>
#include <map>

namespace
{

constexpr NOD_ScriptWord::Form formOf(const ZEL_ScriptKeywordShape &row)
{
    switch (row.shape) {
    case ZEL_ScriptShape::NUMBER: return NOD_ScriptWord::NUMBER;
    case ZEL_ScriptShape::CONDITION: return NOD_ScriptWord::CONDITION;
    case ZEL_ScriptShape::VALUE: return NOD_ScriptWord::TEXT;
    case ZEL_ScriptShape::TAGS: return NOD_ScriptWord::PAIRS;
    case ZEL_ScriptShape::RANGE:
    case ZEL_ScriptShape::DEFAULTS: return NOD_ScriptWord::BLOCK;
    case ZEL_ScriptShape::MENU: return NOD_ScriptWord::MENU;
    case ZEL_ScriptShape::TEXTS: return NOD_ScriptWord::LINES;
    case ZEL_ScriptShape::PARM: return NOD_ScriptWord::PARM;
    case ZEL_ScriptShape::GROUP:
    case ZEL_ScriptShape::ITEMS:
    case ZEL_ScriptShape::IMPORT: return NOD_ScriptWord::PAGE;
    default: break;
    }
    return row.skippedFlag ? NOD_ScriptWord::SKIPPED
           : row.count > 0 ? NOD_ScriptWord::WORD
                           : NOD_ScriptWord::ALONE;
}

using Words = std::map<std::string_view, NOD_ScriptWord>;

template <std::size_t COUNT>
Words makeWords(const ZEL_ScriptKeywordShape (&rows)[COUNT])
{
    Words words;
    for (const ZEL_ScriptKeywordShape &row : rows) {
        const bool blockFlag = row.shape == ZEL_ScriptShape::RAW;
        const int skipped = row.skippedFlag ? row.count : 0;
        words.try_emplace(row.word,
                          NOD_ScriptWord{row.word.data(), formOf(row), skipped, blockFlag});
    }
    return words;
}

const Words &wordsOf(bool inParm)
{
    static const Words theParm = makeWords(theZELParmShapes);
    static const Words thePage = makeWords(theZELPageShapes);
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

const std::vector<std::string> &NODgetMeaningWords()
{
    static const std::vector<std::string> theMeanings = [] {
        std::vector<std::string> words;
        for (const TRK_StringMeaning meaning : {TRK_MEANING_LITERAL, TRK_MEANING_NATIVE,
                                                TRK_MEANING_PYTHON, TRK_MEANING_COLLECTION}) {
            words.emplace_back(TRKmeaningToString(meaning));
        }
        return words;
    }();
    return theMeanings;
}

const std::vector<std::string> &NODgetLanguageWords()
{
    static const std::vector<std::string> theLanguages = {"python", "command"};
    return theLanguages;
}

const std::vector<std::string> &NODgetExportWords()
{
    static const std::vector<std::string> theExports = {"none", "dialog", "all"};
    return theExports;
}
