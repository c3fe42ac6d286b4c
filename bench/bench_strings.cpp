// What reading a text or a data item costs, beside a copy of a std::string of the same length, or of
// a std::shared_ptr, in the same run.
//
//   raw        the stored text
//   plain      expanded, with nothing in it to expand
//   variable   expanded, with one variable of the node's
//   global     expanded, with one variable of the application's
//   backtick   expanded, with one expression
//   channel    a channel's text that doesn't change, with a reference to another text
//   item       a data item
//   one_item   the item of the same parameter every time
//
// Every read is of one of 100 parameters in a random order of 65,536 steps, into a string that is
// kept. The same order runs on one thread and, all at once, on two. Counters: `ns` for one read,
// `base_ns` for one copy, `ratio` of the two, `scaling` and `base_scaling`: the throughput of two
// threads over that of one, the best of the rounds of either.

#include <BAS/BAS_Thread.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_ValueSource.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_KeyValueDictDataItem.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int theParms = 100;
constexpr int theSteps = 65536;

using Clock = std::chrono::steady_clock;

struct Node : TRK_PathResolver
{
    TRK_Collection *findCollection(const KIT_StringRef &) override { return nullptr; }
    bool getVariable(const KIT_StringRef &name, KIT_String &value) override
    {
        if (!name.equals("SHOT")) {
            return false;
        }
        value = "/show/shot/scene";
        return true;
    }
    void getPath(KIT_WorkBuffer &path) override { path.append("/obj/bench"); }
};

struct Rig
{
    Rig(const char *text, TRK_StringMeaning meaning)
    {
        for (int i = 0; i < theParms; ++i) {
            const std::string token = "file" + std::to_string(i);
            names.emplace_back(token.c_str(), token.c_str());
            names.back().harden(); // the texts end here
        }
        for (ZEL_Name &name : names) {
            templates.emplace_back(ZEL_STRING, 1, &name);
        }
        templates.emplace_back();
        channels.setPathResolver(&node);
        TRK_Manager::getContext().setGlobalVariable("BENCHJOB", "/show/shot/scene");
        list = std::make_unique<ZEL_ParmList>(templates.data(), &channels, nullptr, nullptr,
                                              "bench", false);
        std::mt19937 random(1);
        for (int i = 0; i < theParms; ++i) {
            parms.push_back(list->getParmPtr(i));
            // The first half is what channels of the second half refer to.
            const bool driven = meaning != TRK_MEANING_LITERAL && i >= theParms / 2;
            const bool literal = meaning != TRK_MEANING_LITERAL && i < theParms / 2;
            const std::string value = driven ? text + std::string("+chs(\"file") +
                                                   std::to_string(i - theParms / 2) + "\")"
                                      : literal ? "/texture." + std::to_string(1000 + i) + ".pic"
                                                : text;
            parms.back()->getInstance()->setValue(0.0, value.c_str(),
                                                  driven ? meaning : TRK_MEANING_LITERAL, false, 0,
                                                  ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
            KIT_String read;
            parms.back()->getValue(0.0, read, 0, true, BASgetSTID());
            copies.push_back(read.toStdString());
        }
        const int first = meaning != TRK_MEANING_LITERAL ? theParms / 2 : 0;
        for (int i = 0; i < theSteps; ++i) {
            order.push_back(first + int(random() % unsigned(theParms - first)));
        }
    }

    std::vector<ZEL_Name> names = reserved();
    std::vector<ZEL_Template> templates;
    Node node;
    TRK_Collection channels;
    std::unique_ptr<ZEL_ParmList> list;
    std::vector<ZEL_Parm *> parms;
    std::vector<std::string> copies;
    std::vector<int> order;

private:
    static std::vector<ZEL_Name> reserved()
    {
        std::vector<ZEL_Name> names;
        names.reserve(theParms);
        return names;
    }
};

std::size_t readAll(const Rig &rig, bool expand)
{
    const int thread = BASgetSTID();
    KIT_String text;
    std::size_t total = 0;
    for (int step : rig.order) {
        rig.parms[std::size_t(step)]->getValue(0.0, text, 0, expand, thread);
        total += text.length();
    }
    return total;
}

std::size_t copyAll(const Rig &rig)
{
    std::string text;
    std::size_t total = 0;
    for (int step : rig.order) {
        text = rig.copies[std::size_t(step)];
        total += text.size();
        benchmark::DoNotOptimize(text.data());
    }
    return total;
}

template <class Work>
double secondsOf(int count, const Work &work)
{
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 1; t < count; ++t) {
        threads.emplace_back([&] {
            ++ready;
            while (!go.load()) {
            }
            work();
        });
    }
    while (ready.load() < count - 1) {
    }
    const Clock::time_point start = Clock::now();
    go = true;
    work();
    for (std::thread &thread : threads) {
        thread.join();
    }
    return std::chrono::duration<double>(Clock::now() - start).count();
}

