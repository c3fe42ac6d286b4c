// An instance's nodes in the dependency graph: created lazily, listed, flagged, propagated.

#include <ZEL/ZEL_Instance.h>

#include <KIT/KIT_StringArray.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_ConstMicroNode.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <mutex>
#include <utility>

// ---------------------------------------------------------------------- //
// Life of the arrays
// ---------------------------------------------------------------------- //

namespace
{

/// An array that is created lazily under a lock. If `create` throws, the lock is released and the
/// array stays null.
template <class T, class Create>
T *makeOnce(T *&array, BAS_ByteLock &lock, Create &&create)
{
    T *made = __atomic_load_n(&array, __ATOMIC_ACQUIRE);
    if (!made) {
        const std::lock_guard<BAS_ByteLock> guard(lock);
        made = __atomic_load_n(&array, __ATOMIC_ACQUIRE);
        if (!made) {
            made = create();
            __atomic_store_n(&array, made, __ATOMIC_RELEASE);
        }
    }
    return made;
}

} // namespace

ZEL_ParmMicroNode *ZEL_Instance::microNode(int index)
{
    if (!validIndex(index) || !getParm()) {
        return nullptr;
    }
    Rare &record = makeRare();
    ZEL_ParmMicroNode *nodes =
        makeOnce(record.microNodes, record.microNodeLock, [this] { return createMicroNodes(); });
    return nodes ? nodes + index : nullptr;
}

ZEL_ConstMicroNode *ZEL_Instance::constMicroNode(int index)
{
    if (!microNode(index)) {
        return nullptr;
    }
    Rare &record = makeRare();
    return index + makeOnce(record.constMicroNodes, record.microNodeLock,
                            [this] { return createConstMicroNodes(); });
}

ZEL_ParmMicroNode *ZEL_Instance::createMicroNodes() const
{
    const ZEL_ParmOwner *owner = getParmOwner();
    const ZEL_Multi::KeepItems keep;
    ZEL_Parm &parm = *getParm();
    return owner ? owner->createParmMicroNodes(parm) : ZEL_ParmMicroNode::createArray(parm);
}

ZEL_ParmMicroNode *ZEL_ParmOwner::createParmMicroNodes(ZEL_Parm &parm) const
{
    return ZEL_ParmMicroNode::createArray(parm);
}

ZEL_ConstMicroNode *ZEL_Instance::createConstMicroNodes() const
{
    const int size = getVectorSize();
    ZEL_ConstMicroNode *nodes = new ZEL_ConstMicroNode[std::size_t(size)];
    for (int i = 0; i < size; ++i) {
        nodes[i].init(rare()->microNodes + i);
    }
    return nodes;
}

void ZEL_Instance::destroyMicroNodes()
{
    if (Rare *record = rare()) {
        delete[] record->constMicroNodes;
        delete[] record->microNodes;
        record->constMicroNodes = nullptr;
        record->microNodes = nullptr;
    }
}

void ZEL_Instance::adoptMicroNodes(ZEL_Instance &source)
{
    destroyMicroNodes();
    if (!source.hasMicroNodes()) {
        return;
    }
    Rare &record = makeRare();
    std::swap(record.microNodes, source.rare()->microNodes);
    std::swap(record.constMicroNodes, source.rare()->constMicroNodes);
    if (ZEL_Parm *parm = getParm()) {
        for (int i = 0, size = getVectorSize(); i < size; ++i) {
            record.microNodes[i].init(*parm, i);
        }
    }
}

// ---------------------------------------------------------------------- //
// Flags and context options
// ---------------------------------------------------------------------- //

bool ZEL_Instance::isTimeDependent(int index) const
{
    if (!rare()) {
        return false;
    }
    const ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    const int first = index < 0 ? 0 : index;
    const int end = index < 0 ? getVectorSize() : validIndex(index) ? index + 1 : index;
    for (int i = first; i < end; ++i) {
        const TRK_Channel *channel = getChannel(i);
        if (nodes ? nodes[i].isTimeDependent()
                  : channel && (channel->getPendingFlag() || channel->isTimeDependent())) {
            return true;
        }
    }
    return false;
}

void ZEL_Instance::setTimeDependentMicroNode(int index, bool timeDependent) const
{
    if (ZEL_ParmMicroNode *nodes = threadSafeMicroNodes()) {
        markMicroNode(nodes, index, timeDependent);
    }
}

void ZEL_Instance::markMicroNode(ZEL_ParmMicroNode *nodes, int index, bool timeDependent) const
{
    if (validIndex(index)) {
        nodes[index].setTimeDependent(timeDependent);
    } else if (index < 0) {
        const int size = getVectorSize();
        for (int i = 0; i < size; ++i) {
            nodes[i].setTimeDependent(timeDependent);
        }
    }
}

bool ZEL_Instance::hasContextOptionDeps(int index) const
{
    const ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    for (int i = 0; nodes && i < getVectorSize(); ++i) {
        if ((index < 0 || index == i) && nodes[i].hasContextOptionDeps()) {
            return true;
        }
    }
    return false;
}

