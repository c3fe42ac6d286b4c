// A scene: 100, 1,000 and 10,000 lists of 100 parameters, most of them out of the cache, beside what else
// could hold them. Times and bytes are of one parameter.
//
//   read/map        read by name, random list and name, beside a hash map in each object
//   walk/array      every value of every list, beside plain arrays
//   build/STORE     make the lists, their tables shared, beside copies of a document
//   memory/KIND     resident memory of lists at their defaults, beside a hash map in each object
//   memory/spare, memory/copied
//                   the same of lists whose parameters are all spare, or that are copies of another one,
//                   beside lists of the templates
//   FORM/load_owned/plain
//                   load into lists with an owner, which is asked about names that a list doesn't have,
//                   beside lists without
//   FORM/save, /load, /make_load
//                   save; load into lists that stand; load with making them. Beside lists that stand, the
//                   messages of protobuf get their memory from an arena
//
// `float` lists have numbers only; all others are mixed: 60 numbers, 20 vectors of three, 20 texts. What is
// saved are two sets of values, loaded in turn, so that each load changes every value; half of the numbers
// have two decimals. Every value loaded is compared with what was set, and sums of what is read.

#include "BenchBeside.h"
#include "BenchOwner.h"
#include "BenchScene.h"
#ifdef ZEL_BENCH_RAPIDJSON
#include "BenchSceneRapid.h"
#endif
#ifdef ZEL_BENCH_PROTOBUF
#include "BenchSceneProto.h"
#endif

