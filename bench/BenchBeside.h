/// \file BenchBeside.h
/// One operation beside its baseline: both run in turn, and the best time of each counts, so that
/// other load on the machine affects both.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <limits>

struct BenchTimes
{
    double operation = std::numeric_limits<double>::max(); ///< seconds
    double baseline = std::numeric_limits<double>::max();
};

template <class WORK>
double benchSeconds(const WORK &work)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Sets the counters `ns` and `base_ns`, the times of one step of each, and `ratio` of the two. After
/// each run `tidy` cleans up after the operation, untimed.
template <class OPERATION, class BASELINE, class TIDY = void (*)()>
BenchTimes benchBeside(
    benchmark::State &state, double steps, double baseSteps, const OPERATION &operation,
    const BASELINE &baseline, const TIDY &tidy = [] {})
{
    BenchTimes best;
    for (auto _ : state) {
        best.baseline = std::min(best.baseline, benchSeconds(baseline));
        const double time = benchSeconds(operation);
        best.operation = std::min(best.operation, time);
        state.SetIterationTime(time);
        tidy();
    }
    const double ns = best.operation * 1e9 / steps;
    const double baseNs = best.baseline * 1e9 / baseSteps;
    state.counters["ns"] = ns;
    state.counters["base_ns"] = baseNs;
    state.counters["ratio"] = ns / baseNs;
    return best;
}

/// A row for each of three sizes, ten times as large each time.
template <class ROW>
ROW *benchSizes(ROW *row)
{
    return row->Arg(100)->Arg(1000)->Arg(10000)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
