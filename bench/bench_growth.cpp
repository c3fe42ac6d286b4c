// How cost grows: three sizes of a list and of a set of channels, ten times as many each time. The counter
// `ns` is the time of one parameter or channel: where it stays the same, cost is linear. The rows of spare
// parameters have `base_ns` beside it, the time to build a list of as many; those of blocks, of which each
// changes between one item and ten in one load, the time to change them back. Items of one block, presets,
// scripts and graphs have their sizes in the programs named after them.

#include "BenchBeside.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_IStream.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_UndoData.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{

/// A list of floats; with `channels` each has one of three keys.
struct Rig
{
    Rig(int size, bool channels, const std::string &prefix = "parm")
    {
        std::mt19937 random(1);
        for (int i = 0; i < size; ++i) {
            tokens.push_back(prefix + std::to_string(i) + "x");
        }
        // Names borrow their texts.
        for (const std::string &token : tokens) {
            names.push_back(std::make_unique<ZEL_Name>(token.c_str(), token.c_str()));
            templates.emplace_back(ZEL_FLT, 1, names.back().get());
        }
        templates.emplace_back();
        list = makeList(collection);
        for (int i = 0; i < size; ++i) {
            ZEL_Instance &instance = *list->getParmPtr(i)->getInstance();
            for (double time = 0.0; channels && time < 3.0; time += 1.0) {
                instance.addChannel(0);
                instance.setValue(time, double(random() % 1000), false, 0, ZEL_ADDKEY_FORCE,
                                  ZEL_KEYSET_COMMIT);
            }
            if (!channels) {
                instance.setValue(0.0, double(random() % 1000), false, 0, ZEL_ADDKEY_PENDING,
                                  ZEL_KEYSET_PREFERENCE);
            }
            order.push_back(i);
        }
        std::shuffle(order.begin(), order.end(), random);
        text = save(false);
        binary = save(true);
        std::ostringstream os;
        collection.save(os);
        channelText = os.str();
    }

    std::unique_ptr<ZEL_ParmList> makeList(TRK_Collection &channels)
    {
        return std::make_unique<ZEL_ParmList>(templates.data(), &channels, nullptr, nullptr, "",
                                              false);
    }
    std::string save(bool asBinary)
    {
        std::ostringstream os;
        list->save(os, asBinary, false);
        return os.str();
    }
    void load(const std::string &bytes, bool asBinary)
    {
        KIT_IStream is(bytes.data(), bytes.size(),
                       asBinary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
        if (!list->load(is, "bench", nullptr)) {
            std::abort();
        }
    }

    std::vector<std::string> tokens;
    std::vector<std::unique_ptr<ZEL_Name>> names;
    std::vector<ZEL_Template> templates;
    TRK_Collection collection;
    std::unique_ptr<ZEL_ParmList> list;
    std::vector<int> order;
    std::string text, binary, channelText;
    std::ostringstream out;
};

Rig &rig(int size, bool channels)
{
    static std::map<std::pair<int, bool>, std::unique_ptr<Rig>> theRigs;
    std::unique_ptr<Rig> &found = theRigs[{size, channels}];
    if (!found) {
        found = std::make_unique<Rig>(size, channels);
    }
    return *found;
}

// -------------------------------------------------------------------------- //
// The operations, each over the whole list
// -------------------------------------------------------------------------- //

void build(Rig &r)
{
    TRK_Collection none;
    r.makeList(none);
}

void readByName(Rig &r)
{
    for (const int i : r.order) {
        benchmark::DoNotOptimize(r.list->evalFloat(r.tokens[std::size_t(i)].c_str(), 0, 1.5));
    }
}

void set(Rig &r)
{
    for (const int i : r.order) {
        r.list->setFloat(i, r.tokens[std::size_t(i)].c_str(), 0, 0.0, true);
    }
}

void saveText(Rig &r)
{
    r.save(false);
}

void saveBinary(Rig &r)
{
    r.save(true);
}

void loadText(Rig &r)
{
    r.load(r.text, false);
}

void loadBinary(Rig &r)
{
    r.load(r.binary, true);
}

/// Overwrites the last save: growing the stream would cost more than what is measured.
void saveChannels(Rig &r)
{
    r.out.seekp(0);
    r.collection.save(r.out);
}

void loadChannels(Rig &r)
{
    TRK_Collection fresh;
    KIT_IStream is(r.channelText.data(), r.channelText.size(), KIT_IStream::TEXT);
    if (!fresh.load(is)) {
        std::abort();
    }
}

// -------------------------------------------------------------------------- //
// Spare parameters
// -------------------------------------------------------------------------- //

/// Two sets of the same spare parameters, floats or one block of items, beside a fixed part of 100.
struct SpareRig
{
    SpareRig(int size, bool items) : floats(size, false, "spare"), fixed(100, false)
    {
        for (int i = 0; i < 2; ++i) {
            sets[i] = floats.templates;
            if (items) {
                sets[i] = {ZEL_Template(ZEL_MULTITYPE_LIST, block, 1.0, &multi, &count),
                           ZEL_Template()};
            }
        }
        update(0);
    }
    void update(int set)
    {
        fixed.list->updateSpareParmTemplates(set < 0 ? nullptr : sets[set].data(), false);
        present = set;
    }

