// One parameter takes over another one's state, and one list another one's parameters.

#include <ZEL/ZEL_ParmList.h>

#include <BAS/BAS_LostText.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_OpSharedInfo.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/list/ZEL_ParmPlacesPrivate.h>
#include <ZEL/support/ZEL_LoadScopePrivate.h>

#include <algorithm>
#include <unordered_set>
#include <utility>
#include <vector>

// ---------------------------------------------------------------------- //
// One parameter
// ---------------------------------------------------------------------- //

void ZEL_ParmList::adoptParm(ZEL_Parm &to, ZEL_Parm &from, bool forceCopy)
{
    if (!to.getInstance() || !from.getInstance() ||
        to.getType().getBasicType() != from.getType().getBasicType() ||
        (to.isMultiParm() && !from.isMultiParm())) {
        return;
    }
    to.adoptOverrides(from);
    adoptChannelAlias(to, from);
    if (shouldCopyOnAdopt(*to.getTemplatePtr(), from, forceCopy)) {
        to.adopt(from);
    } else if (from.getInstance()->getChannelCount() > 0) {
        from.clearAndDestroyUnrefChannels(to);
    }
}

void ZEL_ParmList::adoptChannelAlias(ZEL_Parm &to, const ZEL_Parm &from)
{
    if (to.getVectorSize() != from.getVectorSize()) {
        return;
    }
    for (int i = 0; i < to.getVectorSize(); ++i) {
        const KIT_StringHolder alias = from.getChannelAlias(i);
        if (alias == from.getChannelToken(i)) {
            continue;
        }
        // Two parameters of one list can't share an alias: the replaced one gives it up.
        const int aliasIndex = myChannelAliases.find(alias);
        if (getParmPtr(aliasIndex) == &from) {
            myChannelAliases.removeIfValue(alias, aliasIndex);
        }
        setChannelAlias(&to, i, alias);
    }
}

bool ZEL_ParmList::shouldCopyOnAdopt(ZEL_Template &to, ZEL_Parm &from, bool forceCopy)
{
    const ZEL_Type &type = to.getType();
    const bool isLabel = type.isStringType() && type.hasStringType(ZEL_TYPE_LABEL.getStringType());
    if ((forceCopy && !isLabel) || !from.isTrueFactoryDefault()) {
        return true;
    }
    if (to.getAutoScopeField() != from.getAutoScopedField() ||
        to.getAutoSelectField() != from.getAutoSelectField()) {
        return true;
    }
    const ZEL_Multi *owner = from.getMultiParmOwner();
    return to.isMultiType() || (owner && owner->getTemplatePtr()->isRampType());
}

// ---------------------------------------------------------------------- //
// A whole list
// ---------------------------------------------------------------------- //

/// A list's channels while another one takes its place, so that they can be given back on failure.
class ZEL_ParmList::ChannelLoan
{
public:
    explicit ChannelLoan(ZEL_ParmList &lender) : myLender(lender)
    {
        for (ZEL_Parm *parm : lender.myParms) {
            for (int i = 0; parm && i < parm->getVectorSize(); ++i) {
                if (TRK_Channel *channel = parm->getChannel(i)) {
                    myHeld.push_back({parm, i, channel});
                }
            }
        }
    }

    /// Allocates nothing: the lender was registered with the collection before.
    void giveBack(ZEL_ParmList &borrower) const
    {
        TRK_Collection *collection = borrower.myCollection;
        if (!collection) {
            return;
        }
        for (const Held &held : myHeld) {
            forget(borrower, held.channel);
        }
        if (!myLender.myCollection) {
            myLender.myChannelSource.moveTo(collection);
        }
        for (const Held &held : myHeld) {
            // Its slot is empty if the channel was deleted.
            if (collection->getChannel(held.parm->getChannelToken(held.index)) == held.channel) {
                held.parm->getInstance()->setChannel(held.index, held.channel);
            }
        }
    }

private:
    struct Held
    {
        ZEL_Parm *parm;
        int index;
        TRK_Channel *channel;
    };

