// Presets of one node type: 1,000 in one file, 20 values each.
//
//   list          every name and path, the file read first       beside reading the file's bytes
//   find          an index by its name, in random order           beside std::unordered_map
//   load          one preset by its path                          beside reading the file's bytes
//   save          one preset into the file                        beside writing the file's bytes
//
// Each row has `ns`, `base_ns` and the `ratio` of both, of the best block.

#include "BenchBeside.h"

#include <KIT/KIT_PathSearch.h>
#include <STO/STO_IndexFile.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

namespace
{

constexpr std::size_t theParms = 20;
constexpr std::size_t theSteps = 65536;

/// One for the process, which looks once where presets may be saved.
class Folder
{
public:
    Folder() : myPath((std::filesystem::temp_directory_path() / "zel_bench_XXXXXX").string())
    {
        if (!::mkdtemp(myPath.data())) {
            std::abort();
        }
        KIT_PathSearch::getInstance(0).setComponents(myPath.c_str());
    }
    ~Folder() { std::filesystem::remove_all(myPath); }

    const std::string &path() const { return myPath; }

private:
    std::string myPath;
};

const Folder &folder()
{
    static const Folder theFolder;
    return theFolder;
}

/// A list, so many presets of it, and the same names in a map.
class Rig
{
public:
    explicit Rig(std::size_t size) : presets("Node", ("light" + std::to_string(size)).c_str())
    {
        for (std::size_t i = 0; i < theParms; ++i) {
            myTokens.push_back("parm" + std::to_string(i));
        }
        for (const std::string &token : myTokens) {
            myNames.push_back(std::make_unique<ZEL_Name>(token.c_str(), token.c_str()));
            myTemplates.emplace_back(ZEL_FLT, 1, myNames.back().get());
        }
        myTemplates.emplace_back();
        list = std::make_unique<ZEL_ParmList>(myTemplates.data(), nullptr, nullptr, nullptr, "",
                                              false);
        writePresets(size);
    }

    std::string readBytes() const
    {
        std::ifstream is(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(is), std::istreambuf_iterator<char>());
    }
    void writeBytes() const
    {
        std::ofstream(folder().path() + "/plain", std::ios::binary) << bytes;
    }

    ZEL_PresetInfo presets;
    std::unique_ptr<ZEL_ParmList> list;
    std::string file;
    std::string bytes;
    std::vector<std::string> order; // names, theSteps of them
    std::unordered_map<std::string, int> byName;

private:
    void writePresets(std::size_t size)
    {
        std::mt19937 random(1);
        STO_IndexFile index;
        for (std::size_t i = 0; i < size; ++i) {
            const std::string name = "preset " + std::to_string(random());
            list->setFloat(double(random()) / 1000.0, "parm3", 0, 0.0, false);
            std::ostringstream os;
            presets.savePreset(list.get(), os);
            index.addSection(name.c_str(), os.str());
            byName[name] = int(i);
        }
        std::ostringstream os;
        index.write(os);
        bytes = os.str();
        file = folder().path() + "/" + presets.getPresetFile().toStdString();
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
        presets.setNeedsRefresh();
        std::uniform_int_distribution<std::int64_t> any(0, index.getNumSections() - 1);
        for (std::size_t i = 0; i < theSteps; ++i) {
            order.push_back(index.getSectionName(any(random)).toStdString());
        }
    }

    std::vector<std::string> myTokens;
    std::vector<std::unique_ptr<ZEL_Name>> myNames;
    std::vector<ZEL_Template> myTemplates;
};

Rig &rig(std::size_t size)
{
    folder();
    static std::map<std::size_t, Rig> theRigs;
    return theRigs.try_emplace(size, size).first->second;
}

using Block = void (*)(Rig &);

void list(Rig &r)
{
    r.presets.setNeedsRefresh();
    for (int i = 0; i < r.presets.getNumPresets(); ++i) {
        benchmark::DoNotOptimize(r.presets.getPresetName(i).c_str());
        benchmark::DoNotOptimize(r.presets.getPresetPath(i).c_str());
    }
}

void readFile(Rig &r)
{
    benchmark::DoNotOptimize(r.readBytes().data());
}

void find(Rig &r)
{
    for (const std::string &name : r.order) {
        benchmark::DoNotOptimize(r.presets.getPresetIndex(name.c_str()));
    }
}

void findInMap(Rig &r)
{
    for (const std::string &name : r.order) {
        benchmark::DoNotOptimize(r.byName.find(name)->second);
    }
}

void load(Rig &r)
{
    const int index = r.presets.getPresetIndex(r.order.front().c_str());
    if (!r.presets.loadPresetFile(r.list.get(), r.presets.getPresetPath(index))) {
        std::abort();
    }
}

void save(Rig &r)
{
    if (!r.presets.savePresetToDir(r.list.get(), r.order.front().c_str(),
                                   folder().path().c_str())) {
        std::abort();
    }
}

void writeFile(Rig &r)
{
    r.writeBytes();
}

void beside(benchmark::State &state, std::size_t steps, Block operation, Block baseline)
{
    Rig &r = rig(std::size_t(state.range(0)));
    benchBeside(
        state, double(steps), double(steps), [&] { operation(r); }, [&] { baseline(r); });
}

void add(const char *name, std::size_t steps, Block operation, Block baseline)
{
    benchSizes(benchmark::RegisterBenchmark(name, beside, steps, operation, baseline));
}

} // namespace

int main(int argc, char **argv)
{
    add("list", 1, list, readFile);
    add("find", theSteps, find, findInMap);
    add("load", 1, load, readFile);
    add("save", 1, save, writeFile);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
