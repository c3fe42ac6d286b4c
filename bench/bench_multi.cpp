// What growing, inserting into, shrinking and destroying a multi-parameter costs, at 1,000 and at 10,000
// items: the larger beside ten times the smaller. Items have three numbers, a number with an expression, or
// a ramp.
//
// The two sizes run in turn within each benchmark. Counters: `small_us` and `large_us` for one whole
// operation, `growth` their ratio (10 is linear), `ns_item` for an item of the larger.

#include "BenchBeside.h"

#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <limits>
#include <memory>
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

ZEL_Name theDrivenName("driven#", "Driven #");
ZEL_Default theDrivenDefault(1.0, "$F+1");
ZEL_Template theDriven[] = {ZEL_Template(ZEL_FLT, 1, &theDrivenName, &theDrivenDefault),
                            ZEL_Template()};
ZEL_Template theDrivenTemplates[] = {
    ZEL_Template(ZEL_MULTITYPE_LIST, theDriven, 1.0, &thePointsName), ZEL_Template()};

ZEL_Name theRampName("ramp#", "Ramp #");
ZEL_Template theRamps[] = {ZEL_Template(ZEL_MULTITYPE_RAMP_FLT, nullptr, 1.0, &theRampName),
                           ZEL_Template()};
ZEL_Template theRampTemplates[] = {ZEL_Template(ZEL_MULTITYPE_LIST, theRamps, 1.0, &thePointsName),
                                   ZEL_Template()};

struct Points
{
    explicit Points(ZEL_Template *templates)
        : list(std::make_unique<ZEL_ParmList>(templates, &channels, nullptr, nullptr, "", false))
    {}

    TRK_Collection channels;
    std::unique_ptr<ZEL_ParmList> list;

    /// Gives each ramp a key that stands after all other items.
    void addKeys(int items)
    {
        for (int i = 1; i <= items; ++i) {
            const std::string ramp = "ramp" + std::to_string(i);
            list->setInt(2, ramp.c_str(), 0, 0.0, thePropagate);
        }
    }
    void resize(int items) { list->setInt(items, "points", 0, 0.0, thePropagate); }
};

enum class Operation
{
    GROW,
    INSERT_FRONT,
    REMOVE_FRONT,
    SHRINK,
    SHRINK_LATE_KEYS,
    DESTROY
};

void run(Points &points, Operation operation, int items)
{
    switch (operation) {
    case Operation::GROW: points.resize(items); break;
    case Operation::INSERT_FRONT: points.list->insertMultiParmItem(0, 0); break;
    case Operation::REMOVE_FRONT: points.list->removeMultiParmItem(0, 0); break;
    case Operation::SHRINK:
    case Operation::SHRINK_LATE_KEYS: points.resize(0); break;
    case Operation::DESTROY: points.list.reset(); break;
    }
}

double measure(ZEL_Template *templates, Operation operation, int items)
{
    Points points(templates);
    if (operation != Operation::GROW) {
        points.resize(items);
    }
    if (operation == Operation::SHRINK_LATE_KEYS) {
        points.addKeys(items);
    }
    return benchSeconds([&] { run(points, operation, items); });
}

/// The best time of each size counts.
void sizes(benchmark::State &state, ZEL_Template *templates, Operation operation)
{
    constexpr double theMost = std::numeric_limits<double>::max();
    double best[] = {theMost, theMost, theMost};
    for (auto _ : state) {
        for (int size = 0; size < 3; ++size) {
            for (int items = 0; items < theSizes[2]; items += theSizes[size]) {
                best[size] = std::min(best[size], measure(templates, operation, theSizes[size]));
            }
        }
    }
    for (int size = 0; size < 3; ++size) {
        state.counters["us_" + std::to_string(theSizes[size])] = best[size] * 1e6;
    }
    state.counters["growth"] = best[2] / best[1];
    state.counters["ns_item"] = best[2] * 1e9 / theSizes[2];
}

BENCHMARK_CAPTURE(sizes, grow, theTemplates, Operation::GROW);
BENCHMARK_CAPTURE(sizes, insert_front, theTemplates, Operation::INSERT_FRONT);
BENCHMARK_CAPTURE(sizes, remove_front, theTemplates, Operation::REMOVE_FRONT);
BENCHMARK_CAPTURE(sizes, shrink, theTemplates, Operation::SHRINK);
BENCHMARK_CAPTURE(sizes, grow_driven, theDrivenTemplates, Operation::GROW);
BENCHMARK_CAPTURE(sizes, shrink_driven, theDrivenTemplates, Operation::SHRINK);
BENCHMARK_CAPTURE(sizes, grow_ramps, theRampTemplates, Operation::GROW);
BENCHMARK_CAPTURE(sizes, shrink_ramps, theRampTemplates, Operation::SHRINK);
BENCHMARK_CAPTURE(sizes, shrink_late_keys, theRampTemplates, Operation::SHRINK_LATE_KEYS);
BENCHMARK_CAPTURE(sizes, destroy_ramps, theRampTemplates, Operation::DESTROY);

} // namespace

BENCHMARK_MAIN();
