// The count of a multi-parameter, what determines it, and queries about its items.

#include <ZEL/ZEL_Multi.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_InstanceString.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/list/ZEL_RestoringPrivate.h>
#include <ZEL/multi/ZEL_ItemSizePrivate.h>
#include <ZEL/support/ZEL_InstanceMatchPrivate.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

__thread bool ZEL_Multi::theIsAddingOrRemovingParms = false;
__thread int ZEL_Multi::KeepItems::theCount = 0;

namespace
{

void replaceByCount(double &value, int count)
{
    value = count;
}
void replaceByCount(std::int64_t &value, int count)
{
    value = count;
}
void replaceByCount(int &value, int count)
{
    value = count;
}
void replaceByCount(KIT_String &value, int count)
{
    value.itoa(count);
}
/// A count can't be returned in these forms.
void replaceByCount(std::shared_ptr<const ZEL_DataItem> &, int) {}
void replaceByCount(KIT_JSONValueMap &, int) {}

/// The block's rows as an interface shows them: a set of folders is one row, joined parameters
/// share theirs.
int countShown(const ZEL_Template *block)
{
    constexpr bool skipSwitcherMembers = true;
    constexpr bool skipJoined = true;
    constexpr bool skipJoinNext = true;
    return ZEL_Template::countTemplates(block, skipSwitcherMembers, skipJoined, skipJoinNext);
}

} // namespace

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

ZEL_Multi::ZEL_Multi(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_Float(templatePtr, parm, nullptr),
      myInstancesPerItem(ZEL_Template::countTemplates(templatePtr->getMultiParmTemplate())),
      myTemplateCount(countShown(templatePtr->getMultiParmTemplate()))
{}

ZEL_Multi::ZEL_Multi(const ZEL_Multi &source, ZEL_Parm *parm)
    : ZEL_Float(source, parm, nullptr), myInstancesPerItem(source.myInstancesPerItem),
      myTemplateCount(source.myTemplateCount)
{
    if (source.myInstanceIndex) {
        setInstanceIndex(*source.myInstanceIndex);
    }
}

ZEL_Multi::~ZEL_Multi()
{
    ZEL_Multi::destroyChildParms();
}

ZEL_Instance *ZEL_Multi::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_Multi(*this, parm);
}

void ZEL_Multi::adopt(ZEL_Instance &source)
{
    const auto *other = dynamic_cast<const ZEL_Multi *>(&source);
    if (!other || other == this) {
        return;
    }
    const bool hadDefaults = getDefaultsInitFlag();
    ZEL_Float::adopt(source);
    setDefaultsInitFlag(hadDefaults);
    if (other->myInstanceIndex) {
        setInstanceIndex(*other->myInstanceIndex);
    } else {
        myInstanceIndex.reset();
    }
    setNumInstances(other->myNumItems, false);
    setDefaultsInitFlag(true);
}

void ZEL_Multi::revertToDefault(int index)
{
    // Set the flag only when the items exist: until then a ramp fills them with its defaults.
    const bool hadDefaults = getDefaultsInitFlag();
    ZEL_Float::revertToDefault(index);
    setDefaultsInitFlag(hadDefaults);
    followDefault();
    setDefaultsInitFlag(true);
}

void ZEL_Multi::revertToDefaults(bool deleteChannels)
{
    const bool hadDefaults = getDefaultsInitFlag();
    ZEL_Float::revertToDefaults(deleteChannels);
    setDefaultsInitFlag(hadDefaults);
    if (!followSnapshot()) {
        followDefault();
    }
    setDefaultsInitFlag(true);
}

