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

namespace
{

constexpr int theSmall = 1000;
constexpr int theLarge = 10000;
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
    double small = std::numeric_limits<double>::max();
    double large = small;
    for (auto _ : state) {
        for (int i = 0; i < theLarge / theSmall; ++i) {
            small = std::min(small, measure(operation, theSmall));
        }
        large = std::min(large, measure(operation, theLarge));
    }
    state.counters["small_us"] = small * 1e6;
    state.counters["large_us"] = large * 1e6;
    state.counters["growth"] = large / small;
    state.counters["ns_item"] = large * 1e9 / theLarge;
}

BENCHMARK_CAPTURE(sizes, grow, Operation::GROW);
BENCHMARK_CAPTURE(sizes, insert_front, Operation::INSERT_FRONT);
BENCHMARK_CAPTURE(sizes, remove_front, Operation::REMOVE_FRONT);
BENCHMARK_CAPTURE(sizes, shrink, Operation::SHRINK);

} // namespace

BENCHMARK_MAIN();
