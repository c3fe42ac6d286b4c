#include <NOD/difference/NOD_SceneTransitionPrivate.h>

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_NodeState.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_UndoStack.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_LoadingPrivate.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

namespace
{

bool isSame(const NOD_NodeSections &a, const NOD_NodeSections &b)
{
    return a.type == b.type && a.variables == b.variables && a.spares == b.spares &&
           a.channels == b.channels && a.values == b.values && a.aliases == b.aliases &&
           a.kept == b.kept;
}

/// Whether they are of the application's own templates.
bool hasOwnParms(const NOD_Node &node)
{
    return !node.getInterface() && !node.isTypeMissing() && !node.getTypeName().empty();
}

/// In the wanted scene nobody knows the type of such a node.
void takeKept(NOD_NodeSections &sections)
{
    NOD_Node::Sections left;
    for (auto &section : sections.kept) {
        if (std::string *const text = sections.findText(section.first)) {
            *text = std::move(section.second);
        } else {
            left.push_back(std::move(section));
        }
    }
    sections.kept = std::move(left);
}

/// One that is free in both.
std::string freeName(const NOD_Node &one, const NOD_Node &other, const std::string &name)
{
    std::string free = NOD_Scene::freeName(one, name);
    for (int number = 1; one.getChild(free) || other.getChild(free); ++number) {
        free = name + "_" + std::to_string(number);
    }
    return free;
}

} // namespace

NOD_SceneTransition::NOD_SceneTransition(NOD_Scene &scene, NOD_Scene &wanted, NOD_Report &report)
    : myScene(scene), myWanted(wanted), myReport(report)
{
    pair(scene.getRoot(), wanted.getRoot());
    NODforEachNode(scene.getRoot(), [&](NOD_Node &node) { myFormer.push_back(&node); });
}

void NOD_SceneTransition::pair(NOD_Node &node, NOD_Node &wanted)
{
    if (myKept.insert(&node).second) {
        myNodes.emplace(&wanted, &node);
    }
}

bool NOD_SceneTransition::run()
{
    NOD_Edit edit(myScene, "Apply difference");
    const NOD_Batch batch(myScene);
    NOD_Node &root = myWanted.getRoot();
    if (!arrange(root, myScene.getRoot()) || !removeOthers() || !order(root) ||
        !giveContents(root)) {
        edit.cancel();
        return false;
    }
    setRest();
    return true;
}

// ---------------------------------------------------------------------- //
// The tree
// ---------------------------------------------------------------------- //

/// From the top down, so that no node's new parent is below it.
bool NOD_SceneTransition::arrange(NOD_Node &wantedParent, NOD_Node &parent)
{
    for (const std::unique_ptr<NOD_Node> &child : wantedParent.getChildren()) {
        const auto known = myNodes.find(child.get());
        NOD_Node *const node = known == myNodes.end() ? make(*child, parent) : known->second;
        if (!node || !bring(*node, *child, parent) || !arrange(*child, *node)) {
            return false;
        }
    }
    return true;
}

NOD_Node *NOD_SceneTransition::make(NOD_Node &wanted, NOD_Node &parent)
{
    const NOD_Loading loading; // without presets
    const std::string name = NOD_Scene::freeName(parent, wanted.getName());
    NOD_Node *const node = parent.addChild(name.c_str(), wanted.getInterface());
    if (node) {
        pair(*node, wanted);
    }
    return node;
}

/// Another node that has the name, and will get its own or be removed, has another one until then.
bool NOD_SceneTransition::makeWay(NOD_Node &parent, const NOD_Node &self, const NOD_Node &wanted)
{
    NOD_Node *const other = parent.getChild(wanted.getName());
    NOD_Report ignored; // of references whose texts are given later
    return !other || other == &self ||
           myScene.rename(*other, NOD_Scene::freeName(parent, wanted.getName()), ignored);
}

