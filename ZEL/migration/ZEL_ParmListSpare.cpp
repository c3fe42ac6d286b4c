// The spare parameters of a list, rebuilt in place when their templates change.

#include <ZEL/ZEL_ParmList.h>

#include <BAS/BAS_LostText.h>
#include <BAS/BAS_Thread.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/list/ZEL_ParmPlacesPrivate.h>
#include <ZEL/migration/ZEL_SwitcherMirrorPrivate.h>
#include <ZEL/support/ZEL_LoadScopePrivate.h>

#include <memory>
#include <new>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace
{

/// Throws rather than return an empty one when memory runs out: a parameter whose token isn't in a
/// set is removed.
KIT_StringHolder tokenOf(const ZEL_Parm &parm)
{
    const BAS_LostText lost;
    KIT_StringHolder token(parm.getTokenRef());
    lost.check();
    return token;
}

/// Brings a multi-parameter's items up to its count at that time; messages about it are dropped.
void updateItems(const ZEL_Parm &parm, double time)
{
    const int thread = BASgetSTID();
    const ZEL_AutoBlockErrors block(thread);
    int count = 0;
    parm.getValue(time, count, 0, thread);
}

/// The tokens of all items of a multi-parameter, nested ones too.
template <class Tokens>
void addItemTokens(const ZEL_ParmList &list, const ZEL_Parm &parm, double time, Tokens &tokens)
{
    updateItems(parm, time);
    const ZEL_Multi *multi = parm.asMulti();
    const int children = multi->getMultiParmInstancesPerItem();
    for (int item = 0; children > 0 && item < multi->getMultiParmNumItems(); ++item) {
        for (int child = 0; child < children; ++child) {
            const KIT_StringHolder token(multi->getMultiParmToken(child, item));
            tokens.insert(token);
            const ZEL_Parm *nested = list.getParmPtr(token);
            if (nested && nested->isMultiParm() && nested->getMultiParmOwner() == multi) {
                addItemTokens(list, *nested, time, tokens);
            }
        }
    }
}

/// The parameter itself, or the outermost multi-parameter that it belongs to.
const ZEL_Parm &outermostOf(const ZEL_Parm &parm)
{
    const ZEL_Parm *top = &parm;
    while (const ZEL_Multi *owner = top->getMultiParmOwner()) {
        top = owner->getParm();
    }
    return *top;
}

} // namespace

class ZEL_ParmList::TokenSet : public std::unordered_set<KIT_StringHolder, KIT_StringRefHash>
{};

// ---------------------------------------------------------------------- //
// Many removals at once
// ---------------------------------------------------------------------- //

/// While it lives, parameters that others replace stay at their indices, marked. The destructor
/// removes what is marked in one pass: one by one, each would move the array and renumber the names.
class ZEL_ParmList::DeferredRemovals
{
public:
    explicit DeferredRemovals(ZEL_ParmList &list) : myList(list) { myList.myDeferRemovals = true; }
    ~DeferredRemovals()
    {
        myList.myDeferRemovals = false;
        try {
            prepare();
        } catch (const std::bad_alloc &) {
            removeOneByOne();
            return;
        }
        removeAll();
    }
    DeferredRemovals(const DeferredRemovals &) = delete;
    DeferredRemovals &operator=(const DeferredRemovals &) = delete;

    /// Notifies the owner of each that is marked. An owner that throws is notified of no more.
    void notifyOwner() const;

private:
    bool isLeaving(int index) const
    {
        const ZEL_Parm *parm = myList.getParmPtr(index);
        return parm && parm->getInstance() && parm->getInstance()->isLeaving();
    }
    void prepare();
    void removeOneByOne() const;
    void removeAll();
    void destroy(ZEL_Parm *parm) const;

    ZEL_ParmList &myList;
    std::vector<ZEL_Parm *> myLeaving;
    std::vector<std::int32_t> myIndices; // of those
    std::vector<std::int32_t> myPlaces;  // each parameter's new index, -1 for one that leaves
    std::unordered_map<const ZEL_Multi *, int> myItemParms; // how many of its parameters leave
};

