#include <ZEL/ZEL_ParmList.h>

#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <algorithm>

// ---------------------------------------------------------------------- //
// A parameter leaves the list
// ---------------------------------------------------------------------- //

void ZEL_ParmList::removeAndDestroyParm(int index)
{
    ZEL_Parm *parm = getParmPtr(index);
    const ZEL_Instance *instance = parm ? parm->getInstance() : nullptr;
    if (!instance || (!instance->isSpareParm() && !instance->getMultiParmOwner())) {
        return;
    }
    parm->clearAndDestroyChannels(false);
    if (myOwner) {
        myOwner->parmRemoved(index);
    }
    forgetNames(*parm, index);
    myParms.removeIndex(index);
    ++myAddRemoveCount;
    // Children leave through this list too, so the parameter itself must be out of it by now.
    parm->destroyChildParms();
    delete parm;
}

/// Takes out a parameter whose name another one may have taken; its index may have moved down since
/// it was asked for.
void ZEL_ParmList::removeReplacedParm(const ZEL_Parm *parm, int index)
{
    index = std::min(index, getEntries() - 1);
    while (index >= 0 && getParmPtr(index) != parm) {
        --index;
    }
    removeAndDestroyParm(index);
}

/// Each entry goes only while it still means this parameter: a later one may have taken the name.
void ZEL_ParmList::forgetNames(const ZEL_Parm &parm, int index)
{
    const ZEL_Instance &instance = *parm.getInstance();
    myInstanceTokens.removeIfValue(instance.getTokenRef(), index);
    for (int i = 0; i < instance.getVectorSize(); ++i) {
        const KIT_StringHolder &channel = instance.getChannelToken(i);
        myInstanceChannels.removeIfValue(channel, index);
        const KIT_StringHolder &alias = instance.getChannelAlias(i);
        if (alias != channel) {
            myChannelAliases.removeIfValue(alias, index);
        }
    }
    // Nothing stands behind the last one, and items leave from the end.
    if (index == getEntries() - 1) {
        return;
    }
    myInstanceTokens.closeGap(index);
    myInstanceChannels.closeGap(index);
    myChannelAliases.closeGap(index);
}

// ---------------------------------------------------------------------- //
// Channel aliases
// ---------------------------------------------------------------------- //

bool ZEL_ParmList::setChannelAlias(ZEL_Parm *parm, int index, const KIT_StringHolder &alias)
{
    const ZEL_Instance *instance = parm ? parm->getInstance() : nullptr;
    if (!instance || instance->isSpareParm() || !instance->validIndex(index)) {
        return false;
    }
    const int parmIndex = getParmIndex(parm);
    if (getParmPtr(parmIndex) != parm) {
        return false;
    }
    if (!alias.isEmpty() && getParmIndexFromChannel(alias, nullptr, true) >= 0) {
        return false;
    }
    // A holder of its own: the parameter's goes when the new alias is stored.
    const KIT_StringHolder present = instance->getChannelAlias(index);
    if (present != instance->getChannelToken(index)) {
        myChannelAliases.removeIfValue(present, parmIndex);
    }
    if (!parm->setChannelAlias(alias, index)) {
        return false;
    }
    if (!alias.isEmpty()) {
        myChannelAliases.insert(alias, parmIndex);
    }
    return true;
}