std::int64_t ZEL_Multi::getMemoryUsage(bool inclusive) const
{
    std::int64_t bytes = ZEL_Float::getMemoryUsage(false);
    bytes += inclusive ? std::int64_t(sizeof(*this)) : 0;
    for (std::size_t item = 0; item < myItemTemplates.size(); ++item) {
        for (int child = 0; child < myInstancesPerItem; ++child) {
            bytes += myItemTemplates[item][std::size_t(child)].getMemoryUsage(true);
        }
    }
    for (std::size_t flat = 0; flat < myChildren.size(); ++flat) {
        const Child &child = myChildren[flat];
        bytes += child.name->getMemoryUsage(true);
        bytes += child.conditional ? child.conditional->getMemoryUsage(true) : 0;
        if (child.defaults) {
            const int perItem = myInstancesPerItem;
            const ZEL_Template &made =
                myItemTemplates[flat / std::size_t(perItem)][flat % std::size_t(perItem)];
            bytes += std::int64_t(sizeof(ZEL_Default)) * made.getVectorSize();
        }
    }
    for (const std::unique_ptr<KIT_String> &text : myDefaultStrings) {
        bytes += text->getMemoryUsage(true);
    }
    bytes += std::int64_t(myItemTemplates.capacity() * sizeof(void *));
    bytes += std::int64_t(myChildren.capacity() * sizeof(Child));
    bytes += std::int64_t(myDefaultStrings.capacity() * sizeof(void *));
    return bytes + (myInstanceIndex ? myInstanceIndex->getMemoryUsage(true) : 0);
}

// -------------------------------------------------------------------------- //
// The value determines the count
// -------------------------------------------------------------------------- //

template <class T, class Read>
void ZEL_Multi::evaluate(T &value, int thread, const Read &read) const
{
    {
        KIT_ErrorManager::Scope scope(thread);
        read();
        if (scope.getManager().getSeverity() > KIT_ERROR_ABORT) {
            replaceByCount(value, myNumItems);
        }
        if (scope.getManager().entries() > 0) {
            scope.getOuterManager().stealErrors(scope.getManager());
        }
    }
    followValue();
}

int ZEL_Multi::wantedCount() const
{
    return ZELtoCount(constrainedRawValue(0));
}

bool ZEL_Multi::areItemsKept()
{
    return KeepItems::isOpen() || TRK_Manager::isEvaluating() || TRK_EventManager::isDelivering();
}

/// Whether following the value now could destroy a parameter in use.
bool ZEL_Multi::mustWait(int count) const
{
    return count < myNumItems && areItemsKept();
}

/// Reading is const, yet it creates items: this is the one place where const is cast away.
void ZEL_Multi::followValue() const
{
    const int count = wantedCount();
    if (count == myNumItems || myBusy || mustWait(count)) {
        return;
    }
    auto *self = const_cast<ZEL_Multi *>(this);
    const bool isNumber = !getChannel(0);
    if (isNumber && !ZEL_InputBudget::isInInput()) {
        self->setNumInstances(count, true);
        return;
    }
    // For the blocks in its items too.
    const ZEL_InputBudget budget(ZEL_InputBudget::DEFAULTS, 0);
    if (ZEL_InputBudget::allow(requestFor(count))) {
        self->setNumInstances(count, true);
    } else if (isNumber) {
        self->setCount(myNumItems);
    }
}

/// What it takes of a budget to have so many items. Those that a block can't be without are part of
/// the request for the item that it is in.
ZEL_InputBudget::Request ZEL_Multi::requestFor(std::int64_t count) const
{
    const int paid = getMultiParmOwner() ? ZELhardMinimum(*getTemplatePtr()) : 0;
    const std::int64_t items = count - std::max(myNumItems, paid);
    if (items <= 0 || myInstancesPerItem == 0) {
        return {getToken(), 0, 0}; // without children they are only a number
    }
    if (myItemBytes == 0) {
        const std::int64_t levels = myInstanceIndex ? myInstanceIndex->size() + 1 : 1;
        const ZEL_ItemCost cost = ZELestimateItem(getMultiParmTemplate(), levels);
        myItemsOfItem = cost.items;
        myItemBytes = cost.bytes;
    }
    return {getToken(), items * myItemsOfItem, items * myItemBytes};
}

/// A default comes from a script and is as untrusted as a loaded value. Those of nested blocks
/// multiply, so they share one budget.
void ZEL_Multi::followDefault()
{
    const ZEL_InputBudget budget(ZEL_InputBudget::RESTORED, 0);
    if (!getMultiParmOwner()) {
        ZEL_InputBudget::beginDefault();
    }
    const bool isNumber = !getChannel(0) && !ZEL_InputBudget::isInInput();
    if (isNumber && !ZEL_InputBudget::allow(requestFor(wantedCount()))) {
        setCount(myNumItems);
    }
    evaluateCount();
}

