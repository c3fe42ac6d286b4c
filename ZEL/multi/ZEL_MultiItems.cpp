// The items of a multi-parameter: created, removed, and copied to each other.

#include <ZEL/ZEL_Multi.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_LostText.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/list/ZEL_KindPrivate.h>
#include <ZEL/list/ZEL_ParmPlacesPrivate.h>
#include <ZEL/multi/ZEL_MultiChangingPrivate.h>
#include <ZEL/support/ZEL_InstanceMarksPrivate.h>
#include <ZEL/templates/ZEL_TemplateSpecPrivate.h>

#include <algorithm>
#include <limits>
#include <new>
#include <unordered_set>

namespace
{

constexpr double theTime = 0.0;
constexpr bool theKeepExpression = false;

/// While it lives, reverting removes channels.
class DestructiveRevert
{
public:
    DestructiveRevert() : myBefore(ZEL_Parm::getDestructiveRevertToDefaultFlag())
    {
        ZEL_Parm::setDestructiveRevertToDefaultFlag(true);
    }
    ~DestructiveRevert() { ZEL_Parm::setDestructiveRevertToDefaultFlag(myBefore); }
    DestructiveRevert(const DestructiveRevert &) = delete;
    DestructiveRevert &operator=(const DestructiveRevert &) = delete;

private:
    bool myBefore;
};

void assignComponent(const ZEL_Parm &from, ZEL_Instance &to, int index)
{
    const TRK_Channel *source = from.getChannel(index);
    if (source && !to.getChannel(index)) {
        to.addChannel(to.getChannelToken(index));
    } else if (!source) {
        to.removeChannel(index);
    }
    TRK_Channel *target = to.getChannel(index);
    if (source && target) {
        target->copyContents(*source);
        to.setDirtyFlags(index);
    } else {
        ZEL_Kind::find(from.getType())
            .assignComponent({theTime, from, index, to, index, theKeepExpression,
                              ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE, BASgetSTID()});
    }
}

void assignParm(const ZEL_Parm &from, ZEL_Instance &to)
{
    const int size = std::min(from.getVectorSize(), to.getVectorSize());
    for (int i = 0; i < size; ++i) {
        // Setting a flag also marks it as one to save.
        if (to.getAutoScopedFlag(i) != from.getAutoScopedFlag(i)) {
            to.setAutoScopedFlag(i, from.getAutoScopedFlag(i));
        }
        if (to.getAutoSelectFlag(i) != from.getAutoSelectFlag(i)) {
            to.setAutoSelectFlag(i, from.getAutoSelectFlag(i));
        }
        assignComponent(from, to, i);
        to.setLockedFlag(i, from.getLockedFlag(i));
    }
}

void assignChild(const ZEL_Parm *from, ZEL_Parm *to)
{
    if (!from || !to || from == to || !from->getInstance() || !to->getInstance() ||
        from->isMultiParm() != to->isMultiParm() ||
        from->getType().getBasicType() != to->getType().getBasicType()) {
        return;
    }
    if (ZEL_Multi *multi = to->asMulti()) {
        multi->copy(from->asMulti());
    } else {
        assignParm(*from, *to->getInstance());
    }
}

/// Items that come one by one find room for as many again, or each would move those before it.
template <class Entries>
void reserveMore(Entries &entries, std::size_t more)
{
    const std::size_t wanted = entries.size() + more;
    if (wanted > entries.capacity()) {
        entries.reserve(std::max(wanted, 2 * entries.capacity()));
    }
}

/// Whether items differ in a default's text.
bool hasMarkedText(const ZEL_Template &child)
{
    const ZEL_Default *defaults = child.getFactoryDefaults();
    for (int i = 0; defaults && i < child.getVectorSize(); ++i) {
        if (ZELcountMarks(defaults[i].getString()) > 0) {
            return true;
        }
    }
    return false;
}

} // namespace

// -------------------------------------------------------------------------- //
// The number of items
// -------------------------------------------------------------------------- //

void ZEL_Multi::setNumInstances(int count, bool evaluateChildren)
{
    count = std::max(count, 0);
    if (count == myNumItems || myBusy || !getParmList() || mustWait(count)) {
        return;
    }
    if (count > myNumItems) {
        settle(count);
    }
    if (count == myNumItems || mustWait(count) || leaveLate(count)) {
        return;
    }
    {
        const Changing changing(*this);
        // An item that has to wait is still wanted.
        if (!grow(count, evaluateChildren) && !mayHaveToWait()) {
            setCount(myNumItems);
        }
        shrink(count);
    }
    notifyChanged();
}

