#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Explanation.h>
#include <NOD/NOD_GraphDrawing.h>
#include <NOD/NOD_ReadGraph.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Snapshot.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_InputBudget.h>

#include <iostream>
#include <optional>

namespace
{

struct Call
{
    ZELT_NodeCall node;
    std::vector<std::string> addresses;
    bool graph = false;
    bool dot = false;
};

/// The components that the addresses name; none after a message.
std::vector<NOD_SnapshotHandle> findComponents(const NOD_Snapshot &snapshot, ZELT_Session &session,
                                               const std::vector<std::string> &addresses,
                                               ZELT_Messages &messages)
{
    NOD_Report report;
    std::vector<NOD_SnapshotHandle> handles;
    for (const std::string &address : addresses) {
        for (const NOD_Place &place : NODfindPlaces(session.getNode(), address, report)) {
            KIT_WorkBuffer path;
            for (int i = place.first; i < place.end; ++i) {
                handles.push_back(
                    snapshot.find(place.node->getFullPath(path), place.token.view(), i));
            }
        }
    }
    messages.add(report);
    return report.hasErrors() ? std::vector<NOD_SnapshotHandle>() : handles;
}

std::vector<std::string> readersOf(const NOD_Snapshot &snapshot, const NOD_ReadGraph &graph,
                                   const NOD_SnapshotHandle &handle)
{
    std::vector<std::string> readers;
    for (const NOD_SnapshotHandle &reader : graph.findReaders(handle)) {
        readers.push_back(snapshot.getAddress(reader));
    }
    return readers;
}

void printText(const NOD_Explanation &why, const std::vector<std::string> &readers, double rate)
{
    std::cout << why.asText(rate);
    if (!readers.empty()) {
        std::cout << "read by";
        for (std::size_t i = 0; i < readers.size(); ++i) {
            std::cout << (i > 0 ? ", " : " ") << readers[i];
        }
        std::cout << '\n';
    }
}

bool printGraph(const Call &call, const std::string &dot, ZELT_Messages &messages)
{
    NOD_Report report;
    std::string svg;
    const bool drawnFlag = call.dot || NODdrawGraph(dot, svg, report);
    messages.add(report);
    std::cout << (call.dot ? dot : svg);
    return drawnFlag;
}

int explain(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const bool graphFlag = call.dot || call.graph;
    if (call.addresses.empty() && !graphFlag) {
        messages.error("", "say what to explain: an ADDRESS, or --graph or --dot for all");
        return 1;
    }
    const ZEL_InputBudget budget(0);
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.node, messages);
    if (!session) {
        return 1;
    }
    const double time = session->getTime();
    const int thread = BASgetSTID();
    NOD_SnapshotOptions foreign;
    foreign.time = time;
    const std::shared_ptr<const NOD_Snapshot> snapshot = session->getScene().snapshot(foreign);
    messages.takeErrors(call.node.file);
    const std::vector<NOD_SnapshotHandle> handles =
        findComponents(*snapshot, *session, call.addresses, messages);
    if (messages.hasErrors()) {
        return 1;
    }
    const TRK_EvalContext::Work work;
    const NOD_ReadGraph graph(*snapshot, time, thread);
    if (graphFlag) {
        if (handles.size() > 1) {
            messages.error("", "a graph is of one component or of all");
            return 1;
        }
        const std::string dot =
            handles.empty()
                ? graph.asDOT(thread)
                : NODexplain(*snapshot, handles[0], time, thread).asDOT(snapshot->getFrameRate());
        return printGraph(call, dot, messages) ? 0 : 1;
    }
    bool failedFlag = false;
    ZELT_Json all = ZELT_Json::array();
    for (const NOD_SnapshotHandle &handle : handles) {
        const NOD_Explanation why = NODexplain(*snapshot, handle, time, thread);
        const std::vector<std::string> readers = readersOf(*snapshot, graph, handle);
        failedFlag = failedFlag || why.values.front().error != 0;
        if (options.json) {
            all.push_back(ZELT_Json::parse(why.asJson()));
            all.back()["read_by"] = readers;
        } else {
            printText(why, readers, snapshot->getFrameRate());
        }
    }
    if (options.json) {
        ZELTprintJson(ZELT_Json{{"explanations", std::move(all)}});
    }
    return failedFlag ? 1 : 0;
}

} // namespace

void ZELTaddExplain(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("explain", "Say why a parameter has its value, until when, and what reads it",
                 "zel explain examples/studio.scene /camera/blur --time 12f", explain);
    ZELTaddNode(command, call.node);
    line.addOutput(command);
    command.addOption("ADDRESS", call.addresses, "TOKEN[:INDEX], a channel, or a pattern");
    command.addFlag("--graph", call.graph, "A picture (SVG) of what reads what");
    command.addFlag("--dot", call.dot, "The same as text in the DOT language");
}
