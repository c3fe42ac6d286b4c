// How a scene gets the state of a document.
#include <NOD/NOD_Document.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Matching.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/difference/NOD_NodeRecordsPrivate.h>
#include <NOD/difference/NOD_SceneRecordsPrivate.h>
#include <NOD/difference/NOD_SceneTransitionPrivate.h>

#include <sstream>
#include <unordered_map>
#include <unordered_set>

namespace
{

using Kind = NOD_RecordKind;
using Interfaces = std::map<std::string, std::shared_ptr<const NOD_Interface>>;

/// Calls `visit(node, record)` for the node's record and those below it.
template <class Visit>
void forEachRecord(NOD_Node &node, const NOD_Record &record, const Visit &visit)
{
    visit(node, record);
    for (const auto &part : record.getParts()) {
        NOD_Node *const child =
            part->getKind() == Kind::NODE ? node.getChild(part->getName()) : nullptr;
        if (child) {
            forEachRecord(*child, *part, visit);
        }
    }
}

/// By the names that both states have for them, those of the scene's nodes that stay what they are.
Interfaces sharedInterfaces(NOD_Scene &scene, const NOD_Record &now, NOD_NodeRecords &nodes,
                            const NOD_Record &then)
{
    Interfaces shared;
    std::unordered_set<const NOD_Interface *> known;
    forEachRecord(scene.getRoot(), now, [&](NOD_Node &node, const NOD_Record &record) {
        const NOD_Record *const contents = record.find(Kind::CONTENTS);
        NOD_NodeSections sections;
        NOD_Report ignored;
        if (!node.getInterface() || !contents || known.count(node.getInterface().get()) != 0 ||
            !NODwriteNode(*contents, nodes, sections, ignored)) {
            return;
        }
        known.insert(node.getInterface().get());
        const NOD_Record *const left = now.find(Kind::INTERFACE, sections.type);
        const NOD_Record *const right = then.find(Kind::INTERFACE, sections.type);
        if (left && right && NODisSameValue(left->getValue(), right->getValue())) {
            shared.emplace(sections.type, node.getInterface());
        }
    });
    return shared;
}

/// Below equal records.
void pairAll(NOD_Node &node, NOD_Node &wanted, NOD_SceneTransition &transition)
{
    transition.pair(node, wanted);
    for (const auto &child : node.getChildren()) {
        if (NOD_Node *const other = wanted.getChild(child->getName())) {
            pairAll(*child, *other, transition);
        }
    }
}

void pairNodes(NOD_Scene &scene, const NOD_Record &now, NOD_Scene &wanted, const NOD_Record &then,
               NOD_SceneTransition &transition)
{
    NOD_CompareOptions options;
    options.isExact = true;
    const NOD_Matching matching(now, then, options);
    std::unordered_map<const NOD_Record *, NOD_Node *> nodes;
    forEachRecord(wanted.getRoot(), then,
                  [&](NOD_Node &node, const NOD_Record &record) { nodes[&record] = &node; });
    forEachRecord(scene.getRoot(), now, [&](NOD_Node &node, const NOD_Record &record) {
        const auto partner = nodes.find(matching.partnerOf(record));
        if (partner == nodes.end()) {
            return;
        }
        if (matching.isEqual(record)) {
            pairAll(node, *partner->second, transition);
        } else {
            transition.pair(node, *partner->second);
        }
    });
}

} // namespace

bool NOD_Document::give(NOD_Scene &scene, const NOD_LoadOptions &given, NOD_Report &report)
{
    std::string bytes;
    NOD_Document now;
    if (!write(bytes, false, report) || !now.take(scene, true, report)) {
        return false;
    }
    NOD_Scene wanted;
    for (const auto &[type, interface] : scene.getInterfaces()) {
        wanted.addInterface(interface);
        wanted.setMigrationMap(type, scene.findMigrationMap(type));
    }
    NOD_LoadOptions options = given;
    options.interfaces = sharedInterfaces(scene, *now.myTop, *now.myNodes, *myTop);
    std::istringstream is(bytes);
    NOD_Report loading;
    const bool loadFlag = NOD_SceneFile::load(wanted, is, "scene", options, loading);
    report.append(loading);
    if (!loadFlag || loading.hasErrors()) {
        return false;
    }
    NOD_SceneTransition transition(scene, wanted, report);
    pairNodes(scene, *now.myTop, wanted, *myTop, transition);
    return transition.run();
}
