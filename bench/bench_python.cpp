// What the Python package is measured beside: bench_python.py starts this with two scenes that it has made.
//
//   bench/python SAMPLED LOADED [--benchmark_...]
//
//   sample/loop     100 parameters of the first scene's node at 1,000 frames, one read after the other
//   sample/cores    the same by NOD_Sampler, on all cores
//   load            the second scene, and its end
#include <BAS/BAS_Thread.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Sampler.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace
{

constexpr int theFrames = 1000;

void read(NOD_Scene &scene, const std::string &path)
{
    NOD_Report report;
    if (!NOD_SceneFile::load(scene, path, NOD_LoadOptions(), report) || report.hasErrors()) {
        std::fprintf(stderr, "%s can't be read\n", path.c_str());
        std::exit(1);
    }
}

void loop(benchmark::State &state, NOD_Scene &scene)
{
    std::vector<const ZEL_Parm *> parms;
    NOD_Node &node = *scene.getRoot().getChildren().front();
    for (int i = 0; i < node.getParms().getEntries(); ++i) {
        parms.push_back(node.getParms().getParmPtr(i));
    }
    const int thread = BASgetSTID();
    std::vector<double> rows(parms.size() * theFrames);
    for (auto _ : state) {
        double *out = rows.data();
        for (int frame = 1; frame <= theFrames; ++frame) {
            const double time = scene.frameToTime(frame);
            const TRK_EvalContext::Scope context(thread, time);
            for (const ZEL_Parm *const parm : parms) {
                parm->getValue(time, *out++, 0, thread);
            }
        }
        benchmark::DoNotOptimize(rows.data());
    }
}

void cores(benchmark::State &state, NOD_Scene &scene)
{
    NOD_Report report;
    NOD_Sampler sampler;
    for (const NOD_Place &place :
         NODfindPlaces(*scene.getRoot().getChildren().front(), "*", report)) {
        sampler.add(place, report);
    }
    std::vector<double> times;
    for (int frame = 1; frame <= theFrames; ++frame) {
        times.push_back(scene.frameToTime(frame));
    }
    std::vector<double> rows(times.size() * sampler.getWidth());
    NOD_SampleFault fault;
    for (auto _ : state) {
        sampler.sample(times.data(), times.size(), rows.data(), fault);
        benchmark::DoNotOptimize(rows.data());
    }
    if (fault.count > 0) {
        state.SkipWithError("a sample failed");
    }
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: python SAMPLED LOADED [--benchmark_...]\n");
        return 2;
    }
    const std::string loaded = argv[2];
    NOD_Scene scene;
    read(scene, argv[1]);
    benchmark::RegisterBenchmark("sample/loop", [&](benchmark::State &state) {
        loop(state, scene);
    })->UseRealTime();
    benchmark::RegisterBenchmark("sample/cores", [&](benchmark::State &state) {
        cores(state, scene);
    })->UseRealTime();
    benchmark::RegisterBenchmark("load", [&](benchmark::State &state) {
        for (auto _ : state) {
            NOD_Scene made;
            read(made, loaded);
        }
    })->UseRealTime();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
