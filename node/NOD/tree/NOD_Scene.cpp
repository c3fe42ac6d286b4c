#include <NOD/NOD_Scene.h>

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Conditions.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSource.h>
#include <NOD/NOD_References.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_UndoStack.h>
#include <NOD/tree/NOD_ChangeWatcherPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_ReferenceIndexPrivate.h>
#include <NOD/undo/NOD_UndoStepPrivate.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

namespace
{

std::atomic<NOD_Scene *> theCurrent{nullptr};

/// Whether a child may get that name; `self` may have it.
bool canName(const NOD_Node &parent, const NOD_Node *self, const std::string &name,
             NOD_Report &report)
{
    const NOD_Node *const other = parent.getChild(name);
    if (!NOD_Node::isValidName(name)) {
        report.error(NODpathOf(parent), "\"" + name + "\" can't be a node's name");
    } else if (other && other != self) {
        report.error(NODpathOf(*other), "there is a node of that name already");
    } else {
        return true;
    }
    return false;
}

} // namespace

// ---------------------------------------------------------------------- //
// Life
// ---------------------------------------------------------------------- //

NOD_Scene::NOD_Scene()
    : myRoot(std::make_unique<NOD_Node>()),
      myReferences(std::make_unique<NOD_ReferenceIndex>(*myRoot)),
      myGraph(std::make_unique<NOD_Graph>(*myRoot)),
      myConditions(std::make_unique<NOD_Conditions>(*myGraph)),
      myUndo(std::make_unique<NOD_UndoStack>(*myRoot, NOD_UndoStack::theUsualMost,
                                             NOD_UndoStack::theUsualBytes, this))
{
    if (!theCurrent.load()) {
        makeCurrent();
    }
}

NOD_Scene::~NOD_Scene()
{
    NOD_Scene *self = this;
    theCurrent.compare_exchange_strong(self, nullptr);
    mySource.reset();
    myUndo.reset();
    myConditions.reset();
    myGraph.reset();
    myReferences.reset();
}

// ---------------------------------------------------------------------- //
// Nodes
// ---------------------------------------------------------------------- //

NOD_Node *NOD_Scene::find(const KIT_StringRef &path)
{
    return myRoot->findNode(path);
}

NOD_Node *NOD_Scene::add(const std::string &path, std::shared_ptr<const NOD_Interface> description,
                         NOD_Report &report)
{
    if (!description) {
        report.error(path, "there is no interface for the node");
        return nullptr;
    }
    return addAny(path, std::move(description), report);
}

NOD_Node *NOD_Scene::add(const std::string &path, std::nullptr_t, NOD_Report &report)
{
    return addAny(path, nullptr, report);
}

NOD_Node *NOD_Scene::addAny(const std::string &path,
                            std::shared_ptr<const NOD_Interface> description, NOD_Report &report)
{
    const std::size_t slash = path.rfind('/');
    const std::string above = slash == std::string::npos ? "/" : path.substr(0, slash);
    const std::string name = path.substr(slash + 1); // all of it without a slash
    NOD_Node *const parent = above.empty() ? myRoot.get() : find(above.c_str());
    if (!parent) {
        report.error(path, "there is no node " + above);
        return nullptr;
    }
    return canName(*parent, nullptr, name, report)
               ? parent->addChild(name.c_str(), std::move(description))
               : nullptr;
}

void NOD_Scene::setNodeMaker(NOD_NodeMaker maker)
{
    myRoot->setNodeMaker(std::move(maker));
}

// ---------------------------------------------------------------------- //
// Changing the tree
// ---------------------------------------------------------------------- //

bool NOD_Scene::isChangeable(NOD_Node &node, NOD_Report &report) const
{
    if (node.getParent()) {
        return true;
    }
    report.error("/", "the root can't be renamed, moved, copied or removed");
    return false;
}

void NOD_Scene::settle(NOD_References &references, NOD_Report &report)
{
    const auto announce = [&](NOD_Node &node, ZEL_Parm &parm) { myUndo->change(node, parm); };
    for (const NOD_References::Change &change : references.rewrite(announce)) {
        constexpr bool sendEvent = true;
        constexpr bool updateMulti = false;
        ZEL_Parm *const parm = change.node->getParms().getParmPtr(change.parmIndex);
        if (change.lost > 0 && parm) {
            report.warning(NODpathOf(*change.node, parm->getTokenRef()),
                           "lost references: " + std::to_string(change.lost) +
                               ", which can't be written for the new names: " + change.why);
        } else if (change.lost > 0) {
            report.warning(change.parm.empty() ? NODpathOf(*change.node)
                                               : NODpathOf(*change.node, change.parm.c_str()),
                           "lost references: " + std::to_string(change.lost) + " in " +
                               change.place + ": " + change.why);
        }
        if (parm) {
            parm->privateValueChanged(-1, sendEvent, updateMulti);
        }
    }
}