bool ZEL_Multi::grow(int count, bool evaluateChildren)
{
    if (myInstancesPerItem == 0) {
        // Items without children are only a number.
        myNumItems = std::max(myNumItems, count);
        return true;
    }
    // Flat indices are ints.
    const int most = std::numeric_limits<int>::max() / myInstancesPerItem;
    if (myNumItems < count) {
        const ZEL_Template *block = getMultiParmTemplate();
        std::int64_t components = 0;
        for (int child = 0; child < myInstancesPerItem; ++child) {
            components += block[child].getVectorSize();
        }
        const std::int64_t items = std::int64_t(count) - myNumItems;
        getParmList()->reserveParms(items * myInstancesPerItem, items * components);
        reserveItems(items);
    }
    const ZEL_ItemPlaces places(getParmList()->myItemPlaces, count - myNumItems);
    while (myNumItems < count) {
        if (myNumItems >= most || !addInstance(myNumItems, evaluateChildren)) {
            return false;
        }
    }
    return true;
}

/// A bounded number: a hostile count shouldn't allocate before its items exist.
void ZEL_Multi::reserveItems(std::int64_t more)
{
    constexpr std::int64_t theMost = std::int64_t(1) << 20;
    const auto items = std::size_t(std::min(more, theMost));
    const auto children = std::size_t(std::min(more * myInstancesPerItem, theMost));
    reserveMore(myItemTemplates, items);
    reserveMore(myChildren, children);
}

void ZEL_Multi::shrink(int count)
{
    if (myInstancesPerItem == 0) {
        myNumItems = std::min(myNumItems, count);
        return;
    }
    countLeaving();
    // Those at the list's end leave one by one and move nothing; the rest leaves together once they do.
    constexpr std::int64_t theFewMoves = 8;
    const std::int64_t movesBefore = getParmList()->myNumMoved;
    bool searched = false, enoughMemory = true;
    while (myNumItems > count) {
        const bool together = enoughMemory && getParmList()->myNumMoved - movesBefore > theFewMoves;
        LeavingItems leaving(*this, together ? count : myNumItems - 1);
        bool complete = false;
        try {
            complete = together ? getParmList()->removeItemParms(*this, myNumItems, leaving.end())
                                : removeParms(myNumItems);
        } catch (const std::bad_alloc &) {
            if (!together) {
                throw;
            }
            BASnoteFailedAllocation();
            enoughMemory = false;
            continue;
        }
        if (!complete && !searched) {
            removeStrayParms(count, leaving.end() - 1);
            searched = true;
        }
        leaving.forget();
    }
}

void ZEL_Multi::notifyChanged() const
{
    if (ZEL_ParmOwner *owner = getParmOwner()) {
        const KeepItems keep;
        owner->multiInstancesChanged();
    }
}

void ZEL_Multi::destroyChildParms()
{
    if (myNumItems == 0 && myLeavingEnd == 0) {
        return;
    }
    if (getParmList()->doAllChildrenFollow()) {
        // The list is destroyed from its end: they are gone, and looking for them is a miss for each.
        forgetItems();
        return;
    }
    {
        const Changing changing(*this);
        shrink(0);
    }
    notifyChanged();
}

void ZEL_Multi::forgetItems()
{
    if (myNumItems == 0 && myLeavingEnd == 0) {
        return;
    }
    {
        const Changing changing(*this);
        myNumItems = 0;
        myLeavingEnd = 0;
        cutItems();
    }
    notifyChanged();
}

// -------------------------------------------------------------------------- //
// Making an item
// -------------------------------------------------------------------------- //

void ZEL_Multi::instanceNumbers(int item, KIT_ValArray<int> &numbers) const
{
    if (myInstanceIndex) {
        numbers = *myInstanceIndex;
    }
    const std::int64_t number = std::int64_t(getMultiStartOffset()) + item;
    numbers.append(int(std::min<std::int64_t>(number, std::numeric_limits<int>::max())));
}

