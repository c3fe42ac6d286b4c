// Snapshots of scenes of 10,000 nodes of 100 parameters.
//
//   take/plain, take/usual  a snapshot that shares nothing, of plain numbers and of nodes as BenchNodes.h makes them; time
//                           and bytes of a parameter
//   take/after              a further one after so many changes, each of another node; time of a change
//   read/cold               a plain number at random, by its handle, beside one of a plain array of as many
//   read/keyed              an animated one, beside the same by the scene's parameter
//   read/expression         one that reads another node, beside the same by the scene's parameter
//   sample/two              rows of 1,000 components at 240 times: how much faster on two threads than on one
//   frame                   what a change of the frame changes where 1 in 100 is animated; time of an animated one

#include "BenchBeside.h"
#include "BenchNodes.h"

#include <BAS/BAS_Thread.h>
#include <NOD/NOD_Snapshot.h>

#include <benchmark/benchmark.h>

#include <random>
#include <tbb/task_arena.h>

namespace
{

using namespace bench;

constexpr int theNodes = 10000;
constexpr double theCount = double(theNodes) * theParms;
constexpr int theReads = 100000;
constexpr double theTime = 0.7; ///< between keys

/// Numbers, of which the first of each node may have keys.
std::unique_ptr<NOD_Scene> makeNumbers(bool keyedFlag)
{
    static const std::shared_ptr<const NOD_Interface> theType = makeNodeType();
    auto scene = std::make_unique<NOD_Scene>();
    NOD_Report report;
    const NOD_Batch batch(*scene);
    for (int i = 0; i < theNodes; ++i) {
        NOD_Node *const node = scene->add("/" + nodeName(i), theType, report);
        require(node != nullptr, "no node");
        for (int p = 0; p < theParms; ++p) {
            node->getParms().setFloat(numberOf(0, i, p), nameOf(p).c_str(), 0, 0.0, false);
        }
        if (keyedFlag) {
            ZEL_FloatHandle handle(node->getParms(), nameOf(0));
            for (const double time : {0.0, 1.0, 2.0}) {
                require(handle.key(time, numberOf(0, i, 0, int(time))), "no key");
            }
        }
    }
    return scene;
}

NOD_Scene &plainScene()
{
    static const std::unique_ptr<NOD_Scene> theScene = makeNumbers(false);
    return *theScene;
}

NOD_Scene &keyedScene()
{
    static const std::unique_ptr<NOD_Scene> theScene = makeNumbers(true);
    return *theScene;
}

NOD_Scene &usualScene()
{
    static const std::unique_ptr<NOD_Scene> theScene = makeNodes(theNodes);
    return *theScene;
}

// -------------------------------------------------------------------------- //
// Taking
// -------------------------------------------------------------------------- //

void take(benchmark::State &state, NOD_Scene &(*sceneOf)())
{
    NOD_Scene &scene = sceneOf();
    double best = 1e9;
    std::shared_ptr<const NOD_Snapshot> snapshot;
    static NOD_SnapshotOptions options;
    for (auto _ : state) {
        snapshot.reset();
        // Other options share nothing.
        options.menus = options.menus == NOD_SnapshotOptions::Policy::PRESENT
                            ? NOD_SnapshotOptions::Policy::REFUSED
                            : NOD_SnapshotOptions::Policy::PRESENT;
        const double time = benchSeconds([&] { snapshot = scene.snapshot(options); });
        best = std::min(best, time);
        state.SetIterationTime(time);
    }
    state.counters["ns"] = best * 1e9 / theCount;
    state.counters["bytes"] = double(snapshot->getMemoryUsage()) / theCount;
}

void takeAfter(benchmark::State &state)
{
    NOD_Scene &scene = plainScene();
    std::shared_ptr<const NOD_Snapshot> snapshot = scene.snapshot();
    const auto &nodes = scene.getRoot().getChildren();
    const int changes = int(state.range(0));
    double value = 0.0;
    double best = 1e9;
    for (auto _ : state) {
        value += 1.0;
        for (int i = 0; i < changes; ++i) {
            nodes[std::size_t(i)]->getParms().setFloat(value, nameOf(i % theParms).c_str(), 0, 0.0,
                                                       true);
        }
        const double time = benchSeconds([&] { snapshot = scene.snapshot(); });
        best = std::min(best, time);
        state.SetIterationTime(time);
    }
    state.counters["ns"] = best * 1e9 / changes;
}

// -------------------------------------------------------------------------- //
// Reading
// -------------------------------------------------------------------------- //

/// The handles beside as many steps of something else, which `base(i)` reads.
template <class Base>
void readHandles(benchmark::State &state, const NOD_Snapshot &snapshot,
                 const std::vector<NOD_SnapshotHandle> &handles, const Base &base)
{
    const int thread = BASgetSTID();
    const double steps = double(handles.size());
    const auto sum = [&](const auto &read) {
        double all = 0.0;
        for (std::size_t i = 0; i < handles.size(); ++i) {
            all += read(i);
        }
        benchmark::DoNotOptimize(all);
    };
    benchBeside(
        state, steps, steps,
        [&] {
            sum([&](std::size_t i) { return snapshot.getNumber(handles[i], theTime, thread); });
        },
        [&] { sum(base); });
}

void readCold(benchmark::State &state)
{
    const std::shared_ptr<const NOD_Snapshot> snapshot = plainScene().snapshot();
    std::mt19937 random(3);
    std::vector<double> plain(std::size_t(theNodes) * theParms, 1.0);
    std::vector<NOD_SnapshotHandle> handles;
    std::vector<const double *> places;
    for (int i = 0; i < theReads; ++i) {
        handles.push_back(snapshot->find("/" + nodeName(int(random() % theNodes)),
                                         nameOf(int(random() % theParms)), 0));
        require(handles.back().isConstant(), "no plain number");
        places.push_back(&plain[random() % plain.size()]);
    }
    readHandles(state, *snapshot, handles, [&](std::size_t i) { return *places[i]; });
}

void readBesideScene(benchmark::State &state, int parm)
{
    NOD_Scene &scene = usualScene();
    const std::shared_ptr<const NOD_Snapshot> snapshot = scene.snapshot();
    std::vector<NOD_SnapshotHandle> handles;
    std::vector<const ZEL_Parm *> parms;
    for (int i = 0; i < theGroup; ++i) {
        handles.push_back(snapshot->find("/" + nodeName(i), nameOf(parm), 0));
        parms.push_back(scene.getRoot().getChildren()[std::size_t(i)]->getParms().getParmPtr(parm));
    }
    const int thread = BASgetSTID();
    readHandles(state, *snapshot, handles, [&](std::size_t i) {
        double value = 0.0;
        parms[i]->getValue(theTime, value, 0, thread);
        return value;
    });
}

void sampleTwo(benchmark::State &state)
{
    const std::shared_ptr<const NOD_Snapshot> snapshot = usualScene().snapshot();
    std::vector<NOD_SnapshotHandle> handles;
    for (int i = 0; i < 100; ++i) {
        for (int p = theFirstKeyed; p < theParms; ++p) {
            handles.push_back(snapshot->find("/" + nodeName(i), nameOf(p), 0));
        }
    }
    std::vector<double> times(240), rows(handles.size() * times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        times[i] = double(i) / 120.0;
    }
    const auto work = [&] {
        snapshot->sample(handles.data(), handles.size(), times.data(), times.size(), rows.data());
    };
    tbb::task_arena one(1), two(2);
    const BenchTimes best = benchBeside(
        state, double(rows.size()), double(rows.size()), [&] { two.execute(work); },
        [&] { one.execute(work); });
    state.counters["scaling"] = best.baseline / best.operation;
}

void frame(benchmark::State &state)
{
    NOD_Scene &scene = keyedScene();
    std::size_t changed = 0;
    double best = 1e9;
    scene.changedBetween(0.5, 0.6);
    for (auto _ : state) {
        const double time = benchSeconds([&] { changed = scene.changedBetween(0.5, 0.6).size(); });
        best = std::min(best, time);
        state.SetIterationTime(time);
    }
    require(changed == theNodes, "not what is animated");
    state.counters["ns"] = best * 1e9 / theNodes;
}

const auto theRows = [] {
    const auto add = [](const char *name, auto row, auto... arguments) {
        return benchmark::RegisterBenchmark(name, row, arguments...)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    };
    add("take/plain", take, &plainScene);
    add("take/usual", take, &usualScene);
    add("take/after", takeAfter)->Arg(1)->Arg(100)->Arg(10000);
    add("read/cold", readCold);
    add("read/keyed", readBesideScene, theFirstKeyed);
    add("read/expression", readBesideScene, theReader);
    add("sample/two", sampleTwo);
    add("frame", frame);
    return true;
}();

} // namespace

BENCHMARK_MAIN();