#include <BAS/BAS_Thread.h>
#include <ZEL/ZEL_Parm.h>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <random>
#include <unordered_map>
#include <utility>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace
{

using namespace bench;
using Json = nlohmann::json;
constexpr int theSteps = 65536;

int sizeOf(const benchmark::State &state)
{
    return int(state.range(0));
}

/// The rig of a kind, for the size that was asked for last.
template <class RIG>
RIG &rig(const benchmark::State &state)
{
    static std::unique_ptr<RIG> theRig;
    static int theSize = 0;
    if (theSize != sizeOf(state)) {
        theSize = sizeOf(state);
        theRig.reset();
        theRig = std::make_unique<RIG>(theSize);
    }
    return *theRig;
}

// -------------------------------------------------------------------------- //
// Reading
// -------------------------------------------------------------------------- //

struct Floats
{
    explicit Floats(int size) : lists(makeLists(Lists::FLOAT, size))
    {
        std::unordered_map<std::string, double> map;
        for (const std::string &name : names()) {
            map[name] = 0.0;
        }
        maps.assign(std::size_t(size), map);
        arrays.resize(std::size_t(size));
        for (int l = 0; l < size; ++l) {
            for (int p = 0; p < theParms; ++p) {
                const double value = numberOf(0, l, p);
                setValue(*lists[std::size_t(l)], p, value);
                maps[std::size_t(l)][nameOf(p)] = value;
                arrays[std::size_t(l)][std::size_t(p)] = value;
            }
        }
        std::mt19937 random(1);
        for (int i = 0; i < theSteps; ++i) {
            const std::size_t list = random() % std::size_t(size);
            order.emplace_back(list, &names()[random() % theParms]);
        }
    }

    ListVector lists;
    std::vector<std::unordered_map<std::string, double>> maps;
    std::vector<std::array<double, theParms>> arrays;
    std::vector<std::pair<std::size_t, const std::string *>> order;
};

void readByName(benchmark::State &state)
{
    const Floats &r = rig<Floats>(state);
    double sum = 0.0, baseSum = 0.0;
    benchBeside(
        state, theSteps, theSteps,
        [&] {
            sum = 0.0;
            for (const auto &[list, name] : r.order) {
                sum += r.lists[list]->evalFloat(KIT_StringRef(name->c_str(), name->size()), 0, 0.0);
            }
        },
        [&] {
            baseSum = 0.0;
            for (const auto &[list, name] : r.order) {
                baseSum += r.maps[list].find(*name)->second;
            }
        },
        [&] { require(sum == baseSum, "a value read by name differs"); });
}

void walk(benchmark::State &state)
{
    const Floats &r = rig<Floats>(state);
    const double steps = double(r.lists.size()) * theParms;
    double sum = 0.0, baseSum = 0.0;
    benchBeside(
        state, steps, steps,
        [&] {
            const int thread = BASgetSTID();
            double value = 0.0;
            sum = 0.0;
            for (const auto &list : r.lists) {
                for (int p = 0; p < theParms; ++p) {
                    list->getParmPtr(p)->getValue(0.0, value, 0, thread);
                    sum += value;
                }
            }
        },
        [&] {
            baseSum = 0.0;
            for (const auto &array : r.arrays) {
                for (const double value : array) {
                    baseSum += value;
                }
            }
        },
        [&] { require(sum == baseSum, "a value read in order differs"); });
}

// -------------------------------------------------------------------------- //
// Building, and memory
// -------------------------------------------------------------------------- //

// A store makes a scene: lists, or copies of one object, as they are at their defaults.

struct ListStore
{
    explicit ListStore(Lists which) : lists(which) {}
    void make(int count) { made = makeLists(lists, count); }
    void clear() { made.clear(); }

    Lists lists;
    ListVector made;
};

void assign(double &to, const Value &value)
{
    to = std::get<double>(value);
}
void assign(Value &to, const Value &value)
{
    to = value;
}
void assign(Json &to, const Value &value)
{
    std::visit([&](const auto &held) { to = held; }, value);
}

template <class OBJECT>
struct CopyStore
{
    explicit CopyStore(Lists lists)
    {
        for (int p = 0; p < theParms; ++p) {
            assign(object[nameOf(p)], defaultOf(lists, p));
        }
    }
    void make(int count) { made.assign(std::size_t(count), object); }
    void clear() { made.clear(); }

    OBJECT object;
    std::vector<OBJECT> made;
};

using FloatMapStore = CopyStore<std::unordered_map<std::string, double>>;
using MixedMapStore = CopyStore<std::unordered_map<std::string, Value>>;
using JsonStore = CopyStore<Json>;

template <class STORE>
void build(benchmark::State &state)
{
    const int size = sizeOf(state);
    const double steps = double(size) * theParms;
    ListStore lists(Lists::FLOAT);
    STORE base(Lists::FLOAT);
    benchBeside(
        state, steps, steps, [&] { lists.make(size); }, [&] { base.make(size); },
        [&] {
            require(lists.made.size() == base.made.size(), "a list is missing");
            lists.clear();
            base.clear();
        });
}

/// Lists with the same parameters as spare ones, a set for each.
struct SpareStore : ListStore
{
    using ListStore::ListStore;
    void make(int count)
    {
        for (static ZEL_Template theNone[1]; count-- > 0;) {
            made.push_back(std::make_unique<ZEL_ParmList>(theNone, nullptr, nullptr, nullptr,
                                                          "bench_spare", false));
            made.back()->updateSpareParmTemplates(templates.data(), false);
        }
    }

    std::vector<ZEL_Template> templates = makeTemplates(lists);
};

/// Copies of a list, as a node's are after a change of its type.
struct CopiedStore : ListStore
{
    using ListStore::ListStore;
    void make(int count)
    {
        for (; count-- > 0;) {
            made.push_back(std::make_unique<ZEL_ParmList>(*source.front(), templates.data(),
                                                          nullptr, nullptr, "bench_copied", true));
        }
    }

    std::vector<ZEL_Template> templates = makeTemplates(lists);
    ListVector source = makeLists(lists, 1);
};

/// Bytes of this process that no file backs.
double anonymousBytes()
{
    std::ifstream is("/proc/self/smaps_rollup");
    for (std::string word; is >> word;) {
        if (word == "Anonymous:") {
            double kilobytes = 0.0;
            is >> kilobytes;
            return kilobytes * 1024.0;
        }
    }
    return 0.0;
}

template <class STORE>
void printMemory(Lists lists, int size)
{
    STORE first(lists), store(lists);
    first.make(10); // what is made once for all
    const double before = anonymousBytes();
    store.make(size);
    std::printf("%.17g\n", (anonymousBytes() - before) / size / theParms);
}

struct Memory
{
    const char *name;
    void (*print)(Lists, int);
    Lists lists;
    const char *counter;
};

const Memory theMemory[] = {
    {"float", printMemory<ListStore>, Lists::FLOAT, "bytes"},
    {"float", printMemory<FloatMapStore>, Lists::FLOAT, "base_bytes"},
    {"float", printMemory<JsonStore>, Lists::FLOAT, "nlohmann_bytes"},
    {"mixed", printMemory<ListStore>, Lists::MIXED, "bytes"},
    {"mixed", printMemory<MixedMapStore>, Lists::MIXED, "base_bytes"},
    {"mixed", printMemory<JsonStore>, Lists::MIXED, "nlohmann_bytes"},
    {"spare", printMemory<SpareStore>, Lists::FLOAT, "bytes"},
    {"spare", printMemory<ListStore>, Lists::FLOAT, "base_bytes"},
    {"copied", printMemory<CopiedStore>, Lists::FLOAT, "bytes"},
    {"copied", printMemory<ListStore>, Lists::FLOAT, "base_bytes"},
#ifdef ZEL_BENCH_RAPIDJSON
    {"float", printMemory<RapidStore>, Lists::FLOAT, "rapidjson_bytes"},
    {"mixed", printMemory<RapidStore>, Lists::MIXED, "rapidjson_bytes"},
#endif
};

/// Each store in a process of its own, whose memory nothing has used before.
void memory(benchmark::State &state, const std::string &name)
{
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    for (auto _ : state) {
        state.SetIterationTime(benchSeconds([&] {
            for (const Memory &row : theMemory) {
                if (name != row.name) {
                    continue;
                }
                const std::string command = "'" + program + "' --memory " +
                                            std::to_string(&row - theMemory) + " " +
                                            std::to_string(sizeOf(state));
                FILE *const pipe = popen(command.c_str(), "r");
                double bytes = 0.0;
                require(pipe && std::fscanf(pipe, "%lf", &bytes) == 1, "no memory measured");
                require(pclose(pipe) == 0, "measuring memory failed");
                state.counters[row.counter] = bytes;
            }
        }));
    }
    state.counters["ratio"] = double(state.counters["bytes"]) / state.counters["base_bytes"];
}

// -------------------------------------------------------------------------- //
// Saving and loading
// -------------------------------------------------------------------------- //

struct ListScene
{
    explicit ListScene(int size) : lists(makeLists(Lists::MIXED, size))
    {
        for (held = 1; held >= 0; --held) {
            for (int l = 0; l < size; ++l) {
                for (int p = 0; p < theParms; ++p) {
                    setValue(*lists[std::size_t(l)], p, valueOf(held, l, p));
                }
            }
            saveAll(lists, Form::TEXT, saved[int(Form::TEXT)][held]);
            saveAll(lists, Form::BINARY, saved[int(Form::BINARY)][held]);
        }
        held = 0;
    }

    ListVector lists;
    int held = 0;            // which set of values the lists have
    std::string saved[2][2]; // by form and set
    std::string out;
};

struct Cbor
{
    explicit Cbor(int size)
    {
        for (int l = 0; l < size; ++l) {
            Json &object = scene.emplace_back();
            for (int p = 0; p < theParms; ++p) {
                assign(object[nameOf(p)], valueOf(0, l, p));
            }
        }
    }
    std::size_t save()
    {
        out.clear();
        Json::to_cbor(scene, out);
        return out.size();
    }

    Json scene = Json::array();
    std::string out;
};

// A baseline saves set 0 and loads either set.

template <class BASE>
void save(benchmark::State &state, Form form)
{
    const double steps = double(sizeOf(state)) * theParms;
    ListScene &scene = rig<ListScene>(state);
    BASE &base = rig<BASE>(state);
    std::size_t baseBytes = 0;
    benchBeside(
        state, steps, steps, [&] { saveAll(scene.lists, form, scene.out); },
        [&] { baseBytes = base.save(); },
        [&] { require(scene.out == scene.saved[int(form)][scene.held], "what is saved differs"); });
    state.counters["bytes"] = double(scene.out.size()) / steps;
    state.counters["base_bytes"] = double(baseBytes) / steps;
}

template <class BASE>
void load(benchmark::State &state, Form form, Target target)
{
    const int size = sizeOf(state);
    const double steps = double(size) * theParms;
    ListScene &scene = rig<ListScene>(state);
    BASE &base = rig<BASE>(state);
    ListVector made;
    benchBeside(
        state, steps, steps,
        [&] {
            if (target == Target::MADE) {
                made = makeLists(Lists::MIXED, size);
            }
            loadAll(target == Target::MADE ? made : scene.lists, form,
                    scene.saved[int(form)][1 - scene.held]);
        },
        [&] { base.load(1 - scene.held, target); },
        [&] {
            const int set = 1 - scene.held;
            const ListVector &lists = target == Target::MADE ? made : scene.lists;
            requireAll(set, size, "a value loaded differs",
                       [&](int l, int p) { return getValue(*lists[std::size_t(l)], p); });
            base.check(set);
            scene.held = target == Target::MADE ? scene.held : set;
            made.clear();
        });
}

struct OwnedLists
{
    explicit OwnedLists(int size) : owners(std::size_t(size))
    {
        for (BenchOwner &owner : owners) {
            lists.push_back(makeList(Lists::MIXED, &owner));
        }
    }

    std::vector<BenchOwner> owners;
    ListVector lists;
};

void loadOwned(benchmark::State &state, Form form)
{
    const int size = sizeOf(state);
    const double steps = double(size) * theParms;
    ListScene &scene = rig<ListScene>(state);
    OwnedLists &owned = rig<OwnedLists>(state);
    const auto loadInto = [&](const ListVector &lists) {
        loadAll(lists, form, scene.saved[int(form)][1 - scene.held]);
    };
    benchBeside(
        state, steps, steps, [&] { loadInto(owned.lists); }, [&] { loadInto(scene.lists); },
        [&] {
            scene.held = 1 - scene.held;
            for (const ListVector *lists : {&owned.lists, &scene.lists}) {
                requireAll(scene.held, size, "a value loaded differs",
                           [&](int l, int p) { return getValue(*(*lists)[std::size_t(l)], p); });
            }
        });
}

template <class WORK>
auto *add(const std::string &name, int size, const WORK &work)
{
    return benchmark::RegisterBenchmark(name.c_str(), work)
        ->Arg(size)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

template <class BASE>
void addStreams(const std::string &form, Form which, const std::string &base, int size)
{
    add(form + "/save/" + base, size, [=](auto &state) { save<BASE>(state, which); });
    add(form + "/load/" + base, size,
        [=](auto &state) { load<BASE>(state, which, Target::STANDING); });
    add(form + "/make_load/" + base, size,
        [=](auto &state) { load<BASE>(state, which, Target::MADE); });
}

/// All rows of a size together, so that the rigs of one size at a time are in memory.
void addRows(int size)
{
    add("read/map", size, readByName);
    add("walk/array", size, walk);
    add("build/nlohmann", size, build<JsonStore>);
#ifdef ZEL_BENCH_RAPIDJSON
    add("build/rapidjson", size, build<RapidStore>);
#endif
    for (const char *kind : {"float", "mixed", "spare", "copied"}) {
        add(std::string("memory/") + kind, size, [=](auto &state) {
            memory(state, kind);
        })->Iterations(1);
    }
#ifdef ZEL_BENCH_RAPIDJSON
    addStreams<Rapid>("text", Form::TEXT, "rapidjson", size);
#endif
#ifdef ZEL_BENCH_PROTOBUF
    addStreams<Proto>("binary", Form::BINARY, "protobuf", size);
#endif
    add("text/load_owned/plain", size, [](auto &state) { loadOwned(state, Form::TEXT); });
    add("binary/load_owned/plain", size, [](auto &state) { loadOwned(state, Form::BINARY); });
    add("binary/save/cbor", size, [](auto &state) { save<Cbor>(state, Form::BINARY); });
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && std::string(argv[1]) == "--memory") {
        const Memory &row = theMemory[std::atoi(argv[2])];
        row.print(row.lists, std::atoi(argv[3]));
        return 0;
    }
#ifdef __GLIBC__
    // Freed memory stays with the process, as it does with the allocator of the lists: the first touch
    // of new pages is no cost of a document.
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 25);
#endif
    for (const int size : {100, 1000, 10000}) {
        addRows(size);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
