/// \file ZEL_ScriptShapesPrivate.h
/// What follows each keyword of dialog scripts, for those who look at scripts without reading them: the formatter,
/// the check and the rules. From the rows of ZEL_ScriptKeywords.def.
///
/// Vocabulary: *shape* = how many words, or what kind of block.
/// Threads:    immutable.
#pragma once

#include <string_view>
#include <utility>

enum class ZEL_ScriptShape : unsigned char
{
    UNKNOWN,   ///< of no keyword
    WORDS,     ///< as many as `count` says
    NUMBER,    ///< a number, if there is one
    CONDITION, ///< a text, or a block of blocks of comparisons
    VALUE,     ///< a text, in braces or not
    TAGS,      ///< a block of names and values
    RANGE,     ///< a block of two ends
    DEFAULTS,  ///< a block of texts, and of texts with meanings in brackets
    MENU,      ///< a block of tokens and labels, or of scripts in brackets
    TEXTS,     ///< a block of texts, in which braces count
    RAW,       ///< `count` words and a block that the application reads
    PARM,      ///< a parameter's block
    GROUP,     ///< a page's block: of a folder,
    ITEMS,     ///< of the items of a multi-parameter,
    IMPORT     ///< of an import
};

struct ZEL_ScriptKeywordShape
{
    std::string_view word;
    ZEL_ScriptShape shape;
    int count = 0;            ///< of words
    bool skippedFlag = false; ///< a keyword of the application's own readers
    std::string_view parser = {};
};

/// From the form and the parser of a row.
constexpr ZEL_ScriptShape ZELscriptShapeOf(std::string_view form, std::string_view parser)
{
    constexpr std::pair<std::string_view, ZEL_ScriptShape> theParsers[] = {
        {"parseObsolete", ZEL_ScriptShape::NUMBER},
        {"parseCondition", ZEL_ScriptShape::CONDITION},
        {"parseGroupCondition", ZEL_ScriptShape::CONDITION},
        {"parseTabCondition", ZEL_ScriptShape::CONDITION},
        {"parseDefault", ZEL_ScriptShape::VALUE},
        {"parseTag", ZEL_ScriptShape::TAGS},
        {"parseGroupTag", ZEL_ScriptShape::TAGS},
        {"parseRange", ZEL_ScriptShape::RANGE},
        {"parseRangeWord", ZEL_ScriptShape::RANGE},
        {"parseDefaults", ZEL_ScriptShape::DEFAULTS},
        {"parseMenuWord", ZEL_ScriptShape::MENU},
        {"parseHelpWord", ZEL_ScriptShape::TEXTS},
        {"parseParm", ZEL_ScriptShape::PARM},
        {"parseGroup", ZEL_ScriptShape::GROUP},
        {"parseMulti", ZEL_ScriptShape::ITEMS},
        {"parseImportWord", ZEL_ScriptShape::IMPORT},
    };
    for (const auto &row : theParsers) {
        if (row.first == parser) {
            return row.second;
        }
    }
    return form == "BLOCK" ? ZEL_ScriptShape::UNKNOWN : ZEL_ScriptShape::WORDS;
}

constexpr int ZELscriptWordsOf(std::string_view form)
{
    return form == "WORD" ? 1 : 0;
}

/// Those of a parameter's block; of two rows of one word the first counts.
inline constexpr ZEL_ScriptKeywordShape theZELParmShapes[] = {
#define ZEL_PARM_KEYWORD(word, form, parser, argument, writer)                                     \
    {word, ZELscriptShapeOf(#form, #parser), ZELscriptWordsOf(#form), false, #parser},
#define ZEL_PARM_SKIPPED(word, count, writer) {word, ZEL_ScriptShape::WORDS, count, true},
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
};

/// Those of a page.
inline constexpr ZEL_ScriptKeywordShape theZELPageShapes[] = {
#define ZEL_PAGE_KEYWORD(word, form, parser, argument, place)                                      \
    {word, ZELscriptShapeOf(#form, #parser), ZELscriptWordsOf(#form), false, #parser},
#define ZEL_PAGE_SKIPPED(word, count)                                                              \
    {word, (count) < 0 ? ZEL_ScriptShape::RAW : ZEL_ScriptShape::WORDS,                            \
     (count) < 0 ? -(count)-1 : (count), true},
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
};

constexpr bool ZELhasEveryShape()
{
    for (const ZEL_ScriptKeywordShape &row : theZELParmShapes) {
        if (row.shape == ZEL_ScriptShape::UNKNOWN) {
            return false;
        }
    }
    for (const ZEL_ScriptKeywordShape &row : theZELPageShapes) {
        if (row.shape == ZEL_ScriptShape::UNKNOWN) {
            return false;
        }
    }
    return true;
}
static_assert(ZELhasEveryShape(), "a keyword with a block needs its parser's shape");
