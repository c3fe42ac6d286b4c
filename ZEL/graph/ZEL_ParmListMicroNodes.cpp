// The list's view of its parameters' nodes in the dependency graph, and of context options.

#include <ZEL/ZEL_ParmList.h>

#include <KIT/KIT_StringArray.h>
#include <ZEL/ZEL_ConstMicroNode.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmMicroNode.h>

#include <algorithm>

namespace
{

/// Makes the call for the instance of each parameter with nodes, or of each cookable one.
template <class Call>
void forEachInstance(const KIT_ValArray<ZEL_Parm *> &parms, bool cookOnly, Call &&call)
{
    for (ZEL_Parm *parm : parms) {
        ZEL_Instance *instance = parm ? parm->getInstance() : nullptr;
        if (instance && (cookOnly ? parm->getType().isCookable() : instance->hasMicroNodes())) {
            call(*instance);
        }
    }
}

constexpr bool theWithNodes = false;

} // namespace

// ---------------------------------------------------------------------- //
// One parameter
// ---------------------------------------------------------------------- //

ZEL_ParmMicroNode *ZEL_ParmList::parmMicroNode(int parmIndex, int subIndex)
{
    ZEL_Parm *parm = getParmPtr(parmIndex);
    return parm ? parm->microNode(subIndex) : nullptr;
}

ZEL_ConstMicroNode *ZEL_ParmList::constParmMicroNode(int parmIndex, int subIndex)
{
    ZEL_Parm *parm = getParmPtr(parmIndex);
    ZEL_Instance *instance = parm ? parm->getInstance() : nullptr;
    return instance ? instance->constMicroNode(subIndex) : nullptr;
}

bool ZEL_ParmList::hasParmMicroNode(int parmIndex) const
{
    const ZEL_Parm *parm = getParmPtr(parmIndex);
    return parm && parm->hasMicroNodes();
}

// ---------------------------------------------------------------------- //
// All parameters
// ---------------------------------------------------------------------- //

void ZEL_ParmList::getParmMicroNodes(KIT_Array<LNK_MicroNode *> &nodes) const
{
    forEachInstance(myParms, theWithNodes,
                    [&](const ZEL_Instance &instance) { instance.getMicroNodes(nodes); });
}

void ZEL_ParmList::getParmInputList(KIT_Array<LNK_MicroNode *> &inputs, bool cookOnly) const
{
    forEachInstance(myParms, cookOnly,
                    [&](const ZEL_Instance &instance) { instance.getMicroNodeInputList(inputs); });
}

void ZEL_ParmList::getParmOutputList(KIT_Array<LNK_MicroNode *> &outputs, bool cookOnly) const
{
    forEachInstance(myParms, cookOnly, [&](const ZEL_Instance &instance) {
        instance.getMicroNodeOutputList(outputs);
    });
}

std::int64_t ZEL_ParmList::getNumParmInputs() const
{
    std::int64_t count = 0;
    forEachInstance(myParms, theWithNodes, [&](const ZEL_Instance &instance) {
        count += instance.getMicroNodeNumInputs();
    });
    return count;
}

void ZEL_ParmList::clearMicroNodeInputs()
{
    forEachInstance(myParms, theWithNodes,
                    [](ZEL_Instance &instance) { instance.clearMicroNodeInputs(); });
}

std::int64_t ZEL_ParmList::getMicroNodesMemoryUsage() const
{
    std::int64_t bytes = 0;
    forEachInstance(myParms, theWithNodes, [&](const ZEL_Instance &instance) {
        bytes += instance.getMicroNodesMemoryUsage();
    });
    return bytes;
}

void ZEL_ParmList::dumpMicroNodes(std::ostream &os, bool cookOnly, int level) const
{
    forEachInstance(myParms, cookOnly,
                    [&](const ZEL_Instance &instance) { instance.dumpMicroNodes(os, level); });
}

// ---------------------------------------------------------------------- //
// Propagation
// ---------------------------------------------------------------------- //

void ZEL_ParmList::propagateDirtyParmMicroNodes(
    int parmIndex, const std::function<void(LNK_MicroNode &)> &callback, LNK_MicroNode *node,
    bool all)
{
    if (parmIndex >= 0) {
        ZEL_Parm *parm = getParmPtr(parmIndex);
        if (ZEL_Instance *instance = parm ? parm->getInstance() : nullptr) {
            instance->propagateDirty(callback, node, all, nullptr);
        }
        return;
    }
    constexpr bool changedOnly = false;
    // Parameters may be removed during the walk; those added meanwhile wait for the next one.
    int entries = getEntries();
    for (int i = 0; i < entries; ++i) {
        if (ZEL_Instance *instance = myParms[i] ? myParms[i]->getInstance() : nullptr) {
            bool used = false;
            instance->propagateDirty(callback, node, changedOnly, &used);
            node = used ? nullptr : node;
        }
        entries = std::min(entries, getEntries());
    }
}

// ---------------------------------------------------------------------- //
// Context options
// ---------------------------------------------------------------------- //

void ZEL_ParmList::addContextOptionDep(const KIT_StringRef &name)
{
    LNKaddContextOptionDep(myContextOptionDeps, myDependencyLock, name);
}

void ZEL_ParmList::addCookContextOptionDep(const KIT_StringRef &name)
{
    LNKaddContextOptionDep(myCookContextOptionDeps, myDependencyLock, name);
}

void ZEL_ParmList::clearContextOptionDeps()
{
    LNKclearContextOptionDeps(myContextOptionDeps, myDependencyLock);
}

void ZEL_ParmList::clearCookContextOptionDeps()
{
    LNKclearContextOptionDeps(myCookContextOptionDeps, myDependencyLock);
}

void ZEL_ParmList::getContextOptionDeps(KIT_StringArray &names) const
{
    LNKlistContextOptionDeps(myContextOptionDeps, names);
}

void ZEL_ParmList::getCookContextOptionDeps(KIT_StringArray &names) const
{
    LNKlistContextOptionDeps(myCookContextOptionDeps, names);
}
