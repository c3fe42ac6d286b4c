#include <ZEL/ZEL_Parm.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_Format.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_StringArray.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_CallbackType.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/list/ZEL_KindPrivate.h>

ZEL_Parm::Settings ZEL_Parm::theSettings;

namespace
{

constexpr int theAllComponents = -1;
// For privateValueChanged.
constexpr bool theSendEvent = true;
constexpr bool theKeepMulti = false;

ZEL_Instance *makeInstance(ZEL_Template *templatePtr, ZEL_Parm *parm)
{
    if (!templatePtr) {
        return nullptr;
    }
    return ZEL_Kind::findMaker(*templatePtr).making.make(templatePtr, parm);
}

} // namespace

// ---------------------------------------------------------------------- //
// Life
// ---------------------------------------------------------------------- //

ZEL_Parm::ZEL_Parm(ZEL_Template *templatePtr, ZEL_ParmList *list) : myParmList(list)
{
    myInstance.reset(makeInstance(templatePtr, this));
}

ZEL_Parm::ZEL_Parm(const ZEL_Parm *source, ZEL_ParmList *list) : myParmList(list)
{
    if (!source) {
        KITaddFatal(ZEL_ERROR_CATEGORY, ZEL_ERR_NULL_SOURCE);
    } else if (source->myInstance) {
        myInstance.reset(source->myInstance->duplicateSelf(this));
    }
}

ZEL_Parm::ZEL_Parm(ZEL_Template *templatePtr, ZEL_ParmList *list, const ZEL_Kind &kind,
                   std::size_t place)
    : myParmList(list)
{
    myInstance.reset(kind.making.makeIn(this + 1, templatePtr, this));
    myInstance->setPlace(place);
}

ZEL_Parm::ZEL_Parm(const ZEL_Instance &source, ZEL_ParmList *list, const ZEL_Kind &kind,
                   std::size_t place)
    : myParmList(list)
{
    myInstance.reset(kind.making.copyIn(this + 1, source, this));
    myInstance->setPlace(place);
}

ZEL_Parm::~ZEL_Parm() = default;

void ZEL_Parm::InstanceDeleter::operator()(ZEL_Instance *instance) const
{
    if (instance->getPlace() != 0) {
        instance->~ZEL_Instance();
    } else {
        delete instance;
    }
}

void ZEL_Parm::adopt(ZEL_Parm &source)
{
    if (myInstance && source.myInstance) {
        myInstance->adopt(*source.myInstance);
    }
}

void ZEL_Parm::adoptOverrides(ZEL_Parm &source)
{
    if (myInstance && source.myInstance) {
        myInstance->adoptOverrides(*source.myInstance);
    }
}

void ZEL_Parm::destroyChildParms()
{
    if (myInstance) {
        myInstance->destroyChildParms();
    }
}

// ---------------------------------------------------------------------- //
// Change notification
// ---------------------------------------------------------------------- //

bool ZEL_Parm::isCallbackType() const
{
    return ZELisCallbackType(getType());
}

void ZEL_Parm::notify(TRK_CHANGE_TYPE type) const
{
    if (myParmList) {
        myParmList->sendChangeEvent(type, this);
    }
}

void ZEL_Parm::privateValueChanged(int index, bool sendEvent, bool updateMulti)
{
    if (!myInstance) {
        return;
    }
    if (updateMulti && isMultiParm()) {
        const int thread = BASgetSTID();
        ZEL_AutoBlockErrors block(thread);
        int count = 0;
        myInstance->getValue(myParmList, 0.0, count, 0, thread);
    }
    if (isCallbackType()) {
        rebuildParmDependency();
    } else {
        sendValueChanged(index, sendEvent);
    }
}

/// The last step of every set.
void ZEL_Parm::announceValue(int index)
{
    constexpr bool updateMulti = true;
    privateValueChanged(index, theSendEvent, updateMulti);
}

void ZEL_Parm::sendValueChanged(int index, bool sendEvent)
{
    if (!myInstance) {
        return;
    }
    myInstance->setDirtyFlags(index);
    if (sendEvent) {
        notify(TRK_CHANGE_VALUE);
    }
}