/// An item under construction; the destructor removes what exists of it unless it is kept.
class ZEL_Multi::NewItem
{
public:
    explicit NewItem(ZEL_Multi &multi) : myMulti(multi) {}
    ~NewItem()
    {
        if (!myKeptFlag) {
            myMulti.abandonItem();
        }
    }
    NewItem(const NewItem &) = delete;
    NewItem &operator=(const NewItem &) = delete;

    void keep() { myKeptFlag = true; }

private:
    ZEL_Multi &myMulti;
    bool myKeptFlag = false;
};

bool ZEL_Multi::addInstance(int item, bool)
{
    NewItem newItem(*this);
    const BAS_LostText lost;
    KIT_ValArray<int> numbers;
    instanceNumbers(item, numbers);
    makeNames(numbers);
    myItemTemplates.push_back(std::make_unique<ZEL_Template[]>(std::size_t(myInstancesPerItem)));
    ZEL_Template *made = myItemTemplates.back().get();
    const ZEL_Template *block = getMultiParmTemplate();
    const std::size_t first = flatIndex(item, 0);
    for (int child = 0; child < myInstancesPerItem; ++child) {
        describeChild(made[child], block[child], myChildren[first + std::size_t(child)], numbers);
        getParmList()->prefetchChannels(made[child]);
    }
    lost.check();
    // A load skips the check for speed: appending the parameters resolves clashes.
    if (ZEL_ParmList::isLoading() ? mayHaveToWait() && wouldReplace(made) : !acceptNames()) {
        return false;
    }
    KIT_ValArray<ZEL_Parm *> created;
    getParmList()->appendMultiParms(*this, made, myInstancesPerItem, isSpareParm(), numbers,
                                    created);
    // From here on the item exists, also for the owner, which is notified of it below.
    newItem.keep();
    ++myNumItems;
    ZEL_ParmOwner *owner = getParmOwner();
    if (owner && !created.isEmpty()) {
        const KeepItems keep;
        owner->multiItemCreated(created);
    }
    if (getTemplatePtr()->isRampType() && !getDefaultsInitFlag()) {
        setRampInstanceToDefaultValue(item, created);
    }
    return true;
}

/// Whether new items could replace parameters in use, as they do in a load.
bool ZEL_Multi::mayHaveToWait()
{
    return ZEL_ParmList::isLoading() && areItemsKept();
}

/// Whether an item with these descriptions would take over the name of a parameter of this list.
/// Those of another list are there while this one is being made of it.
bool ZEL_Multi::wouldReplace(const ZEL_Template *made) const
{
    ZEL_ParmList *list = getParmList();
    return std::any_of(made, made + myInstancesPerItem, [list](const ZEL_Template &child) {
        int at = -1;
        const ZEL_Parm *old = list->findStayingParm(child.getTokenRef(), at);
        const ZEL_Multi *owner = old ? old->getMultiParmOwner() : nullptr;
        return owner ? owner->getParmList() == list : old && old->isSpareParm();
    });
}

void ZEL_Multi::makeNames(const KIT_ValArray<int> &numbers)
{
    const ZEL_Template *block = getMultiParmTemplate();
    for (int child = 0; child < myInstancesPerItem; ++child) {
        auto name = std::make_unique<ZEL_Name>(*block[child].getNamePtr());
        name->instance(numbers);
        getParmList()->prefetchToken(name->getTokenRef());
        myChildren.push_back({std::move(name), nullptr, nullptr, myDefaultStrings.size()});
    }
}

/// Whether the last item's names can all become parameters.
bool ZEL_Multi::acceptNames() const
{
    ZEL_ParmList *list = getParmList();
    const ZEL_Template *block = getMultiParmTemplate();
    const std::size_t first = myChildren.size() - std::size_t(myInstancesPerItem);
    const auto tokenOf = [&](int child) -> const KIT_StringRef & {
        return myChildren[first + std::size_t(child)].name->getTokenRef();
    };
    // The few names of most blocks are compared faster than they are hashed into a set.
    constexpr int theFew = 16;
    std::unordered_set<KIT_StringHolder, KIT_StringRefHash> tokens;
    const auto isRepeated = [&](int child) {
        if (myInstancesPerItem > theFew) {
            return !tokens.insert(KIT_StringHolder(tokenOf(child))).second;
        }
        int i = 0;
        while (i < child && !(tokenOf(i) == tokenOf(child))) {
            ++i;
        }
        return i < child;
    };
    for (int child = 0; child < myInstancesPerItem; ++child) {
        const KIT_StringRef &token = tokenOf(child);
        int at = -1;
        if (list->findStayingParm(token, at) || isRepeated(child)) {
            KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_EXISTS, token.c_str());
            return false;
        }
        if (block[child].getType().hasAnyOf(ZEL_TYPE_BASEPARM)) {
            KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_BASE_PARM, block[child].getToken());
            return false;
        }
    }
    return true;
}