    static void forget(ZEL_ParmList &list, const TRK_Channel *channel)
    {
        for (ZEL_Parm *parm : list.myParms) {
            for (int i = 0; parm && i < parm->getVectorSize(); ++i) {
                if (parm->getChannel(i) == channel) {
                    parm->getInstance()->setChannel(i, nullptr);
                }
            }
        }
    }

    ZEL_ParmList &myLender;
    std::vector<Held> myHeld;
};

ZEL_ParmList::ZEL_ParmList(ZEL_ParmList &source, ZEL_Template *templates, ZEL_ParmOwner *owner,
                           ZEL_PresetInfo *presetInfo, const KIT_StringRef &sharedName,
                           bool forceCopy)
    : ZEL_ParmList(source.myCollection, owner, presetInfo)
{
    myPermissions = source.myPermissions;
    myUserMask = source.myUserMask;
    myAssetPermissionMask = source.myAssetPermissionMask;
    const int count = ZEL_Template::countTemplates(templates);
    mySharedInfo = ZEL_OpSharedInfo::get(sharedName, templates, count);

    const ZEL_LoadScope loading;
    const ChannelLoan loan(source);
    try {
        copyParms(source);
        adoptParmList(source, forceCopy);
        settleCopies(source);
        constexpr bool deleteChannels = false;
        buildDelayedDefaults(deleteChannels);
    } catch (...) {
        loan.giveBack(*this);
        source.takeHandles(*this);
        throw;
    }
}

void ZEL_ParmList::linkChannels()
{
    for (ZEL_Parm *parm : myParms) {
        for (int i = 0; myCollection && parm && i < parm->getVectorSize(); ++i) {
            parm->getInstance()->setChannel(i, myCollection->getChannel(parm->getChannelToken(i)));
        }
    }
}

void ZEL_ParmList::copyParms(const ZEL_ParmList &source)
{
    // Detach the collection until all are copied: a copy that fails halfway would delete the
    // channels that it shares.
    TRK_Collection *const collection = std::exchange(myCollection, nullptr);
    try {
        copyUnlinkedParms(source);
    } catch (...) {
        myCollection = collection;
        throw;
    }
    myCollection = collection;
    linkChannels();
}

void ZEL_ParmList::copyUnlinkedParms(const ZEL_ParmList &source)
{
    myParms.setCapacity(source.myParms.size());
    ZEL_ParmPlaces places(source.myParms.data(), source.getEntries());
    for (const ZEL_Parm *original : source.myParms) {
        if (!original) {
            places.skip();
            continue;
        }
        ZEL_OwnedParm parm = places.make(this);
        parm->setMultiParmOwner(original->getMultiParmOwner());
        const int index = getEntries();
        if (mySharedInfo->parmTokens().find(parm->getTokenRef()) == index) {
            myParms.append(parm.release());
        } else {
            appendParm(parm.release());
        }
    }
}

/// Copies the states that adoption doesn't cover, and drops the copies of items that no
/// multi-parameter here replaced by its own: they use the source's descriptions.
void ZEL_ParmList::settleCopies(const ZEL_ParmList &source)
{
    for (int i = getEntries(); i-- > 0;) {
        ZEL_Parm *parm = getParmPtr(i);
        const ZEL_Multi *multi = parm ? parm->getMultiParmOwner() : nullptr;
        if (multi && multi->getParmList() != this) {
            removeAndDestroyParm(i);
        }
    }
    for (ZEL_Parm *parm : myParms) {
        const ZEL_Parm *original = source.getParmPtr(parm->getTokenRef());
        ZEL_Instance *instance = parm->getInstance();
        if (!original || !instance) {
            continue;
        }
        constexpr int allComponents = -1;
        const std::uint32_t enabled = original->getEnableState(allComponents);
        instance->setEnableState(enabled == ~0u, allComponents);
        for (int k = 0; k < parm->getVectorSize(); ++k) {
            instance->setEnableState((enabled >> (unsigned(k) & 31)) & 1u, k);
            instance->setVisibleState(original->getVisibleState(k), k);
        }
    }
}

/// The list that is being taken over, and the parameters already adopted: an item is adopted when
/// it is created, before defaults could change its channels.
struct ZEL_ParmList::Adoption
{
    ZEL_ParmList &from;
    bool forceCopy;
    ZEL_NameTable done;
};

