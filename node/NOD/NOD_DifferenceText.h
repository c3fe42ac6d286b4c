/// \file NOD_DifferenceText.h
/// A difference as people read it: grouped by what they look for.
///
/// Vocabulary: *group* = the changes of one parameter, channel, declaration or node; its first line names it.
/// Ownership:  owns its texts.
/// Threads:    one thread at a time.
#pragma once

#include <NOD/NOD_API.h>

#include <string>
#include <vector>

class NOD_Difference;
class NOD_Record;

struct NOD_API NOD_DifferenceLine
{
    char
        mark; ///< `+` added, `-` removed, `~` changed, `>` moved or renamed; blank for the name of a group
    std::string text; ///< one line, with its indent and mark
};

/// `top` is the new state, which tells whether a parameter has one component or several; null counts as several.
NOD_API std::vector<NOD_DifferenceLine> NODdifferenceLines(const NOD_Difference &difference,
                                                           const NOD_Record *top);
/// A line for each group with the numbers of what was added, removed, changed, renamed and moved, and one for
/// all.
NOD_API std::vector<NOD_DifferenceLine> NODdifferenceStat(const NOD_Difference &difference);
