// What reading an interface costs, and what its conditions and keys cost afterwards.
//
//   parse/N        a dialog script of N parameters into templates   beside nlohmann-json on a
//                                                                    document of the same content
//   conditions     `{ a == 1 b != x }` of 100 parameters, each       beside two look-ups in a
//                                                                    std::unordered_map and two
//                                                                    comparisons of texts
//   magic          the key of 100 exported parameters, each          beside appending as many
//                                                                    numbers to a std::string
//
// Each row has `ns` and `base_ns` for one parameter, and the `ratio` of both, of the best block; the
// parse rows also `MB_s` and `base_MB_s`.

#include "BenchBeside.h"

#include <DS/DS_Stream.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Regex.h>
#include <KIT/KIT_TokenString.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace
{

using Block = std::function<void()>;

void beside(benchmark::State &state, std::size_t steps, const Block &operation,
            const Block &baseline)
{
    benchBeside(state, double(steps), double(steps), operation, baseline);
}

// ---------------------------------------------------------------------- //
// Parsing
// ---------------------------------------------------------------------- //

std::string scriptOf(std::size_t parms)
{
    std::string text = "{\n    name \"bench\"\n";
    for (std::size_t i = 0; i < parms; ++i) {
        const std::string token = "parm" + std::to_string(i);
        text += "    parm {\n        name    \"" + token + "\"\n        label   \"Parameter " +
                std::to_string(i) + "\"\n        type    float\n        size    3\n" +
                "        default { \"0.5\" \"1\" \"" + std::to_string(i) + "\" }\n" +
                "        range   { 0! 10 }\n        disablewhen \"{ parm0 == 1 }\"\n    }\n";
    }
    return text + "}\n";
}

std::string documentOf(std::size_t parms)
{
    nlohmann::ordered_json document;
    document["name"] = "bench";
    for (std::size_t i = 0; i < parms; ++i) {
        nlohmann::ordered_json parm;
        parm["name"] = "parm" + std::to_string(i);
        parm["label"] = "Parameter " + std::to_string(i);
        parm["type"] = "float";
        parm["size"] = 3;
        parm["default"] = {"0.5", "1", std::to_string(i)};
        parm["range"] = {"0!", "10"};
        parm["disablewhen"] = "{ parm0 == 1 }";
        document["parms"].push_back(parm);
    }
    return document.dump(4);
}

void readScript(const std::string &text, std::size_t parms)
{
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    DS_Stream stream(is, "bench", false);
    ZEL_ScriptPage page;
    if (!page.parse(stream, true, nullptr, false, true, 0)) {
        std::abort();
    }
    std::vector<ZEL_Template> templates(std::size_t(page.computeTemplateSize()) + 1);
    int count = 0;
    ZEL_ScriptImports *imports = nullptr;
    page.fillTemplate(templates.data(), count, imports);
    if (count < int(parms) || imports) {
        std::abort();
    }
}

void parse(benchmark::State &state)
{
    const auto parms = std::size_t(state.range(0));
    const std::string script = scriptOf(parms);
    const std::string document = documentOf(parms);
    beside(
        state, parms, [&] { readScript(script, parms); },
        [&] { benchmark::DoNotOptimize(nlohmann::json::parse(document).size()); });
    const double bytes = double(script.size()) / double(parms);
    state.counters["MB_s"] = bytes * 1e3 / state.counters["ns"];
    state.counters["base_MB_s"] =
        double(document.size()) / double(parms) * 1e3 / state.counters["base_ns"];
}

// ---------------------------------------------------------------------- //
// Conditions and keys
// ---------------------------------------------------------------------- //

constexpr std::size_t theParms = 100;

/// A list of 100 numbers, each with a condition on two others, and the same values in a map.
struct Rig
{
    Rig()
    {
        std::mt19937 random(1);
        std::vector<std::string> tokens;
        for (std::size_t i = 0; i < theParms; ++i) {
            tokens.push_back("parm" + std::to_string(i));
            names.push_back(std::make_unique<ZEL_Name>(tokens[i].c_str(), tokens[i].c_str()));
            names.back()->harden();
            templates.emplace_back(ZEL_FLT, ZEL_Template::ZEL_EXPORT_3, 1, names.back().get());
        }
        templates.emplace_back();
        list =
            std::make_unique<ZEL_ParmList>(templates.data(), nullptr, nullptr, nullptr, "", false);
        for (std::size_t i = 0; i < theParms; ++i) {
            list->setFloat(double(i), tokens[i].c_str(), 0, 0.0, false);
            values[tokens[i]] = std::to_string(i);
            left.push_back(tokens[random() % theParms]);
            right.push_back(tokens[random() % theParms]);
            const std::string text =
                "{ " + left[i] + " == " + values[left[i]] + " " + right[i] + " != wibble }";
            conditions.push_back(
                std::make_unique<ZEL_Conditional>(text.c_str(), ZEL_CONDTYPE_DISABLE));
            const std::string pattern = "{ " + left[i] + " =~ [0-4].* }";
            patterns.push_back(
                std::make_unique<ZEL_Conditional>(pattern.c_str(), ZEL_CONDTYPE_DISABLE));
        }
    }

    std::vector<std::unique_ptr<ZEL_Name>> names;
    std::vector<ZEL_Template> templates;
    std::unique_ptr<ZEL_ParmList> list;
    std::unordered_map<std::string, std::string> values;
    std::vector<std::string> left;
    std::vector<std::string> right;
    std::vector<std::unique_ptr<ZEL_Conditional>> conditions;
    std::vector<std::unique_ptr<ZEL_Conditional>> patterns;
};

void conditions(benchmark::State &state)
{
    Rig rig;
    beside(
        state, theParms,
        [&] {
            for (std::size_t i = 0; i < theParms; ++i) {
                benchmark::DoNotOptimize(
                    rig.conditions[i]->eval(*rig.list->getParmPtr(int(i)), *rig.list, nullptr));
            }
        },
        [&] {
            for (std::size_t i = 0; i < theParms; ++i) {
                benchmark::DoNotOptimize(rig.values.find(rig.left[i])->second == "7" &&
                                         rig.values.find(rig.right[i])->second != "wibble");
            }
        });
}

/// A regular expression in each condition, beside one that was compiled by hand.
void conditionPatterns(benchmark::State &state)
{
    Rig rig;
    const KIT_Regex regex("[0-4].*");
    beside(
        state, theParms,
        [&] {
            for (std::size_t i = 0; i < theParms; ++i) {
                benchmark::DoNotOptimize(
                    rig.patterns[i]->eval(*rig.list->getParmPtr(int(i)), *rig.list, nullptr));
            }
        },
        [&] {
            for (std::size_t i = 0; i < theParms; ++i) {
                benchmark::DoNotOptimize(regex.match(rig.values.find(rig.left[i])->second.c_str()));
            }
        });
}

void magic(benchmark::State &state)
{
    Rig rig;
    constexpr unsigned allExports = ~0u;
    beside(
        state, theParms,
        [&] {
            KIT_TokenString tokens;
            rig.list->getMagicString(tokens, 0.0, allExports);
            benchmark::DoNotOptimize(tokens.hash());
        },
        [&] {
            std::string text;
            for (std::size_t i = 0; i < theParms; ++i) {
                const double value = double(i);
                text.append(reinterpret_cast<const char *>(&value), sizeof(value));
            }
            benchmark::DoNotOptimize(text.data());
        });
}

} // namespace

BENCHMARK(parse)->Apply([](benchmark::internal::Benchmark *row) { benchSizes(row); });
BENCHMARK(conditions)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(conditionPatterns)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(magic)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