void ZEL_Multi::describeChild(ZEL_Template &made, const ZEL_Template &child, Child &own,
                              const KIT_ValArray<int> &numbers)
{
    ZEL_ConditionalBase *const conditional = child.getConditionalBasePtr();
    const bool isOwn = conditional && conditional->hasItemNumbers();
    own.conditional.reset(isOwn ? conditional->instance(numbers) : nullptr);
    own.firstText = myDefaultStrings.size();
    ZEL_TemplateSpec content;
    content.exportLevel = child.exportLevel();
    content.name = own.name.get();
    content.defaults = child.getFactoryDefaults();
    content.range = child.getRangePtr();
    content.callback = child.getCallback();
    content.spare = child.getSparePtr();
    content.shareHelp(child);
    content.conditional = isOwn ? own.conditional.get() : conditional;
    if (child.isMultiType()) {
        // The nested block is shared unchanged until that multi-parameter creates its own items.
        content.multiType = child.getMultiType();
        content.items = child.getMultiParmTemplate();
        content.multiSize = child.getMultiSize();
        content.makeMulti(made);
    } else {
        own.defaults = instanceDefaults(child, numbers);
        if (own.defaults) {
            content.defaults = own.defaults.get();
        }
        content.type = &child.getType();
        content.extended = child.getTypeExtended();
        content.vectorSize = child.getVectorSize();
        // For a toggle without its own menu this is the menu that all toggles share.
        content.choices = child.getChoiceListPtr();
        content.parmGroup = child.getParmGroup();
        content.makeParm(made);
    }
}

/// The child's defaults with the instance numbers in their texts; null if the child's can be
/// shared.
std::unique_ptr<ZEL_Default[]> ZEL_Multi::instanceDefaults(const ZEL_Template &child,
                                                           const KIT_ValArray<int> &numbers)
{
    if (!hasMarkedText(child)) {
        return nullptr;
    }
    constexpr bool fillToken = false, repeat = true;
    const int size = child.getVectorSize();
    const ZEL_Default *defaults = child.getFactoryDefaults();
    std::unique_ptr<ZEL_Default[]> copies(new ZEL_Default[std::size_t(size)]);
    for (int i = 0; i < size; ++i) {
        copies[std::size_t(i)] = defaults[i];
        if (ZELcountMarks(defaults[i].getString()) > 0) {
            myDefaultStrings.push_back(std::make_unique<KIT_String>());
            KIT_String &text = *myDefaultStrings.back();
            instanceString(text, KIT_StringRef(defaults[i].getString()), numbers, fillToken,
                           repeat);
            copies[std::size_t(i)].set(defaults[i].getFloat(), text.c_str(),
                                       defaults[i].getStringMeaning());
        }
    }
    return copies;
}

/// The keys of a ramp by default; "" without, and for other blocks.
const char *ZEL_Multi::rampDefaultText() const
{
    const ZEL_Template &description = *getTemplatePtr();
    const ZEL_SpareData *const spare =
        description.isRampType() ? description.getSparePtr() : nullptr;
    const char *text = nullptr;
    if (spare) {
        text = description.isRampTypeColor() ? spare->getColorRampDefaultValue()
                                             : spare->getFloatRampDefaultValue();
    }
    return text ? text : "";
}

