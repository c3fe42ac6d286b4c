// The list's part in multi-parameters: it holds the items' parameters, and moves aliases.

#include <ZEL/ZEL_ParmList.h>

#include <KIT/KIT_Error.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/list/ZEL_KindPrivate.h>
#include <ZEL/list/ZEL_ParmPlacesPrivate.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace
{

ZEL_Multi *asMulti(ZEL_Parm *parm)
{
    return parm ? parm->asMulti() : nullptr;
}

/// Whether a new parameter of the same token may replace this one. Parameters of the node type's
/// own templates stay, and so do the multi-parameter that is adding the item and those that contain
/// it.
bool canGiveWay(const ZEL_Parm &parm, const ZEL_Multi &multi)
{
    for (const ZEL_Multi *level = &multi; level; level = level->getMultiParmOwner()) {
        if (level->getParm() == &parm) {
            return false;
        }
    }
    return parm.isSpareParm() || parm.getMultiParmOwner();
}

/// Reports that an item of the multi-parameter is without the child.
void reportMissingChild(const ZEL_Parm &child, const ZEL_Multi &multi)
{
    KIT_WorkBuffer text;
    text.append(child.getToken());
    text.append(" of ");
    text.append(multi.getToken());
    KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_CHILD_MISSING, text.buffer());
}

/// The multi-parameter that loses a child to an item of `successor`; null if the child is left over
/// from a multi-parameter that `successor` replaces.
const ZEL_Multi *findLoser(const ZEL_Parm &child, const ZEL_Multi &successor)
{
    const ZEL_Multi *owner = child.getMultiParmOwner();
    const bool isReplaced =
        !owner || owner->getParmList() != successor.getParmList() ||
        (owner != &successor && owner->getTokenRef() == successor.getTokenRef());
    return isReplaced ? nullptr : owner;
}

/// The parameter created from a description; null if another one has its name.
ZEL_Parm *findDescribed(ZEL_ParmList &list, const ZEL_Template &description)
{
    ZEL_Parm *parm = list.getParmPtr(description.getTokenRef());
    return parm && parm->getTemplatePtr() == &description ? parm : nullptr;
}

bool hasAlias(const ZEL_Parm &parm, int index)
{
    return parm.getChannelAlias(index) != parm.getChannelToken(index);
}

} // namespace

// ---------------------------------------------------------------------- //
// The parameters of an item
// ---------------------------------------------------------------------- //

/// Appends a new parameter, replacing one with the same token; null if that one must stay. `isNew`
/// is set if no older parameter passed on its state.
ZEL_Parm *ZEL_ParmList::placeMultiParm(ZEL_OwnedParm made, const ZEL_Multi &multi, bool &isNew)
{
    int oldIndex = -1;
    ZEL_Parm *parm = made.get();
    ZEL_Parm *old = findStayingParm(parm->getTemplatePtr()->getTokenRef(), oldIndex);
    if (old && (!old->getInstance() || !canGiveWay(*old, multi))) {
        reportMissingChild(*parm, multi);
        return nullptr;
    }
    if (const ZEL_Multi *loser = old ? findLoser(*old, multi) : nullptr) {
        reportMissingChild(*old, *loser);
    }
    appendParm(made.release());
    if (old) {
        constexpr bool forceCopy = true;
        adoptParm(*parm, *old, forceCopy);
        removeReplacedParm(old, oldIndex);
    } else {
        isNew = !adoptFromOldList(*parm);
    }
    return parm;
}

void ZEL_ParmList::reserveParms(std::int64_t parms, std::int64_t components)
{
    // Reserve up to a bound: a hostile count shouldn't allocate before its parameters exist.
    constexpr std::int64_t theMost = std::int64_t(1) << 20;
    const auto entries = [&](const ZEL_NameTable &table, std::int64_t more) {
        return std::uint32_t(table.entries() + std::min(more, theMost));
    };
    myInstanceTokens.reserve(entries(myInstanceTokens, parms));
    myInstanceChannels.reserve(entries(myInstanceChannels, components));
    makeRoom(int(std::clamp<std::int64_t>(parms, 0, theMost)));
}

