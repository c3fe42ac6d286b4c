#include <ZEL/ZEL_ParmList.h>

#include <BAS/BAS_LostText.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_OpSharedInfo.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/list/ZEL_KindPrivate.h>
#include <ZEL/list/ZEL_ParmPlacesPrivate.h>
#include <ZEL/support/ZEL_LoadScopePrivate.h>

#include <utility>

ZEL_ORCallback *ZEL_ParmList::theORCallback = nullptr;

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

ZEL_ParmList::ZEL_ParmList(ZEL_Template *templates, TRK_Collection *collection,
                           ZEL_ParmOwner *owner, ZEL_PresetInfo *presetInfo,
                           const KIT_StringRef &sharedName, bool deleteChannels, bool buildDefaults)
    : ZEL_ParmList(collection, owner, presetInfo)
{
    const int count = ZEL_Template::countTemplates(templates);
    myParms.setCapacity(count);
    mySharedInfo = ZEL_OpSharedInfo::get(sharedName, templates, count);

    const ZEL_LoadScope loading;
    ZEL_ParmPlaces places(templates, count);
    for (int i = 0; i < count; ++i) {
        // Channel tokens are a lazily filled cache: fill it here, so that evaluation only reads.
        templates[i].getChannelTokens();
        myParms.append(places.make(this).release());
    }
    if (buildDefaults) {
        buildDelayedDefaults(deleteChannels);
    }
}

ZEL_ParmList::ZEL_ParmList(ZEL_Template *templates, TRK_Collection *collection,
                           ZEL_ParmOwner *owner, ZEL_PresetInfo *presetInfo,
                           const KIT_StringRef &sharedName, bool deleteChannels)
    : ZEL_ParmList(templates, collection, owner, presetInfo, sharedName, deleteChannels, true)
{}

ZEL_ParmList::ZEL_ParmList(TRK_Collection *collection, ZEL_ParmOwner *owner,
                           ZEL_PresetInfo *presetInfo)
    : myCollection(collection), myOwner(owner), myPresetInfo(presetInfo), myChannelSource(*this)
{}

/// Only while the list is destroyed. Children are made after all others, but what was rebuilt or
/// taken over may be in another order. The first multi-parameter that is destroyed asks: those that
/// are destroyed before it have no children left.
bool ZEL_ParmList::doAllChildrenFollow()
{
    if (myChildOrder == ChildOrder::UNKNOWN) {
        myChildOrder = ChildOrder::FOLLOW;
        for (const ZEL_Parm *parm : myParms) {
            const ZEL_Instance *instance = parm ? parm->getInstance() : nullptr;
            const ZEL_Multi *owner = instance ? instance->getMultiParmOwner() : nullptr;
            if (owner && !owner->myPassed) {
                myChildOrder = ChildOrder::ANY;
                break;
            }
            if (const ZEL_Multi *multi = parm ? parm->asMulti() : nullptr) {
                multi->myPassed = true;
            }
        }
    }
    return myChildOrder == ChildOrder::FOLLOW;
}

ZEL_ParmList::~ZEL_ParmList()
{
    dropHandles();
    myChannelSource.leave();
    myChildOrder = ChildOrder::UNKNOWN;
    // Remove each parameter before it is destroyed, so that looking it up meanwhile returns null.
    while (myParms.size() > 0) {
        ZEL_Parm *last = myParms.last();
        myParms.removeIndex(myParms.size() - 1);
        ZEL_ParmPlaces::destroy(last);
    }
    clearContextOptionDeps();
    clearCookContextOptionDeps();
}

// -------------------------------------------------------------------------- //
// Handles
// -------------------------------------------------------------------------- //

ZEL_HandleAnchor &ZEL_ParmList::getHandleAnchor()
{
    ZEL_HandleAnchor *held = __atomic_load_n(&myAnchor, __ATOMIC_ACQUIRE);
    if (!held) {
        auto *const made = new ZEL_HandleAnchor(*this);
        constexpr bool mayFailFalsely = false;
        if (__atomic_compare_exchange_n(&myAnchor, &held, made, mayFailFalsely, __ATOMIC_ACQ_REL,
                                        __ATOMIC_ACQUIRE)) {
            return *made;
        }
        made->release(); // another thread was first
    }
    return *held;
}