/// From the last to the first, so that an owner that counts along has the index of each.
void ZEL_ParmList::DeferredRemovals::notifyOwner() const
{
    const ZEL_Multi::KeepItems keep;
    for (int i = myList.getEntries(); myList.myOwner && i-- > 0;) {
        if (isLeaving(i)) {
            myList.myOwner->parmRemoved(i);
        }
    }
}

void ZEL_ParmList::DeferredRemovals::prepare()
{
    const int count = myList.getEntries();
    for (int i = 0; i < count; ++i) {
        if (isLeaving(i)) {
            ZEL_Parm *parm = myList.getParmPtr(i);
            myLeaving.push_back(parm);
            myIndices.push_back(i);
            if (const ZEL_Multi *multi = parm->getMultiParmOwner()) {
                ++myItemParms[multi];
            }
        }
    }
    myPlaces.resize(myLeaving.empty() ? 0 : std::size_t(count));
}

void ZEL_ParmList::DeferredRemovals::removeOneByOne() const
{
    for (int i = myList.getEntries(); i-- > 0;) {
        // Items may have been removed together with their multi-parameter.
        if (isLeaving(i)) {
            myList.takeOut(i);
        }
    }
}

void ZEL_ParmList::DeferredRemovals::removeAll()
{
    myList.takeOutAll(myIndices, myPlaces);
    // Items first: their descriptions are their multi-parameter's.
    for (const bool itemsFlag : {true, false}) {
        for (auto at = myLeaving.rbegin(); at != myLeaving.rend(); ++at) {
            if (*at && bool((*at)->getMultiParmOwner()) == itemsFlag) {
                destroy(std::exchange(*at, nullptr));
            }
        }
    }
}

void ZEL_ParmList::DeferredRemovals::destroy(ZEL_Parm *parm) const
{
    const ZEL_OwnedParm owned(parm);
    ZEL_Multi *multi = parm->asMulti();
    if (!multi) {
        return;
    }
    // Those that still exist have lost their names: they are looked for in the whole list.
    const auto gone = myItemParms.find(multi);
    const int all = multi->getMultiParmNumItems() * multi->getMultiParmInstancesPerItem();
    if ((gone == myItemParms.end() ? 0 : gone->second) == all) {
        multi->forgetItems();
    } else {
        multi->destroyChildParms();
    }
}

/// Marks a parameter, and a multi-parameter's items, as removed when the present rebuild or load ends.
void ZEL_ParmList::retireParm(ZEL_Parm &parm)
{
    if (parm.getInstance()->isLeaving()) {
        return;
    }
    parm.clearAndDestroyChannels(false);
    parm.getInstance()->setLeaving(true);
    const ZEL_Multi *multi = parm.asMulti();
    const int items =
        multi ? multi->getMultiParmNumItems() * multi->getMultiParmInstancesPerItem() : 0;
    for (int flat = 0; flat < items; ++flat) {
        ZEL_Parm *item = multi->getParm(flat);
        if (item && item->getMultiParmOwner() == multi) {
            retireParm(*item);
        }
    }
}

/// The parameter of that token, unless it is about to be removed.
ZEL_Parm *ZEL_ParmList::findStayingParm(const KIT_StringRef &token, int &index)
{
    ZEL_Parm *parm = getParmPtr(token, index);
    return parm && parm->getInstance() && parm->getInstance()->isLeaving() ? nullptr : parm;
}

// ---------------------------------------------------------------------- //
// One parameter
// ---------------------------------------------------------------------- //

/// The next one. Null for a template whose basic type is unknown: nothing could ever find or remove
/// the parameter.
ZEL_Parm *ZEL_ParmList::createSpareParm(ZEL_ParmPlaces &places)
{
    ZEL_OwnedParm made = places.make(this);
    if (!made->getInstance()) {
        return nullptr;
    }
    made->setSpareParm(true);
    ZEL_Parm *parm = made.get();
    appendParm(made.release());
    return parm;
}

