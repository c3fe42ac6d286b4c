// Scenes of nodes: what a change costs, and what keeps it cheap.
//
//   conditions/one      a node of 1,000 parameters and 300 conditions: a change that one of them reads, beside
//                       evaluating all
//   conditions/none     the same for a change that none reads
//   graph/make          the edges of all components found anew; time and bytes of one parameter
//   graph/reach         one change that reaches 1,000 components, of fewer nodes all; time of one that it
//                       reaches, beside a walk over an array of arrays of numbers with the same edges
//   graph/batch         the same, and a change in each node beside it, in one batch
//   tree/rename         of a node that two others read, with its step of undo; time of one, after the first,
//                       which reads the expressions of the whole scene
//   tree/move           of the same into another node and back
//   tree/copy           of the same
//   tree/remove         of that copy
//   undo/keys           keys of one channel, one after the other, each a step: 100, 1,000 and 10,000 of them;
//                       time and bytes of a step
//   undo/blocks         undo and redo of a step that gives each of so many blocks three items; of one block
//
// The graph's and the tree's rows at 100, 1,000 and 10,000 nodes of 100 parameters, 10 of them keyed and one driven by an
// expression that reads another node.

#include "BenchBeside.h"
#include "BenchNodes.h"

#include <NOD/NOD_Conditions.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_UndoStack.h>
#include <TRK/TRK_Channel.h>

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

// -------------------------------------------------------------------------- //
// The tree
// -------------------------------------------------------------------------- //

/// The best time of one call, in counter `us`; after each, untimed, `back`.
template <class Call, class Back>
void timeEach(benchmark::State &state, const Call &call, const Back &back)
{
    double best = 1e9;
    for (auto _ : state) {
        const double time = benchSeconds(call);
        best = std::min(best, time);
        state.SetIterationTime(time);
        back();
    }
    state.counters["us"] = best * 1e6;
}

void renameTo(NOD_Scene &scene, NOD_Node &node, const std::string &name)
{
    NOD_Report report;
    require(scene.rename(node, name, report) && report.isEmpty(), "no rename");
}

/// A node in the middle that two others read, the first of which is found by its expression.
NOD_Node &middleOf(NOD_Scene &scene, int count)
{
    constexpr int theMiddle = 40;
    require(count > 2 * theMiddle + 2, "too few nodes");
    NOD_Node &node = *scene.find(("/" + nodeName(theMiddle)).c_str());
    // The first change of the tree reads the expressions of all nodes.
    renameTo(scene, node, "first");
    renameTo(scene, node, nodeName(theMiddle));
    return node;
}

void requireReader(NOD_Scene &scene, const std::string &path)
{
    const NOD_Node &reader = *scene.find(("/" + nodeName(81)).c_str());
    KIT_String text;
    reader.getParms().getParmPtr(theReader)->getChannel(0)->getExpression(0.0, text);
    require(text.toStdString().find("\"" + path + "/") != std::string::npos,
            "a reference was not rewritten");
}

void tree_rename(benchmark::State &state)
{
    NOD_Scene &scene = sceneOf(state);
    NOD_Node &node = middleOf(scene, int(state.range(0)));
    const std::string name = node.getName();
    timeEach(
        state, [&] { renameTo(scene, node, "renamed"); },
        [&] {
            requireReader(scene, "../renamed");
            renameTo(scene, node, name);
        });
}

void tree_move(benchmark::State &state)
{
    NOD_Scene &scene = sceneOf(state);
    NOD_Node &node = middleOf(scene, int(state.range(0)));
    NOD_Node &parent = *scene.find(("/" + nodeName(0)).c_str());
    NOD_Report report;
    timeEach(
        state, [&] { scene.move(node, parent, report); },
        [&] {
            requireReader(scene, "../node0/node40");
            scene.move(node, scene.getRoot(), report);
        });
    require(report.isEmpty(), "no move");
}

