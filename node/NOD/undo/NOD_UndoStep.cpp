#include <NOD/undo/NOD_UndoStepPrivate.h>

#include <NOD/NOD_Node.h>
#include <NOD/NOD_Scene.h>
#include <TRK/TRK_EventManager.h>
#include <ZEL/ZEL_Float.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <cstring>

namespace
{

std::int64_t memoryOf(NOD_Node &node)
{
    std::int64_t bytes = std::int64_t(sizeof(node)) + node.getParms().getMemoryUsage(true) +
                         node.getChannels().getMemoryUsage(false);
    for (const auto &child : node.getChildren()) {
        bytes += memoryOf(*child);
    }
    return bytes;
}

} // namespace

ZEL_Float *NOD_NumberChange::numbersOf(ZEL_Parm &parm)
{
    ZEL_Instance *const instance = parm.getInstance();
    const bool numberFlag = instance && parm.getType().isFloatType() && !parm.isMultiParm() &&
                            instance->shouldSaveData();
    return numberFlag ? static_cast<ZEL_Float *>(instance) : nullptr;
}

void NOD_NumberChange::restore(double NOD_NumberChange::*number,
                               NOD_NodeState::Changes &changes) const
{
    ZEL_Parm *const parm = node->getParms().getParmPtr(token);
    ZEL_Float *const numbers = parm ? numbersOf(*parm) : nullptr;
    if (!numbers || component >= parm->getVectorSize()) {
        return;
    }
    // A change that wasn't announced may have given it a channel or a lock.
    const bool lockFlag = numbers->getLockedFlag(component);
    const bool channelFlag = numbers->getChannel(component) != nullptr;
    const double present = numbers->getRawValue(component);
    if (lockFlag || channelFlag || std::memcmp(&present, &(this->*number), sizeof(present)) != 0) {
        changes.push_back({token, lockFlag, channelFlag});
        if (channelFlag) {
            numbers->removeChannel(component);
        }
        if (lockFlag) {
            numbers->setLockedFlag(component, false);
        }
        numbers->setRawValue(component, this->*number);
    }
}

NOD_TreePlace NOD_TreePlace::of(const NOD_Node &node)
{
    NOD_TreePlace at;
    at.parent = node.getParent();
    at.name = node.getName();
    if (at.parent) {
        at.place = node.findPlace();
    }
    return at;
}

NOD_UndoStep::NOD_UndoStep(NOD_Node &root, NOD_Scene *scene, std::string text)
    : myRoot(root), myScene(scene), myLabel(std::move(text))
{}

NOD_UndoStep::NOD_UndoStep(NOD_Node &root, NOD_NumberChange number)
    : myRoot(root), myScene(nullptr), myNumber(std::move(number))
{}

NOD_UndoStep::~NOD_UndoStep() = default;

std::string NOD_UndoStep::getLabel() const
{
    return myNumber ? "Set " + std::string(myNumber->token.view()) : myLabel;
}

// ---------------------------------------------------------------------- //
// Open
// ---------------------------------------------------------------------- //

NOD_NodeState *NOD_UndoStep::stateOf(NOD_Node &node)
{
    if (isFresh(node)) {
        return nullptr;
    }
    const auto found = myPlaces.find(&node);
    if (found != myPlaces.end()) {
        return &myNodes[found->second].before;
    }
    myNodes.push_back({&node, NOD_NodeState(), NOD_NodeState()});
    myPlaces[&node] = myNodes.size() - 1;
    return &myNodes.back().before;
}

const NOD_NodeState *NOD_UndoStep::findState(const NOD_Node &node) const
{
    const auto found = myPlaces.find(&node);
    return found == myPlaces.end() ? nullptr : &myNodes[found->second].before;
}

void NOD_UndoStep::addNode(NOD_Node &node)
{
    myOutside[&node]; // so that undo needs no memory for it
    myTree.push_back({&node, NOD_TreePlace(), NOD_TreePlace::of(node)});
    myApplied = myTree.size();
    myFresh.insert(&node);
}

void NOD_UndoStep::moveNode(NOD_Node &node, NOD_TreePlace to)
{
    myOutside[&node];
    myTree.push_back({&node, NOD_TreePlace::of(node), std::move(to)});
    myApplied = myTree.size();
}

NOD_UndoStep::Settings NOD_UndoStep::settingsNow() const
{
    return {myScene->getFrameRate(), myScene->getFirstFrame(), myScene->getLastFrame()};
}

void NOD_UndoStep::takeSettings()
{
    if (myScene && !myBefore) {
        myBefore = settingsNow();
    }
}

