#include "ZELT_CommandLine.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Stats.h>
#include <NOD/NOD_ValueFile.h>
#include <ZEL/ZEL_InputBudget.h>

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

void measureEvaluation(NOD_Node &top, Times &times)
{
    constexpr int theRepeats = 5;
    constexpr double theTime = 0.0;
    for (int i = 0; i <= theRepeats; ++i) {
        const auto start = std::chrono::steady_clock::now();
        times.count = NODevaluateAll(top, theTime);
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
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.file, messages);
    if (!session) {
        return 1;
    }
    const bool partFlag = NOD_ValueFile::findSection(call.file) != std::string::npos;
    NOD_Node &top = partFlag ? session->getNode() : session->getScene().getRoot();
    std::optional<Times> times;
    if (call.times) {
        times.emplace();
        times->load = secondsSince(start);
        measureEvaluation(top, *times);
    }
    messages.takeErrors(call.file);
    const NOD_Stats stats = NOD_Stats::of(top);
    options.json ? printJson(call.file, stats, times) : printText(stats, times);
    return messages.hasErrors() ? 1 : 0;
}

} // namespace

void ZELTaddStats(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("stats", "Count what is in a script, a node or a scene, and its memory",
                 "zel stats examples/studio.scene --times", showStats);
    command.addOption("FILE", call.file, "A dialog script, or a node or scene file").required();
    command.addFlag("--times", call.times, "Also how long loading and evaluating takes");
}
