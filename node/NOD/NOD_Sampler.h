/// \file NOD_Sampler.h
/// Numbers of many components at many times, on all cores: what plots, caches and exports read.
///
///     NOD_Sampler sampler;
///     for (const NOD_Place &place : NODfindPlaces(scene.getRoot(), "/rig/*/t", report)) {
///         sampler.add(place, report);
///     }
///     std::vector<double> rows(times.size() * sampler.getWidth());
///     NOD_SampleFault fault;
///     sampler.sample(times.data(), times.size(), rows.data(), fault);
///
/// Vocabulary: *column* = a component; *row* = all columns at one time.
/// Units:      times in seconds. Rows lie one after another.
/// Ownership:  borrows parameters: none may be added or removed between add() and the last sample().
/// Threads:    sample() is a reading, and starts workers of oneTBB; add() is as a look-up.
/// Errors:     a column must be numbers. What fails to be evaluated is what a read of it gives, 0 as a rule, and counted.
/// Cost:       for each value the read of the parameter; no allocation but in expressions.
#pragma once

#include <NOD/NOD_API.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

class NOD_Report;
class ZEL_Parm;
struct NOD_Place;

/// What couldn't be evaluated: how much, and the first in the order of the rows.
struct NOD_SampleFault
{
    std::int64_t count = 0;
    std::size_t row = 0;
    std::size_t column = 0;
    int number = 0; ///< EVL's, 0 where there is only a message
};

class NOD_API NOD_Sampler
{
public:
    /// A worker's share of the rows, within what a caller's own threads need around it.
    using Around = std::function<void(const std::function<void()> &share)>;

    /// One more column for each component. False, with an error, for what isn't there or has no numbers.
    bool add(const NOD_Place &place, NOD_Report &report);
    std::size_t getWidth() const { return myColumns.size(); }
    /// The parameter and component of a column.
    const ZEL_Parm &getParm(std::size_t column) const { return *myColumns[column].parm; }
    int getComponent(std::size_t column) const { return myColumns[column].index; }

    /// Fills `count` rows of getWidth() numbers.
    void sample(const double *times, std::size_t count, double *rows, NOD_SampleFault &fault,
                const Around &around = {}) const;

private:
    struct Column
    {
        const ZEL_Parm *parm;
        int index;
    };

    std::vector<Column> myColumns;
};