void ZEL_ParmList::takeHandles(ZEL_ParmList &from)
{
    ZEL_HandleAnchor **end = &myAnchor;
    while (*end) {
        end = &(*end)->myNext;
    }
    *end = std::exchange(from.myAnchor, nullptr);
    for (ZEL_HandleAnchor *at = *end; at; at = at->myNext) {
        at->setList(this);
    }
}

void ZEL_ParmList::dropHandles()
{
    while (ZEL_HandleAnchor *const first = myAnchor) {
        myAnchor = std::exchange(first->myNext, nullptr);
        first->setList(nullptr);
        first->release();
    }
}

// -------------------------------------------------------------------------- //
// Defaults and parameters
// -------------------------------------------------------------------------- //

void ZEL_ParmList::buildDelayedDefaults(bool deleteChannels)
{
    // One budget for all: a script's description of a parameter takes at least so many bytes.
    constexpr std::int64_t theScriptBytes = 24;
    const ZEL_InputBudget budget(ZEL_InputBudget::DEFAULTS, getEntries() * theScriptBytes);
    // Reverting a multi-parameter appends its items, which are visited in turn.
    for (int i = 0; i < getEntries(); ++i) {
        ZEL_Instance *instance = myParms[i] ? myParms[i]->getInstance() : nullptr;
        if (instance && !instance->getDefaultsInitFlag() &&
            !ZEL_Kind::copyNumberDefaults(*instance)) {
            instance->revertToDefaults(deleteChannels);
        }
    }
}

int ZEL_ParmList::appendParm(ZEL_Parm *parm)
{
    ZEL_OwnedParm owned(parm);
    const int index = getEntries();
    if (parm && parm->getInstance()) {
        parm->getTemplatePtr()->getChannelTokens();
    }
    myParms.append(parm);
    if (parm && parm->getInstance()) {
        try {
            const BAS_LostText lost;
            registerParm(*parm, index);
            lost.check();
        } catch (...) {
            unregisterLastParm();
            throw;
        }
    }
    owned.release();
    countChanges();
    return index;
}

/// Takes a name from an index that no longer exists and gives it back to the parameter that had it
/// before.
template <class HasName>
void ZEL_ParmList::giveNameBack(ZEL_NameTable &table, const KIT_StringRef &name, int index,
                                const HasName &hasName) const
{
    if (table.find(name) != index) {
        return;
    }
    for (int i = index; i-- > 0;) {
        const ZEL_Instance *instance = myParms[i] ? myParms[i]->getInstance() : nullptr;
        if (instance && !instance->isLeaving() && hasName(*instance->getTemplatePtr())) {
            table.insert(name, i);
            return;
        }
    }
    table.removeIfValue(name, index);
}

/// Removes the last parameter, of whose names possibly only some were registered.
void ZEL_ParmList::unregisterLastParm()
{
    const int index = getEntries() - 1;
    const ZEL_Template &last = *myParms[index]->getInstance()->getTemplatePtr();
    const KIT_StringHolder *channels = last.getChannelTokens();
    myParms.removeLast();
    ++myNumRemovals;
    giveNameBack(myInstanceTokens, last.getTokenRef(), index, [&](const ZEL_Template &other) {
        return other.getTokenRef() == last.getTokenRef();
    });
    for (int i = 0; i < last.getVectorSize(); ++i) {
        giveNameBack(myInstanceChannels, channels[i], index, [&](const ZEL_Template &other) {
            return other.findSubIndex(channels[i]) >= 0;
        });
    }
}

void ZEL_ParmList::prefetchChannels(const ZEL_Template &description) const
{
    const KIT_StringHolder *channels = description.getChannelTokens();
    for (int i = 0; i < description.getVectorSize(); ++i) {
        myInstanceChannels.prefetch(channels[i]);
    }
}