/// While a list is restored, a block whose turn has yet to come gets the items that the snapshot has:
/// its default ones would be made and then removed from the middle of the list. False if it isn't in
/// the snapshot, or if its entry will report a failure; and for a ramp whose keys aren't, since they
/// can be the default ones.
bool ZEL_Multi::followSnapshot()
{
    const ZEL_ParmList *const list = getParmList();
    const ZEL_ParmList::Restoring *const restoring = list ? list->myRestoring : nullptr;
    const std::shared_ptr<ZEL_UndoData> *const data =
        restoring ? restoring->find(getTokenRef()) : nullptr;
    if (!data) {
        return false;
    }
    if (*rampDefaultText()) {
        KIT_WorkBuffer key;
        firstToken(key);
        if (!restoring->find(KIT_StringRef(key.buffer()))) {
            return false;
        }
    }
    KIT_ErrorManager::Scope scope(BASgetSTID());
    if (!loadUndoData(*data)) {
        return false;
    }
    scope.getOuterManager().stealErrors(scope.getManager());
    return true;
}

bool ZEL_Multi::followLoadedValue()
{
    const ZEL_InputBudget budget(ZEL_InputBudget::DEFAULTS, 0);
    const int count = wantedCount();
    if (!ZEL_InputBudget::allow(requestFor(count))) {
        setCount(myNumItems);
        return false;
    }
    setNumInstances(count, true);
    return true;
}

void ZEL_Multi::evaluateCount()
{
    double value = 0.0;
    getValue(getParmList(), 0.0, value, 0, BASgetSTID());
}

void ZEL_Multi::setCount(int count)
{
    setValue(0.0, double(count), false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
}

bool ZEL_Multi::load(KIT_IStream &is)
{
    const bool loaded = ZEL_Float::load(is);
    return followLoadedValue() && loaded;
}

int ZEL_Multi::loadCommand(int argc, const char *const argv[], int index, bool asSet,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    const int used = ZEL_Float::loadCommand(argc, argv, index, asSet, addKey, keySet);
    followLoadedValue();
    return used;
}

void ZEL_Multi::getValue(ZEL_ParmList *list, double time, KIT_JSONValueMap &value, int index,
                         bool expand, int thread) const
{
    evaluate(value, thread, [&] { ZEL_Float::getValue(list, time, value, index, expand, thread); });
}

void ZEL_Multi::getValue(ZEL_ParmList *list, double time,
                         std::shared_ptr<const ZEL_DataItem> &value, int index, int thread) const
{
    evaluate(value, thread, [&] { ZEL_Float::getValue(list, time, value, index, thread); });
}

void ZEL_Multi::getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool expand,
                         int thread) const
{
    evaluate(value, thread, [&] { ZEL_Float::getValue(list, time, value, index, expand, thread); });
}

void ZEL_Multi::getValue(ZEL_ParmList *list, double time, double &value, int index,
                         int thread) const
{
    evaluate(value, thread, [&] { ZEL_Float::getValue(list, time, value, index, thread); });
}

void ZEL_Multi::getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                         int thread) const
{
    evaluate(value, thread, [&] { ZEL_Float::getValue(list, time, value, index, thread); });
}

void ZEL_Multi::getValue(ZEL_ParmList *list, double time, int &value, int index, int thread) const
{
    evaluate(value, thread, [&] { ZEL_Float::getValue(list, time, value, index, thread); });
}

// -------------------------------------------------------------------------- //
// Look-up
// -------------------------------------------------------------------------- //

bool ZEL_Multi::isMultiParm() const
{
    return true;
}

int ZEL_Multi::getMultiParmNumItems() const
{
    return myNumItems;
}

int ZEL_Multi::getNumItemsInUse() const
{
    return areItemsKept() ? std::min(myNumItems, wantedCount()) : myNumItems;
}

int ZEL_Multi::getMultiParmInstancesPerItem() const
{
    return myInstancesPerItem;
}

std::size_t ZEL_Multi::flatIndex(int item, int child) const
{
    return std::size_t(item) * std::size_t(myInstancesPerItem) + std::size_t(child);
}

const ZEL_Template *ZEL_Multi::getTemplate(int flat) const
{
    if (flat < 0 || std::size_t(flat) >= flatIndex(myNumItems, 0)) {
        return nullptr;
    }
    return &myItemTemplates[std::size_t(flat / myInstancesPerItem)]
                           [std::size_t(flat % myInstancesPerItem)];
}

ZEL_Template *ZEL_Multi::getTemplate(int flat)
{
    const ZEL_Multi *constThis = this;
    return const_cast<ZEL_Template *>(constThis->getTemplate(flat));
}

