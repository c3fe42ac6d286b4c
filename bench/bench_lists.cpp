// What saving and loading whole lists costs, beside a JSON library on the same values.
//
// 1,000 lists of 100 parameters: 40 numbers, 30 vectors of three, 30 integers. One set of values as
// people type them (up to four decimals), one of full precision.
//
//   text    list to a stream into memory, and from memory, beside nlohmann-json text
//   binary  the same in binary form, beside its CBOR
//
// The baseline saves by making an object of name and number, or array, from plain vectors of doubles,
// and dumping it; it loads by parsing and looking each name up into such vectors. Every benchmark runs
// a block of its operation and a block of its baseline in turn. Counters: `ns` and `base_ns` for one
// parameter, `speedup` of the two, `MB_s` and `base_MB_s` of each one's own bytes.

#include "BenchBeside.h"
#include "BenchSink.h"

#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace
{

using Json = nlohmann::json;
constexpr std::size_t theLists = 1000;
constexpr std::size_t theParms = 100;

enum class Values
{
    TYPED,
    FULL
};

enum class Form
{
    TEXT,
    BINARY
};

/// Which of the hundred a parameter is: 0 to 3 a number, 4 to 6 a vector, 7 to 9 an integer.
bool isVector(std::size_t parm)
{
    return parm % 10 >= 4 && parm % 10 < 7;
}

bool isInteger(std::size_t parm)
{
    return parm % 10 >= 7;
}

struct Rig
{
    explicit Rig(Values kind)
    {
        const char *const words[] = {"translate", "size", "rough", "weight", "count"};
        for (std::size_t i = 0; i < theParms; ++i) {
            names.push_back(words[i % 5] + std::to_string(i));
        }
        for (const std::string &name : names) {
            zelNames.emplace_back(name.c_str(), name.c_str());
        }
        for (std::size_t i = 0; i < theParms; ++i) {
            const ZEL_Type &type = isVector(i) ? ZEL_XYZ : isInteger(i) ? ZEL_INT : ZEL_FLT;
            templates.emplace_back(type, isVector(i) ? 3 : 1, &zelNames[i]);
        }
        templates.emplace_back();
        std::mt19937_64 random(1);
        for (std::size_t l = 0; l < theLists; ++l) {
            lists.push_back(std::make_unique<ZEL_ParmList>(templates.data(), nullptr, nullptr,
                                                           nullptr, "bench", false));
            plain.emplace_back(theParms);
            for (std::size_t i = 0; i < theParms; ++i) {
                plain[l][i].resize(isVector(i) ? 3 : 1);
                for (std::size_t c = 0; c < plain[l][i].size(); ++c) {
                    plain[l][i][c] = draw(random, kind, isInteger(i));
                    lists[l]->setFloat(plain[l][i][c], names[i].c_str(), int(c), 0.0, false);
                }
            }
        }
        for (const Form form : {Form::TEXT, Form::BINARY}) {
            saveAll(form, saved[int(form)]);
            saveAllPlain(form, savedPlain[int(form)]);
        }
    }

    static double draw(std::mt19937_64 &random, Values kind, bool integer)
    {
        if (integer) {
            return double(random() % 1000);
        }
        if (kind == Values::TYPED) {
            static const double theSteps[] = {1.0, 10.0, 100.0, 10000.0};
            const double step = theSteps[random() % 4];
            return std::round(std::uniform_real_distribution<>(-100.0, 100.0)(random) * step) /
                   step;
        }
        return std::uniform_real_distribution<>(-100.0, 100.0)(random);
    }

    // ------------------------------------------------------------------ //
    // The operations, on all lists
    // ------------------------------------------------------------------ //
    std::size_t saveAll(Form form, std::vector<std::string> &out) const
    {
        std::size_t bytes = 0;
        out.resize(theLists);
        for (std::size_t l = 0; l < theLists; ++l) {
            out[l].clear();
            BenchSink sink(out[l]);
            std::ostream os(&sink);
            lists[l]->save(os, form == Form::BINARY, false);
            bytes += out[l].size();
        }
        return bytes;
    }
    std::size_t saveAllPlain(Form form, std::vector<std::string> &out) const
    {
        std::size_t bytes = 0;
        out.resize(theLists);
        for (std::size_t l = 0; l < theLists; ++l) {
            Json object = Json::object();
            for (std::size_t i = 0; i < theParms; ++i) {
                const std::vector<double> &values = plain[l][i];
                object[names[i]] = values.size() == 1 ? Json(values[0]) : Json(values);
            }
            if (form == Form::BINARY) {
                out[l].clear();
                Json::to_cbor(object, out[l]);
            } else {
                out[l] = object.dump();
            }
            bytes += out[l].size();
        }
        return bytes;
    }
    std::size_t loadAll(Form form)
    {
        std::size_t bytes = 0;
        const auto mode = form == Form::BINARY ? KIT_IStream::BINARY : KIT_IStream::TEXT;
        for (std::size_t l = 0; l < theLists; ++l) {
            const std::string &data = saved[int(form)][l];
            KIT_IStream is(data.data(), data.size(), mode);
            if (!lists[l]->load(is, nullptr, nullptr)) {
                std::fprintf(stderr, "a list does not load\n");
                std::exit(1);
            }
            bytes += data.size();
        }
        return bytes;
    }
    std::size_t loadAllPlain(Form form)
    {
        std::size_t bytes = 0;
        for (std::size_t l = 0; l < theLists; ++l) {
            const std::string &data = savedPlain[int(form)][l];
            const Json object = form == Form::BINARY ? Json::from_cbor(data) : Json::parse(data);
            for (std::size_t i = 0; i < theParms; ++i) {
                const Json &value = object[names[i]];
                if (value.is_array()) {
                    value.get_to(plain[l][i]);
                } else {
                    plain[l][i][0] = value.get<double>();
                }
            }
            bytes += data.size();
        }
        return bytes;
    }

    std::vector<std::string> names;
    std::vector<ZEL_Name> zelNames;
    std::vector<ZEL_Template> templates;
    std::vector<std::unique_ptr<ZEL_ParmList>> lists;
    std::vector<std::vector<std::vector<double>>> plain; // by list, parameter, component
    std::vector<std::string> saved[2];                   // by form
    std::vector<std::string> savedPlain[2];
};

Rig &rig(Values kind)
{
    static Rig theTyped(Values::TYPED);
    static Rig theFull(Values::FULL);
    return kind == Values::TYPED ? theTyped : theFull;
}

using Block = std::size_t (*)(Rig &, Form);

std::size_t save(Rig &r, Form form)
{
    static std::vector<std::string> theOut;
    return r.saveAll(form, theOut);
}

std::size_t savePlain(Rig &r, Form form)
{
    static std::vector<std::string> theOut;
    return r.saveAllPlain(form, theOut);
}

std::size_t load(Rig &r, Form form)
{
    return r.loadAll(form);
}

std::size_t loadPlain(Rig &r, Form form)
{
    return r.loadAllPlain(form);
}

void beside(benchmark::State &state, Values kind, Form form, Block operation, Block baseline)
{
    Rig &r = rig(kind);
    constexpr double theSteps = double(theLists) * theParms;
    double bytes = 0.0, baseBytes = 0.0;
    const BenchTimes best = benchBeside(
        state, theSteps, theSteps, [&] { bytes = double(operation(r, form)); },
        [&] { baseBytes = double(baseline(r, form)); });
    state.counters["speedup"] = best.baseline / best.operation;
    state.counters["MB_s"] = bytes / best.operation * 1e-6;
    state.counters["base_MB_s"] = baseBytes / best.baseline * 1e-6;
}

void add(const char *name, Values kind, Form form, Block operation, Block baseline)
{
    benchmark::RegisterBenchmark(name, beside, kind, form, operation, baseline)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char **argv)
{
    add("text/save/typed", Values::TYPED, Form::TEXT, save, savePlain);
    add("text/load/typed", Values::TYPED, Form::TEXT, load, loadPlain);
    add("text/save/full", Values::FULL, Form::TEXT, save, savePlain);
    add("text/load/full", Values::FULL, Form::TEXT, load, loadPlain);
    add("binary/save/typed", Values::TYPED, Form::BINARY, save, savePlain);
    add("binary/load/typed", Values::TYPED, Form::BINARY, load, loadPlain);
    add("binary/save/full", Values::FULL, Form::BINARY, save, savePlain);
    add("binary/load/full", Values::FULL, Form::BINARY, load, loadPlain);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
