#include <ZEL/ZEL_ParmList.h>

#include <BAS/BAS_Allocate.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <algorithm>
#include <memory>
#include <new>

// ---------------------------------------------------------------------- //
// Removing a parameter
// ---------------------------------------------------------------------- //

void ZEL_ParmList::removeAndDestroyParm(int index)
{
    ZEL_Parm *parm = getParmPtr(index);
    const ZEL_Instance *instance = parm ? parm->getInstance() : nullptr;
    if (!instance || (!instance->isSpareParm() && !instance->getMultiParmOwner())) {
        return;
    }
    tellRemoval(*parm, index);
    takeOut(index);
}

/// What comes before a removal: its channels end, and the owner is notified.
void ZEL_ParmList::tellRemoval(ZEL_Parm &parm, int index)
{
    parm.clearAndDestroyChannels(false);
    if (myOwner) {
        const ZEL_Multi::KeepItems keep;
        // Removals are also what follows a failure: they can't fail for an owner's want of memory.
        try {
            myOwner->parmRemoved(index);
        } catch (const std::bad_alloc &) {
            BASnoteFailedAllocation();
        }
    }
}

/// Nothing follows the last parameter, and items are mostly removed from the end: no indices to shift.
void ZEL_ParmList::shiftNames(int index, bool lastFlag)
{
    for (ZEL_NameTable *table : {&myInstanceTokens, &myInstanceChannels, &myChannelAliases}) {
        if (lastFlag) {
            table->dropLast(index);
        } else {
            table->shiftAbove(index);
        }
    }
}

/// Removes a parameter that the owner was notified of.
void ZEL_ParmList::takeOut(int index)
{
    const ZEL_OwnedParm parm(myParms[index]);
    removeParmEntries(*parm, index);
    const int last = getEntries() - 1;
    shiftNames(index, index == last);
    myParms.removeIndex(index);
    myNumMoved += last - index;
    countChanges();
    ++myNumRemovals;
    // Children are removed through this list too, so the parameter itself must be out of it by now.
    parm->destroyChildParms();
}

/// Takes the parameters at these ascending indices out of the list and its tables in one pass; the
/// caller destroys them. `places` has room for an index of each parameter, or is empty where the
/// indices make few ranges. Allocates nothing.
void ZEL_ParmList::takeOutAll(const std::vector<std::int32_t> &indices,
                              std::vector<std::int32_t> &places)
{
    if (indices.empty()) {
        return;
    }
    std::int32_t last = getEntries() - 1;
    for (auto at = indices.rbegin(); at != indices.rend(); ++at) {
        removeParmEntries(*myParms[*at], *at);
        if (places.empty()) {
            shiftNames(*at, *at == last--);
        }
    }
    auto next = indices.begin();
    for (std::int32_t i = places.empty() ? *next : 0; i < getEntries(); ++i) {
        const std::int32_t place = i - std::int32_t(next - indices.begin());
        const bool leavingFlag = next != indices.end() && *next == i;
        if (leavingFlag) {
            ++next;
        } else {
            myParms[place] = myParms[i];
        }
        if (!places.empty()) {
            places[std::size_t(i)] = leavingFlag ? -1 : place;
        }
    }
    myParms.setSize(getEntries() - int(indices.size()));
    if (!places.empty()) {
        for (ZEL_NameTable *table : {&myInstanceTokens, &myInstanceChannels, &myChannelAliases}) {
            table->renumber(places.data());
        }
    }
    countChanges(std::uint32_t(indices.size()));
    ++myNumRemovals;
}

/// Removes a parameter whose name another one may have taken. Its index may have decreased since it
/// was looked up.
void ZEL_ParmList::removeReplacedParm(const ZEL_Parm *parm, int index)
{
    index = std::min(index, getEntries() - 1);
    while (index >= 0 && getParmPtr(index) != parm) {
        --index;
    }
    if (index >= 0 && myDeferRemovals) {
        retireParm(*getParmPtr(index));
    } else {
        removeAndDestroyParm(index);
    }
}

/// Removes each entry only while it still refers to this parameter: a later one may have taken the
/// name.
void ZEL_ParmList::removeParmEntries(const ZEL_Parm &parm, int index)
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
    // Hold a copy: the parameter frees its text when the new alias is stored.
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
