#include <NOD/NOD_Explanation.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/explain/NOD_DotTextPrivate.h>
#include <NOD/explain/NOD_ExplainerPrivate.h>
#include <NOD/explain/NOD_FrameTextPrivate.h>
#include <NOD/snapshot/NOD_SnapshotReadPrivate.h>

#include <algorithm>
#include <nlohmann/json.hpp>

namespace
{

using Json = nlohmann::ordered_json;
using Source = NOD_ExplainedValue::Source;

} // namespace

NOD_Explanation NODexplain(const NOD_Snapshot &snapshot, const NOD_SnapshotHandle &handle,
                           double time, int thread)
{
    const NOD_SnapshotScope scope(snapshot);
    const KIT_ErrorManager::Scope quiet(thread);
    const EVL::ErrorScope number(thread);
    return NOD_Explainer(snapshot, thread).explain(handle, time);
}

const char *NODsourceName(Source source)
{
    switch (source) {
    case Source::CONSTANT: return "constant";
    case Source::KEYS: return "keys";
    case Source::EXPRESSION: return "expression";
    case Source::TEXT: return "text";
    case Source::FOREIGN: return "foreign";
    case Source::LOST: break;
    }
    return "lost";
}

const char *NODforeignName(NOD_Foreign kind)
{
    switch (kind) {
    case NOD_Foreign::OVERRIDE: return "override";
    case NOD_Foreign::PYTHON: return "python";
    case NOD_Foreign::MENU: return "menu";
    case NOD_Foreign::DATA: return "data";
    case NOD_Foreign::VARIABLE: break;
    }
    return "variable";
}

const NOD_ExplainedValue *NOD_Explanation::findFault() const
{
    if (values.empty() || values[0].error == EVL::EVL_OK) {
        return nullptr;
    }
    std::vector<bool> seen(values.size(), false);
    std::size_t at = 0;
    for (std::size_t next = 0; next < values.size();) {
        at = next;
        seen[at] = true;
        const std::vector<std::size_t> &reads = values[at].reads;
        const auto found = std::find_if(reads.begin(), reads.end(), [&](std::size_t read) {
            return !seen[read] && values[read].error != EVL::EVL_OK &&
                   values[read].source != Source::LOST;
        });
        next = found != reads.end() ? *found : values.size();
    }
    return &values[at];
}

// ---------------------------------------------------------------------- //
// For people
// ---------------------------------------------------------------------- //

namespace
{

std::string sourceText(const NOD_ExplainedValue &value)
{
    switch (value.source) {
    case Source::CONSTANT: return "";
    case Source::KEYS: return ", by keys";
    case Source::EXPRESSION: return ", by " + value.text;
    case Source::TEXT: return ", by the text " + value.text;
    case Source::FOREIGN: return std::string(", from outside: ") + NODforeignName(value.foreign);
    case Source::LOST: break;
    }
    return ", which isn't there";
}

std::string heldText(const NOD_ExplainedValue &value, double frameRate)
{
    if (value.source == Source::CONSTANT || value.source == Source::LOST) {
        return "";
    }
    if (value.held.isForever()) {
        return "; always so";
    }
    std::string text;
    if (value.held.first < value.held.last) {
        text = "; so " + NODframesText(value.held, frameRate);
    }
    text += "; moved by ";
    for (std::size_t i = 0; i < value.movers.size(); ++i) {
        text += (i > 0 ? ", " : "") + value.movers[i];
    }
    return text;
}

std::string lineOf(const NOD_ExplainedValue &value, double outerTime, double frameRate)
{
    std::string line = value.address;
    if (value.source != Source::LOST) {
        line += " = " + value.value;
    }
    if (value.time != outerTime) {
        line += " at frame " + NODframeText(value.time, frameRate);
    }
    line += sourceText(value) + heldText(value, frameRate);
    if (value.error != EVL::EVL_OK && value.source != Source::LOST) {
        line += std::string("; fails: ") + EVL::getErrorText(value.error);
    }
    return line;
}

} // namespace

std::string NOD_Explanation::asText(double frameRate) const
{
    struct Step
    {
        std::size_t value;
        std::size_t next;
    };
    constexpr std::size_t theDeepest = 40; // columns of indentation
    std::string text;
    std::vector<bool> told(values.size(), false);
    std::vector<Step> way;
    const auto tell = [&](std::size_t number, double outerTime) {
        text += std::string(std::min(2 * way.size(), theDeepest), ' ');
        const NOD_ExplainedValue &value = values[number];
        if (told[number] && !value.reads.empty()) {
            text += value.address + ", as told\n";
            return;
        }
        text += lineOf(value, outerTime, frameRate) + "\n";
        told[number] = true;
        way.push_back({number, 0});
    };
    if (!values.empty()) {
        tell(0, std::numeric_limits<double>::quiet_NaN());
    }
    while (!way.empty()) {
        Step &step = way.back();
        const NOD_ExplainedValue &value = values[step.value];
        if (step.next == value.reads.size()) {
            way.pop_back();
        } else {
            tell(value.reads[step.next++], value.time);
        }
    }
    if (!cycle.empty()) {
        text += "cycle: ";
        for (std::size_t i = 0; i < cycle.size(); ++i) {
            text += (i > 0 ? " -> " : "") + cycle[i];
        }
        text += "\n";
    }
    return text + (cutFlag ? "there is more\n" : "");
}

// ---------------------------------------------------------------------- //
// For programs
// ---------------------------------------------------------------------- //

std::string NOD_Explanation::asJson() const
{
    const auto end = [](double time) { return std::isfinite(time) ? Json(time) : Json(); };
    Json json;
    json["values"] = Json::array();
    for (const NOD_ExplainedValue &value : values) {
        Json row;
        row["address"] = value.address;
        row["time"] = value.time;
        row["value"] = value.source == Source::LOST ? Json() : Json(value.value);
        row["source"] = NODsourceName(value.source);
        if (value.source == Source::FOREIGN) {
            row["foreign"] = NODforeignName(value.foreign);
        }
        if (!value.text.empty()) {
            row["text"] = value.text;
        }
        row["held"] = Json{end(value.held.first), end(value.held.last)};
        row["movers"] = value.movers;
        if (value.error != EVL::EVL_OK) {
            row["error"] = EVL::getErrorText(value.error);
        }
        row["reads"] = value.reads;
        json["values"].push_back(std::move(row));
    }
    json["cycle"] = cycle;
    json["cut"] = cutFlag;
    return json.dump(1, ' ', false, Json::error_handler_t::replace);
}

std::string NOD_Explanation::asDOT(double frameRate) const
{
    std::string text = "digraph \"explanation\" {\n    rankdir=LR;\n    node [shape=box];\n";
    for (std::size_t i = 0; i < values.size(); ++i) {
        const NOD_ExplainedValue &value = values[i];
        std::string label = value.address + "\n";
        if (value.time != values[0].time) {
            label += "frame " + NODframeText(value.time, frameRate) + "\n";
        }
        label += value.source == Source::LOST ? "isn't there\n" : value.value + "\n";
        label += value.text.empty() ? "" : value.text + "\n";
        text += NODdotNode(i, label, value.held.isForever(), value.error);
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (const std::size_t read : values[i].reads) {
            text += fmt::format("    n{} -> n{};\n", read, i);
        }
    }
    return text + "}\n";
}