void ZEL_ParmList::registerParm(const ZEL_Parm &parm, int index)
{
    const ZEL_Template &description = *parm.getInstance()->getTemplatePtr();
    const KIT_StringHolder *channels = description.getChannelTokens();
    myInstanceTokens.insert(description.getTokenRef(), index);
    for (int i = 0; i < description.getVectorSize(); ++i) {
        myInstanceChannels.insert(channels[i], index);
    }
    if (myCollection) {
        myCollection->tellTextsChanged();
    }
}

void ZEL_ParmList::setChannelGroupPtr(TRK_Collection *collection)
{
    if (collection == myCollection) {
        return;
    }
    myChannelSource.moveTo(collection);
}

void ZEL_ParmList::beginLoading()
{
    ZEL_LoadScope::begin();
}

void ZEL_ParmList::endLoading()
{
    ZEL_LoadScope::end();
}

bool ZEL_ParmList::isLoading()
{
    return ZEL_LoadScope::isLoading();
}

void ZEL_ParmList::removeOpSharedInfo(const KIT_StringRef &sharedName)
{
    ZEL_OpSharedInfo::remove(sharedName);
}

void ZEL_ParmList::renameOpSharedInfo(const KIT_StringRef &oldName, const KIT_StringHolder &newName)
{
    ZEL_OpSharedInfo::rename(oldName, newName);
}

// -------------------------------------------------------------------------- //
// Look-up
// -------------------------------------------------------------------------- //

int ZEL_ParmList::getParmIndex(const KIT_StringRef &token) const
{
    const int index = mySharedInfo->parmTokens().find(token);
    // The tables that a name shares may come from other templates, more than this list has.
    return std::uint64_t(index) < std::uint64_t(myParms.size()) ? index
                                                                : myInstanceTokens.find(token);
}

int ZEL_ParmList::getLikelyParmIndex(std::string_view token, int likely) const
{
    return likely < getEntries() && mySharedInfo->isTokenOf(token, likely)
               ? likely
               : getParmIndex(KIT_StringRef(token.data(), token.size()));
}

int ZEL_ParmList::getParmIndex(const ZEL_Name &name) const
{
    return getParmIndex(name.getTokenRef());
}

int ZEL_ParmList::getParmIndex(const ZEL_Parm *parm) const
{
    return parm && parm->getInstance() ? getParmIndex(parm->getInstance()->getTokenRef()) : -1;
}

ZEL_Parm *ZEL_ParmList::getParmPtr(const ZEL_Name &name)
{
    return getParmPtr(getParmIndex(name));
}

const ZEL_Parm *ZEL_ParmList::getParmPtr(const ZEL_Name &name) const
{
    return getParmPtr(getParmIndex(name));
}

ZEL_Parm *ZEL_ParmList::getParmPtr(const KIT_StringRef &token, int &index)
{
    index = getParmIndex(token);
    return getParmPtr(index);
}

const ZEL_Parm *ZEL_ParmList::getParmPtr(const KIT_StringRef &token, int &index) const
{
    index = getParmIndex(token);
    return getParmPtr(index);
}

ZEL_Parm *ZEL_ParmList::getParmPtr(const KIT_StringRef &token)
{
    return getParmPtr(getParmIndex(token));
}

const ZEL_Parm *ZEL_ParmList::getParmPtr(const KIT_StringRef &token) const
{
    return getParmPtr(getParmIndex(token));
}

int ZEL_ParmList::getParmIndexFromChannel(const KIT_StringRef &token, int *subIndex,
                                          bool allowAlias) const
{
    if (token.isNull()) {
        return -1;
    }
    int index = allowAlias ? myChannelAliases.find(token) : -1;
    if (index < 0) {
        index = mySharedInfo->channelTokens().find(token);
    }
    if (std::uint64_t(index) >= std::uint64_t(myParms.size())) {
        index = myInstanceChannels.find(token);
    }
    const ZEL_Parm *parm = getParmPtr(index);
    if (!parm) {
        return -1;
    }
    if (!subIndex) {
        return index;
    }
    // A shared table may come from other templates than this list's own: ask the parameter.
    *subIndex = parm->findSubIndex(token, allowAlias);
    return *subIndex >= 0 && *subIndex < parm->getVectorSize() ? index : -1;
}

