/// \file ZEL_ConditionPatternPrivate.h
/// The right operand of a comparison with a regular expression, compiled by the first that needs it.
///
/// Ownership:  shared by all copies of a condition, so that a block's items have one. An operand with
///             item numbers is its item's own, and knows the block's.
/// Threads:    any. One thread compiles at a time; what is compiled is found without a lock. (Matching
///             takes the expression's own lock for the states that it has built.)
/// Errors:     an expression that isn't valid matches nothing, in silence. One that is too large, or
///             that no memory is left for, does too, and is reported once: ZEL_ERR_PATTERN_TOO_LARGE.
/// Cost:       an atomic load once compiled. An expression takes at most theMaxBytes. When all of the
///             process take theMaxTotalBytes, operands with item numbers are given up, since a few
///             bytes of script make any number of them, and others may take theSmallBytes.
#pragma once

#include <KIT/KIT_Regex.h>
#include <KIT/KIT_StringHolder.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

class ZEL_ConditionPattern
{
public:
    static constexpr std::size_t theMaxBytes = 256 << 10;
    static constexpr std::size_t theSmallBytes = 64 << 10;
    static constexpr std::int64_t theMaxTotalBytes = 32 << 20;

    /// `block` is the operand that still has its "#", or null.
    ZEL_ConditionPattern(const char *text, std::shared_ptr<const ZEL_ConditionPattern> block);
    ~ZEL_ConditionPattern();
    ZEL_ConditionPattern(const ZEL_ConditionPattern &) = delete;
    ZEL_ConditionPattern &operator=(const ZEL_ConditionPattern &) = delete;

    /// Whether the whole value matches, or doesn't, as wanted. False if the expression isn't valid.
    bool matches(const char *value, bool wanted) const
    {
        const KIT_Regex *regex = myRegex.load(std::memory_order_acquire);
        regex = regex ? regex : compile();
        return regex && regex->isValid() && regex->match(value) == wanted;
    }

private:
    __attribute__((noinline)) const KIT_Regex *compile() const;
    void reportTooLarge() const;

    const KIT_StringHolder myText;
    const std::shared_ptr<const ZEL_ConditionPattern> myBlock;
    mutable std::atomic<const KIT_Regex *> myRegex{nullptr}; // owned
    mutable std::int64_t myCharge = 0;                       // in the total
    mutable std::atomic<bool> myReportedFlag{false};
};
