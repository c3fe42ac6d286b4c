#include <ZEL/ZEL_ParmList.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_ChannelRef.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>
#include <ZEL/instance/ZEL_InstancePrivate.h>
#include <ZEL/list/ZEL_KindPrivate.h>

#include <algorithm>
#include <limits>

namespace
{

constexpr int theAllComponents = -1;

/// Up to this many parameters an index in a magic string takes one byte.
constexpr int theMostByteEntries = std::numeric_limits<std::uint8_t>::max() - 1;

/// Parameters of an unknown basic type have no instance and are skipped by every walk.
bool isLive(const ZEL_Parm *parm)
{
    return parm && parm->getInstance();
}

/// Calls the visitor from the last live parameter to the first. A visitor's event handler may
/// remove parameters, so the size is read again at each step.
template <class Parms, class Visitor>
void forEachBackward(const Parms &parms, Visitor &&visit)
{
    for (auto i = parms.size(); (i = std::min(i, parms.size())) > 0;) {
        --i;
        if (isLive(parms[i])) {
            visit(*parms[i]);
        }
    }
}

/// Whether the test holds for a live parameter; tests from the last to the first and stops at a
/// match.
template <class Parms, class Test>
bool anyBackward(const Parms &parms, Test &&test)
{
    for (auto i = parms.size(); i-- > 0;) {
        if (isLive(parms[i]) && test(*parms[i])) {
            return true;
        }
    }
    return false;
}

/// Keys that are closer to each other than the tolerance count as one.
template <class Parms>
double findNeighbourKey(const Parms &parms, double time, ZEL_KeyDirection direction)
{
    const bool next = direction == ZEL_KeyDirection::NEXT;
    const double tolerance = TRK_Manager::getContext().getTimeTolerance();
    double nearest = time;
    forEachBackward(parms, [&](const ZEL_Parm &parm) {
        const double key = next ? parm.findNextKey(time, theAllComponents)
                                : parm.findPrevKey(time, theAllComponents);
        const double limit = next ? nearest - tolerance : nearest + tolerance;
        if (key != time && (nearest == time || ZELisFurther(direction, limit, key))) {
            nearest = key;
        }
    });
    return nearest;
}

} // namespace

// ---------------------------------------------------------------------- //
// Defaults and marks
// ---------------------------------------------------------------------- //

bool ZEL_ParmList::allDefaults() const
{
    return !anyBackward(myParms, [](const ZEL_Parm &p) { return !p.isTrueFactoryDefault(); });
}

bool ZEL_ParmList::areAllFlagsClean() const
{
    return !anyBackward(myParms, [](const ZEL_Parm &p) { return !p.areAllFlagsClean(); });
}

void ZEL_ParmList::clearAllDirtyFlags()
{
    forEachBackward(myParms, [](ZEL_Parm &parm) { parm.clearAllDirtyFlags(); });
}

void ZEL_ParmList::clearAllUndoSavedFlags()
{
    forEachBackward(myParms, [](ZEL_Parm &parm) { parm.setUndoSavedFlag(false); });
}

void ZEL_ParmList::revertToDefaults(double time)
{
    forEachBackward(myParms, [&](ZEL_Parm &parm) { parm.revertToDefaults(time); });
}

