/// \file NOD_CompareOptions.h
/// What counts as a difference.
///
/// Vocabulary: *exact* = to the byte of what is saved, as a patch needs it: with the order of entries and what each
///             form has of its own. Else the meaning counts: expressions without the blanks between their words, no
///             number beside a channel, and numbers within the tolerance.
/// Ownership:  owns its texts.
/// Threads:    plain values.
#pragma once

#include <NOD/NOD_Change.h>

#include <string>
#include <vector>

class NOD_Report;

/// Numbers are the same within any of the three.
struct NOD_API NOD_Tolerance
{
    std::string pattern =
        "*"; ///< of tokens, or `:KIND` of NOD_Records.def; the last one that matches counts
    double absolute = 0.0;
    double relative = 0.0; ///< of the larger one
    int lastPlaces = 0;    ///< how many doubles they are apart

    bool allows(double left, double right) const;
    /// `[PATTERN=]NUMBER`, of all kinds of numbers; `NUMBER%` of the larger one, `NUMBERulp` in last places. False
    /// after an error.
    static bool parse(const std::string &text, NOD_Tolerance &tolerance, NOD_Report &report);
};

struct NOD_API NOD_CompareOptions
{
    bool isExact = false;
    std::vector<NOD_Tolerance> tolerances;

    /// Two values of a record of the path.
    bool isSame(const NOD_RecordPath &path, const NOD_Value &left, const NOD_Value &right) const;
    /// Whether the order of the kind's records counts.
    bool hasOrder(NOD_RecordKind kind) const;
    /// Whether records of the kind count at all.
    bool counts(NOD_RecordKind kind) const;
};

/// An expression with the blanks that its language needs: two with the same text are the same expression.
NOD_API std::string NODexpressionWords(const std::string &expression);