int ZEL_ParmList::getParmIndex(const KIT_StringRef &token, int &subIndex, bool allowAlias) const
{
    return getParmIndexFromChannel(token, &subIndex, allowAlias);
}

ZEL_Parm *ZEL_ParmList::getParmPtrFromChannel(const KIT_StringRef &token, int *subIndex)
{
    return getParmPtr(getParmIndexFromChannel(token, subIndex, true));
}

const ZEL_Parm *ZEL_ParmList::getParmPtrFromChannel(const KIT_StringRef &token, int *subIndex) const
{
    return getParmPtr(getParmIndexFromChannel(token, subIndex, true));
}

ZEL_Parm *ZEL_ParmList::getParmPtrInst(const KIT_StringRef &token, const int *instances, int count,
                                       int &index)
{
    const ZEL_ParmList *constThis = this;
    return const_cast<ZEL_Parm *>(constThis->getParmPtrInst(token, instances, count, index));
}

const ZEL_Parm *ZEL_ParmList::getParmPtrInst(const KIT_StringRef &token, const int *instances,
                                             int count, int &index) const
{
    index = -1;
    if (token.isNull()) {
        return nullptr;
    }
    KIT_WorkBuffer name;
    ZEL_Name::instanceToken(name, token, instances, count);
    index = getParmIndex(KIT_StringRef(name.buffer()));
    return getParmPtr(index);
}

ZEL_Parm *ZEL_ParmList::getParmPtrInst(const KIT_StringRef &token, const int *instances, int count)
{
    int index = -1;
    return getParmPtrInst(token, instances, count, index);
}

const ZEL_Parm *ZEL_ParmList::getParmPtrInst(const KIT_StringRef &token, const int *instances,
                                             int count) const
{
    int index = -1;
    return getParmPtrInst(token, instances, count, index);
}

// -------------------------------------------------------------------------- //
// Evaluation and change by name
// -------------------------------------------------------------------------- //

double ZEL_ParmList::evalFloat(const KIT_StringRef &token, int index, double time) const
{
    const int thread = BASgetSTID();
    double value = 0.0;
    if (const ZEL_Parm *parm = getParmPtr(getParmIndex(token))) {
        parm->getValue(time, value, index, thread);
    }
    return value;
}

int ZEL_ParmList::evalInt(const KIT_StringRef &token, int index, double time) const
{
    const int thread = BASgetSTID();
    int value = 0;
    if (const ZEL_Parm *parm = getParmPtr(getParmIndex(token))) {
        parm->getValue(time, value, index, thread);
    }
    return value;
}

void ZEL_ParmList::evalString(KIT_String &value, const KIT_StringRef &token, int index,
                              double time) const
{
    const int thread = BASgetSTID();
    value = "";
    if (const ZEL_Parm *parm = getParmPtr(getParmIndex(token))) {
        parm->getValue(time, value, index, true, thread);
    }
}

void ZEL_ParmList::evalString(KIT_StringHolder &value, const KIT_StringRef &token, int index,
                              double time) const
{
    KIT_String text;
    evalString(text, token, index, time);
    value = KIT_StringHolder(text);
}

void ZEL_ParmList::evalStringRaw(KIT_String &value, const KIT_StringRef &token, int index,
                                 double time) const
{
    const int thread = BASgetSTID();
    value = "";
    if (const ZEL_Parm *parm = getParmPtr(getParmIndex(token))) {
        parm->getValue(time, value, index, false, thread);
    }
}

void ZEL_ParmList::evalStringRaw(KIT_StringHolder &value, const KIT_StringRef &token, int index,
                                 double time) const
{
    KIT_String text;
    evalStringRaw(text, token, index, time);
    value = KIT_StringHolder(text);
}

void ZEL_ParmList::setFloat(double value, const KIT_StringRef &token, int index, double time,
                            bool propagate)
{
    if (ZEL_Parm *parm = getParmPtr(token)) {
        parm->setValue(time, value, false, index, ZEL_ADDKEY_PENDING, propagate);
    }
}

