#include <NOD/NOD_Graph.h>

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Conditions.h>
#include <NOD/tree/NOD_ChangeWatcherPrivate.h>
#include <NOD/tree/NOD_GraphScopesPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_LostReferencesPrivate.h>
#include <NOD/tree/NOD_WholeNodePrivate.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Thread.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_ParmMicroNode.h>

#include <algorithm>
#include <deque>
#include <new>
#include <utility>

namespace
{

constexpr std::uint32_t theAllComponents = ~0u;

std::uint32_t bitOf(int component)
{
    return 1u << (unsigned(component) & 31u);
}

bool usesVariable(ZEL_Parm &parm, const char *name)
{
    bool usesFlag = parm.getInstance() && parm.getInstance()->notifyVarChange(-1, name);
    for (int k = 0; !usesFlag && k < parm.getVectorSize(); ++k) {
        const TRK_Channel *const channel = parm.getChannel(k);
        for (int i = 0; channel && i < channel->getNSegments(); ++i) {
            const char *const text = channel->getSegment(i)->getExpression();
            usesFlag = usesFlag || TRK_Manager::scanForVariableInString(text, name);
        }
    }
    return usesFlag;
}

/// Collects what changes during its life.
struct Collecting
{
    explicit Collecting(int &depth) : myDepth(depth) { ++myDepth; }
    ~Collecting() { --myDepth; }
    Collecting(const Collecting &) = delete;
    Collecting &operator=(const Collecting &) = delete;

private:
    int &myDepth;
};

} // namespace

/// Where a push starts: it seems to be read by all that has changed.
class NOD_Graph::Hub : public LNK_MicroNode
{
public:
    void add(LNK_MicroNode &changed) { myChanged.append(&changed); }
    bool isEmpty() const { return myChanged.isEmpty(); }
    void getOutputs(KIT_Array<LNK_MicroNode *> &outputs) const override
    {
        outputs.append(myChanged.data(), myChanged.entries());
    }

private:
    KIT_Array<LNK_MicroNode *> myChanged;
};

// ---------------------------------------------------------------------- //
// Life
// ---------------------------------------------------------------------- //

NOD_Graph::NOD_Graph(NOD_Node &node) : myRoot(&node), myLost(std::make_unique<NOD_LostReferences>())
{
    while (myRoot->getParent()) {
        myRoot = myRoot->getParent();
    }
    myRoot->setGraph(this);
}

NOD_Graph::~NOD_Graph()
{
    if (myConditions) {
        myConditions->treeRemoved();
    }
    if (myRoot) {
        myRoot->setGraph(nullptr);
        NODforEachNode(*myRoot, [](NOD_Node &node) { node.getParms().clearMicroNodeInputs(); });
    }
}

void NOD_Graph::nodeRemoved(NOD_Node &node)
{
    mend([&] { nodeLeaves(node); });
    if (myWatcher) {
        myWatcher->nodeRemoved(node);
    }
    myLost->forget(node);
    myVariables.erase(&node);
    const auto pending = myPendingPlaces.find(&node);
    if (pending != myPendingPlaces.end()) {
        myPending[pending->second].node = nullptr;
        myPendingPlaces.erase(pending);
    }
    const auto dirty = myDirtyPlaces.find(&node);
    if (dirty != myDirtyPlaces.end()) {
        myDirtyNodes[dirty->second] = nullptr;
        myDirtyPlaces.erase(dirty);
    }
    if (myConditions) {
        myConditions->nodeRemoved(node);
    }
    myWholeNodes.erase(&node);
}

void NOD_Graph::treeRemoved()
{
    if (myConditions) {
        myConditions->treeRemoved();
    }
    myRoot = nullptr;
    myWholeNodes.clear();
    myPending.clear();
    myPendingPlaces.clear();
    myVariables.clear();
    myDirtyNodes.clear();
    myDirtyPlaces.clear();
    myLost->clear();
}

// ---------------------------------------------------------------------- //
// What a batch has to do
// ---------------------------------------------------------------------- //

NOD_Graph::Pending &NOD_Graph::pendingOf(NOD_Node &node)
{
    const auto place = myPendingPlaces.find(&node);
    if (place != myPendingPlaces.end()) {
        return myPending[place->second];
    }
    // Without memory for its place one without a node stays, which does nothing.
    myPending.emplace_back();
    myPendingPlaces.emplace(&node, myPending.size() - 1);
    myPending.back().node = &node;
    return myPending.back();
}

