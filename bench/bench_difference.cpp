// Comparison of saved states, at three sizes each.
//
//   scenes/FORM     two scenes of 100, 1,000 and 10,000 nodes of 100 parameters, of which one node in a hundred has
//                   another value, beside loading both; at most 2.5 times that. Times are of one parameter.
//   items           a block of 100, 1,000 and 10,000 items with two members, and 100 insertions, removals and changes
//                   of them, beside loading both streams. Times are of one item; 10,000 are to take less than a second.
//
// Reading the files is part of the comparison.

#include "BenchBeside.h"
#include "BenchNodes.h"
#include "BenchSink.h"

#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_SceneFile.h>

#include <benchmark/benchmark.h>

#include <random>
#include <sstream>

namespace
{

using namespace bench;
using FileForm = NOD_SaveOptions::Form;

std::string saved(NOD_Scene &scene, FileForm form)
{
    NOD_SaveOptions options;
    NOD_Report report;
    options.form = form;
    std::string out;
    BenchSink sink(out);
    std::ostream os(&sink);
    require(NOD_SceneFile::save(scene, os, options, report), "not saved");
    return out;
}

std::size_t countEdits(const std::string &left, const std::string &right,
                       const NOD_DocumentOptions &options)
{
    NOD_Report report;
    NOD_Document before;
    NOD_Document after;
    NOD_CompareOptions how;
    how.isExact = options.isExact;
    require(before.read(left, "left", options, report) &&
                after.read(right, "right", options, report),
            "not read");
    return NOD_Difference::between(before.getTop(), after.getTop(), how).getChanges().size();
}

void scenes(benchmark::State &state, FileForm form)
{
    const int count = int(state.range(0));
    const std::unique_ptr<NOD_Scene> scene = makeNodes(count);
    const auto interface = scene->getRoot().getChildren()[0]->getInterface();
    scene->addInterface(interface);
    const std::string left = saved(*scene, form);
    const int changed = std::max(count / 100, 1);
    for (int i = 0; i < changed; ++i) {
        NOD_Node &node = *scene->getRoot().getChildren()[std::size_t(i * (count / changed))];
        node.getParms().setFloat(0.5 + i, nameOf(5).c_str(), 0, 0.0, false);
    }
    const std::string right = saved(*scene, form);
    NOD_DocumentOptions options;
    options.isExact = true;
    options.interfaces[interface->getTypeName()] = interface;
    benchBeside(
        state, double(count) * theParms, double(count) * theParms,
        [&] { require(countEdits(left, right, options) == std::size_t(changed), "other edits"); },
        [&] {
            for (const std::string &bytes : {left, right}) {
                NOD_Report report;
                std::istringstream is(bytes);
                NOD_Scene loaded;
                loaded.addInterface(interface);
                require(NOD_SceneFile::load(loaded, is, "bench", {}, report), "not loaded");
            }
        });
}

constexpr const char *theBlockScript = R"({ name block
  multiparm { name pts parm { name p# type vector3 size 3 } parm { name s# type string } } })";

std::string streamOf(const std::vector<int> &items)
{
    std::string text =
        "{\nversion 0.8\npts\t[ 0\tlocks=0 ]\t(\t" + std::to_string(items.size()) + "\t)\n";
    for (std::size_t i = 0; i < items.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        const std::string value = std::to_string(items[i]);
        text += "p" + number + "\t[ 0\tlocks=0 ]\t(\t" + value + "\t0\t0\t)\ns" + number +
                "\t[ 0\tlocks=0 ]\t(\t\"item " + value + "\"\t)\n";
    }
    return text + "}\n";
}

void items(benchmark::State &state)
{
    constexpr int theEdits = 100;
    std::mt19937 random(1);
    std::vector<int> before(std::size_t(state.range(0)));
    for (std::size_t i = 0; i < before.size(); ++i) {
        before[i] = int(i);
    }
    std::vector<int> after = before;
    for (int edit = 0; edit < theEdits; ++edit) {
        const auto at = after.begin() + std::ptrdiff_t(random() % after.size());
        if (edit % 3 == 0) {
            after.insert(at, 1000000 + edit);
        } else if (edit % 3 == 1 && after.size() > 1) {
            after.erase(at);
        } else {
            *at = 2000000 + edit;
        }
    }
    NOD_Report report;
    NOD_DocumentOptions options;
    options.isExact = true;
    options.interface = NOD_Interface::fromText(theBlockScript, "block", report);
    const std::string left = streamOf(before);
    const std::string right = streamOf(after);
    benchBeside(
        state, double(before.size()), double(before.size()),
        [&] { require(countEdits(left, right, options) > 0, "no edits"); },
        [&] {
            for (const std::string &bytes : {left, right}) {
                NOD_Node node(options.interface->getTemplates());
                KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
                require(node.getParms().load(is, nullptr, nullptr), "not loaded");
            }
        });
}

template <FileForm form>
void scenesRow(benchmark::State &state)
{
    scenes(state, form);
}

} // namespace

int main(int argc, char **argv)
{
    benchSizes(benchmark::RegisterBenchmark("scenes/text", scenesRow<FileForm::TEXT>));
    benchSizes(benchmark::RegisterBenchmark("scenes/binary", scenesRow<FileForm::BINARY>));
    benchSizes(benchmark::RegisterBenchmark("items", items));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
