// Scenes of nodes made, saved and loaded, at 100, 1,000 and 10,000 nodes of 100 parameters, 10 of them keyed and
// one driven by an expression that reads another node. Times and bytes are of one parameter.
//
//   make            a scene with all its values, beside its nodes alone; resident bytes
//   save/FORM       beside the streams of its lists alone
//   load/FORM       into an empty scene, beside the streams of the lists alone, into lists that stand
//
// `bytes` of save and load are those of the file. What is loaded is saved again, to the same bytes.

#include "BenchBeside.h"
#include "BenchMemory.h"
#include "BenchNodes.h"
#include "BenchSink.h"

#include <KIT/KIT_IStream.h>
#include <NOD/NOD_SceneFile.h>

#include <benchmark/benchmark.h>

#include <sstream>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace
{

using namespace bench;
using FileForm = NOD_SaveOptions::Form;

const std::shared_ptr<const NOD_Interface> &nodeType()
{
    static const std::shared_ptr<const NOD_Interface> theType = makeNodeType();
    return theType;
}

NOD_Scene &sceneOf(const benchmark::State &state)
{
    return bench::sceneOf(int(state.range(0)), [](NOD_Scene &scene) {
        scene.addInterface(scene.getRoot().getChildren()[0]->getInterface());
    });
}

double parmsOf(const benchmark::State &state)
{
    return double(state.range(0)) * theParms;
}

void make(benchmark::State &state)
{
    const int count = int(state.range(0));
    std::unique_ptr<NOD_Scene> scene;
    std::unique_ptr<NOD_Scene> bare;
    double bytes = 0.0;
    benchBeside(
        state, parmsOf(state), parmsOf(state),
        [&] {
            const double before = benchResidentBytes();
            scene = makeNodes(count);
            bytes = std::max(bytes, benchResidentBytes() - before);
        },
        [&] {
            NOD_Report report;
            bare = std::make_unique<NOD_Scene>();
            const NOD_Batch batch(*bare);
            for (int i = 0; i < count; ++i) {
                bare->add("/" + nodeName(i), nodeType(), report);
            }
        },
        [&] {
            scene.reset();
            bare.reset();
#ifdef __GLIBC__
            malloc_trim(0);
#endif
        });
    state.counters["bytes"] = bytes / parmsOf(state);
}

void saveScene(NOD_Scene &scene, FileForm form, std::string &out)
{
    NOD_SaveOptions options;
    NOD_Report report;
    options.form = form;
    out.clear();
    BenchSink sink(out);
    std::ostream os(&sink);
    require(NOD_SceneFile::save(scene, os, options, report) && report.isEmpty(), "not saved");
}

/// The list of each node alone.
std::vector<std::string> saveLists(NOD_Scene &scene, FileForm form)
{
    constexpr bool compact = false;
    std::vector<std::string> all;
    for (const auto &node : scene.getRoot().getChildren()) {
        std::string out;
        BenchSink sink(out);
        std::ostream os(&sink);
        node->getParms().save(os, form == FileForm::BINARY, compact);
        all.push_back(std::move(out));
    }
    return all;
}

void save(benchmark::State &state, FileForm form)
{
    NOD_Scene &scene = sceneOf(state);
    std::string out;
    benchBeside(
        state, parmsOf(state), parmsOf(state), [&] { saveScene(scene, form, out); },
        [&] { require(!saveLists(scene, form).empty(), "no lists"); });
    state.counters["bytes"] = double(out.size()) / parmsOf(state);
}

void load(benchmark::State &state, FileForm form)
{
    NOD_Scene &scene = sceneOf(state);
    std::string bytes;
    saveScene(scene, form, bytes);
    const std::vector<std::string> lists = saveLists(scene, form);
    std::unique_ptr<NOD_Scene> loaded;
    benchBeside(
        state, parmsOf(state), parmsOf(state),
        [&] {
            NOD_Report report;
            std::istringstream is(bytes);
            loaded = std::make_unique<NOD_Scene>();
            loaded->addInterface(scene.getRoot().getChildren()[0]->getInterface());
            require(NOD_SceneFile::load(*loaded, is, "bench", {}, report) && report.isEmpty(),
                    "not loaded");
        },
        [&] {
            const NOD_Batch batch(scene);
            for (std::size_t i = 0; i < lists.size(); ++i) {
                KIT_IStream is(lists[i].data(), lists[i].size(),
                               form == FileForm::BINARY ? KIT_IStream::BINARY : KIT_IStream::TEXT);
                scene.getRoot().getChildren()[i]->getParms().load(is, nullptr, nullptr);
            }
        });
    std::string again;
    saveScene(*loaded, form, again);
    require(again == bytes, "what was loaded is saved to other bytes");
    state.counters["bytes"] = double(bytes.size()) / parmsOf(state);
}

template <FileForm form>
void saveRow(benchmark::State &state)
{
    save(state, form);
}

template <FileForm form>
void loadRow(benchmark::State &state)
{
    load(state, form);
}

} // namespace

int main(int argc, char **argv)
{
    benchSizes(benchmark::RegisterBenchmark("make", make));
    benchSizes(benchmark::RegisterBenchmark("save/text", saveRow<FileForm::TEXT>));
    benchSizes(benchmark::RegisterBenchmark("save/binary", saveRow<FileForm::BINARY>));
    benchSizes(benchmark::RegisterBenchmark("load/text", loadRow<FileForm::TEXT>));
    benchSizes(benchmark::RegisterBenchmark("load/binary", loadRow<FileForm::BINARY>));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