/// Components whose references are to be found, and which of them are to be pushed.
void NOD_Graph::mark(NOD_Node &node, const std::string &token, std::uint32_t bits)
{
    Pending &pending = pendingOf(node);
    if (pending.fullFlag && bits == 0) {
        return;
    }
    pending.parms[token] |= bits;
    constexpr std::size_t theFew = 8;
    if (!pending.fullFlag && pending.parms.size() > theFew &&
        pending.parms.size() > std::size_t(node.getParms().getEntries() / 4)) {
        pending.allFlag = pending.fullFlag = true;
    }
}

void NOD_Graph::noteTree()
{
    if (myWatcher) {
        myWatcher->treeChanged();
    }
}

void NOD_Graph::markStructure(NOD_Node &node)
{
    if (myWatcher) {
        myWatcher->nodeChanged(node);
    }
    Pending &pending = pendingOf(node);
    // Parameters that are replaced take the marks of their own changes along.
    pending.pushAllFlag = pending.pushAllFlag || pending.fullFlag;
    pending.allFlag = pending.namesFlag = true;
    noteDirty(node);
    if (myConditions) {
        myConditions->structureChanged(node);
    }
}

void NOD_Graph::markReader(const NOD_GraphReader &reader)
{
    if (!reader.isCondition()) {
        mark(*reader.node, reader.token, bitOf(reader.component));
    } else if (myConditions) {
        myConditions->mark(*reader.node, reader.component);
    }
}

void NOD_Graph::markReadersOf(const LNK_MicroNode &node)
{
    KIT_Array<LNK_MicroNode *> readers;
    node.getOutputs(readers);
    for (LNK_MicroNode *reader : readers) {
        const auto *const own = dynamic_cast<const ZEL_ParmMicroNode *>(reader);
        ZEL_Parm *const parm = own ? own->parm() : nullptr;
        if (auto *const of = parm ? dynamic_cast<NOD_Node *>(parm->getParmOwner()) : nullptr) {
            mark(*of, parm->getToken(), bitOf(own->subIndex()));
        } else if (!own) {
            reader->becameDirty();
        }
    }
    mySelfReaders.erase(&node);
}

void NOD_Graph::markReadersOf(ZEL_Parm &parm)
{
    for (int i = 0; parm.hasMicroNodes() && i < parm.getVectorSize(); ++i) {
        markReadersOf(*parm.microNode(i));
    }
}

void NOD_Graph::markReadersOf(NOD_Node &node)
{
    NODforEachParm(node, [&](int, ZEL_Parm &parm) { markReadersOf(parm); });
    if (const LNK_MicroNode *whole = findWholeNode(node)) {
        markReadersOf(*whole);
    }
}

void NOD_Graph::markWatchers(const NOD_Node &node)
{
    if (!myLost->isEmpty()) {
        NOD_LostReferences::Readers readers;
        myLost->addWatchers(NODpathOf(node), readers);
        for (const NOD_GraphReader &reader : readers) {
            markReader(reader);
        }
    }
}

// ---------------------------------------------------------------------- //
// Notifications
// ---------------------------------------------------------------------- //

void NOD_Graph::parmChanged(NOD_Node &node, TRK_CHANGE_TYPE type, int parmIndex)
{
    if (type != TRK_CHANGE_VALUE || !myRoot) {
        return;
    }
    if (myWatcher) {
        myWatcher->parmChanged(node, parmIndex);
    }
    if (ZEL_Parm *const parm = node.getParms().getParmPtr(parmIndex)) {
        if (isUnread(node, *parm)) {
            if (parm->hasAnySendExtraFlags()) {
                parm->getInstance()->clearSendExtra();
            }
            return;
        }
        Pending &pending = pendingOf(node);
        if (!pending.fullFlag) {
            std::uint32_t bits = 0;
            for (int i = 0; i < parm->getVectorSize(); ++i) {
                bits |= parm->isSendExtra(i) ? bitOf(i) : 0u;
            }
            mark(node, parm->getToken(), bits);
        }
    } else {
        pendingOf(node).allFlag = true;
    }
    flushUnlessInBatch();
}

