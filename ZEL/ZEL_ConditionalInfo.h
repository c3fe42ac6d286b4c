/// \file ZEL_ConditionalInfo.h
/// One brace group of a condition: comparisons that must all hold.
///
/// Vocabulary: *comparison* = left operand, operator, right operand. The left operand is the token,
///             channel token or alias of the *control parameter*, or an expression when it ends in
///             ")". `{ a == 1 b != 2 }` is one group of two comparisons.
/// Ownership:  owns copies of the operands. Copies share the regular expressions that evaluation has
///             compiled.
/// Threads:    const calls from any thread; changes by one thread at a time.
#pragma once

#include <KIT/KIT_Array.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>
#include <memory>

class KIT_StringHolder;
class ZEL_ConditionPattern;

/// How a comparison compares; ZEL_ConditionOperators.def describes each in its row.
enum ZEL_ConditionalOperator : int32_t
{
#define ZEL_CONDITION_OPERATOR(name, number, text, numbers, texts, missing) name = number,
#include <ZEL/ZEL_ConditionOperators.def>
};

class ZEL_API ZEL_ConditionalInfo
{
public:
    void addCondition(const KIT_StringHolder &parm, const KIT_StringHolder &value,
                      ZEL_ConditionalOperator op);
    void clear();

    // ---------------------------------------------------------------- //
    /// \name Three lists of one length, in the order of the comparisons
    // ---------------------------------------------------------------- //
    const KIT_StringArray &getControlParms() const { return myControlParms; }
    const KIT_StringArray &getControlValues() const { return myControlValues; }
    const KIT_ValArray<ZEL_ConditionalOperator> &getOperators() const { return myOperators; }
    int entries() const { return int(myOperators.entries()); }
    /// The right operand of a comparison by "=~" or "!~", for its evaluation; null of any other.
    const ZEL_ConditionPattern *getPattern(int index) const
    {
        return myPatterns.isValidIndex(index) ? myPatterns(index).get() : nullptr;
    }

    /// A copy in which each `#` of an operand is replaced by its number (`ZELinstanceString`, as in
    /// a label); the caller owns it.
    ZEL_ConditionalInfo *instance(const KIT_ValArray<int> &instances) const;

    /// Heap bytes, and the object itself when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;
    /// Whether an operand has a `#`.
    bool hasItemNumbers() const { return myNumbersFlag; }

private:
    KIT_StringArray myControlParms;
    KIT_StringArray myControlValues;
    KIT_ValArray<ZEL_ConditionalOperator> myOperators;
    KIT_Array<std::shared_ptr<const ZEL_ConditionPattern>> myPatterns; // up to the last there is
    bool myNumbersFlag = false;
};