void tree_copy(benchmark::State &state)
{
    NOD_Scene &scene = sceneOf(state);
    NOD_Node &node = middleOf(scene, int(state.range(0)));
    NOD_Report report;
    NOD_Node *copy = nullptr;
    timeEach(
        state, [&] { copy = scene.copy(node, scene.getRoot(), "copied", report); },
        [&] { require(scene.remove(*copy, report) && report.isEmpty(), "no copy"); });
}

void tree_remove(benchmark::State &state)
{
    NOD_Scene &scene = sceneOf(state);
    NOD_Node &node = middleOf(scene, int(state.range(0)));
    NOD_Report report;
    const auto copy = [&] { return scene.copy(node, scene.getRoot(), "copied", report); };
    NOD_Node *copied = copy();
    timeEach(
        state, [&] { scene.remove(*copied, report); }, [&] { copied = copy(); });
    require(scene.remove(*copied, report) && report.isEmpty(), "no copy");
}

// -------------------------------------------------------------------------- //
// Undo
// -------------------------------------------------------------------------- //

void undo_keys(benchmark::State &state)
{
    const int count = int(state.range(0));
    double best = 1e9;
    double bytes = 0.0;
    for (auto _ : state) {
        NOD_Scene scene;
        NOD_Report report;
        NOD_Node &node = *scene.add("/node", makeNodeType(), report);
        NOD_UndoStack &undo = scene.getUndo();
        undo.setLimits(std::size_t(count), std::int64_t(1) << 40);
        undo.clear();
        const double time = benchSeconds([&] {
            for (int i = 0; i < count; ++i) {
                NOD_Edit(scene, "key").key(node, nameOf(0), double(i), numberOf(0, 0, 0, i % 3));
            }
        });
        best = std::min(best, time);
        bytes = double(undo.getMemoryUsage());
        require(undo.getUndoCount() == std::size_t(count), "not all keys are steps");
        state.SetIterationTime(time);
    }
    state.counters["us"] = best * 1e6 / count;
    state.counters["bytes"] = bytes / count;
}

void undo_blocks(benchmark::State &state)
{
    const int count = int(state.range(0));
    NOD_InterfaceBuilder builder("bench_blocks");
    NOD_Report report;
    for (int i = 0; i < count; ++i) {
        const std::string name = "b" + std::to_string(i) + "_";
        builder.block(name, "Block",
                      [&](NOD_InterfaceBuilder &items) { items.add(ZEL_FLT, name + "v#"); });
    }
    NOD_Scene scene;
    NOD_Node *const node = scene.add("/blocks", builder.make(report), report);
    require(node != nullptr, "no node");
    {
        NOD_Edit edit(scene, "items");
        for (int i = 0; i < count; ++i) {
            edit.set(*node, "b" + std::to_string(i) + "_", 3);
        }
    }
    const int full = node->getParms().getEntries();
    double best = 1e9;
    for (auto _ : state) {
        const double time = benchSeconds([&] { scene.getUndo().undo(); });
        require(node->getParms().getEntries() < full, "the items stay");
        const double again = benchSeconds([&] { scene.getUndo().redo(); });
        require(node->getParms().getEntries() == full, "the items don't come back");
        best = std::min(best, time + again);
        state.SetIterationTime(time + again);
    }
    state.counters["us"] = best * 1e6 / count;
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::RegisterBenchmark("conditions/one", conditions_one)->UseManualTime();
    benchmark::RegisterBenchmark("conditions/none", conditions_none)->UseManualTime();
    benchSizes(benchmark::RegisterBenchmark("graph/make", graph_make));
    benchSizes(benchmark::RegisterBenchmark("graph/reach", graph_reach));
    benchSizes(benchmark::RegisterBenchmark("graph/batch", graph_batch));
    benchSizes(benchmark::RegisterBenchmark("tree/rename", tree_rename));
    benchSizes(benchmark::RegisterBenchmark("tree/move", tree_move));
    benchSizes(benchmark::RegisterBenchmark("tree/copy", tree_copy));
    benchSizes(benchmark::RegisterBenchmark("tree/remove", tree_remove));
    benchSizes(benchmark::RegisterBenchmark("undo/keys", undo_keys));
    benchSizes(benchmark::RegisterBenchmark("undo/blocks", undo_blocks));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