bool NOD_Graph::isUnread(NOD_Node &node, const ZEL_Parm &parm) const
{
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        if (parm.getChannel(k)) {
            return false;
        }
    }
    return parm.getInstance() && parm.getType().isFloatType() && !parm.isMultiParm() &&
           !parm.hasMicroNodes() && !myBrokenFlag && myPending.empty() && myVariables.empty() &&
           myLost->isEmpty() && myWholeNodes.empty() &&
           !(myConditions && myConditions->isAtWork(node));
}

void NOD_Graph::unreadChanged(NOD_Node &node, const ZEL_Parm &parm)
{
    if (myWatcher) {
        int index = -1;
        node.getParms().getParmPtr(parm.getTokenRef(), index);
        myWatcher->parmChanged(node, index);
    }
}

void NOD_Graph::structureChanged(NOD_Node &node)
{
    markStructure(node);
    flushUnlessInBatch();
}

void NOD_Graph::channelsChanged(NOD_Node &node)
{
    markReadersOf(node);
    markStructure(node);
    pendingOf(node).pushAllFlag = true;
    flushUnlessInBatch();
}

void NOD_Graph::parmLeaves(NOD_Node &node, int parmIndex)
{
    // What it takes along is found at the end of the batch, without it.
    if (ZEL_Parm *const parm = node.getParms().getParmPtr(parmIndex)) {
        markReadersOf(*parm);
        Pending &pending = pendingOf(node);
        pending.pushWholeFlag = pending.pushWholeFlag || parm->getType().isCookable();
    }
    markStructure(node);
}

void NOD_Graph::nodeLeaves(NOD_Node &node)
{
    noteTree();
    NOD_LostReferences::Readers readers;
    myLost->addWaiting(node, readers, [](const std::string &) { return true; });
    for (const NOD_GraphReader &reader : readers) {
        markReader(reader);
    }
    markReadersOf(node);
    markWatchers(node);
    markStructure(node);
}

void NOD_Graph::treeLeaves(NOD_Node &node)
{
    NODforEachNode(node, [&](NOD_Node &each) { nodeLeaves(each); });
}

void NOD_Graph::nodeAppears(NOD_Node &node)
{
    noteTree();
    mend([&] {
        markWatchers(node);
        markStructure(node);
        pendingOf(node).fullFlag = true;
        flushUnlessInBatch();
    });
}

void NOD_Graph::treeAppears(NOD_Node &node)
{
    noteTree();
    const NOD_Batch batch(this);
    mend([&] {
        NODforEachNode(node, [&](NOD_Node &each) {
            markWatchers(each);
            markStructure(each);
        });
    });
}

void NOD_Graph::variableChanged(NOD_Node &node, const std::string &name)
{
    noteTree();
    mend([&] { myVariables[&node].insert(name); });
    flushUnlessInBatch();
}

// ---------------------------------------------------------------------- //
// The end of a batch
// ---------------------------------------------------------------------- //

void NOD_Graph::endBatch()
{
    --myDepth;
    mend([&] { flushUnlessInBatch(); });
}

/// Of what has happened already and must not fail: without memory the next flush finds everything.
template <class Call>
void NOD_Graph::mend(const Call &call)
{
    try {
        call();
    } catch (const std::bad_alloc &) {
        BASnoteFailedAllocation();
        myBrokenFlag = true;
    }
}

void NOD_Graph::flushUnlessInBatch()
{
    // In the middle of an evaluation what is evaluated for its references would end it.
    if (myDepth == 0 && !TRK_Manager::isEvaluating()) {
        settle();
    }
}

void NOD_Graph::settle()
{
    orBroken([&] { flush(); });
}

void NOD_Graph::flush()
{
    const int thread = BASgetSTID();
    const ZEL_AutoBlockErrors block(thread);
    const ZEL_Multi::KeepItems keep;
    while (myRoot && (myBrokenFlag || !myPending.empty() || !myVariables.empty())) {
        Hub hub;
        {
            const Collecting collecting(myDepth);
            markLost();
            markVariables();
            markAppeared();
            const std::vector<Pending> pending = std::move(myPending);
            myPending.clear();
            for (const Pending &each : pending) { // clear() takes as long as the largest batch did
                myPendingPlaces.erase(each.node);
            }
            findReferences(pending, TRK_Manager::getContext().getEvaluateTime(thread));
            collectChanged(pending, hub);
        }
        if (!hub.isEmpty()) {
            push(hub);
        }
    }
    if (myConditions) {
        myConditions->update();
    }
}

