/// \file DS_FormatKeywordsPrivate.h
/// What follows each keyword, and which keywords may change places.
#pragma once

#include <string_view>

/// What is between two braces or brackets.
enum class DS_FormatBlock : unsigned char
{
    NONE,
    TOP, ///< outside of all braces
    PAGE,
    PARM,
    MENU,
    SCRIPT, ///< a line of a menu's script
    DEFAULTS,
    TAGS,
    RANGE,
    SINGLE,
    CONDITIONS,
    COMPARISONS,
    TEXTS, ///< a text on each line
    RAW,   ///< stays as it is written
    OTHER
};

/// Whether a block stands on one line if nothing keeps it from doing so.
bool DSisFormatList(DS_FormatBlock block);

struct DS_FormatKeyword
{
    std::string_view word;
    int values;           ///< how many words follow in any case
    bool optional;        ///< a block in the place of its value, or, without a block, a number
    bool skipped;         ///< belongs to the application's own readers
    DS_FormatBlock block; ///< that follows
    int rank;             ///< in the canonical order; synonyms have one
    unsigned sets;        ///< what of a parameter it sets, as bits ...
    unsigned uses;        ///< ... and what it depends on
};

/// Null for a word that is no keyword of a parameter's block, or of a page.
const DS_FormatKeyword *DSfindFormatKeyword(std::string_view word, bool parm);
/// Whether the order of two keywords in a block means something.
bool DSisFormatOrder(const DS_FormatKeyword &one, const DS_FormatKeyword &other);