/// Notifies readers of a parameter that will change or be removed while the parameter still exists.
void ZEL_ParmList::announceSpareChanges(ZEL_Template *templates, bool forceCopy)
{
    TokenSet kept;
    for (ZEL_Template *at = templates; !at->isTerminator(); ++at) {
        ZEL_Parm *parm = getParmPtr(at->getTokenRef());
        if (parm && parm->getInstance() &&
            parm->getType().getBasicType() == at->getType().getBasicType() &&
            parm->getVectorSize() == at->getVectorSize() &&
            shouldCopyOnAdopt(*at, *parm, forceCopy)) {
            kept.insert(tokenOf(*parm));
        }
    }
    // Reading a count may remove items, and an event handler may change the list: look up again
    // each time.
    std::vector<KIT_StringHolder> changing;
    for (const ZEL_Parm *parm : myParms) {
        if (parm && parm->isSpareParm() && kept.count(tokenOf(*parm)) == 0) {
            changing.push_back(tokenOf(*parm));
        }
    }
    for (const KIT_StringHolder &token : changing) {
        constexpr bool sendEvent = true;
        constexpr bool updateMulti = true;
        ZEL_Parm *parm = getParmPtr(token);
        if (parm && parm->isSpareParm()) {
            parm->privateValueChanged(-1, sendEvent, updateMulti);
        }
    }
}

/// Of a parameter and its replacement that couldn't take its state over, keeps the old one; but the
/// new one if it is a multi-parameter that already has items of the old one.
void ZEL_ParmList::keepOneOf(ZEL_Parm &old, int oldIndex, ZEL_Parm &made)
{
    if (myParms.last() != &made) {
        removeReplacedParm(&old, oldIndex);
        return;
    }
    for (int i = 0; i < made.getVectorSize(); ++i) {
        TRK_Channel *channel = made.getChannel(i);
        if (channel && i < old.getVectorSize() && !old.getChannel(i) &&
            channel->getName() == old.getChannelToken(i)) {
            old.getInstance()->setChannel(i, channel);
            made.getInstance()->setChannel(i, nullptr);
        }
    }
    const ZEL_OwnedParm dropped(&made);
    unregisterLastParm();
    countChanges();
}

/// Creates the new parameter; null if the description creates none.
ZEL_Parm *ZEL_ParmList::remakeSpareParm(const ZEL_Template &description, ZEL_ParmPlaces &places,
                                        bool forceCopy, double time, bool notify)
{
    int oldIndex = -1;
    ZEL_Parm *old = findStayingParm(description.getTokenRef(), oldIndex);
    if (old && !old->getInstance()->getDefaultsInitFlag()) {
        // A token occurs twice in the set: without its defaults, the first one's zeros would pass
        // for values.
        constexpr bool deleteChannels = false;
        old->getInstance()->revertToDefaults(deleteChannels);
        old = findStayingParm(description.getTokenRef(), oldIndex);
    }
    ZEL_Parm *parm = createSpareParm(places);
    if (!parm) {
        return nullptr;
    }
    if (old) {
        try {
            // While it still has its channels: the target keeps the value that it shows at that
            // time.
            ZEL_SwitcherMirror(*this, *old).undo(time, notify);
            adoptParm(*parm, *old, forceCopy);
        } catch (...) {
            keepOneOf(*old, oldIndex, *parm);
            throw;
        }
        removeReplacedParm(old, oldIndex);
    }
    ZEL_SwitcherMirror(*this, *parm).setUp(time, notify);
    return parm;
}