/// After a change that found no memory: everything may have changed.
void NOD_Graph::markLost()
{
    if (myBrokenFlag) {
        NODforEachNode(*myRoot, [&](NOD_Node &node) {
            markStructure(node);
            pendingOf(node).pushAllFlag = true;
        });
        myBrokenFlag = false;
    }
}

/// Variables that have changed at a node, behind those at the nodes above.
struct NOD_Graph::Variables
{
    const Variables *above;
    const std::set<std::string> *names;
};

/// The readers of variables: one walk for all that have changed.
void NOD_Graph::markVariables()
{
    const std::map<NOD_Node *, std::set<std::string>> changed = std::move(myVariables);
    myVariables.clear();
    if (changed.empty()) {
        return;
    }
    std::deque<Variables> all;
    std::vector<std::pair<NOD_Node *, const Variables *>> open;
    open.emplace_back(changed.size() == 1 ? changed.begin()->first : myRoot, nullptr);
    while (!open.empty()) {
        auto [node, variables] = open.back();
        open.pop_back();
        const auto own = changed.find(node);
        if (own != changed.end()) {
            all.push_back({variables, &own->second});
            variables = &all.back();
        }
        const auto &children = node->getChildren();
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            open.emplace_back(child->get(), variables);
        }
        if (variables) {
            markReadersOf(*variables, *node);
        }
    }
}

void NOD_Graph::markReadersOf(const Variables &variables, NOD_Node &node)
{
    const auto place = myPendingPlaces.find(&node);
    const Pending *const pending =
        place != myPendingPlaces.end() ? &myPending[place->second] : nullptr;
    const auto isUsed = [&](ZEL_Parm &parm) {
        bool usedFlag = false;
        for (const Variables *at = &variables; at && !usedFlag; at = at->above) {
            usedFlag = std::any_of(at->names->begin(), at->names->end(), [&](const auto &name) {
                return usesVariable(parm, name.c_str());
            });
        }
        return usedFlag;
    };
    // A node that was loaded does all of it anyway.
    if (!pending || !pending->allFlag || !pending->pushAllFlag) {
        NODforEachParm(node, [&](int, ZEL_Parm &parm) {
            if (isUsed(parm)) {
                mark(node, parm.getToken(), theAllComponents);
            }
        });
    }
    if (myConditions) {
        myConditions->markExpressions(node);
    }
}

/// Those that wait for a name which is there now.
void NOD_Graph::markAppeared()
{
    for (std::size_t i = 0; !myLost->isEmpty() && i < myPending.size(); ++i) {
        NOD_Node *const node = myPending[i].namesFlag ? myPending[i].node : nullptr;
        NOD_LostReferences::Readers readers;
        if (node) {
            myLost->addWaiting(*node, readers, [&](const std::string &name) {
                int component = 0;
                return node->getParms().getParmPtrFromChannel(name.c_str(), &component) != nullptr;
            });
        }
        for (const NOD_GraphReader &reader : readers) {
            markReader(reader);
        }
    }
}

void NOD_Graph::findReferences(const std::vector<Pending> &pending, double time)
{
    for (const Pending &each : pending) {
        if (each.node && each.allFlag) {
            rebuild(*each.node, -1, time);
        } else if (each.node) {
            for (const auto &[token, bits] : each.parms) {
                const int parmIndex = each.node->getParms().getParmIndex(token.c_str());
                if (parmIndex >= 0) {
                    rebuild(*each.node, parmIndex, time);
                }
            }
        }
    }
}

void NOD_Graph::collectChanged(const std::vector<Pending> &pending, Hub &hub)
{
    for (const Pending &each : pending) {
        if (!each.node) {
            continue;
        }
        if (each.allFlag || each.pushAllFlag) {
            const std::uint32_t bits = each.pushAllFlag ? theAllComponents : 0u;
            NODforEachParm(*each.node, [&](int i, ZEL_Parm &parm) {
                if (bits != 0 || parm.hasAnySendExtraFlags()) {
                    collectChanged(*each.node, i, parm, bits, hub);
                }
            });
        }
        for (const auto &[token, bits] : each.parms) {
            const int parmIndex = each.node->getParms().getParmIndex(token.c_str());
            if (ZEL_Parm *const parm = each.node->getParms().getParmPtr(parmIndex)) {
                collectChanged(*each.node, parmIndex, *parm, bits, hub);
            }
        }
        LNK_MicroNode *const whole = each.pushWholeFlag ? findWholeNode(*each.node) : nullptr;
        if (whole) {
            hub.add(*whole);
        }
    }
}