void ZEL_ParmList::revertValuesToFactoryDefaults()
{
    // Reverting a multi-parameter changes the list: the size is read again at each step, and a
    // noted parameter is looked up again before it is used.
    KIT_ValArray<const ZEL_Parm *> multis;
    for (int i = 0; i < getEntries(); ++i) {
        ZEL_Parm *parm = myParms[i];
        if (!isLive(parm)) {
            continue;
        }
        if (!myOwner || !parm->getMultiParmOwner()) {
            parm->getInstance()->revertToDefaults(true);
        }
        if (parm->isMultiParm()) {
            multis.append(parm);
        }
    }
    if (!myOwner) {
        return;
    }
    KIT_ValArray<ZEL_Parm *> children;
    for (const ZEL_Parm *parm : multis) {
        // Another parameter may have been allocated at the address of a removed one.
        const bool present = myParms.find(const_cast<ZEL_Parm *>(parm)) >= 0;
        const ZEL_Multi *multi = present ? parm->asMulti() : nullptr;
        if (!multi) {
            continue;
        }
        const int count = multi->getMultiParmNumItems() * multi->getMultiParmInstancesPerItem();
        for (int flatIndex = 0; flatIndex < count; ++flatIndex) {
            if (ZEL_Parm *child = multi->getParm(flatIndex)) {
                children.append(child);
            }
        }
    }
    const ZEL_Multi::KeepItems keep;
    myOwner->multiItemCreated(children);
}

// ---------------------------------------------------------------------- //
// Channels
// ---------------------------------------------------------------------- //

bool ZEL_ParmList::hasAnyChannels() const
{
    return anyBackward(myParms, [](const ZEL_Parm &p) { return p.getChannelCount() > 0; });
}

void ZEL_ParmList::reloadChannelPtrs()
{
    forEachBackward(myParms, [](ZEL_Parm &parm) { parm.reloadChannelPtrs(); });
}

void ZEL_ParmList::validateChannelNames()
{
    for (int i = 0; i < getEntries(); ++i) {
        if (isLive(myParms[i])) {
            myParms[i]->getInstance()->validateChannelNames(*this);
        }
    }
}

void ZEL_ParmList::clearAndDestroyChannels()
{
    forEachBackward(myParms, [](ZEL_Parm &parm) { parm.clearAndDestroyChannels(false); });
}

int ZEL_ParmList::channelPtrModified(const KIT_StringRef &token)
{
    ZEL_Parm *parm = getParmPtr(getParmIndexFromChannel(token, nullptr));
    return isLive(parm) ? parm->channelPtrModified(KIT_StringRef(token.nonNullStr())) : 0;
}

int ZEL_ParmList::addChannel(const KIT_StringRef &token)
{
    ZEL_Parm *parm = getParmPtr(getParmIndexFromChannel(token, nullptr));
    return isLive(parm) ? parm->addChannel(KIT_StringRef(token.nonNullStr())) : 0;
}

int ZEL_ParmList::getChanState(double time) const
{
    int state = ZEL_CHAN_NONE;
    forEachBackward(myParms, [&](const ZEL_Parm &parm) { state |= parm.getChanState(time); });
    return state;
}

double ZEL_ParmList::findNextKey(double time) const
{
    return myCollection ? findNeighbourKey(myParms, time, ZEL_KeyDirection::NEXT) : time;
}

double ZEL_ParmList::findPrevKey(double time) const
{
    return myCollection ? findNeighbourKey(myParms, time, ZEL_KeyDirection::PREVIOUS) : time;
}

void ZEL_ParmList::hardenChanges(double time, bool force, const char *pattern,
                                 KIT_Array<TRK_ChannelRef> *collect)
{
    forEachBackward(myParms, [&](ZEL_Parm &parm) {
        for (int i = parm.getVectorSize(); i-- > 0;) {
            parm.hardenChanges(time, i, force, pattern, collect);
        }
    });
}

// ---------------------------------------------------------------------- //
// Text and variables
// ---------------------------------------------------------------------- //

bool ZEL_ParmList::notifyVarChange(const char *name)
{
    bool anyChanged = false;
    for (int i = 0; i < getEntries(); ++i) {
        if (isLive(myParms[i])) {
            anyChanged |= myParms[i]->getInstance()->notifyVarChange(-1, name);
        }
    }
    return anyChanged;
}

bool ZEL_ParmList::findString(const char *text, bool fullWord, bool usePattern) const
{
    return anyBackward(
               myParms,
               [&](const ZEL_Parm &parm) { return parm.findString(text, fullWord, usePattern); }) ||
           (myCollection && myCollection->findString(text, fullWord, usePattern));
}