/// While it lives, the list is taking over another one.
class ZEL_ParmList::AdoptionScope
{
public:
    AdoptionScope(ZEL_ParmList &list, Adoption &adoption) : myList(list)
    {
        myList.myAdoption = &adoption;
    }
    ~AdoptionScope() { myList.myAdoption = nullptr; }
    AdoptionScope(const AdoptionScope &) = delete;
    AdoptionScope &operator=(const AdoptionScope &) = delete;

private:
    ZEL_ParmList &myList;
};

/// False if no list is being taken over, or the parameter isn't in it.
bool ZEL_ParmList::adoptFromOldList(ZEL_Parm &parm)
{
    ZEL_Parm *old = myAdoption ? myAdoption->from.getParmPtr(parm.getTokenRef()) : nullptr;
    if (!old) {
        return false;
    }
    ZEL_NameTable &done = myAdoption->done;
    if (done.find(parm.getTokenRef()) < 0) {
        done.insert(parm.getTokenRef(), 0);
        adoptParm(parm, *old, myAdoption->forceCopy);
    }
    return true;
}

void ZEL_ParmList::adoptParmList(ZEL_ParmList &from, bool forceCopy)
{
    if (&from == this) {
        return;
    }
    takeCollection(from);
    adoptAll(from, forceCopy);
    from.leaveCollection(*this);
    myChannelSource.becomeSourceIfNone();
    takeHandles(from);
}

void ZEL_ParmList::adoptAll(ZEL_ParmList &from, bool forceCopy)
{
    Adoption adoption{from, forceCopy, {}};
    adoption.done.reserve(std::uint32_t(from.getEntries()));
    const AdoptionScope scope(*this, adoption);
    for (int i = 0; i < getEntries(); ++i) {
        ZEL_Parm *parm = myParms[i];
        if (parm) {
            adoptFromOldList(*parm);
        }
        // The position may have decreased: a multi-parameter's own items may have replaced copies
        // before it.
        i = std::min(i, getEntries() - 1);
        while (i >= 0 && myParms[i] != parm) {
            --i;
        }
    }
}

void ZEL_ParmList::takeCollection(ZEL_ParmList &from)
{
    if (from.myCollection && from.myCollection != myCollection) {
        clearAndDestroyChannels();
        setChannelGroupPtr(from.myCollection);
    }
}

/// Removes the channels that the list that takes over (`successor`) didn't take: nothing would
/// refer to them again.
void ZEL_ParmList::leaveCollection(const ZEL_ParmList &successor)
{
    std::unordered_set<const TRK_Channel *> taken;
    for (const ZEL_Parm *parm : successor.myParms) {
        for (int i = 0; parm && i < parm->getVectorSize(); ++i) {
            taken.insert(parm->getChannel(i));
        }
    }
    std::vector<TRK_Channel *> unused;
    for (ZEL_Parm *parm : myParms) {
        for (int i = 0; parm && i < parm->getVectorSize(); ++i) {
            TRK_Channel *const channel = parm->getChannel(i);
            if (channel && taken.count(channel) == 0) {
                unused.push_back(channel);
            }
        }
    }
    for (ZEL_Parm *parm : myParms) {
        for (int i = 0; parm && i < parm->getVectorSize(); ++i) {
            if (parm->getChannel(i)) {
                parm->getInstance()->setChannel(i, nullptr);
            }
        }
    }
    TRK_Collection *const collection = myCollection;
    setChannelGroupPtr(nullptr);
    if (collection) {
        constexpr bool byItsHolder = true;
        collection->deleteChannels(std::move(unused), byItsHolder);
    }
}

void ZEL_ParmList::updateFromOldTemplate(const ZEL_ParmList *oldList)
{
    for (int i = getEntries(); oldList && i-- > 0;) {
        ZEL_Parm *parm = myParms[i];
        const ZEL_Parm *old = parm ? oldList->getParmPtr(parm->getTokenRef()) : nullptr;
        if (old && old->getActiveTakeFlag()) {
            parm->setActiveTakeFlag(true);
        }
    }
}