void NOD_Graph::collectChanged(NOD_Node &node, int parmIndex, ZEL_Parm &parm, std::uint32_t bits,
                               Hub &hub)
{
    bool anyFlag = false;
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        if ((bits & bitOf(i)) == 0 && !parm.isSendExtra(i)) {
            continue;
        }
        anyFlag = true;
        if (parm.hasMicroNodes()) {
            hub.add(*parm.microNode(i));
        } else if (myConditions) {
            myConditions->changed(node, parmIndex, i);
        }
    }
    LNK_MicroNode *const whole = anyFlag && !parm.hasMicroNodes() && parm.getType().isCookable()
                                     ? findWholeNode(node)
                                     : nullptr;
    if (whole) {
        hub.add(*whole);
    }
    if (parm.hasAnySendExtraFlags()) {
        parm.getInstance()->clearSendExtra();
    }
}

void NOD_Graph::push(Hub &hub)
{
    hub.propagateDirty(
        [&](LNK_MicroNode &node) {
            const auto *const own = dynamic_cast<const ZEL_ParmMicroNode *>(&node);
            ZEL_Parm *const parm = own ? own->parm() : nullptr;
            auto *const of = parm ? dynamic_cast<NOD_Node *>(parm->getParmOwner()) : nullptr;
            if (of) {
                noteDirty(*of);
                if (myConditions && myConditions->hasConditions(*of)) {
                    myConditions->changed(*of, own->parmIndex(), own->subIndex());
                }
            } else if (const auto *const whole = dynamic_cast<const WholeNode *>(&node)) {
                noteDirty(whole->node);
            }
            const bool tellFlag =
                of || (&node != &hub && !dynamic_cast<const NOD_ConditionNode *>(&node));
            if (tellFlag && myDirtyCallback) {
                myDirtyCallback(node);
            }
        },
        false);
}

// ---------------------------------------------------------------------- //
// Bringing up to date
// ---------------------------------------------------------------------- //

void NOD_Graph::noteDirty(NOD_Node &node)
{
    if (myDirtyPlaces.count(&node) == 0) {
        myDirtyNodes.push_back(nullptr);
        myDirtyPlaces.emplace(&node, myDirtyNodes.size() - 1);
        myDirtyNodes.back() = &node;
    }
}

int NOD_Graph::update(double time)
{
    if (!myRoot) {
        return 0;
    }
    settle();
    return orBroken([&] { return updateDirty(time); });
}

int NOD_Graph::updateDirty(double time)
{
    int count = 0;
    const ZEL_AutoBlockErrors block(BASgetSTID());
    const ZEL_Multi::KeepItems keep;
    const Collecting collecting(myDepth);
    // Evaluation may make graph nodes, which are dirty, and items.
    for (std::size_t i = 0; i < myDirtyNodes.size(); ++i) {
        if (NOD_Node *const node = myDirtyNodes[i]) {
            myDirtyPlaces.erase(node);
            myDirtyNodes[i] = nullptr;
            count += updateNode(*node, time);
        }
    }
    myDirtyNodes.clear();
    return count;
}

int NOD_Graph::updateNode(NOD_Node &node, double time)
{
    int count = 0;
    NODforEachParm(node, [&](int parmIndex, ZEL_Parm &parm) {
        bool dirtyFlag = false;
        for (int i = 0; parm.hasMicroNodes() && i < parm.getVectorSize(); ++i) {
            dirtyFlag = dirtyFlag || parm.microNode(i)->requiresUpdate();
        }
        if (!dirtyFlag) {
            return;
        }
        // What it read before may differ from what it reads now.
        rebuildParm(node, parmIndex, parm, time);
        for (int i = 0; i < parm.getVectorSize(); ++i) {
            if (parm.microNode(i)->requiresUpdate()) {
                parm.microNode(i)->update();
                ++count;
            }
        }
    });
    if (LNK_MicroNode *whole = findWholeNode(node)) {
        whole->update();
    }
    return count;
}
