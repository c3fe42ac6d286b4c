// What growing, inserting into and shrinking a multi-parameter of three children costs, at 1,000 and at
// 10,000 items: the larger beside ten times the smaller.
//
// The two sizes run in turn within each benchmark. Counters: `small_us` and `large_us` for one whole
// operation, `growth` their ratio (10 is linear), `ns_item` for an item of the larger.

#include "BenchBeside.h"

#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <limits>
#include <string>

namespace
{

constexpr int theSizes[] = {100, 1000, 10000};
constexpr bool thePropagate = true;

ZEL_Name theChildNames[] = {ZEL_Name("pos#", "Position #"), ZEL_Name("size#", "Size #"),
                            ZEL_Name("count#", "Count #")};
ZEL_Template theChildren[] = {ZEL_Template(ZEL_XYZ, 3, &theChildNames[0]),
                              ZEL_Template(ZEL_FLT, 1, &theChildNames[1]),
                              ZEL_Template(ZEL_INT, 1, &theChildNames[2]), ZEL_Template()};
ZEL_Name thePointsName("points", "Points");
ZEL_Template theTemplates[] = {ZEL_Template(ZEL_MULTITYPE_LIST, theChildren, 1.0, &thePointsName),
                               ZEL_Template()};

struct Points
{
    ZEL_ParmList list{theTemplates, nullptr, nullptr, nullptr, "bench_points", false};

    void resize(int items) { list.setInt(items, "points", 0, 0.0, thePropagate); }
};

enum class Operation
{
    GROW,
    INSERT_FRONT,
    REMOVE_FRONT,
    SHRINK
};

void run(Points &points, Operation operation, int items)
{
    switch (operation) {
    case Operation::GROW: points.resize(items); break;
    case Operation::INSERT_FRONT: points.list.insertMultiParmItem(0, 0); break;
    case Operation::REMOVE_FRONT: points.list.removeMultiParmItem(0, 0); break;
    case Operation::SHRINK: points.resize(0); break;
    }
}

double measure(Operation operation, int items)
{
    Points points;
    if (operation != Operation::GROW) {
        points.resize(items);
    }
    return benchSeconds([&] { run(points, operation, items); });
}

/// The best time of each size counts.
void sizes(benchmark::State &state, Operation operation)
{
    constexpr double theMost = std::numeric_limits<double>::max();
    double best[] = {theMost, theMost, theMost};
    for (auto _ : state) {
        for (int size = 0; size < 3; ++size) {
            for (int items = 0; items < theSizes[2]; items += theSizes[size]) {
                best[size] = std::min(best[size], measure(operation, theSizes[size]));
            }
        }
    }
    for (int size = 0; size < 3; ++size) {
        state.counters["us_" + std::to_string(theSizes[size])] = best[size] * 1e6;
    }
    state.counters["growth"] = best[2] / best[1];
    state.counters["ns_item"] = best[2] * 1e9 / theSizes[2];
}

BENCHMARK_CAPTURE(sizes, grow, Operation::GROW);
BENCHMARK_CAPTURE(sizes, insert_front, Operation::INSERT_FRONT);
BENCHMARK_CAPTURE(sizes, remove_front, Operation::REMOVE_FRONT);
BENCHMARK_CAPTURE(sizes, shrink, Operation::SHRINK);

} // namespace

BENCHMARK_MAIN();