void ZEL_Parm::indirectChange(int index, bool dirtyCaches, bool updateMulti)
{
    privateValueChanged(index, false, updateMulti);
    for (int i = getVectorSize() - 1; i >= 0; --i) {
        if (TRK_Channel *channel = myInstance->getChannel(i)) {
            if (dirtyCaches) {
                channel->dirtyExprCache();
            }
            channel->setChanged(true, 0);
        }
    }
}

void ZEL_Parm::rebuildParmDependency()
{
    ZEL_ParmOwner *owner = myInstance && myParmList ? myParmList->getParmOwner() : nullptr;
    if (!owner) {
        return;
    }
    const int parmIndex = myParmList->getParmIndex(getTokenRef());
    if (parmIndex >= 0) {
        const ZEL_Multi::KeepItems keep;
        owner->rebuildParmDependency(parmIndex);
    }
}

// ---------------------------------------------------------------------- //
// Masks and flags with events
// ---------------------------------------------------------------------- //

void ZEL_Parm::setLockedFlag(int index, bool locked)
{
    if (myInstance && !isCallbackType()) {
        myInstance->setLockedFlag(index, locked);
        notify(TRK_CHANGE_VALUE);
        notify(TRK_CHANGE_LOCK);
    }
}

void ZEL_Parm::setAutoScopedFlag(int index, bool flag)
{
    if (myInstance && !isCallbackType()) {
        myInstance->setAutoScopedFlag(index, flag);
    }
}

void ZEL_Parm::setAutoSelectFlag(int index, bool flag)
{
    if (myInstance && !isCallbackType()) {
        myInstance->setAutoSelectFlag(index, flag);
    }
}

void ZEL_Parm::setBypassFlag(bool flag)
{
    if (isSpareParm() && getBypassFlag() != flag) {
        myInstance->setBypassFlag(flag);
        notify(TRK_CHANGE_VALUE);
    }
}

bool ZEL_Parm::setEnableState(int state, int index)
{
    if (!myInstance || !myInstance->setEnableState(state != 0, index)) {
        return false;
    }
    notify(TRK_CHANGE_ENABLE);
    return true;
}

bool ZEL_Parm::setVisibleState(bool visible, int index)
{
    if (!myInstance || !myInstance->setVisibleState(visible, index)) {
        return false;
    }
    notify(TRK_CHANGE_VISIBLE);
    return true;
}

// ---------------------------------------------------------------------- //
// Channels
// ---------------------------------------------------------------------- //

void ZEL_Parm::addChannel(int index)
{
    if (myInstance && myInstance->validIndex(index)) {
        myInstance->addChannel(index);
    }
}

bool ZEL_Parm::removeChannel(int index)
{
    return myInstance && myInstance->validIndex(index) && myInstance->removeChannel(index);
}

void ZEL_Parm::clearAndDestroyChannels(bool sendEvent)
{
    if (!myInstance) {
        return;
    }
    myInstance->clearAndDestroyChannels();
    if (sendEvent) {
        privateValueChanged(theAllComponents, theSendEvent, theKeepMulti);
    }
}

void ZEL_Parm::clearAndDestroyUnrefChannels(const ZEL_Parm &other)
{
    for (int i = getVectorSize() - 1; i >= 0; --i) {
        const TRK_Channel *channel = myInstance->getChannel(i);
        bool held = false;
        for (int j = other.getVectorSize() - 1; j >= 0 && !held; --j) {
            held = channel && other.getChannel(j) == channel;
        }
        if (held) {
            // From here on the other parameter disposes of the channel.
            myInstance->setChannel(i, nullptr);
        } else {
            myInstance->removeChannel(i);
        }
    }
}

