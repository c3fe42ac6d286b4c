#include <NOD/NOD_ReadGraph.h>

#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_String.h>
#include <LNK/LNK_MicroNode.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/explain/NOD_DotTextPrivate.h>
#include <NOD/explain/NOD_ExplainerPrivate.h>
#include <NOD/snapshot/NOD_SnapshotReadPrivate.h>

#include <unordered_map>

NOD_ReadGraph::NOD_ReadGraph(const NOD_Snapshot &snapshot, double time, int thread)
    : mySnapshot(snapshot), myTime(time)
{
    const NOD_SnapshotScope scope(snapshot);
    const KIT_ErrorManager::Scope quiet(thread);
    const EVL::ErrorScope number(thread);
    NOD_Explainer explainer(snapshot, thread);
    const std::vector<NOD_Explainer::Edge> edges = explainer.findEdges(time);
    for (const auto &[reader, read] : edges) {
        myComponents.push_back(reader);
        myComponents.push_back(read);
    }
    explainer.putInOrder(myComponents);
    for (std::uint32_t i = 0; i < myComponents.size(); ++i) {
        myPlaces.emplace(myComponents[i].getPlace(), i);
    }
    myReaders.resize(myComponents.size());
    for (const auto &[reader, read] : edges) {
        std::vector<std::uint32_t> &readers = myReaders[myPlaces.at(read.getPlace())];
        const std::uint32_t place = myPlaces.at(reader.getPlace());
        // One reader's edges follow each other.
        if (readers.empty() || readers.back() != place) {
            readers.push_back(place);
        }
    }
}

std::vector<NOD_SnapshotHandle> NOD_ReadGraph::findReaders(const NOD_SnapshotHandle &handle) const
{
    std::vector<NOD_SnapshotHandle> readers;
    const auto found = myPlaces.find(handle.getPlace());
    if (found == myPlaces.end()) {
        return readers;
    }
    std::vector<bool> reached(myComponents.size(), false);
    std::vector<std::uint32_t> next{found->second};
    while (!next.empty()) {
        const std::uint32_t at = next.back();
        next.pop_back();
        for (const std::uint32_t reader : myReaders[at]) {
            if (!reached[reader]) {
                reached[reader] = true;
                next.push_back(reader);
            }
        }
    }
    for (std::size_t i = 0; i < reached.size(); ++i) {
        if (reached[i]) {
            readers.push_back(myComponents[i]);
        }
    }
    return readers;
}

std::string NOD_ReadGraph::asDOT(int thread) const
{
    const KIT_ErrorManager::Scope quiet(thread);
    std::string text = "digraph \"reads\" {\n    rankdir=LR;\n    node [shape=box];\n";
    for (std::size_t i = 0; i < myComponents.size(); ++i) {
        const NOD_SnapshotHandle &handle = myComponents[i];
        const bool firstFlag = i == 0 || myComponents[i - 1].getNode() != handle.getNode();
        if (firstFlag) {
            const std::string path = mySnapshot.getPath(handle);
            text += fmt::format(
                "{}    subgraph {} {{\n        label={};\n", i == 0 ? "" : "    }\n",
                LNK_MicroNode::quoteForDOT("cluster" + path), LNK_MicroNode::quoteForDOT(path));
        }
        const EVL::ErrorScope error(thread, EVL::ErrorScope::CLEARED);
        KIT_String value;
        mySnapshot.getText(handle, myTime, thread, value);
        const std::string label = mySnapshot.getName(handle) + "\n" + value.nonNullStr() + "\n";
        const bool heldFlag = mySnapshot.getHeld(handle, myTime, thread).isForever();
        text += "    " + NODdotNode(i, label, heldFlag, error.number());
    }
    text += myComponents.empty() ? "" : "    }\n";
    for (std::size_t i = 0; i < myReaders.size(); ++i) {
        for (const std::uint32_t reader : myReaders[i]) {
            text += fmt::format("    n{} -> n{};\n", i, reader);
        }
    }
    return text + "}\n";
}