bool NOD_Scene::rename(NOD_Node &node, const std::string &name, NOD_Report &report)
{
    if (!isChangeable(node, report) || !canName(*node.getParent(), &node, name, report)) {
        return false;
    }
    if (name == node.getName()) {
        return true;
    }
    const NOD_Edit edit(*this, "Rename " + node.getName() + " to " + name);
    NOD_References references(myReferences->findReaders(node));
    const std::size_t place = NOD_TreePlace::of(node).place;
    myUndo->nodeMoves(node, node.getParent(), place, name);
    node.changePlace(*node.getParent(), place, name);
    settle(references, report);
    return true;
}

bool NOD_Scene::move(NOD_Node &node, NOD_Node &parent, NOD_Report &report)
{
    return move(node, parent, parent.getChildren().size(), report);
}

bool NOD_Scene::move(NOD_Node &node, NOD_Node &parent, std::size_t place, NOD_Report &report)
{
    if (!isChangeable(node, report) || !canName(parent, &node, node.getName(), report)) {
        return false;
    }
    for (const NOD_Node *at = &parent; at; at = at->getParent()) {
        if (at == &node) {
            report.error(NODpathOf(node), "a node can't be moved into itself");
            return false;
        }
    }
    const NOD_Edit edit(*this, "Move " + node.getName());
    // Relative paths of what moves lead elsewhere, too.
    std::vector<NOD_Node *> readers = myReferences->findReadersBelow(node);
    const std::set<const NOD_Node *> below(readers.begin(), readers.end());
    for (NOD_Node *reader : myReferences->findReaders(node)) {
        if (below.count(reader) == 0) {
            readers.push_back(reader);
        }
    }
    NOD_References references(readers);
    const std::size_t last = parent.getChildren().size() - (&parent == node.getParent() ? 1 : 0);
    place = std::min(place, last);
    myUndo->nodeMoves(node, &parent, place, node.getName());
    node.changePlace(parent, place, node.getName());
    settle(references, report);
    return true;
}

NOD_Node *NOD_Scene::copy(NOD_Node &node, NOD_Node &parent, const std::string &name,
                          NOD_Report &report)
{
    if (!isChangeable(node, report) || !canName(parent, nullptr, name, report)) {
        return nullptr;
    }
    const NOD_Edit edit(*this, "Copy " + node.getName());
    NOD_References references(myReferences->findReadersBelow(node));
    // Those that are there now: the copy may become one of them.
    std::vector<NOD_Node *> originals;
    NODforEachNode(node, [&](NOD_Node &one) { originals.push_back(&one); });
    std::unordered_map<NOD_Node *, NOD_Node *> copies;
    NOD_Node *const made = copies[&node] = node.copyTo(parent, name.c_str());
    for (NOD_Node *original : originals) {
        if (original != &node) {
            copies[original] =
                original->copyTo(*copies[original->getParent()], original->getName().c_str());
        }
    }
    references.copied(copies);
    settle(references, report);
    return made;
}

bool NOD_Scene::remove(NOD_Node &node, NOD_Report &report)
{
    if (!isChangeable(node, report)) {
        return false;
    }
    const NOD_Edit edit(*this, "Remove " + node.getName());
    NOD_References references(myReferences->findReaders(node));
    if (const int lost = references.forget(node)) {
        report.warning(NODpathOf(node),
                       std::to_string(lost) + " references of other nodes lead here");
    }
    myUndo->nodeMoves(node, nullptr, 0, node.getName());
    myUndo->nodeRemoved(node.leaveTree());
    return true;
}

