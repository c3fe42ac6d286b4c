// Scenes of nodes: what a change costs, and what keeps it cheap.
//
//   conditions/one      a node of 1,000 parameters and 300 conditions: a change that one of them reads, beside
//                       evaluating all
//   conditions/none     the same for a change that none reads
//   graph/make          the edges of all components found anew; time and bytes of one parameter
//   graph/reach         one change that reaches 1,000 components, of fewer nodes all; time of one that it
//                       reaches, beside a walk over an array of arrays of numbers with the same edges
//   graph/batch         the same, and a change in each node beside it, in one batch
//
// The graph's rows at 100, 1,000 and 10,000 nodes of 100 parameters, 10 of them keyed and one driven by an
// expression that reads another node.

#include "BenchBeside.h"
#include "BenchNodes.h"

#include <NOD/NOD_Conditions.h>

#include <benchmark/benchmark.h>

namespace
{

using namespace bench;

NOD_Scene &sceneOf(const benchmark::State &state)
{
    return bench::sceneOf(int(state.range(0)),
                          [](NOD_Scene &scene) { scene.getGraph().update(0.0); });
}

void set(NOD_Node &node, int parm, double value)
{
    constexpr bool propagate = true;
    node.getParms().setFloat(value, node.getParms().getParmPtr(parm)->getToken(), 0, 0.0,
                             propagate);
}

// -------------------------------------------------------------------------- //
// Conditions
// -------------------------------------------------------------------------- //

/// 300 of 1,000 parameters have a condition on another one each.
struct Wide
{
    Wide()
    {
        NOD_InterfaceBuilder builder("bench_wide");
        NOD_Report report;
        for (int i = 0; i < 1000; ++i) {
            auto parm = builder.add(ZEL_FLT, "p" + std::to_string(i) + "_");
            if (i < 300) {
                parm.disableWhen("{ p" + std::to_string(i + 300) + "_ == 1 }");
            }
        }
        node = scene.add("/wide", builder.make(report), report);
        require(node != nullptr, "no node");
    }
    NOD_Scene scene;
    NOD_Node *node = nullptr;
};

void changeOne(benchmark::State &state, int parm, std::uint64_t expected)
{
    constexpr int theSteps = 100;
    Wide wide;
    NOD_Conditions &conditions = wide.scene.getConditions();
    int value = 0;
    const std::uint64_t before = conditions.getNumEvaluated();
    set(*wide.node, parm, ++value % 2);
    require(conditions.getNumEvaluated() - before == expected, "other conditions were evaluated");
    benchBeside(
        state, theSteps, 1,
        [&] {
            for (int i = 0; i < theSteps; ++i) {
                set(*wide.node, parm, ++value % 2);
            }
        },
        [&] { conditions.evaluateAll(); });
}

void conditions_one(benchmark::State &state)
{
    changeOne(state, 300, 1);
}

void conditions_none(benchmark::State &state)
{
    changeOne(state, 900, 0);
}

// -------------------------------------------------------------------------- //
// The graph
// -------------------------------------------------------------------------- //

void graph_make(benchmark::State &state)
{
    NOD_Scene &scene = sceneOf(state);
    NOD_Graph &graph = scene.getGraph();
    const double count = double(state.range(0)) * theParms;
    double best = 1e9;
    for (auto _ : state) {
        const double time = benchSeconds([&] { graph.rebuild(0.0); });
        best = std::min(best, time);
        state.SetIterationTime(time);
    }
    state.counters["ns"] = best * 1e9 / count;
    state.counters["bytes"] = double(graph.getMemoryUsage()) / count;
}

/// The readers of each component of a group, and one walk over them.
class Plain
{
public:
    explicit Plain(int reach) : myReaders(std::size_t(reach)), myMarks(std::size_t(reach))
    {
        myReaders[0].push_back(1);
        for (int i = 2; i < reach; ++i) {
            myReaders[std::size_t((i - 2) / 2 + 1)].push_back(i);
        }
    }
    int walk()
    {
        ++myLast;
        myFound.assign(1, 0);
        for (std::size_t i = 0; i < myFound.size(); ++i) {
            for (const int reader : myReaders[std::size_t(myFound[i])]) {
                if (myMarks[std::size_t(reader)] != myLast) {
                    myMarks[std::size_t(reader)] = myLast;
                    myFound.push_back(reader);
                }
            }
        }
        return int(myFound.size());
    }

private:
    std::vector<std::vector<int>> myReaders;
    std::vector<int> myMarks, myFound;
    int myLast = 0;
};

void graph_reach(benchmark::State &state)
{
    NOD_Scene &scene = sceneOf(state);
    NOD_Node &first = *scene.find(("/" + nodeName(0)).c_str());
    const int reach = reachOf(int(state.range(0)));
    Plain plain(reach);
    int reached = 0;
    double value = 0.0;
    scene.getGraph().setDirtyCallback([&](LNK_MicroNode &) { ++reached; });
    benchBeside(
        state, reach, reach,
        [&] {
            reached = 0;
            set(first, 0, ++value);
        },
        [&] { require(plain.walk() == reach, "the plain walk reaches others"); });
    require(reached == reach, "a change reaches too many or too few");
    scene.getGraph().setDirtyCallback(nullptr);
}

void graph_batch(benchmark::State &state)
{
    NOD_Scene &scene = sceneOf(state);
    const int count = int(state.range(0));
    const int first = reachOf(count);
    int reached = 0;
    double value = 0.0;
    scene.getGraph().setDirtyCallback([&](LNK_MicroNode &) { ++reached; });
    double best = 1e9;
    for (auto _ : state) {
        reached = 0;
        const double time = benchSeconds([&] {
            const NOD_Batch batch(scene);
            set(*scene.getRoot().getChildren()[0], 0, ++value);
            for (const auto &node : scene.getRoot().getChildren()) {
                set(*node, 2, value);
            }
        });
        best = std::min(best, time);
        state.SetIterationTime(time);
    }
    require(reached == first, "a batch reaches too many or too few");
    scene.getGraph().setDirtyCallback(nullptr);
    state.counters["ns"] = best * 1e9 / (count + 1);
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::RegisterBenchmark("conditions/one", conditions_one)->UseManualTime();
    benchmark::RegisterBenchmark("conditions/none", conditions_none)->UseManualTime();
    benchSizes(benchmark::RegisterBenchmark("graph/make", graph_make));
    benchSizes(benchmark::RegisterBenchmark("graph/reach", graph_reach));
    benchSizes(benchmark::RegisterBenchmark("graph/batch", graph_batch));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