bool ZEL_Parm::getHaveCompiledExpressions() const
{
    for (int i = 0; i < getVectorSize(); ++i) {
        const TRK_Channel *channel = myInstance->getChannel(i);
        if (channel && channel->hasCompiledExpression()) {
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------- //
// Multi-parameters
// ---------------------------------------------------------------------- //

ZEL_Multi *ZEL_Parm::asMulti() const
{
    return isMultiParm() ? static_cast<ZEL_Multi *>(myInstance.get()) : nullptr;
}

ZEL_Parm *ZEL_Parm::getMultiParm(int flatIndex) const
{
    const ZEL_Multi *multi = asMulti();
    return multi ? multi->getParm(flatIndex) : nullptr;
}

void ZEL_Parm::insertMultiParmItem(int item, bool notify)
{
    if (myInstance && !(getLockedFlag(-1) && areAllComponentsLocked())) {
        myInstance->insertMultiParmItem(item);
    }
    if (notify) {
        announceValue(theAllComponents);
    }
}

void ZEL_Parm::removeMultiParmItem(int item, bool notify)
{
    if (myInstance && !(getLockedFlag(-1) && areAllComponentsLocked())) {
        myInstance->removeMultiParmItem(item);
    }
    if (notify) {
        announceValue(theAllComponents);
    }
}

void ZEL_Parm::swapMultiParmItem(int first, int second)
{
    ZEL_Multi *multi = asMulti();
    if (multi && !areAllComponentsLocked()) {
        multi->swapInstances(first, second);
    }
}

ZEL_Template *ZEL_Parm::findMultiParmTemplate(const char *token) const
{
    constexpr bool useStartOffset = true;
    ZEL_Multi *multi = asMulti();
    return multi ? multi->getTemplate(multi->findMultiParmIndex(token, useStartOffset)) : nullptr;
}

bool ZEL_Parm::getIsAddingOrRemovingMultiParms()
{
    return ZEL_Multi::getIsAddingOrRemovingParms();
}

void ZEL_Parm::instanceMultiString(KIT_WorkBuffer &out, const KIT_StringRef &name,
                                   const int *instances, int count, bool fillToken, bool repeat)
{
    ZEL_Multi::instanceString(out, name, instances, count, fillToken, repeat);
}

// ---------------------------------------------------------------------- //
// Streams and commands
// ---------------------------------------------------------------------- //

bool ZEL_Parm::save(std::ostream &os, int binary, bool compiled) const
{
    return myInstance && myInstance->save(os, binary, compiled);
}

bool ZEL_Parm::load(KIT_IStream &is)
{
    if (!myInstance) {
        return false;
    }
    const bool loaded = myInstance->load(is);
    loadedFromStream();
    return loaded;
}

void ZEL_Parm::loadedFromStream()
{
    // Unlike other changes, a load also marks a button's components dirty.
    myInstance->setDirtyFlags(theAllComponents);
    if (isCallbackType()) {
        rebuildParmDependency();
    } else {
        notify(TRK_CHANGE_VALUE);
    }
}

void ZEL_Parm::saveCommand(std::ostream &os, int values, int index) const
{
    if (myInstance) {
        myInstance->saveCommand(os, values, index);
    }
}

int ZEL_Parm::loadCommand(int argc, const char *const argv[], int index, bool asSet,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    return myInstance ? myInstance->loadCommand(argc, argv, index, asSet, addKey, keySet) : 0;
}

bool ZEL_Parm::saveUndoData(std::shared_ptr<ZEL_UndoData> &data) const
{
    return myInstance && myInstance->saveUndoData(data);
}

bool ZEL_Parm::loadUndoData(const std::shared_ptr<ZEL_UndoData> &data)
{
    if (!myInstance) {
        return false;
    }
    // The snapshot's items existed before, so unlike a file's they need no limit.
    const ZEL_InputBudget noLimit(ZEL_InputBudget::NO_LIMIT, 0);
    const bool loaded = myInstance->loadUndoData(data);
    loadedFromStream();
    return loaded;
}

// ---------------------------------------------------------------------- //
// References and text search
// ---------------------------------------------------------------------- //

void ZEL_Parm::buildOpDependencies(const ZEL_RefId &id, int thread)
{
    if (myInstance) {
        myInstance->buildOpDependencies(id, thread);
    }
}

int ZEL_Parm::changeOpRef(const char *oldFullPath, const char *newFullPath,
                          const char *oldRelativePath, const char *newRelativePath,
                          const char *name, void (*callback)(void *, ZEL_Parm *, int), void *data,
                          int thread)
{
    return myInstance ? myInstance->changeOpRef(oldFullPath, newFullPath, oldRelativePath,
                                                newRelativePath, name, callback, data, thread)
                      : 0;
}

void ZEL_Parm::getContextOptionDeps(int index, KIT_StringArray &names) const
{
    names.clear();
    if (myInstance) {
        myInstance->getContextOptionDeps(index, names);
    }
}

std::size_t format(char *buffer, std::size_t size, const ZEL_Parm &parm)
{
    return KITformat(buffer, size, "ZEL_Parm: {}", parm.getToken());
}