void NOD_Scene::clear()
{
    const NOD_UndoStack::Pause pause(*myUndo);
    const NOD_Batch batch(*this);
    TRK_Collection &channels = myRoot->getChannels();
    while (!myRoot->getChildren().empty()) {
        NOD_Node &last = *myRoot->getChildren().back();
        myReferences->forgetTree(last);
        myUndo->nodeRemoved(myRoot->takeChild(last));
    }
    myRoot->setSpareParms(static_cast<const ZEL_Template *>(nullptr));
    if (myRoot->getInterface() || myRoot->isTypeMissing()) {
        myRoot->renewParms(std::shared_ptr<const NOD_Interface>());
    }
    while (channels.entries() > 0) {
        channels.deleteChannel(channels.getChannel(channels.entries() - 1));
    }
    myRoot->clearVariables();
    myRoot->keepSections("", {});
    myFrameRate = theUsualFrameRate;
    myFirstFrame = theUsualFirstFrame;
    myLastFrame = theUsualLastFrame;
    setTime(0.0);
}

void NOD_Scene::copyFrom(NOD_Scene &other)
{
    if (&other == this) {
        myUndo->clear();
        return;
    }
    const NOD_UndoStack::Pause pause(*myUndo);
    const NOD_Batch batch(*this);
    clear();
    myInterfaces = other.myInterfaces;
    myMaps = other.myMaps;
    if (other.myRoot->getInterface()) {
        myRoot->renewParms(other.myRoot->getInterface());
    }
    other.myRoot->copyContents(*myRoot);
    std::unordered_map<const NOD_Node *, NOD_Node *> copies;
    NODforEachNode(other.getRoot(), [&](NOD_Node &node) {
        copies[&node] = node.getParent()
                            ? node.copyTo(*copies[node.getParent()], node.getName().c_str())
                            : myRoot.get();
    });
    myFrameRate = other.myFrameRate;
    myFirstFrame = other.myFirstFrame;
    myLastFrame = other.myLastFrame;
    setTime(other.myTime);
}

std::string NOD_Scene::freeName(const NOD_Node &parent, const std::string &name)
{
    std::string free = name;
    if (parent.getChild(free)) {
        int &taken = parent.myTakenNumbers[name];
        do {
            free = name + std::to_string(++taken);
        } while (parent.getChild(free));
        --taken; // by its caller, perhaps
    }
    return free;
}

// ---------------------------------------------------------------------- //
// Interfaces
// ---------------------------------------------------------------------- //

void NOD_Scene::addInterface(std::shared_ptr<const NOD_Interface> description)
{
    if (description) {
        const std::string name = description->getTypeName();
        myInterfaces[name] = std::move(description);
    }
}

std::shared_ptr<const NOD_Interface> NOD_Scene::findInterface(const std::string &typeName) const
{
    const auto entry = myInterfaces.find(typeName);
    return entry == myInterfaces.end() ? nullptr : entry->second;
}

void NOD_Scene::setMigrationMap(const std::string &typeName,
                                std::shared_ptr<const NOD_MigrationMap> map)
{
    if (map) {
        myMaps[typeName] = std::move(map);
    } else {
        myMaps.erase(typeName);
    }
}

std::shared_ptr<const NOD_MigrationMap>
NOD_Scene::findMigrationMap(const std::string &typeName) const
{
    const auto entry = myMaps.find(typeName);
    return entry == myMaps.end() ? nullptr : entry->second;
}

// ---------------------------------------------------------------------- //
// Time
// ---------------------------------------------------------------------- //

void NOD_Scene::makeCurrent()
{
    if (NOD_Scene *const former = theCurrent.exchange(this)) {
        former->mySource.reset();
    }
    mySource = std::make_unique<NOD_NodeSource>(*myRoot);
    applyTime();
}

bool NOD_Scene::isCurrent() const
{
    return theCurrent.load() == this;
}

void NOD_Scene::applyTime() const
{
    if (isCurrent()) {
        TRK_Manager::getContext().setFPS(myFrameRate);
        TRK_Manager::getContext().setCurrentTime(myTime);
        myConditions->timeChanged();
    }
}

bool NOD_Scene::setFrameRate(double framesPerSecond)
{
    if (!(framesPerSecond > 0.0) || !std::isfinite(framesPerSecond)) {
        return false;
    }
    const NOD_Edit edit(*this, "Set frame rate");
    myUndo->settingsChange();
    myFrameRate = framesPerSecond;
    applyTime();
    return true;
}

bool NOD_Scene::setFrameRange(double first, double last)
{
    if (!std::isfinite(first) || !std::isfinite(last) || last < first) {
        return false;
    }
    const NOD_Edit edit(*this, "Set frame range");
    myUndo->settingsChange();
    myFirstFrame = first;
    myLastFrame = last;
    return true;
}

void NOD_Scene::setTime(double seconds)
{
    myTime = seconds;
    applyTime();
}