void ZEL_ParmList::makeRoom(int parms)
{
    if (myParms.size() + parms > myParms.capacity()) {
        myParms.setCapacity(std::max(myParms.size() + parms, KITbumpAlloc(myParms.capacity())));
    }
}

/// The parameters of one item while they are added to the list, one per description.
class ZEL_ParmList::ItemParms
{
public:
    ItemParms(ZEL_ParmList &list, const ZEL_Multi &multi, ZEL_Template *templates, int count,
              bool spare)
        : myList(list), myMulti(multi), myTemplates(templates),
          myEntries(std::size_t(std::max(count, 0))), mySpareFlag(spare)
    {}

    void makeAll();
    void placeAll(const KIT_ValArray<int> &instances);
    void giveDefaults();
    void appendNew(KIT_ValArray<ZEL_Parm *> &created) const;

private:
    struct Entry
    {
        ZEL_OwnedParm made;       // until it is placed
        ZEL_Parm *parm = nullptr; // null for a child that was left out
        bool isNew = false;
    };

    ZEL_Parm *findPresent(std::size_t i) const;

    ZEL_ParmList &myList;
    const ZEL_Multi &myMulti;
    ZEL_Template *myTemplates;
    std::vector<Entry> myEntries;
    std::uint32_t myExpectedChanges = 0;
    bool mySpareFlag;
};

void ZEL_ParmList::ItemParms::makeAll()
{
    ZEL_ParmPlaces own(1);
    ZEL_ParmPlaces &places = myList.myItemPlaces ? *myList.myItemPlaces : own;
    places.begin(myTemplates, int(myEntries.size()));
    for (Entry &entry : myEntries) {
        ZEL_OwnedParm made = places.make(&myList);
        // None for a template whose basic type is unknown: nothing could ever find or remove it.
        if (made->getInstance()) {
            made->setSpareParm(mySpareFlag);
            made->setMultiParmOwner(&myMulti);
            entry.made = std::move(made);
        }
    }
}

void ZEL_ParmList::ItemParms::placeAll(const KIT_ValArray<int> &instances)
{
    myExpectedChanges = myList.myAddRemoveCount;
    for (Entry &entry : myEntries) {
        if (entry.made) {
            entry.parm = myList.placeMultiParm(std::move(entry.made), myMulti, entry.isNew);
        }
        if (!entry.parm) {
            continue;
        }
        ++myExpectedChanges;
        if (ZEL_Multi *nested = entry.parm->asMulti()) {
            nested->setInstanceIndex(instances);
        }
    }
}

/// A later child, or an item that one of them creates, may have replaced a parameter: after any
/// other change to the list, look each one up again.
ZEL_Parm *ZEL_ParmList::ItemParms::findPresent(std::size_t i) const
{
    ZEL_Parm *parm = myEntries[i].parm;
    return parm && myList.myAddRemoveCount != myExpectedChanges
               ? findDescribed(myList, myTemplates[i])
               : parm;
}

void ZEL_ParmList::ItemParms::giveDefaults()
{
    for (std::size_t i = 0; i < myEntries.size(); ++i) {
        ZEL_Parm *parm = findPresent(i);
        if (!parm) {
            continue;
        }
        ZEL_Instance &instance = *parm->getInstance();
        if (!instance.getDefaultsInitFlag() && !ZEL_Kind::copyNumberDefaults(instance)) {
            constexpr bool deleteChannels = false;
            instance.revertToDefaults(deleteChannels);
        }
        if (mySpareFlag) {
            parm->reloadChannelPtrs();
        }
    }
}

void ZEL_ParmList::ItemParms::appendNew(KIT_ValArray<ZEL_Parm *> &created) const
{
    for (std::size_t i = 0; i < myEntries.size(); ++i) {
        ZEL_Parm *parm = myEntries[i].isNew ? findPresent(i) : nullptr;
        if (parm) {
            created.append(parm);
        }
    }
}

void ZEL_ParmList::appendMultiParms(const ZEL_Multi &multi, ZEL_Template *templates, int count,
                                    bool spare, const KIT_ValArray<int> &instances,
                                    KIT_ValArray<ZEL_Parm *> &created)
{
    makeRoom(count);
    ItemParms parms(*this, multi, templates, count, spare);
    // Create all children before appending any: the atomic reference-count increment in append
    // drains the store buffer, so interleaving the two would stall once per child.
    parms.makeAll();
    parms.placeAll(instances);
    parms.giveDefaults();
    parms.appendNew(created);
    countChanges();
}