void ZEL_Multi::setRampInstanceToDefaultValue(int item, const KIT_ValArray<ZEL_Parm *> &parms)
{
    constexpr int thePartsOfAKey = 3;
    if (parms.size() != thePartsOfAKey) {
        return;
    }
    int count = 0;
    getDefaultValue(count, 0);
    if (*rampDefaultText()) {
        if (item == count - 1) {
            getTemplatePtr()->getSparePtr()->getRampDefaultToParm(*getParm());
        }
        return;
    }
    if (count <= 1) {
        return;
    }
    const double position = double(item) / double(count - 1);
    const auto set = [&](ZEL_Parm *parm, int index) {
        parm->getInstance()->setValue(theTime, position, theKeepExpression, index,
                                      ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    };
    set(parms[0], 0);
    for (int i = 0; i < parms[1]->getVectorSize(); ++i) {
        if (!parms[1]->getChannel(i)) {
            set(parms[1], i);
        }
    }
}

// -------------------------------------------------------------------------- //
// Removing an item
// -------------------------------------------------------------------------- //

/// The child that was made for the item, counted or not; null if it is gone, or its name refers to
/// another parameter by now.
ZEL_Parm *ZEL_Multi::findOwnChild(int item, int child, int &index) const
{
    const ZEL_Template &description = myItemTemplates[std::size_t(item)][std::size_t(child)];
    ZEL_Parm *parm = getParmList()->getParmPtr(description.getTokenRef(), index);
    const bool isOwn =
        parm && parm->getMultiParmOwner() == this && parm->getTemplatePtr() == &description;
    return isOwn ? parm : nullptr;
}

/// Removes an item's parameters from the list. False if one wasn't found.
bool ZEL_Multi::removeParms(int item)
{
    ZEL_ParmList *list = getParmList();
    bool complete = true;
    for (int child = myInstancesPerItem; child-- > 0;) {
        int index = -1;
        if (findOwnChild(item, child, index)) {
            list->removeAndDestroyParm(index);
        } else {
            complete = false;
        }
    }
    return complete;
}

/// No parameter may outlive its description, whatever its name finds now. Removing all items
/// allocates nothing.
void ZEL_Multi::removeStrayParms(int firstItem, int lastItem)
{
    ZEL_ParmList *list = getParmList();
    const bool isAll = firstItem == 0;
    std::unordered_set<const ZEL_Template *> leaving;
    for (int item = firstItem; !isAll && item <= lastItem; ++item) {
        for (int child = 0; child < myInstancesPerItem; ++child) {
            leaving.insert(&myItemTemplates[std::size_t(item)][std::size_t(child)]);
        }
    }
    for (int i = list->getEntries(); i-- > 0;) {
        const ZEL_Parm *parm = list->getParmPtr(i);
        if (parm && parm->getMultiParmOwner() == this &&
            (isAll || leaving.count(parm->getTemplatePtr()) != 0)) {
            list->removeAndDestroyParm(i);
        }
    }
}

/// Frees the descriptions of the items that are no longer counted.
void ZEL_Multi::cutItems()
{
    // An incomplete item has fewer of some.
    const auto cut = [](auto &things, std::size_t size) {
        if (things.size() > size) {
            things.resize(size);
        }
    };
    const std::size_t first = flatIndex(myNumItems, 0);
    // Destroy the templates first: they refer to the rest.
    cut(myItemTemplates, std::size_t(myNumItems));
    if (first < myChildren.size()) {
        cut(myDefaultStrings, myChildren[first].firstText);
    }
    cut(myChildren, first);
}

/// Removes what exists of an item after the last one, parameters included.
void ZEL_Multi::abandonItem()
{
    if (myItemTemplates.size() > std::size_t(myNumItems)) {
        removeParms(myNumItems);
    }
    cutItems();
}

// -------------------------------------------------------------------------- //
// Items that leave after a load
// -------------------------------------------------------------------------- //

/// While the list is loaded, items are no longer counted but stay where they are: leaving from the
/// middle of the list moves all that follows, and items of other blocks may leave too.
bool ZEL_Multi::leaveLate(int count)
{
    ZEL_ParmList &list = *getParmList();
    if (count >= myNumItems || !list.myRemovesLate || myInstancesPerItem == 0) {
        return false;
    }
    const int end = myNumItems;
    myLeavingEnd = std::max(myLeavingEnd, end);
    myNumItems = count;
    list.myHasLateItems = true;
    const Changing changing(*this);
    markLeaving(count, end);
    return true;
}

/// Also ends their channels.
void ZEL_Multi::markLeaving(int firstItem, int endItem) const
{
    for (int item = firstItem; item < endItem; ++item) {
        for (int child = 0; child < myInstancesPerItem; ++child) {
            int index = -1;
            if (ZEL_Parm *const parm = findOwnChild(item, child, index)) {
                getParmList()->retireParm(*parm);
            }
        }
    }
}

/// Counts the next of those that leave again, as if it were made now: it may be in use.
void ZEL_Multi::keepLeavingItem()
{
    const int item = myNumItems;
    for (int child = 0; child < myInstancesPerItem; ++child) {
        int index = -1;
        if (ZEL_Parm *const parm = findOwnChild(item, child, index)) {
            renewChild(*parm, child);
        }
    }
    ++myNumItems;
    announceItem(item);
    if (getTemplatePtr()->isRampType() && !getDefaultsInitFlag()) {
        setRampInstanceToDefaultValue(item, itemParms(item));
    }
}

/// The items of a nested block leave, but for those that its default has.
void ZEL_Multi::renewChild(ZEL_Parm &parm, int child)
{
    constexpr bool deleteChannels = true, sendEvent = true, updateMulti = true;
    ZEL_Instance &instance = *parm.getInstance();
    instance.setLeaving(false);
    if (ZEL_Multi *const nested = parm.asMulti()) {
        nested->myLeavingEnd = nested->getItemsEnd();
        nested->myNumItems = 0;
    }
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        getParmList()->setChannelAlias(&parm, i, KIT_StringHolder::theEmptyString);
    }
    if (instance.getSaveLabelFlag()) {
        ZEL_Name fresh(*getMultiParmTemplate()[child].getNamePtr());
        KIT_ValArray<int> numbers;
        instanceNumbers(myNumItems, numbers);
        fresh.instance(numbers);
        parm.getTemplatePtr()->getNamePtr()->setLabel(fresh.getLabel());
    }
    instance.resetOptions();
    parm.restoreFactoryDefaults();
    instance.setDefaultsInitFlag(false);
    instance.revertToDefaults(deleteChannels);
    parm.privateValueChanged(-1, sendEvent, updateMulti);
}