template <class Read, class Copy>
void measure(benchmark::State &state, const Read &read, const Copy &copy)
{
    double best[4] = {1e9, 1e9, 1e9, 1e9};
    for (auto unused : state) {
        (void)unused;
        best[0] = std::min(best[0], secondsOf(1, read));
        best[1] = std::min(best[1], secondsOf(1, copy));
        best[2] = std::min(best[2], secondsOf(2, read));
        best[3] = std::min(best[3], secondsOf(2, copy));
    }
    state.counters["ns"] = best[0] / theSteps * 1e9;
    state.counters["base_ns"] = best[1] / theSteps * 1e9;
    state.counters["ratio"] = best[0] / best[1];
    state.counters["scaling"] = 2.0 * best[0] / best[2];
    state.counters["base_scaling"] = 2.0 * best[1] / best[3];
}

void compare(benchmark::State &state, const char *text, TRK_StringMeaning meaning, bool expand)
{
    const Rig rig(text, meaning);
    measure(
        state, [&] { benchmark::DoNotOptimize(readAll(rig, expand)); },
        [&] { benchmark::DoNotOptimize(copyAll(rig)); });
}

void compareItems(benchmark::State &state, int parms)
{
    using Item = std::shared_ptr<const ZEL_DataItem>;
    std::vector<ZEL_Name> names;
    std::vector<ZEL_Template> templates;
    names.reserve(std::size_t(parms));
    for (int i = 0; i < parms; ++i) {
        const std::string token = "data" + std::to_string(i);
        names.emplace_back(token.c_str(), token.c_str());
        names.back().harden(); // the texts end here
        templates.emplace_back(ZEL_KEY_VALUE_DICT, 1, &names.back());
    }
    templates.emplace_back();
    TRK_Collection channels;
    ZEL_ParmList list(templates.data(), &channels, nullptr, nullptr, "bench", false);
    std::vector<Item> items;
    std::vector<const ZEL_Parm *> order;
    std::vector<const Item *> copies;
    for (int i = 0; i < parms; ++i) {
        items.push_back(std::make_shared<ZEL_KeyValueDictDataItem>());
        list.getParmPtr(i)->getInstance()->setValue(0.0, items.back(), false, 0, ZEL_ADDKEY_PENDING,
                                                    ZEL_KEYSET_PREFERENCE);
    }
    std::mt19937 random(1);
    for (int i = 0; i < theSteps; ++i) {
        const int step = int(random() % unsigned(parms));
        order.push_back(list.getParmPtr(step));
        copies.push_back(&items[std::size_t(step)]);
    }
    measure(
        state,
        [&] {
            const int thread = BASgetSTID();
            Item item;
            for (const ZEL_Parm *parm : order) {
                parm->getValue(0.0, item, 0, thread);
                benchmark::DoNotOptimize(item.get());
            }
        },
        [&] {
            Item item;
            for (const Item *copy : copies) {
                item.reset();
                item = *copy;
                benchmark::DoNotOptimize(item.get());
            }
        });
}

BENCHMARK_CAPTURE(compare, raw, "$SHOT/texture.1001.pic", TRK_MEANING_LITERAL, false);
BENCHMARK_CAPTURE(compare, plain, "/show/shot/texture.1001.pic", TRK_MEANING_LITERAL, true);
BENCHMARK_CAPTURE(compare, variable, "$SHOT/texture.1001.pic", TRK_MEANING_LITERAL, true);
BENCHMARK_CAPTURE(compare, global, "$BENCHJOB/texture.1001.pic", TRK_MEANING_LITERAL, true);
BENCHMARK_CAPTURE(compare, backtick, "/show/texture.`1000+1`.pic", TRK_MEANING_LITERAL, true);
BENCHMARK_CAPTURE(compare, channel, "\"/show/shot\"", TRK_MEANING_NATIVE, true);
BENCHMARK_CAPTURE(compareItems, item, theParms);
BENCHMARK_CAPTURE(compareItems, one_item, 1);

} // namespace

BENCHMARK_MAIN();
