// What dirtiness costs in the dependency graph of parameters, beside a plain breadth-first search
// over adjacency lists with the same edges.
//
//     reach_all        one change at the root of a graph, which reaches every component
//     reach_all_plain  the same search over an array of arrays of numbers
//     changed_walk     a list of which one component has changed is asked to push all changes
//     unused_walk      the same for a list without graph nodes
//     make_nodes       the nodes of all components, made on first request
//
// At 400, 10,000 and 100,000 components in lists of 100 vectors of 4; each component but the first
// reads two earlier ones. Counter `component`: time for each component reached, or in the list.

#include <LNK/LNK_MicroNode.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int theVectors = 100;
constexpr int theSize = 4;
constexpr int theListSize = theVectors * theSize;
constexpr bool theChangedOnly = false;

class Templates
{
public:
    Templates()
    {
        for (int i = 0; i < theVectors; ++i) {
            const std::string token = "v" + std::to_string(i) + "_";
            myNames[i].setTokenAndLabel(token.c_str(), token.c_str());
            myTemplates[i] = ZEL_Template(ZEL_Type(ZEL_FLT), theSize, &myNames[i]);
        }
    }
    ZEL_Template *get() { return myTemplates; }

private:
    ZEL_Name myNames[theVectors];
    ZEL_Template myTemplates[theVectors + 1];
};

ZEL_Template *templates()
{
    static Templates theTemplates;
    return theTemplates.get();
}

std::unique_ptr<ZEL_ParmList> makeList()
{
    auto list = std::make_unique<ZEL_ParmList>(templates(), nullptr, nullptr, nullptr,
                                               "bench_graph", false);
    list->propagateDirtyParmMicroNodes(-1, nullptr, nullptr, theChangedOnly);
    return list;
}

/// The same graph twice: of graph nodes, and of numbers.
struct Graph
{
    explicit Graph(int count) : readers(std::size_t(count))
    {
        for (int i = 0; i * theListSize < count; ++i) {
            lists.push_back(makeList());
        }
        std::mt19937 random(1);
        for (int i = 1; i < count; ++i) {
            for (int k = 0; k < 2; ++k) {
                const int source = std::uniform_int_distribution<int>(0, i - 1)(random);
                if (node(i)->addExplicitInput(*node(source))) {
                    readers[std::size_t(source)].push_back(i);
                }
            }
        }
        // So that the first reaches all of them.
        for (int i = 1; i < count; i += 100) {
            if (node(i)->addExplicitInput(*node(0))) {
                readers[0].push_back(i);
            }
        }
    }

    ZEL_ParmMicroNode *node(int component)
    {
        ZEL_ParmList &list = *lists[std::size_t(component / theListSize)];
        return list.parmMicroNode(component / theSize % theVectors, component % theSize);
    }

    std::vector<std::unique_ptr<ZEL_ParmList>> lists;
    std::vector<std::vector<int>> readers;
};

void report(benchmark::State &state, std::int64_t count)
{
    state.counters["component"] = benchmark::Counter(
        double(count), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void reach_all(benchmark::State &state)
{
    Graph graph{int(state.range(0))};
    ZEL_ParmList &list = *graph.lists[0];
    std::int64_t reached = 0;
    for (auto _ : state) {
        reached = 0;
        list.getParmPtr(0)->getInstance()->setSendExtra(0);
        list.propagateDirtyParmMicroNodes(
            0, [&reached](LNK_MicroNode &) { ++reached; }, nullptr, theChangedOnly);
    }
    if (reached != state.range(0)) {
        state.SkipWithError("not all components were reached");
    }
    report(state, reached);
}

void reach_all_plain(benchmark::State &state)
{
    const Graph graph{int(state.range(0))};
    std::vector<std::uint32_t> marks(graph.readers.size(), 0);
    std::vector<std::uint8_t> dirty(graph.readers.size(), 0);
    std::vector<int> open;
    std::uint32_t mark = 0;
    std::int64_t reached = 0;
    for (auto _ : state) {
        ++mark;
        open.assign(1, 0);
        marks[0] = mark;
        for (std::size_t i = 0; i < open.size(); ++i) {
            for (const int reader : graph.readers[std::size_t(open[i])]) {
                if (marks[std::size_t(reader)] != mark) {
                    marks[std::size_t(reader)] = mark;
                    open.push_back(reader);
                }
            }
        }
        reached = 0;
        for (const int each : open) {
            dirty[std::size_t(each)] = 1;
            ++reached;
        }
        benchmark::DoNotOptimize(dirty.data());
    }
    if (reached != state.range(0)) {
        state.SkipWithError("not all components were reached");
    }
    report(state, reached);
}

/// A push over as many lists as hold the components, with one change in each.
void walk(benchmark::State &state, bool withNodes)
{
    std::vector<std::unique_ptr<ZEL_ParmList>> lists;
    for (int i = 0; i * theListSize < state.range(0); ++i) {
        lists.push_back(makeList());
        for (int k = 0; withNodes && k < theVectors; ++k) {
            lists.back()->parmMicroNode(k, 0);
        }
    }
    std::int64_t pushed = 0;
    for (auto _ : state) {
        for (const std::unique_ptr<ZEL_ParmList> &list : lists) {
            list->getParmPtr(theVectors / 2)->getInstance()->setSendExtra(1);
            list->propagateDirtyParmMicroNodes(
                -1, [&pushed](LNK_MicroNode &) { ++pushed; }, nullptr, theChangedOnly);
        }
    }
    benchmark::DoNotOptimize(pushed);
    report(state, std::int64_t(lists.size()) * theListSize);
}

void changed_walk(benchmark::State &state)
{
    walk(state, true);
}

void unused_walk(benchmark::State &state)
{
    walk(state, false);
}

void make_nodes(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<std::unique_ptr<ZEL_ParmList>> lists;
        for (int i = 0; i * theListSize < state.range(0); ++i) {
            lists.push_back(makeList());
        }
        state.ResumeTiming();
        for (const std::unique_ptr<ZEL_ParmList> &list : lists) {
            for (int k = 0; k < theVectors; ++k) {
                benchmark::DoNotOptimize(list->parmMicroNode(k, 0));
            }
        }
        state.PauseTiming();
        lists.clear();
        state.ResumeTiming();
    }
    report(state, (state.range(0) + theListSize - 1) / theListSize * theListSize);
}

void sizes(benchmark::internal::Benchmark *row)
{
    row->Arg(400)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(reach_all)->Apply(sizes);
BENCHMARK(reach_all_plain)->Apply(sizes);
BENCHMARK(changed_walk)->Apply(sizes);
BENCHMARK(unused_walk)->Apply(sizes);
BENCHMARK(make_nodes)->Apply(sizes);

} // namespace

BENCHMARK_MAIN();