/// Counts those again that leave.
void ZEL_Multi::countLeaving()
{
    myNumItems = std::max(myNumItems, myLeavingEnd);
    myLeavingEnd = 0;
}

/// Removes those that leave. If somebody may hold them, those below `count` stay instead, and the others
/// leave when the load ends.
void ZEL_Multi::settle(int count)
{
    if (myLeavingEnd == 0 || myBusy) {
        return;
    }
    {
        const Changing changing(*this);
        if (areItemsKept()) {
            if (count <= myNumItems) {
                return;
            }
            while (myNumItems < std::min(count, myLeavingEnd)) {
                keepLeavingItem();
            }
            myLeavingEnd = myNumItems < myLeavingEnd ? myLeavingEnd : 0;
        } else {
            shrink(myNumItems);
        }
    }
    notifyChanged();
}

// -------------------------------------------------------------------------- //
// Items that move
// -------------------------------------------------------------------------- //

KIT_ValArray<ZEL_Parm *> ZEL_Multi::itemParms(int item) const
{
    KIT_ValArray<ZEL_Parm *> parms;
    for (int child = 0; child < myInstancesPerItem; ++child) {
        if (ZEL_Parm *parm = findChild(item, child)) {
            parms.append(parm);
        }
    }
    return parms;
}

void ZEL_Multi::announceItem(int item)
{
    ZEL_ParmOwner *owner = getParmOwner();
    const KIT_ValArray<ZEL_Parm *> parms = owner ? itemParms(item) : KIT_ValArray<ZEL_Parm *>();
    if (!parms.isEmpty()) {
        const KeepItems keep;
        owner->multiItemCreated(parms);
    }
}

/// Copies items one to the next: each is the source of one step and the target of the next, so its
/// parameters are looked up by name only once.
class ZEL_Multi::ItemSteps
{
public:
    explicit ItemSteps(const ZEL_Multi &multi) : myMulti(multi)
    {
        myParms.setSize(multi.myInstancesPerItem);
    }

    void assign(int from, int to)
    {
        const ZEL_ParmList &list = *myMulti.getParmList();
        // The kept pointers are invalid once a parameter is added or removed in between.
        const std::uint32_t changesBefore = list.getAddRemoveCount();
        for (int child = 0; child < myMulti.myInstancesPerItem; ++child) {
            const bool isKept = to == myItem && list.getAddRemoveCount() == myChanges;
            ZEL_Parm *target = isKept ? myParms[child] : myMulti.findChild(to, child);
            ZEL_Parm *source = myMulti.findChild(from, child);
            myParms[child] = source;
            assignChild(source, target);
        }
        myItem = from;
        myChanges = changesBefore;
    }

private:
    const ZEL_Multi &myMulti;
    KIT_ValArray<ZEL_Parm *> myParms; // of the item
    int myItem = -1;
    std::uint32_t myChanges = 0;
};