ZEL_Parm *ZEL_Multi::getParm(int flat) const
{
    const ZEL_Template *description = getTemplate(flat);
    ZEL_ParmList *list = getParmList();
    ZEL_Parm *parm = description && list ? list->getParmPtr(description->getTokenRef()) : nullptr;
    return parm && parm->getMultiParmOwner() == this ? parm : nullptr;
}

const char *ZEL_Multi::getMultiParmToken(int child, int item) const
{
    if (!isValidItem(item) || child < 0 || child >= myInstancesPerItem) {
        return nullptr;
    }
    return myChildren[flatIndex(item, child)].name->getToken();
}

int ZEL_Multi::findMultiParmIndex(const char *token, bool) const
{
    const KIT_StringRef wanted(token);
    // An item under construction is found too: its parameters may already look it up.
    const std::size_t end = wanted.isNull() ? 0 : myChildren.size();
    for (std::size_t flat = 0; flat < end; ++flat) {
        if (myChildren[flat].name->getTokenRef() == wanted) {
            return int(flat);
        }
    }
    return -1;
}

bool ZEL_Multi::matchInstancePattern(const char *name, int &index) const
{
    index = -1;
    if (!name || !name[std::strcspn(name, "0123456789")]) {
        return false;
    }
    const ZEL_Template *child = getMultiParmTemplate();
    const int startOffset = getMultiStartOffset();
    for (int i = 0; i < myInstancesPerItem; ++i) {
        if (ZELmatchInstance(name, child[i].getToken(), startOffset, index,
                             myInstanceIndex.get())) {
            return true;
        }
    }
    return false;
}

/// The token of the first item's first child, which needn't exist; "" without children.
void ZEL_Multi::firstToken(KIT_WorkBuffer &token) const
{
    constexpr bool fillToken = true, repeat = false;
    KIT_ValArray<int> numbers;
    instanceNumbers(0, numbers);
    if (myInstancesPerItem > 0) {
        instanceString(token, getMultiParmTemplate()->getTokenRef(), numbers, fillToken, repeat);
    }
}

void ZEL_Multi::setInstanceIndex(const KIT_ValArray<int> &instances)
{
    if (instances.isEmpty()) {
        myInstanceIndex.reset();
    } else if (&instances != myInstanceIndex.get()) {
        myInstanceIndex = std::make_unique<KIT_ValArray<int>>(instances);
    }
}

bool ZEL_Multi::isAtHardMinimum() const
{
    const ZEL_Range *range = getRangePtr();
    return range && range->hasParmMin() && ZELhardMinimum(*getTemplatePtr()) == getNumItemsInUse();
}

bool ZEL_Multi::isAtHardMaximum() const
{
    const ZEL_Range *range = getRangePtr();
    return range && range->hasParmMax() && ZELtoCount(range->getParmMax()) == getNumItemsInUse();
}

// -------------------------------------------------------------------------- //
// Instance numbers into a name
// -------------------------------------------------------------------------- //

void ZEL_Multi::instanceString(KIT_WorkBuffer &out, const KIT_StringRef &name, const int *instances,
                               int count, bool fillToken, bool repeat)
{
    ZELinstanceString(out, name, instances, count, fillToken, repeat);
}

void ZEL_Multi::instanceString(KIT_WorkBuffer &out, const KIT_StringRef &name,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat)
{
    ZELinstanceString(out, name, instances, fillToken, repeat);
}

void ZEL_Multi::instanceString(KIT_String &out, const KIT_StringRef &name, const int *instances,
                               int count, bool fillToken, bool repeat)
{
    ZELinstanceString(out, name, instances, count, fillToken, repeat);
}

void ZEL_Multi::instanceString(KIT_String &out, const KIT_StringRef &name,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat)
{
    ZELinstanceString(out, name, instances, fillToken, repeat);
}

void ZEL_Multi::instanceString(KIT_StringHolder &out, const KIT_StringRef &name,
                               const int *instances, int count, bool fillToken, bool repeat)
{
    ZELinstanceString(out, name, instances, count, fillToken, repeat);
}

void ZEL_Multi::instanceString(KIT_StringHolder &out, const KIT_StringRef &name,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat)
{
    ZELinstanceString(out, name, instances, fillToken, repeat);
}