bool NOD_SceneTransition::bring(NOD_Node &node, const NOD_Node &wanted, NOD_Node &parent)
{
    NOD_Report ignored;
    if (node.getParent() != &parent) {
        const NOD_Node *const other = parent.getChild(node.getName());
        const bool freeFlag =
            !other ||
            myScene.rename(node, freeName(*node.getParent(), parent, node.getName()), ignored);
        if (!freeFlag || !myScene.move(node, parent, ignored)) {
            myReport.append(ignored);
            return false;
        }
    }
    const bool namedFlag =
        makeWay(parent, node, wanted) &&
        (node.getName() == wanted.getName() || myScene.rename(node, wanted.getName(), ignored));
    if (!namedFlag) {
        myReport.append(ignored);
    }
    return namedFlag;
}

bool NOD_SceneTransition::removeOthers()
{
    std::vector<NOD_Node *> tops;
    for (NOD_Node *node : myFormer) {
        if (myKept.count(node) == 0 && myKept.count(node->getParent()) != 0) {
            tops.push_back(node);
        }
    }
    NOD_Report ignored;
    const bool done = std::all_of(tops.begin(), tops.end(),
                                  [&](NOD_Node *node) { return myScene.remove(*node, ignored); });
    if (!done) {
        myReport.append(ignored);
    }
    return done;
}

bool NOD_SceneTransition::order(NOD_Node &wantedParent)
{
    NOD_Node &parent = *myNodes.at(&wantedParent);
    const auto &children = wantedParent.getChildren();
    NOD_Report ignored;
    for (std::size_t place = 0; place < children.size(); ++place) {
        NOD_Node &node = *myNodes.at(children[place].get());
        const bool thereFlag =
            place < parent.getChildren().size() && parent.getChildren()[place].get() == &node;
        if ((!thereFlag && !myScene.move(node, parent, place, ignored)) ||
            !order(*children[place])) {
            myReport.append(ignored);
            return false;
        }
    }
    return true;
}

// ---------------------------------------------------------------------- //
// Contents
// ---------------------------------------------------------------------- //

bool NOD_SceneTransition::giveContents(NOD_Node &wanted)
{
    NOD_Node &node = *myNodes.at(&wanted);
    NOD_Report ignored, restoring;
    using Form = NOD_NodeSections::Form;
    NOD_NodeSections sections = NOD_NodeSections::take(wanted, Form::TEXT, ignored);
    const bool ownFlag = hasOwnParms(node) && wanted.isTypeMissing();
    if (ownFlag) {
        takeKept(sections);
    }
    if ((!ownFlag && node.getInterface() != wanted.getInterface()) ||
        !isSame(sections, NOD_NodeSections::take(node, Form::TEXT, ignored))) {
        myScene.getUndo().change(node);
        if (ownFlag) {
            sections.load(node, restoring);
        } else {
            const NOD_ReportScope scope(restoring);
            NOD_NodeState(wanted).restore(node); // a load leaves what a stream doesn't say
        }
    }
    myReport.append(restoring);
    const auto &children = wanted.getChildren();
    return !restoring.hasErrors() &&
           std::all_of(children.begin(), children.end(),
                       [&](const auto &child) { return giveContents(*child); });
}

void NOD_SceneTransition::setRest()
{
    for (const auto &[name, interface] : myWanted.getInterfaces()) {
        myScene.addInterface(interface);
    }
    if (myScene.getFrameRate() != myWanted.getFrameRate()) {
        myScene.setFrameRate(myWanted.getFrameRate());
    }
    if (myScene.getFirstFrame() != myWanted.getFirstFrame() ||
        myScene.getLastFrame() != myWanted.getLastFrame()) {
        myScene.setFrameRange(myWanted.getFirstFrame(), myWanted.getLastFrame());
    }
    if (myScene.getTime() != myWanted.getTime()) {
        myScene.setTime(myWanted.getTime());
    }
}