void ZEL_ParmList::setInt(int value, const KIT_StringRef &token, int index, double time,
                          bool propagate)
{
    if (ZEL_Parm *parm = getParmPtr(token)) {
        parm->setValue(time, value, false, index, ZEL_ADDKEY_PENDING, propagate);
    }
}

void ZEL_ParmList::setString(const KIT_String &value, TRK_StringMeaning meaning,
                             const KIT_StringRef &token, int index, double time, bool propagate)
{
    if (ZEL_Parm *parm = getParmPtr(token)) {
        parm->setValue(time, value.c_str(), meaning, false, index, ZEL_ADDKEY_PENDING, propagate);
    }
}

// -------------------------------------------------------------------------- //
// What expressions see of the list
// -------------------------------------------------------------------------- //

ZEL_ParmList::ChannelSource::ChannelSource(ZEL_ParmList &list) : myList(list)
{
    if (TRK_Collection *collection = list.myCollection) {
        collection->addListener(this);
        becomeSourceIfNone();
    }
}

void ZEL_ParmList::ChannelSource::moveTo(TRK_Collection *collection)
{
    if (collection) {
        collection->addListener(this);
    }
    leave();
    myList.myCollection = collection;
    becomeSourceIfNone();
}

void ZEL_ParmList::ChannelSource::leave()
{
    if (TRK_Collection *collection = myList.myCollection) {
        collection->removeListener(this);
        if (collection->getValueSource() == this) {
            collection->setValueSource(nullptr);
        }
    }
}

void ZEL_ParmList::ChannelSource::becomeSourceIfNone()
{
    if (myList.myCollection && !myList.myCollection->getValueSource()) {
        myList.myCollection->setValueSource(this);
    }
}

bool ZEL_ParmList::ChannelSource::evaluateNumber(const KIT_StringRef &name, double time, int thread,
                                                 double &value, bool &timeDependent)
{
    int subIndex = -1;
    const ZEL_Parm *parm = myList.getParmPtrFromChannel(name, &subIndex);
    if (!parm) {
        return false;
    }
    parm->getValue(time, value, subIndex, thread);
    timeDependent = parm->isTimeDependent(subIndex);
    return true;
}

bool ZEL_ParmList::ChannelSource::evaluateString(const KIT_StringRef &name, double time, int thread,
                                                 KIT_String &value, bool &timeDependent)
{
    int subIndex = -1;
    const ZEL_Parm *parm = myList.getParmPtrFromChannel(name, &subIndex);
    if (!parm) {
        return false;
    }
    parm->getValue(time, value, subIndex, true, thread);
    timeDependent = parm->isTimeDependent(subIndex);
    return true;
}

void ZEL_ParmList::ChannelSource::channelDeleted(const TRK_Channel *channel)
{
    if (channel->getHolders() == TRK_Channel::Holders::NONE) {
        return;
    }
    if (channel->getHolders() == TRK_Channel::Holders::ONE) {
        // The search below is the square where all channels of a list are deleted.
        int component = -1;
        ZEL_Parm *parm = myList.getParmPtrFromChannel(channel->getName(), &component);
        ZEL_Instance *instance = parm ? parm->getInstance() : nullptr;
        if (instance && instance->getChannel(component) == channel) {
            instance->setChannel(component, nullptr);
            return;
        }
    }
    // A stream can link one channel to several components: clear the pointer in all of them.
    clearSlots(channel);
}

/// What the channels held is lost; the values stay that they had when they were last evaluated.
void ZEL_ParmList::ChannelSource::collectionDestroyed()
{
    clearSlots(nullptr);
    myList.myCollection = nullptr;
}

void ZEL_ParmList::ChannelSource::clearSlots(const TRK_Channel *channel)
{
    for (ZEL_Parm *parm : myList.myParms) {
        ZEL_Instance *instance = parm ? parm->getInstance() : nullptr;
        for (int i = 0; instance && i < instance->getVectorSize(); ++i) {
            const TRK_Channel *const held = instance->getChannel(i);
            if (held && (!channel || held == channel)) {
                instance->setChannel(i, nullptr);
            }
        }
    }
}
