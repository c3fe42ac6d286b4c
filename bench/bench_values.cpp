// What reading, setting and building cost, each beside its baseline in the same run.
//
//   F  one look-up of the same names in a std::unordered_map<std::string, double>
//   K  a binary search over ten keys with a linear blend, in plain arrays
//   A  a load from a plain array
//
// Every benchmark runs a block of its operation and a block of its baseline in turn, over one
// random order of 65,536 steps: a short repeating order would be learned by the branch predictor.
// Counters: `ns` and `base_ns` for one step, `ratio` of the two. `scaling` is the throughput of two
// threads on one list over that of one.

#include "BenchBeside.h"
#include "BenchMemory.h"

#include <BAS/BAS_Thread.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_FloatHandle.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace
{

constexpr int theParms = 100;
constexpr int theSteps = 65536;
constexpr int theKeys = 10;

// -------------------------------------------------------------------------- //
// The parameters and their baselines
// -------------------------------------------------------------------------- //

enum class Kind
{
    PLAIN,
    KEYED,
    EXPRESSION,
    VECTOR,
    INTEGER
};

struct Rig
{
    explicit Rig(Kind kind)
    {
        const char *const words[] = {"translate", "size", "rough", "weight", "count"};
        for (int i = 0; i < theParms; ++i) {
            tokens.push_back(std::string(words[i % 5]) + std::to_string(i));
        }
        for (const std::string &token : tokens) {
            names.emplace_back(token.c_str(), token.c_str());
        }
        const bool vector = kind == Kind::VECTOR;
        for (ZEL_Name &name : names) {
            const ZEL_Type &type = vector ? ZEL_XYZ : kind == Kind::INTEGER ? ZEL_INT : ZEL_FLT;
            templates.emplace_back(type, vector ? 3 : 1, &name, nullptr, nullptr, &range);
        }
        templates.emplace_back();
        list = makeList(&channels);
        std::mt19937 random(1);
        for (int i = 0; i < theParms; ++i) {
            parms.push_back(list->getParmPtr(i));
            handles.emplace_back(*list, tokens[std::size_t(i)]);
            refs.emplace_back(tokens[std::size_t(i)].c_str());
            map[tokens[std::size_t(i)]] = i;
            fill(kind, *parms.back()->getInstance(), i, random);
        }
        order.resize(theSteps);
        times.resize(theSteps);
        for (int i = 0; i < theSteps; ++i) {
            order[std::size_t(i)] = int(random() % theParms);
            times[std::size_t(i)] = double(random() % 1000) / 100.0;
        }
        for (int i = 0; i < theKeys; ++i) {
            keyTimes[i] = i;
            keyValues[i] = i * i;
        }
    }

    std::unique_ptr<ZEL_ParmList> makeList(TRK_Collection *collection)
    {
        return std::make_unique<ZEL_ParmList>(templates.data(), collection, nullptr, nullptr,
                                              "bench", false);
    }

    void fill(Kind kind, ZEL_Instance &instance, int i, std::mt19937 &random)
    {
        instance.setValue(0.0, double(i), false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        if (kind == Kind::KEYED) {
            instance.addChannel(0, "linear()", TRK_LANGUAGE_NATIVE);
            for (int k = 0; k < theKeys; ++k) {
                instance.setValue(double(k), double(k * k + i), false, 0, ZEL_ADDKEY_FORCE,
                                  ZEL_KEYSET_COMMIT);
            }
        } else if (kind == Kind::EXPRESSION && i >= theParms / 2) {
            const std::string text = "ch(\"" + tokens[random() % (theParms / 2)] + "\") + ch(\"" +
                                     tokens[random() % (theParms / 2)] + "\")";
            instance.setExpression(0.0, text.c_str(), TRK_LANGUAGE_NATIVE, 0, true, false);
        }
    }

    std::vector<std::string> tokens;
    std::vector<ZEL_Name> names;
    ZEL_Range range;
    std::vector<ZEL_Template> templates;
    TRK_Collection channels;
    std::unique_ptr<ZEL_ParmList> list;
    std::vector<ZEL_Parm *> parms;
    std::vector<ZEL_FloatHandle> handles;
    std::vector<KIT_StringRef> refs;
    std::unordered_map<std::string, double> map;
    std::vector<int> order;
    std::vector<double> times;
    double keyTimes[theKeys];
    double keyValues[theKeys];
};

Rig &rig(Kind kind)
{
    static Rig theRigs[] = {Rig(Kind::PLAIN), Rig(Kind::KEYED), Rig(Kind::EXPRESSION),
                            Rig(Kind::VECTOR), Rig(Kind::INTEGER)};
    return theRigs[int(kind)];
}

double baselineF(const Rig &r)
{
    double sum = 0.0;
    for (int step : r.order) {
        sum += r.map.find(r.tokens[std::size_t(step)])->second;
    }
    return sum;
}

double baselineA(const Rig &r)
{
    static const std::vector<double> theArray(theParms, 1.0);
    double sum = 0.0;
    for (int step : r.order) {
        sum += theArray[std::size_t(step)];
    }
    return sum;
}

double baselineK(const Rig &r)
{
    double sum = 0.0;
    for (double time : r.times) {
        const double *upper = std::upper_bound(r.keyTimes, r.keyTimes + theKeys, time);
        if (upper == r.keyTimes + theKeys) {
            sum += r.keyValues[theKeys - 1];
            continue;
        }
        const auto i = upper - r.keyTimes - 1;
        const double blend = (time - r.keyTimes[i]) / (r.keyTimes[i + 1] - r.keyTimes[i]);
        sum += r.keyValues[i] + blend * (r.keyValues[i + 1] - r.keyValues[i]);
    }
    return sum;
}

// -------------------------------------------------------------------------- //
// The operations: one block of theSteps each
// -------------------------------------------------------------------------- //

double byText(const Rig &r)
{
    double sum = 0.0;
    for (int step : r.order) {
        sum += r.list->evalFloat(KIT_StringRef(r.tokens[std::size_t(step)].c_str()), 0, 0.0);
    }
    return sum;
}

double byKeptReference(const Rig &r)
{
    double sum = 0.0;
    for (int step : r.order) {
        sum += r.list->evalFloat(r.refs[std::size_t(step)], 0, 0.0);
    }
    return sum;
}

/// VALUE is what is read: a number of either kind.
template <class VALUE>
double byHandle(const Rig &r)
{
    const int thread = BASgetSTID();
    double sum = 0.0;
    for (int step : r.order) {
        VALUE value;
        r.parms[std::size_t(step)]->getValue(0.0, value, 0, thread);
        sum += double(value);
    }
    return sum;
}

double byTypedHandle(const Rig &r)
{
    const int thread = BASgetSTID();
    double sum = 0.0;
    for (int step : r.order) {
        sum += r.handles[std::size_t(step)](0.0, thread);
    }
    return sum;
}

double byHandleAtTimes(const Rig &r)
{
    const int thread = BASgetSTID();
    double sum = 0.0;
    for (std::size_t i = 0; i < r.order.size(); ++i) {
        double value;
        r.parms[std::size_t(r.order[i])]->getValue(r.times[i], value, 0, thread);
        sum += value;
    }
    return sum;
}

/// Every parameter at one time before the next, as a node cooks a frame.
double byHandleFrameByFrame(const Rig &r)
{
    const int thread = BASgetSTID();
    double sum = 0.0;
    for (std::size_t i = 0; i < r.order.size(); ++i) {
        double value;
        r.parms[std::size_t(r.order[i])]->getValue(r.times[i / 1024], value, 0, thread);
        sum += value;
    }
    return sum;
}

double byExpression(const Rig &r)
{
    const int thread = BASgetSTID();
    double sum = 0.0;
    for (int step : r.order) {
        double value;
        r.parms[std::size_t(theParms / 2 + step / 2)]->getValue(0.0, value, 0, thread);
        sum += value;
    }
    return sum;
}

double byVector(const Rig &r)
{
    const int thread = BASgetSTID();
    double sum = 0.0;
    for (int step : r.order) {
        double values[3];
        r.parms[std::size_t(step)]->getValues(0.0, values, thread);
        sum += values[0] + values[1] + values[2];
    }
    return sum;
}

template <bool PROPAGATE>
double set(const Rig &r)
{
    double count = 0.0;
    r.list->setEventHandler(
        &count, [](void *data, TRK_CHANGE_TYPE, int) { ++*static_cast<double *>(data); });
    double value = 0.0;
    for (int step : r.order) {
        r.list->setFloat(value, r.refs[std::size_t(step)], 0, 0.0, PROPAGATE);
        value += 1.0;
    }
    r.list->setEventHandler(nullptr, nullptr);
    return count;
}

// -------------------------------------------------------------------------- //
// The frame
// -------------------------------------------------------------------------- //

using Block = double (*)(const Rig &);

void beside(benchmark::State &state, Kind kind, Block operation, Block baseline)
{
    const Rig &r = rig(kind);
    benchBeside(
        state, theSteps, theSteps, [&] { benchmark::DoNotOptimize(operation(r)); },
        [&] { benchmark::DoNotOptimize(baseline(r)); });
}

void onTwoThreads(benchmark::State &state, Kind kind, Block operation)
{
    constexpr int theRepeats = 8;
    const Rig &r = rig(kind);
    const auto work = [&] {
        for (int i = 0; i < theRepeats; ++i) {
            benchmark::DoNotOptimize(operation(r));
        }
    };
    double bestOne = 1e9, bestTwo = 1e9;
    for (auto _ : state) {
        bestOne = std::min(bestOne, benchSeconds(work));
        const double both = benchSeconds([&] {
            std::thread other(work);
            work();
            other.join();
        });
        bestTwo = std::min(bestTwo, both);
        state.SetIterationTime(both);
    }
    state.counters["scaling"] = 2.0 * bestOne / bestTwo;
}

void buildLists(benchmark::State &state)
{
    constexpr int theLists = 64;
    Rig &r = rig(Kind::PLAIN);
    TRK_Collection channels;
    std::vector<std::unique_ptr<ZEL_ParmList>> lists(theLists);
    benchBeside(
        state, theLists * theParms, theSteps,
        [&] {
            for (auto &list : lists) {
                list = r.makeList(&channels);
            }
        },
        [&] { benchmark::DoNotOptimize(baselineF(r)); },
        [&] {
            for (auto &list : lists) {
                list.reset();
            }
        });
}

/// What the process grows by, list and all, for each float of one component.
void bytesPerParameter(benchmark::State &state)
{
    constexpr int theLists = 4000;
    Rig &r = rig(Kind::PLAIN);
    for (auto _ : state) {
        std::vector<std::unique_ptr<ZEL_ParmList>> lists;
        lists.reserve(theLists);
        const double before = benchResidentBytes();
        for (int i = 0; i < theLists; ++i) {
            lists.push_back(r.makeList(nullptr));
        }
        const double after = benchResidentBytes();
        state.counters["bytes"] = (after - before) / (theLists * theParms);
        state.SetIterationTime(1e-3);
    }
}

void add(const char *name, Kind kind, Block operation, Block baseline)
{
    benchmark::RegisterBenchmark(name, beside, kind, operation, baseline)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void addThreaded(const char *name, Kind kind, Block operation)
{
    benchmark::RegisterBenchmark(name, onTwoThreads, kind, operation)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::RegisterBenchmark("memory/float_of_one", bytesPerParameter)
        ->UseManualTime()
        ->Iterations(1);
    add("get/by_text/F", Kind::PLAIN, byText, baselineF);
    add("get/by_reference/F", Kind::PLAIN, byKeptReference, baselineF);
    add("get/by_handle/F", Kind::PLAIN, byHandle<double>, baselineF);
    add("get/by_handle/A", Kind::PLAIN, byHandle<double>, baselineA);
    add("handle/typed/plain", Kind::PLAIN, byTypedHandle, byHandle<double>);
    add("get/integer/F", Kind::INTEGER, byHandle<int>, baselineF);
    add("get/vector_of_three/F", Kind::VECTOR, byVector, baselineF);
    add("get/ten_keys/K", Kind::KEYED, byHandleAtTimes, baselineK);
    add("get/expression_of_two/F", Kind::EXPRESSION, byExpression, baselineF);
    add("set/alone/F", Kind::PLAIN, set<false>, baselineF);
    add("set/propagated/F", Kind::PLAIN, set<true>, baselineF);
    benchmark::RegisterBenchmark("build/per_parameter/F", buildLists)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    addThreaded("threads/by_text", Kind::PLAIN, byText);
    addThreaded("threads/by_reference", Kind::PLAIN, byKeptReference);
    addThreaded("threads/by_handle", Kind::PLAIN, byHandle<double>);
    addThreaded("threads/vector_of_three", Kind::VECTOR, byVector);
    addThreaded("threads/ten_keys_frame_by_frame", Kind::KEYED, byHandleFrameByFrame);
    addThreaded("threads/ten_keys_any_time", Kind::KEYED, byHandleAtTimes);
    addThreaded("threads/expression_of_two", Kind::EXPRESSION, byExpression);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
