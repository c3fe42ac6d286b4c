/// \file ZEL_Range.h
/// The limits of a number; each applies to the user interface, the value, or both.
///
/// Vocabulary: *UI limit* = where a slider ends; *hard limit* = a bound that values are clamped to.
/// Units:      those of the value.
/// Threads:    const calls from any thread.
/// Cost:       everything is inline.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cfloat>
#include <cstdint>

/// What a limit applies to, as a bit set.
enum ZEL_RangeFlag : int32_t
{
    ZEL_RANGE_FREE = 0,   ///< no limit
    ZEL_RANGE_UI = 0x1,   ///< limits the user interface
    ZEL_RANGE_PARM = 0x2, ///< hard: limits the value
    ZEL_RANGE_HARD = 0x3  ///< both
};

class ZEL_API ZEL_Range
{
public:
    /// UI limits 0 and 1, no hard limits.
    constexpr ZEL_Range() noexcept {}
    constexpr ZEL_Range(ZEL_RangeFlag minFlag, double min, ZEL_RangeFlag maxFlag,
                        double max) noexcept
        : myMinFlag(minFlag), myMaxFlag(maxFlag), myMin(min), myMax(max)
    {}

    ZEL_RangeFlag getMinFlag() const { return myMinFlag; }
    ZEL_RangeFlag getMaxFlag() const { return myMaxFlag; }

    bool hasUIMin() const { return (myMinFlag & ZEL_RANGE_UI) != 0; }
    bool hasUIMax() const { return (myMaxFlag & ZEL_RANGE_UI) != 0; }
    bool hasParmMin() const { return (myMinFlag & ZEL_RANGE_PARM) != 0; }
    bool hasParmMax() const { return (myMaxFlag & ZEL_RANGE_PARM) != 0; }

    /// The stored minimum whichever bit is set; the lowest double when none is.
    double getUIMin() const { return myMinFlag ? myMin : -DBL_MAX; }
    /// The stored maximum whichever bit is set; the highest double when none is.
    double getUIMax() const { return myMaxFlag ? myMax : DBL_MAX; }
    /// The same as getUIMin() and getUIMax().
    double getParmMin() const { return getUIMin(); }
    double getParmMax() const { return getUIMax(); }

    /// The value clamped to the hard limits. A value below the minimum becomes the minimum, even
    /// if the maximum is lower still.
    double constrain(double value) const { return constrain(hasParmMin(), hasParmMax(), value); }
    /// The same with two switches instead of the hard bits.
    double constrain(bool useMin, bool useMax, double value) const
    {
        if (useMin && value < myMin) {
            return myMin;
        }
        if (useMax && value > myMax) {
            return myMax;
        }
        return value;
    }

    int64_t getMemoryUsage(bool inclusive) const
    {
        return inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    }

private:
    ZEL_RangeFlag myMinFlag = ZEL_RANGE_UI;
    ZEL_RangeFlag myMaxFlag = ZEL_RANGE_UI;
    double myMin = 0.0;
    double myMax = 1.0;
};
