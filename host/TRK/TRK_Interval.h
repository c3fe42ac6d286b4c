/// \file TRK_Interval.h
/// The times from one to another, both of them included.
///
/// Units:  seconds. Times are doubles, so an interval that ends before a time ends at the double before it.
#pragma once

#include <algorithm>
#include <limits>

struct TRK_Interval
{
    double first = -std::numeric_limits<double>::infinity();
    double last = std::numeric_limits<double>::infinity();

    static TRK_Interval at(double time) { return {time, time}; }

    bool contains(double time) const { return first <= time && time <= last; }
    bool isForever() const { return *this == TRK_Interval(); }
    /// What both have.
    void meet(const TRK_Interval &other)
    {
        first = std::max(first, other.first);
        last = std::min(last, other.last);
    }
    bool operator==(const TRK_Interval &other) const
    {
        return first == other.first && last == other.last;
    }
};
