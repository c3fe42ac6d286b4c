#include <DS/format/DS_FormatKeywordsPrivate.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <vector>

namespace
{

enum Form
{
    ALONE,
    WORD,
    BLOCK
};

/// What keywords of a parameter set that others change, read or set too.
enum Part : unsigned
{
    TYPE = 1,
    SIZE = 2,
    DEFAULT = 4,
    MENU = 8,
    SPARE = 16 // the order of tags
};

/// What the parser of a keyword reads: what isn't here is a word, or nothing, that stands by itself.
struct Reader
{
    std::string_view name;
    DS_FormatBlock block;
    unsigned sets;
    unsigned uses;
};

constexpr Reader theReaders[] = {
    {"parseType", DS_FormatBlock::NONE, TYPE | SIZE | SPARE, 0},
    {"parseLook", DS_FormatBlock::NONE, 0, TYPE},
    {"parseLogarithmic", DS_FormatBlock::NONE, 0, TYPE},
    {"parseSize", DS_FormatBlock::NONE, SIZE, TYPE},
    {"parseDefaults", DS_FormatBlock::DEFAULTS, DEFAULT, TYPE | SIZE},
    {"parseMenuWord", DS_FormatBlock::MENU, MENU, TYPE},
    {"parseTag", DS_FormatBlock::TAGS, SPARE, 0},
    {"parseGroupTag", DS_FormatBlock::TAGS, SPARE, 0},
    {"parseCallback", DS_FormatBlock::NONE, SPARE, 0},
    {"parseRenderManType", DS_FormatBlock::NONE, SPARE, 0},
    {"parseOpFilter", DS_FormatBlock::NONE, SPARE, 0},
    {"parseUnquoted", DS_FormatBlock::NONE, SPARE, 0},
    {"parseCondition", DS_FormatBlock::CONDITIONS, 0, 0},
    {"parseGroupCondition", DS_FormatBlock::CONDITIONS, 0, 0},
    {"parseTabCondition", DS_FormatBlock::CONDITIONS, 0, 0},
    {"parseRangeWord", DS_FormatBlock::RANGE, 0, 0},
    {"parseRange", DS_FormatBlock::RANGE, 0, 0},
    {"parseDefault", DS_FormatBlock::SINGLE, 0, 0},
    {"parseHelpWord", DS_FormatBlock::TEXTS, 0, 0},
    {"parseParm", DS_FormatBlock::PARM, 0, 0},
    {"parseGroup", DS_FormatBlock::PAGE, 0, 0},
    {"parseMulti", DS_FormatBlock::PAGE, 0, 0},
    {"parseImportWord", DS_FormatBlock::PAGE, 0, 0},
};

/// Two keywords for one thing, the first being the other's rank.
constexpr std::string_view theSynonyms[][2] = {
    {"defaults", "default"}, {"menu", "menujoin"},   {"menu", "menumini"},
    {"menu", "menureplace"}, {"menu", "menutoggle"}, {"attribute", "parmtag"},
};

using Keywords = std::map<std::string_view, DS_FormatKeyword>;

void add(Keywords &keywords, std::string_view word, Form form, std::string_view parser)
{
    const auto reader = std::find_if(std::begin(theReaders), std::end(theReaders),
                                     [&](const Reader &one) { return one.name == parser; });
    DS_FormatKeyword keyword{word, 0, false, false, DS_FormatBlock::NONE, int(keywords.size()),
                             0,    0};
    if (reader != std::end(theReaders)) {
        keyword.block = reader->block;
        keyword.sets = reader->sets;
        keyword.uses = reader->uses;
    }
    const bool bareFlag = keyword.block == DS_FormatBlock::NONE;
    keyword.values = form == WORD && bareFlag ? 1 : 0;
    keyword.optional = form == WORD ? !bareFlag : parser == "parseObsolete";
    for (const auto &[first, second] : theSynonyms) {
        const auto found = word == second ? keywords.find(first) : keywords.end();
        keyword.rank = found == keywords.end() ? keyword.rank : found->second.rank;
    }
    keywords.emplace(word, keyword);
}

void addSkipped(Keywords &keywords, std::string_view word, int count)
{
    DS_FormatKeyword keyword{word,
                             count < 0 ? -count - 1 : count,
                             false,
                             true,
                             count < 0 ? DS_FormatBlock::RAW : DS_FormatBlock::NONE,
                             int(keywords.size()),
                             0,
                             0};
    keywords.emplace(word, keyword); // one that the grammar knows itself stays
}

Keywords parmKeywords()
{
    Keywords keywords;
#define ZEL_PARM_KEYWORD(word, form, parser, argument, writer) add(keywords, word, form, #parser);
#define ZEL_PARM_SKIPPED(word, count, writer) addSkipped(keywords, word, count);
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
    return keywords;
}

Keywords pageKeywords()
{
    Keywords keywords;
#define ZEL_PAGE_KEYWORD(word, form, parser, argument, place) add(keywords, word, form, #parser);
#define ZEL_PAGE_SKIPPED(word, count) addSkipped(keywords, word, count);
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
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
    static const Keywords theParmKeywords = parmKeywords();
    static const Keywords thePageKeywords = pageKeywords();
    const Keywords &keywords = parm ? theParmKeywords : thePageKeywords;
    const auto found = keywords.find(word);
    return found == keywords.end() ? nullptr : &found->second;
}

bool DSisFormatOrder(const DS_FormatKeyword &one, const DS_FormatKeyword &other)
{
    return one.rank == other.rank || (one.sets & (other.sets | other.uses)) != 0 ||
           (other.sets & one.uses) != 0;
}
