#include <DS/format/DS_FormatKeywordsPrivate.h>

#include <ZEL/scripts/ZEL_ScriptShapesPrivate.h>

#include <cstddef>
#include <map>

namespace
{

/// What keywords of a parameter set that others change, read or set too.
enum Part : unsigned
{
    TYPE = 1,
    SIZE = 2,
    DEFAULT = 4,
    MENU = 8,
    SPARE = 16 // the order of tags
};

/// What keywords set and use by their parser; others stand by themselves.
struct Effect
{
    std::string_view parser;
    unsigned sets;
    unsigned uses;
};

constexpr Effect theEffects[] = {
    {"parseType", TYPE | SIZE | SPARE, 0},
    {"parseLook", 0, TYPE},
    {"parseLogarithmic", 0, TYPE},
    {"parseSize", SIZE, TYPE},
    {"parseDefaults", DEFAULT, TYPE | SIZE},
    {"parseMenuWord", MENU, TYPE},
    {"parseTag", SPARE, 0},
    {"parseGroupTag", SPARE, 0},
    {"parseCallback", SPARE, 0},
    {"parseRenderManType", SPARE, 0},
    {"parseOpFilter", SPARE, 0},
    {"parseUnquoted", SPARE, 0},
};

constexpr DS_FormatBlock blockOf(ZEL_ScriptShape shape)
{
    switch (shape) {
    case ZEL_ScriptShape::DEFAULTS: return DS_FormatBlock::DEFAULTS;
    case ZEL_ScriptShape::MENU: return DS_FormatBlock::MENU;
    case ZEL_ScriptShape::TAGS: return DS_FormatBlock::TAGS;
    case ZEL_ScriptShape::CONDITION: return DS_FormatBlock::CONDITIONS;
    case ZEL_ScriptShape::RANGE: return DS_FormatBlock::RANGE;
    case ZEL_ScriptShape::VALUE: return DS_FormatBlock::SINGLE;
    case ZEL_ScriptShape::TEXTS: return DS_FormatBlock::TEXTS;
    case ZEL_ScriptShape::RAW: return DS_FormatBlock::RAW;
    case ZEL_ScriptShape::PARM: return DS_FormatBlock::PARM;
    case ZEL_ScriptShape::GROUP:
    case ZEL_ScriptShape::ITEMS:
    case ZEL_ScriptShape::IMPORT: return DS_FormatBlock::PAGE;
    default: return DS_FormatBlock::NONE;
    }
}

/// Two keywords for one thing, the first being the other's rank.
constexpr std::string_view theSynonyms[][2] = {
    {"defaults", "default"}, {"menu", "menujoin"},   {"menu", "menumini"},
    {"menu", "menureplace"}, {"menu", "menutoggle"}, {"attribute", "parmtag"},
};

using Keywords = std::map<std::string_view, DS_FormatKeyword>;

void add(Keywords &keywords, const ZEL_ScriptKeywordShape &row)
{
    const bool valueFlag =
        row.shape == ZEL_ScriptShape::CONDITION || row.shape == ZEL_ScriptShape::VALUE;
    DS_FormatKeyword keyword{row.word,
                             valueFlag ? 0 : row.count,
                             valueFlag || row.shape == ZEL_ScriptShape::NUMBER,
                             row.skippedFlag,
                             blockOf(row.shape),
                             int(keywords.size()),
                             0,
                             0};
    for (const Effect &effect : theEffects) {
        keyword.sets = effect.parser == row.parser ? effect.sets : keyword.sets;
        keyword.uses = effect.parser == row.parser ? effect.uses : keyword.uses;
    }
    for (const auto &[first, second] : theSynonyms) {
        const auto found = row.word == second ? keywords.find(first) : keywords.end();
        keyword.rank = found == keywords.end() ? keyword.rank : found->second.rank;
    }
    keywords.emplace(row.word, keyword); // one that the grammar knows itself stays
}

template <std::size_t COUNT>
Keywords makeKeywords(const ZEL_ScriptKeywordShape (&rows)[COUNT])
{
    Keywords keywords;
    for (const ZEL_ScriptKeywordShape &row : rows) {
        add(keywords, row);
    }
    return keywords;
}

} // namespace

bool DSisFormatList(DS_FormatBlock block)
{
    switch (block) {
    case DS_FormatBlock::SCRIPT:
    case DS_FormatBlock::DEFAULTS:
    case DS_FormatBlock::TAGS:
    case DS_FormatBlock::RANGE:
    case DS_FormatBlock::SINGLE:
    case DS_FormatBlock::COMPARISONS: return true;
    default: return false;
    }
}

const DS_FormatKeyword *DSfindFormatKeyword(std::string_view word, bool parm)
{
    static const Keywords theParmKeywords = makeKeywords(theZELParmShapes);
    static const Keywords thePageKeywords = makeKeywords(theZELPageShapes);
    const Keywords &keywords = parm ? theParmKeywords : thePageKeywords;
    const auto found = keywords.find(word);
    return found == keywords.end() ? nullptr : &found->second;
}

bool DSisFormatOrder(const DS_FormatKeyword &one, const DS_FormatKeyword &other)
{
    return one.rank == other.rank || (one.sets & (other.sets | other.uses)) != 0 ||
           (other.sets & one.uses) != 0;
}