void ZEL_ParmList::removeSpareParm(ZEL_Parm &parm, int index, double time, bool notify)
{
    const KIT_StringHolder token = tokenOf(parm);
    if (myOwner) {
        const ZEL_Multi::KeepItems keep;
        myOwner->spareParmRemoved(token.c_str());
    }
    ZEL_SwitcherMirror(*this, parm).undo(time, notify);
    parm.clearAndDestroyChannels(false);
    if (myOwner) {
        myOwner->parmRemoved(index);
    }
    parm.getInstance()->setLeaving(true);
}

ZEL_Parm *ZEL_ParmList::addSpareParm(ZEL_Template &description)
{
    if (description.isTerminator() || getParmIndex(description.getTokenRef()) >= 0) {
        return nullptr;
    }
    const bool notify = !isLoading();
    const ZEL_LoadScope loading;
    ZEL_ParmPlaces places(&description, 1);
    ZEL_Parm *parm = createSpareParm(places);
    if (!parm) {
        return nullptr;
    }
    try {
        ZEL_SwitcherMirror(*this, *parm).setUp(getEvalTime(BASgetSTID()), notify);
        parm->reloadChannelPtrs();
        if (!parm->getInstance()->getDefaultsInitFlag()) {
            constexpr bool deleteChannels = false;
            parm->getInstance()->revertToDefaults(deleteChannels);
        }
    } catch (...) {
        removeReplacedParm(parm, getEntries() - 1);
        throw;
    }
    return parm;
}

// ---------------------------------------------------------------------- //
// The set
// ---------------------------------------------------------------------- //

/// Makes the parameters of a set and removes those that they replace; adds their tokens and those of
/// their items to `wanted`.
void ZEL_ParmList::remakeSpareParms(ZEL_Template *templates, bool forceCopy, double time,
                                    bool notify, TokenSet &wanted)
{
    const DeferredRemovals removals(*this);
    try {
        makeSpareParms(templates, forceCopy, time, notify, wanted);
    } catch (...) {
        removals.notifyOwner();
        throw;
    }
    removals.notifyOwner();
}

void ZEL_ParmList::makeSpareParms(ZEL_Template *templates, bool forceCopy, double time, bool notify,
                                  TokenSet &wanted)
{
    ZEL_ParmPlaces places(templates, ZEL_Template::countTemplates(templates));
    for (ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        const ZEL_Parm *present = getParmPtr(at->getTokenRef());
        if (present && !present->isSpareParm()) {
            places.skip();
            continue;
        }
        if (const ZEL_Parm *parm = remakeSpareParm(*at, places, forceCopy, time, notify)) {
            wanted.insert(tokenOf(*parm));
            if (parm->isMultiParm()) {
                addItemTokens(*this, *parm, time, wanted);
            }
        }
    }
}

void ZEL_ParmList::removeUnwantedSpareParms(const TokenSet &wanted, double time, bool notify)
{
    const DeferredRemovals removals(*this);
    const ZEL_Multi::KeepItems keep;
    // Items follow their multi-parameter and are removed before it. One that stays may have got
    // items since its tokens were noted, from an event handler.
    for (int i = getEntries(); i-- > 0;) {
        ZEL_Parm *parm = getParmPtr(i);
        if (parm && parm->isSpareParm() && wanted.count(tokenOf(*parm)) == 0 &&
            wanted.count(tokenOf(outermostOf(*parm))) == 0) {
            removeSpareParm(*parm, i, time, notify);
        }
    }
}

void ZEL_ParmList::updateSpareParmTemplates(ZEL_Template *templates, bool forceCopy)
{
    const bool notify = !isLoading();
    const ZEL_LoadScope loading;
    const double time = getEvalTime(BASgetSTID());
    if (notify && templates) {
        announceSpareChanges(templates, forceCopy);
    }
    TokenSet wanted;
    remakeSpareParms(templates, forceCopy, time, notify, wanted);
    removeUnwantedSpareParms(wanted, time, notify);
    constexpr bool deleteChannels = false;
    reloadChannelPtrs();
    buildDelayedDefaults(deleteChannels);
}