// ---------------------------------------------------------------------- //
// Items added and removed, with the aliases of those that move
// ---------------------------------------------------------------------- //

void ZEL_ParmList::insertMultiParmItem(int parmIndex, int item)
{
    ZEL_Parm *parm = getParmPtr(parmIndex);
    const ZEL_Multi *multi = asMulti(parm);
    if (!multi) {
        return;
    }
    const int before = multi->getNumItemsInUse();
    item = std::clamp(item, 0, before);
    constexpr bool notify = true;
    parm->insertMultiParmItem(item, notify);
    // Locked, or full: nothing was added.
    if (multi->getNumItemsInUse() <= before) {
        return;
    }
    const bool hasChildren = multi->getMultiParmInstancesPerItem() > 0;
    for (int i = before - 1; i >= item && hasChildren; --i) {
        moveMultiParmAlias(parmIndex, i, true);
    }
}

void ZEL_ParmList::removeMultiParmItem(int parmIndex, int item)
{
    ZEL_Parm *parm = getParmPtr(parmIndex);
    const ZEL_Multi *multi = asMulti(parm);
    if (!multi) {
        return;
    }
    const int items = multi->getNumItemsInUse();
    const bool moves = multi->getMultiParmInstancesPerItem() > 0 && item >= 0 && item < items &&
                       !multi->isAtHardMinimum() && !multi->areAllComponentsLocked();
    for (int i = item + 1; moves && i < items; ++i) {
        moveMultiParmAlias(parmIndex, i, false);
    }
    constexpr bool notify = true;
    parm->removeMultiParmItem(item, notify);
}

void ZEL_ParmList::moveMultiParmAlias(int parmIndex, int item, bool up)
{
    const ZEL_Multi *multi = asMulti(getParmPtr(parmIndex));
    const int children = multi ? multi->getMultiParmInstancesPerItem() : 0;
    for (int child = children; child-- > 0;) {
        ZEL_Parm *source = multi->getParm(item * children + child);
        ZEL_Parm *target = multi->getParm((up ? item + 1 : item - 1) * children + child);
        if (!source || !target) {
            continue;
        }
        for (int i = std::min(source->getVectorSize(), target->getVectorSize()); i-- > 0;) {
            if (!hasAlias(*source, i)) {
                if (hasAlias(*target, i) || target->getChannel(i)) {
                    setChannelAlias(target, i, KIT_StringHolder::theEmptyString);
                }
                continue;
            }
            const KIT_StringHolder alias = source->getChannelAlias(i);
            setChannelAlias(source, i, KIT_StringHolder::theEmptyString);
            setChannelAlias(target, i, alias);
        }
    }
}

bool ZEL_ParmList::checkMultiParmInstance(const KIT_StringRef &name, bool evaluateChildren)
{
    // Most unknown names contain no digit, and a list may hold many parameters.
    const char *text = name.c_str();
    if (!text || !text[std::strcspn(text, "0123456789")]) {
        return false;
    }
    for (int i = 0; i < getEntries(); ++i) {
        ZEL_Multi *multi = asMulti(myParms[i]);
        int number = -1;
        if (multi && !multi->isLeaving() && multi->matchInstancePattern(text, number)) {
            growToNumber(*multi, number, evaluateChildren);
            return true;
        }
    }
    return false;
}

/// Up to the item with that number in its name, if the input may.
void ZEL_ParmList::growToNumber(ZEL_Multi &multi, int number, bool evaluateChildren)
{
    const std::int64_t item = std::int64_t(number) - multi.getMultiStartOffset();
    const std::int64_t wanted = item + 1;
    const std::int64_t missing = wanted - multi.getMultiParmNumItems();
    if (item >= 0 && missing > 0 && ZEL_InputBudget::allow(multi.requestFor(wanted)) &&
        wanted <= std::numeric_limits<int>::max()) {
        multi.setValue(0.0, int(wanted), false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        multi.setNumInstances(int(wanted), evaluateChildren);
    }
}
