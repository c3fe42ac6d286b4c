/// \file NOD_NoOperatorPrivate.h
/// What people write in conditions where an operator is wanted.
///
/// Threads:    immutable.
#pragma once

#include <ZEL/ZEL_Conditional.h>

#include <string>
#include <string_view>

struct NOD_NoOperator
{
    std::string_view word;
    const char *instead; ///< what it should be; "" if no other word would do

    /// `= is no operator`
    std::string getText() const { return std::string(word) + " is no operator"; }
    /// `== is one`, or "".
    std::string getHint() const
    {
        return *instead ? std::string(instead) + " is one" : std::string();
    }
};

/// Null for any other word.
const NOD_NoOperator *NODfindNoOperator(std::string_view word);
/// Whether a comparison is a `<>`, which is read as less than `>`.
inline bool NODisUnequalSign(ZEL_ConditionalOperator op, std::string_view right)
{
    return op == ZEL_CONDOP_LT && right == ">";
}