void ZEL_Multi::insertInstanceBefore(int item)
{
    const int before = getNumItemsInUse();
    if (isAtHardMaximum() || before == std::numeric_limits<int>::max()) {
        return;
    }
    item = std::clamp(item, 0, before);
    setCount(before + 1);
    evaluateCount();
    if (getNumItemsInUse() != before + 1) {
        return;
    }
    ItemSteps steps(*this);
    for (int i = before - 1; i >= item && myInstancesPerItem > 0; --i) {
        steps.assign(i, i + 1);
    }
    revertInstance(item);
    if (isValidItem(item)) {
        announceItem(item);
    }
}

void ZEL_Multi::deleteInstance(int item)
{
    if (item < 0 || item >= getNumItemsInUse()) {
        return;
    }
    if (isAtHardMinimum()) {
        revertInstance(item);
        return;
    }
    ItemSteps steps(*this);
    for (int i = item + 1; i < getNumItemsInUse() && myInstancesPerItem > 0; ++i) {
        steps.assign(i, i - 1);
    }
    revertInstance(getNumItemsInUse() - 1);
    setCount(std::max(getNumItemsInUse() - 1, 0));
    evaluateCount();
}

void ZEL_Multi::swapInstances(int first, int second)
{
    const int items = getNumItemsInUse();
    if (first == second || std::min(first, second) < 0 || std::max(first, second) >= items ||
        myBusy || myNumItems == std::numeric_limits<int>::max()) {
        return;
    }
    settle(std::numeric_limits<int>::max());
    {
        // The temporary item ignores the range and doesn't change the value: it is removed before
        // we return.
        const Changing changing(*this);
        const int spare = myNumItems;
        if (grow(spare + 1, true)) {
            assignInstance(second, spare);
            assignInstance(first, second);
            assignInstance(spare, first);
        }
        shrink(spare);
    }
    notifyChanged();
}

void ZEL_Multi::assignInstance(int from, int to)
{
    if (from == to || !isValidItem(from) || !isValidItem(to)) {
        return;
    }
    for (int child = 0; child < myInstancesPerItem; ++child) {
        assignChild(findChild(from, child), findChild(to, child));
    }
}

bool ZEL_Multi::isInside(const ZEL_Multi &outer) const
{
    const ZEL_Multi *owner = getMultiParmOwner();
    while (owner && owner != &outer) {
        owner = owner->getMultiParmOwner();
    }
    return owner != nullptr;
}

void ZEL_Multi::copy(const ZEL_Multi *other)
{
    if (!other || other == this || other->isInside(*this)) {
        return;
    }
    const int wanted = other->getNumItemsInUse();
    setCount(wanted);
    evaluateCount();
    const int items = std::min(myNumItems, wanted);
    const int children = std::min(myInstancesPerItem, other->myInstancesPerItem);
    for (int item = 0; children > 0 && item < items; ++item) {
        for (int child = 0; child < children; ++child) {
            assignChild(other->findChild(item, child), findChild(item, child));
        }
    }
}

void ZEL_Multi::revertInstance(int item)
{
    if (!isValidItem(item)) {
        return;
    }
    const DestructiveRevert destructive;
    constexpr int allComponents = -1;
    for (int child = 0; child < myInstancesPerItem; ++child) {
        // Looked up again each time: an event handler may change the list.
        if (ZEL_Parm *parm = findChild(item, child)) {
            if (parm->getLockedFlag(allComponents)) {
                parm->setLockedFlag(allComponents, false);
            }
            parm->revertToDefaults(theTime);
        }
    }
    for (int child = 0; child < myInstancesPerItem; ++child) {
        const ZEL_Parm *parm = findChild(item, child);
        if (ZEL_Multi *multi = parm ? parm->asMulti() : nullptr) {
            multi->revertAllInstances();
        }
    }
}

void ZEL_Multi::revertAllInstances()
{
    setCount(0);
    setNumInstances(0, false);
    // Those that have to stay may soon be in use again.
    for (int item = 0; item < myNumItems && myInstancesPerItem > 0; ++item) {
        revertInstance(item);
    }
    setDefaultsInitFlag(false);
    revertToDefaults(true);
}