int ZEL_ParmList::changeString(const char *from, const char *to, bool fullWord)
{
    int count = 0;
    forEachBackward(myParms,
                    [&](ZEL_Parm &parm) { count += parm.changeString(from, to, fullWord); });
    if (myCollection) {
        count += myCollection->changeString(from, to, fullWord);
    }
    return count;
}

// ---------------------------------------------------------------------- //
// Time dependence and cache keys
// ---------------------------------------------------------------------- //

double ZEL_ParmList::getEvalTime(int thread) const
{
    return myCollection ? TRK_Manager::getContext().getEvaluateTime(thread) : 0.0;
}

bool ZEL_ParmList::checkTimeDependence(bool evaluate)
{
    if (isTimeDependent()) {
        return true;
    }
    const int thread = BASgetSTID();
    const double time = evaluate ? getEvalTime(thread) : 0.0;
    for (int i = getEntries(); i-- > 0;) {
        if (isTimeDependentNow(time, evaluate, i, thread)) {
            setTimeDependent();
            return true;
        }
    }
    // An evaluation may have set the list's flag although no parameter reports a dependence.
    return isTimeDependent();
}

bool ZEL_ParmList::isTimeDependentNow(double time, bool evaluate, int index, int thread)
{
    // Evaluating a later parameter may have removed items of a multi-parameter.
    const ZEL_Parm *parm = getParmPtr(index);
    if (!isLive(parm)) {
        return false;
    }
    if (evaluate) {
        ZEL_AutoBlockErrors block(thread);
        const ZEL_Kind &kind = ZEL_Kind::find(parm->getType());
        for (int i = parm->getVectorSize(); i-- > 0;) {
            kind.evaluateForMarks(*parm, time, i, thread);
        }
    }
    return parm->isTimeDependent(theAllComponents);
}

void ZEL_ParmList::getMagicString(KIT_TokenString &tokens, double time, unsigned exportMask) const
{
    constexpr unsigned outside = ZEL_Type::ZEL_BEHAVIOR_NOREFRESH | ZEL_Type::ZEL_BEHAVIOR_NOCOOK;
    const int thread = BASgetSTID();
    const std::uint8_t exportByte = std::uint8_t(exportMask);
    for (int i = 0; i < getEntries(); ++i) {
        const ZEL_Parm *parm = myParms[i];
        if (!isLive(parm) || (parm->getType().getBehaviorType() & outside) != 0 ||
            (std::uint8_t(parm->getTemplatePtr()->exportLevel()) & exportByte) == 0) {
            continue;
        }
        if (!parm->getMagicString(tokens, time, thread)) {
            continue;
        }
        if (getEntries() <= theMostByteEntries) {
            tokens.append(std::uint8_t(i));
        } else {
            tokens.append(std::uint16_t(i));
        }
    }
}

// ---------------------------------------------------------------------- //
// Memory
// ---------------------------------------------------------------------- //

std::int64_t ZEL_ParmList::getMemoryUsage(bool inclusive) const
{
    std::int64_t bytes = inclusive ? std::int64_t(sizeof(*this)) : 0;
    bytes += std::int64_t(myParms.capacity()) * std::int64_t(sizeof(ZEL_Parm *));
    bytes += myInstanceTokens.getMemoryUsage(false);
    bytes += myInstanceChannels.getMemoryUsage(false);
    bytes += myChannelAliases.getMemoryUsage(false);
    forEachBackward(myParms, [&](const ZEL_Parm &parm) {
        bytes += std::int64_t(sizeof(parm)) + parm.getMemoryUsage(true);
    });
    for (const ZEL_HandleAnchor *at = myAnchor; at; at = at->myNext) {
        bytes += std::int64_t(sizeof(*at));
    }
    bytes += LNKgetContextOptionDepsMemory(myContextOptionDeps);
    bytes += LNKgetContextOptionDepsMemory(myCookContextOptionDeps);
    return bytes;
}