bool NOD_UndoStep::isInTree(const NOD_Node &node) const
{
    const NOD_Node *at = &node;
    while (at->getParent()) {
        at = at->getParent();
    }
    return at == &myRoot;
}

void NOD_UndoStep::forget()
{
    myTree.clear();
    myApplied = 0;
    myNodes.clear();
    myPlaces.clear();
    myFresh.clear();
    myOutside.clear();
    myBefore.reset();
}

bool NOD_UndoStep::close()
{
    std::vector<NodeChange> changed;
    for (NodeChange &change : myNodes) {
        // One that is outside now comes back as it is, before its state is restored.
        const bool inside = isInTree(*change.node);
        change.after = inside ? change.before.present(*change.node) : NOD_NodeState();
        if (!inside || NOD_NodeState::keepDifference(change.before, change.after)) {
            changed.push_back(std::move(change));
        }
    }
    myNodes.swap(changed);
    myPlaces.clear();
    myFresh.clear();
    if (myBefore) {
        myAfter = settingsNow();
        if (*myBefore == *myAfter) {
            myBefore.reset();
            myAfter.reset();
        }
    }
    return !myTree.empty() || !myNodes.empty() || myBefore;
}

// ---------------------------------------------------------------------- //
// Undo and redo
// ---------------------------------------------------------------------- //

void NOD_UndoStep::put(NOD_Node &node, const NOD_TreePlace &to)
{
    std::unique_ptr<NOD_Node> &outside = myOutside[&node];
    if (!to.parent) {
        outside = node.leaveTree();
        return;
    }
    if (outside) {
        node.enterTree(outside, *to.parent, to.place, to.name);
        node.comeBack();
    } else {
        node.changePlace(*to.parent, to.place, to.name);
    }
}

void NOD_UndoStep::restore(NOD_NodeState NodeChange::*state,
                           const std::optional<Settings> &settings, Told &told) const
{
    if (settings) {
        myScene->setFrameRate(settings->frameRate);
        myScene->setFrameRange(settings->firstFrame, settings->lastFrame);
    }
    told.reserve(told.size() + myNodes.size());
    for (const NodeChange &change : myNodes) {
        if (isInTree(*change.node)) {
            told.emplace_back(change.node, NOD_NodeState::Changes());
            (change.*state).restoreSilently(*change.node, told.back().second);
        }
    }
}

void NOD_UndoStep::restoreNumber(double NOD_NumberChange::*number, Told &told) const
{
    if (myNumber && isInTree(*myNumber->node)) {
        const TRK_AutoEventHandler events;
        told.emplace_back(myNumber->node, NOD_NodeState::Changes());
        myNumber->restore(number, told.back().second);
    }
}

void NOD_UndoStep::undo(Told &told)
{
    for (; myApplied > 0; --myApplied) {
        put(*myTree[myApplied - 1].node, myTree[myApplied - 1].from);
    }
    restore(&NodeChange::before, myBefore, told);
    restoreNumber(&NOD_NumberChange::before, told);
}

void NOD_UndoStep::redo(Told &told)
{
    for (; myApplied < myTree.size(); ++myApplied) {
        put(*myTree[myApplied].node, myTree[myApplied].to);
    }
    restore(&NodeChange::after, myAfter, told);
    restoreNumber(&NOD_NumberChange::after, told);
}

bool NOD_UndoStep::hasChanged(const NOD_Node &node, const ZEL_Parm &parm) const
{
    if (myNumber && myNumber->node == &node && parm.getTokenRef() == myNumber->token) {
        return true;
    }
    return std::any_of(myTree.begin(), myTree.end(),
                       [&](const TreeChange &change) { return change.node == &node; }) ||
           std::any_of(myNodes.begin(), myNodes.end(), [&](const NodeChange &change) {
               return change.node == &node && change.after.covers(parm);
           });
}

std::int64_t NOD_UndoStep::getMemoryUsage() const
{
    auto size = std::int64_t(sizeof(*this) + myLabel.capacity());
    size += std::int64_t(myTree.capacity() * sizeof(TreeChange));
    for (const TreeChange &change : myTree) {
        size += std::int64_t(change.from.name.capacity() + change.to.name.capacity());
    }
    for (const NodeChange &change : myNodes) {
        size += std::int64_t(sizeof(change)) + change.before.getMemoryUsage() +
                change.after.getMemoryUsage();
    }
    for (const auto &[key, node] : myOutside) {
        size += std::int64_t(sizeof(key) + sizeof(node)) + (node ? memoryOf(*node) : 0);
    }
    return size;
}