void ZEL_Instance::getContextOptionDeps(int index, KIT_StringArray &names) const
{
    names.clear();
    KIT_StringArray found;
    const ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    for (int i = 0; nodes && i < getVectorSize(); ++i) {
        if (index >= 0 && index != i) {
            continue;
        }
        nodes[i].getContextOptionDeps(found);
        for (const KIT_String &name : found) {
            if (names.find(name.c_str()) < 0) {
                names.append(name);
            }
        }
    }
    names.sort();
}

// ---------------------------------------------------------------------- //
// All nodes of the parameter
// ---------------------------------------------------------------------- //

void ZEL_Instance::getMicroNodes(KIT_Array<LNK_MicroNode *> &nodes) const
{
    ZEL_ParmMicroNode *own = threadSafeMicroNodes();
    for (int i = 0; own && i < getVectorSize(); ++i) {
        nodes.append(own + i);
    }
}

void ZEL_Instance::getMicroNodeInputList(KIT_Array<LNK_MicroNode *> &inputs) const
{
    const ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    for (int i = 0; nodes && i < getVectorSize(); ++i) {
        nodes[i].getInputs(inputs);
    }
}

void ZEL_Instance::getMicroNodeOutputList(KIT_Array<LNK_MicroNode *> &outputs) const
{
    const ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    for (int i = 0; nodes && i < getVectorSize(); ++i) {
        nodes[i].getOutputs(outputs);
    }
}

std::int64_t ZEL_Instance::getMicroNodeNumInputs() const
{
    std::int64_t count = 0;
    const ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    for (int i = 0; nodes && i < getVectorSize(); ++i) {
        count += nodes[i].getNumInputs();
    }
    return count;
}

void ZEL_Instance::clearMicroNodeInputs()
{
    ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    for (int i = 0; nodes && i < getVectorSize(); ++i) {
        nodes[i].clearInputs();
    }
}

std::int64_t ZEL_Instance::getMicroNodesMemoryUsage() const
{
    std::int64_t bytes = 0;
    const ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    const ZEL_ConstMicroNode *constNodes = threadSafeConstMicroNodes();
    for (int i = 0; i < getVectorSize(); ++i) {
        bytes += nodes ? nodes[i].getMemoryUsage(true) : 0;
        bytes += constNodes ? constNodes[i].getMemoryUsage(true) : 0;
    }
    return bytes;
}

void ZEL_Instance::dumpMicroNodes(std::ostream &os, int level) const
{
    const ZEL_ParmMicroNode *nodes = threadSafeMicroNodes();
    for (int i = 0; nodes && i < getVectorSize(); ++i) {
        nodes[i].dump(os, nullptr, level);
    }
    const ZEL_ConstMicroNode *constNodes = threadSafeConstMicroNodes();
    for (int i = 0; constNodes && i < getVectorSize(); ++i) {
        constNodes[i].dump(os, nullptr, level);
    }
}

// ---------------------------------------------------------------------- //
// Propagation
// ---------------------------------------------------------------------- //

namespace
{

/// Lets a propagation detect that a callback has removed its parameter. The records of a thread are
/// chained: a callback may start another propagation.
class Survival
{
public:
    explicit Survival(const ZEL_Instance *instance) : myInstance(instance), myOuter(theInnermost)
    {
        theInnermost = this;
    }
    ~Survival() { theInnermost = myOuter; }
    Survival(const Survival &) = delete;
    Survival &operator=(const Survival &) = delete;

    bool lives() const { return myInstance != nullptr; }

    static void end(const ZEL_Instance *instance)
    {
        for (Survival *each = theInnermost; each; each = each->myOuter) {
            if (each->myInstance == instance) {
                each->myInstance = nullptr;
            }
        }
    }

private:
    const ZEL_Instance *myInstance;
    Survival *myOuter;
    static __thread Survival *theInnermost;
};

__thread Survival *Survival::theInnermost = nullptr;

} // namespace

void ZEL_Instance::leavePropagations()
{
    Survival::end(this);
}

void ZEL_Instance::clearSendExtra()
{
    const std::uint32_t present = BASload(mySendExtraFlags);
    if (ZEL_ParmList *list = present != 0 ? getParmList() : nullptr) {
        list->bumpNumSendExtra(-__builtin_popcount(present));
    }
    BASstore(mySendExtraFlags, 0u);
}

void ZEL_Instance::propagateDirty(const std::function<void(LNK_MicroNode &)> &callback,
                                  LNK_MicroNode *node, bool all, bool *used)
{
    if (used) {
        *used = false;
    }
    const Survival survival(this);
    if (hasMicroNodes()) {
        // The callback may also move the nodes to another parameter, so they are fetched each time.
        for (int i = 0; survival.lives() && i < getVectorSize() && hasMicroNodes(); ++i) {
            if (all || (BASload(mySendExtraFlags) & bit(i)) != 0) {
                threadSafeMicroNodes()[i].propagateDirty(callback, false);
            }
        }
    } else if (node && getType().isCookable() && BASload(mySendExtraFlags) != 0) {
        node->propagateDirty(callback, false);
        if (used) {
            *used = true;
        }
    }
    if (survival.lives()) {
        clearSendExtra();
    }
}
