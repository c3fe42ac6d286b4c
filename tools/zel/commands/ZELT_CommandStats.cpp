#include "ZELT_CommandLine.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"

#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_Stats.h>
#include <NOD/NOD_ValueFile.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <optional>

namespace
{

struct Call
{
    std::string file;
    bool times = false;
};

// -------------------------------------------------------------------- //
// Reading
// -------------------------------------------------------------------- //

/// A node of the script, without presets.
bool addScript(NOD_Scene &scene, const std::string &file, ZELT_Messages &messages)
{
    const ZELT_ScriptPtr script = ZELTloadScript(file, messages);
    if (!script) {
        return false;
    }
    NOD_Report report;
    ZEL_ParmList::beginLoading();
    const bool added = scene.add("/node", script, report) != nullptr;
    ZEL_ParmList::endLoading();
    messages.add(report);
    return added;
}

bool load(NOD_Scene &scene, const std::string &file, bool noScripts, ZELT_Messages &messages)
{
    NOD_LoadOptions options;
    options.scripts =
        noScripts ? NOD_LoadOptions::Scripts::IN_FOLDER : NOD_LoadOptions::Scripts::ANYWHERE;
    const NOD_FileKind kind = NOD_ValueFile::kindOf(file);
    NOD_Report report;
    bool loaded = false;
    if (kind == NOD_FileKind::SCENE) {
        loaded = NOD_SceneFile::load(scene, file, options, report);
    } else if (kind == NOD_FileKind::NODE) {
        loaded = NOD_NodeFile::load(scene, scene.getRoot(), file, options, report) != nullptr;
    } else if (kind == NOD_FileKind::NONE || kind == NOD_FileKind::SCRIPT) {
        return addScript(scene, file, messages);
    } else {
        messages.error(file, std::string("is ") + NOD_ValueFile::getKindName(kind) +
                                 ", which has no nodes");
    }
    messages.add(report);
    return loaded && !report.hasErrors();
}

// -------------------------------------------------------------------- //
// Times
// -------------------------------------------------------------------- //

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Times
{
    double load = 0.0;
    double first = 0.0; ///< evaluation
    double again = 0.0; ///< the fastest of some more
    NOD_EvaluationCount count;
};

void measureEvaluation(NOD_Scene &scene, Times &times)
{
    constexpr int theRepeats = 5;
    constexpr double theTime = 0.0;
    for (int i = 0; i <= theRepeats; ++i) {
        const auto start = std::chrono::steady_clock::now();
        times.count = NODevaluateAll(scene.getRoot(), theTime);
        const double seconds = secondsSince(start);
        times.first = i == 0 ? seconds : times.first;
        times.again = i <= 1 ? seconds : std::min(times.again, seconds);
    }
}

// -------------------------------------------------------------------- //
// Printing
// -------------------------------------------------------------------- //

std::string spaced(std::string key)
{
    std::replace(key.begin(), key.end(), '_', ' ');
    return key;
}

std::string milliseconds(double seconds)
{
    constexpr double thousand = 1000.0;
    return ZELTnumber(double(std::int64_t(seconds * thousand * thousand)) / thousand) + " ms";
}

void printText(const NOD_Stats &stats, const std::optional<Times> &times)
{
    std::vector<std::vector<std::string>> rows;
    for (const NOD_Stats::Row &row : stats.getCounts()) {
        rows.push_back({spaced(row.name), std::to_string(row.number)});
    }
    rows.push_back({"memory", std::to_string(stats.getBytes()) + " bytes: parameters " +
                                  std::to_string(stats.listBytes) + ", channels " +
                                  std::to_string(stats.channelBytes) + ", interfaces " +
                                  std::to_string(stats.interfaceBytes)});
    if (times) {
        rows.push_back({"load", milliseconds(times->load)});
        rows.push_back(
            {"evaluation", milliseconds(times->first) + ", again " + milliseconds(times->again) +
                               ", of " + std::to_string(times->count.components) + " components, " +
                               std::to_string(times->count.failed) + " failed"});
    }
    std::cout << ZELTtable(rows);
    rows.assign(1, {"type", "nodes", "parameters"});
    for (const NOD_Stats::Type &type : stats.types) {
        rows.push_back({type.name.empty() ? "-" : ZELTprintable(type.name),
                        std::to_string(type.nodes), std::to_string(type.parameters)});
    }
    std::cout << '\n' << ZELTtable(rows);
}

void printJson(const std::string &file, const NOD_Stats &stats, const std::optional<Times> &times)
{
    ZELT_Json json;
    json["file"] = file;
    for (const NOD_Stats::Row &row : stats.getCounts()) {
        json[row.name] = row.number;
    }
    json["memory"] = stats.getBytes();
    json["memory_parameters"] = stats.listBytes;
    json["memory_channels"] = stats.channelBytes;
    json["memory_interfaces"] = stats.interfaceBytes;
    if (times) {
        json["times"] = ZELT_Json{{"load", times->load},
                                  {"evaluation", times->first},
                                  {"evaluation_again", times->again},
                                  {"components", times->count.components},
                                  {"failed", times->count.failed}};
    }
    json["types"] = ZELT_Json::array();
    for (const NOD_Stats::Type &type : stats.types) {
        json["types"].push_back(
            ZELT_Json{{"name", type.name.empty() ? ZELT_Json() : ZELT_Json(type.name)},
                      {"nodes", type.nodes},
                      {"parameters", type.parameters}});
    }
    ZELTprintJson(json);
}

int showStats(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const ZEL_InputBudget budget(0);
    const auto start = std::chrono::steady_clock::now();
    NOD_Scene scene;
    if (!load(scene, call.file, options.noScripts, messages)) {
        return 1;
    }
    std::optional<Times> times;
    if (call.times) {
        times.emplace();
        times->load = secondsSince(start);
        measureEvaluation(scene, *times);
    }
    messages.takeErrors(call.file);
    const NOD_Stats stats = NOD_Stats::of(scene.getRoot());
    options.json ? printJson(call.file, stats, times) : printText(stats, times);
    return messages.hasErrors() ? 1 : 0;
}

} // namespace

void ZELTaddStats(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("stats", "Count what is in a script, a node or a scene, and its memory",
                 "zel stats examples/studio.scene --times", showStats);
    command.add_option("FILE", call.file, "A dialog script, or a node or scene file")->required();
    command.add_flag("--times", call.times, "Also how long loading and evaluating takes");
}