    Rig floats;
    ZEL_Name child{"in#", "In"}, multi{"block", "Block"};
    ZEL_Template block[2] = {ZEL_Template(ZEL_FLT, 1, &child), ZEL_Template()};
    ZEL_Default count{double(floats.order.size())};
    std::vector<ZEL_Template> sets[2];
    Rig fixed; // its list uses the sets
    int present = -1;
};

using SpareOperation = void (*)(SpareRig &);

void rebuild(SpareRig &r)
{
    r.update(1 - r.present);
}

void addOneByOne(SpareRig &r)
{
    for (ZEL_Template *at = r.sets[0].data(); !at->isTerminator(); ++at) {
        r.fixed.list->addSpareParm(*at);
    }
}

void removeAll(SpareRig &r)
{
    r.update(-1);
}

void runSpares(benchmark::State &state, bool items, SpareOperation operation, SpareOperation before)
{
    SpareRig r(int(state.range(0)), items);
    before(r);
    const double steps = double(state.range(0));
    benchBeside(
        state, steps, steps, [&] { operation(r); }, [&] { build(r.floats); }, [&] { before(r); });
}

void addSpares(
    const char *name, bool items, SpareOperation operation,
    SpareOperation before = [](SpareRig &) {})
{
    benchSizes(benchmark::RegisterBenchmark(name, runSpares, items, operation, before));
}

// -------------------------------------------------------------------------- //
// Many blocks that shrink together
// -------------------------------------------------------------------------- //

/// Blocks of two floats an item, whose items lie in the order of the blocks.
struct BlockRig
{
    static constexpr int theMost = 10;
    static constexpr int theLeast = 1;
    static constexpr int theChildren = 2;

    explicit BlockRig(int size)
    {
        const auto name = [&](const std::string &token) {
            tokens.push_back(token);
            labels.emplace_back(tokens.back().c_str(), tokens.back().c_str());
            return &labels.back();
        };
        for (int i = 0; i < size; ++i) {
            const std::string number = std::to_string(i);
            std::vector<ZEL_Template> &block = blocks.emplace_back();
            block.emplace_back(ZEL_FLT, 1, name("a" + number + "_#"));
            block.emplace_back(ZEL_FLT, 1, name("b" + number + "_#"));
            block.emplace_back();
            templates.emplace_back(ZEL_MULTITYPE_LIST, block.data(), 1.0,
                                   name("block" + number + "x"), &least);
        }
        templates.emplace_back();
        list =
            std::make_unique<ZEL_ParmList>(templates.data(), nullptr, nullptr, nullptr, "", false);
        list->saveUndoData(before);
        const auto stream = [&](int items) {
            std::string text = "{ version 0.8\n";
            for (int i = 0; i < size; ++i) {
                text += "block" + std::to_string(i) + "x [ 0 ] ( " + std::to_string(items) + " )\n";
            }
            return text + "}\n";
        };
        fewer = stream(theLeast);
        more = stream(theMost);
        names = "{ version 0.8\n";
        for (int i = 0; i < size; ++i) {
            names += "a" + std::to_string(i) + "_" + std::to_string(theMost) + " [ 0 ] ( 1 )\n";
        }
        names += "}\n";
        load(more);
    }
    void load(const std::string &text)
    {
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        if (!list->load(is, "bench", nullptr)) {
            std::abort();
        }
    }

    ZEL_Default least{double(theLeast)};
    std::deque<std::string> tokens;
    std::deque<ZEL_Name> labels;
    std::deque<std::vector<ZEL_Template>> blocks;
    std::vector<ZEL_Template> templates;
    std::unique_ptr<ZEL_ParmList> list;
    ZEL_UndoDataArray before; // with the fewer items
    std::string fewer, more;
    std::string names; // of the last items alone
};

void loadFewer(BlockRig &r)
{
    r.load(r.fewer);
}

void loadMore(BlockRig &r)
{
    r.load(r.more);
}

void loadNames(BlockRig &r)
{
    r.load(r.names);
}

void undoToFewer(BlockRig &r)
{
    r.list->loadUndoData(r.before, nullptr, nullptr);
}

using BlockOperation = void (*)(BlockRig &);

void runBlocks(benchmark::State &state, BlockOperation operation, BlockOperation back)
{
    BlockRig r(int(state.range(0)));
    const double steps =
        double(state.range(0)) * BlockRig::theChildren * (BlockRig::theMost - BlockRig::theLeast);
    operation(r);
    benchBeside(
        state, steps, steps, [&] { operation(r); }, [&] { back(r); });
}

void addBlocks(const char *name, BlockOperation operation, BlockOperation back)
{
    benchSizes(benchmark::RegisterBenchmark(name, runBlocks, operation, back));
}

using Operation = void (*)(Rig &);

void run(benchmark::State &state, bool channels, Operation operation)
{
    Rig &r = rig(int(state.range(0)), channels);
    double best = 1e9;
    for (auto _ : state) {
        const double time = benchSeconds([&] { operation(r); });
        best = std::min(best, time);
        state.SetIterationTime(time);
    }
    state.counters["ns"] = best * 1e9 / double(state.range(0));
}

void add(const char *name, bool channels, Operation operation)
{
    benchSizes(benchmark::RegisterBenchmark(name, run, channels, operation));
}

} // namespace

int main(int argc, char **argv)
{
    add("parms/build", false, build);
    add("parms/read_by_name", false, readByName);
    add("parms/set", false, set);
    add("parms/save_text", false, saveText);
    add("parms/load_text", false, loadText);
    add("parms/save_binary", false, saveBinary);
    add("parms/load_binary", false, loadBinary);
    addSpares("spares/rebuild", false, rebuild);
    addSpares("spares/rebuild_items", true, rebuild);
    addSpares("spares/add_one_by_one", false, addOneByOne, removeAll);
    addBlocks("blocks/load_fewer", loadFewer, loadMore);
    addBlocks("blocks/undo_to_fewer", undoToFewer, loadMore);
    addBlocks("blocks/load_names", loadNames, loadFewer);
    add("channels/read_by_name", true, readByName);
    add("channels/save", true, saveChannels);
    add("channels/load", true, loadChannels);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
