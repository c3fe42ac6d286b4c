#include <ZEL/ZEL_Overridable.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Relaxed.h>
#include <KIT/KIT_SmallArray.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_ORCallback.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/instance/ZEL_DisableStatePrivate.h>
#include <ZEL/support/ZEL_NumberPrivate.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

// ---------------------------------------------------------------------- //
// The records
// ---------------------------------------------------------------------- //

/// One record for each component.
struct ZEL_OverrideArray
{
    static constexpr int theInlineCount = 4;

    explicit ZEL_OverrideArray(int size) : records(size) {}

    std::int64_t getMemoryUsage() const
    {
        const int onHeap = records.size() > theInlineCount ? records.size() : 0;
        std::int64_t bytes =
            std::int64_t(sizeof(*this)) + std::int64_t(sizeof(zelOverrideInfoData)) * onHeap;
        for (const zelOverrideInfoData &record : records) {
            bytes += record.name ? std::int64_t(std::strlen(record.name.get())) + 1 : 0;
        }
        return bytes;
    }

    KIT_SmallArray<zelOverrideInfoData, theInlineCount> records;
};

namespace
{
constexpr std::uint8_t theUnknownTimeDep = 2;
constexpr std::uint8_t theUnsureActive = 2;

std::unique_ptr<char[]> copyText(const char *text)
{
    if (!text) {
        return nullptr;
    }
    const std::size_t bytes = std::strlen(text) + 1;
    std::unique_ptr<char[]> copy(new char[bytes]);
    std::memcpy(copy.get(), text, bytes);
    return copy;
}

// The provider's operations by value type. A provider exists while an override is in effect.

void askProvider(int data, double time, int *timeDep, int *active, double &value)
{
    const ZEL_Multi::KeepItems keep;
    value = ZEL_ParmList::getORCallback()->evalFloat(data, time, timeDep, active);
}

void askProvider(int data, double time, int *timeDep, int *active, std::int64_t &value)
{
    const ZEL_Multi::KeepItems keep;
    value = ZEL_ParmList::getORCallback()->evalInt(data, time, timeDep, active);
}

template <class Text>
void askProvider(int data, double time, int *timeDep, int *active, Text &value)
{
    const ZEL_Multi::KeepItems keep;
    value = ZEL_ParmList::getORCallback()->evalString(data, time, timeDep, active);
}

bool giveProvider(int data, double time, double value)
{
    const ZEL_Multi::KeepItems keep;
    return ZEL_ParmList::getORCallback()->setFloat(data, time, 0, 0, value);
}

bool giveProvider(int data, double time, std::int64_t value)
{
    const ZEL_Multi::KeepItems keep;
    return ZEL_ParmList::getORCallback()->setInt(data, time, 0, 0, value);
}

template <class Number>
void clearValue(Number &value)
{
    value = Number(0);
}

void clearValue(KIT_String &value)
{
    value.clear();
}

bool sameText(const char *left, const char *right)
{
    return left == right || (left && right && std::strcmp(left, right) == 0);
}
} // namespace

ZEL_Overridable::~ZEL_Overridable()
{
    dropOverrides();
}

void ZEL_Overridable::adopt(ZEL_Instance &source)
{
    ZEL_Instance::adopt(source);
    const auto *other = dynamic_cast<const ZEL_Overridable *>(&source);
    if (other && !hasOverrideData()) {
        copyOverrides(*other);
    }
}

void ZEL_Overridable::adoptOverrides(ZEL_Instance &source)
{
    if (&source == this) {
        return;
    }
    dropOverrides();
    if (const auto *other = dynamic_cast<const ZEL_Overridable *>(&source)) {
        copyOverrides(*other);
    }
}

ZEL_OverrideArray &ZEL_Overridable::makeOverrides()
{
    ZEL_OverrideArray *&overrides = makeRare().overrides;
    if (!overrides) {
        overrides = new ZEL_OverrideArray(getVectorSize());
    }
    return *overrides;
}

void ZEL_Overridable::copyOverrides(const ZEL_Overridable &source)
{
    const ZEL_OverrideArray *sources = source.overrides();
    if (!sources) {
        return;
    }
    ZEL_OverrideArray &copies = makeOverrides();
    const int count = std::min(copies.records.size(), sources->records.size());
    for (int i = 0; i < count; ++i) {
        const zelOverrideInfoData &from = sources->records[i];
        zelOverrideInfoData &to = copies.records[i];
        to.dataIndex = from.dataIndex;
        to.timeDepState = BASload(from.timeDepState);
        to.activeState = BASload(from.activeState);
        to.layered = from.layered;
        to.name = copyText(from.name.get());
    }
}

void ZEL_Overridable::dropOverrides()
{
    if (hasOverrideData()) {
        delete overrides();
        rare()->overrides = nullptr;
    }
}

zelOverrideInfoData *ZEL_Overridable::recordAt(int index) const
{
    ZEL_OverrideArray *all = overrides();
    return all && unsigned(index) < unsigned(all->records.size()) ? &all->records[index] : nullptr;
}

// ---------------------------------------------------------------------- //
// Per-thread disabling, and which overrides are in effect
// ---------------------------------------------------------------------- //

bool ZEL_Overridable::isDisabledHere(int index) const
{
    const ZEL_DisableState &state = ZEL_DisableState::local();
    return state.instance.get() == this && (state.mask & bit(index)) != 0;
}

const zelOverrideInfoData *ZEL_Overridable::writableRecord(int index) const
{
    const zelOverrideInfoData *record = recordAt(index);
    return record && record->dataIndex >= 0 && ZEL_ParmList::getORCallback() ? record : nullptr;
}

zelOverrideInfoData *ZEL_Overridable::countingRecord(int index) const
{
    zelOverrideInfoData *record = recordAt(index);
    const bool counting =
        record && record->dataIndex >= 0 && ZEL_ParmList::getORCallback() && !isDisabledHere(index);
    return counting ? record : nullptr;
}

// ---------------------------------------------------------------------- //
// The override of a component
// ---------------------------------------------------------------------- //

int ZEL_Overridable::setOverride(int index, int dataIndex, const char *name, ZEL_OverrideType type)
{
    if (!validIndex(index)) {
        return 0;
    }
    zelOverrideInfoData &record = makeOverrides().records[index];
    const bool nameChanged = !sameText(record.name.get(), name);
    // `name` may point into the old copy.
    std::unique_ptr<char[]> copy = nameChanged ? copyText(name) : nullptr;
    const bool changed = nameChanged || record.dataIndex != dataIndex;
    record.dataIndex = dataIndex;
    record.layered = type == ZEL_OVERRIDE_LAYERED ? 1 : 0;
    BASstore(record.timeDepState, theUnknownTimeDep);
    if (nameChanged) {
        record.name = std::move(copy);
        if (TRK_Channel *channel = getChannel(index)) {
            channel->dirtyExprCache();
        }
    }
    if (changed) {
        setDirtyFlags(index);
    }
    return changed ? 1 : 0;
}

bool ZEL_Overridable::setOverrideDisable(int index, int disable)
{
    if (!hasOverrideData()) {
        return false;
    }
    const bool before = isDisabledHere(index);
    ZEL_DisableState &state = ZEL_DisableState::change();
    state.instance.set(this);
    state.mask = disable ? state.mask | bit(index) : state.mask & ~bit(index);
    setDirtyFlags(index);
    return before;
}

const char *ZEL_Overridable::getOverride(int index) const
{
    const zelOverrideInfoData *record = recordAt(index);
    return record ? record->name.get() : nullptr;
}

bool ZEL_Overridable::getOverrideType(int index, ZEL_OverrideType &type) const
{
    const zelOverrideInfoData *record = recordAt(index);
    if (!record) {
        return false;
    }
    type = ZEL_OverrideType(record->layered);
    return true;
}

int ZEL_Overridable::getOverrideDataIndex(int index) const
{
    const zelOverrideInfoData *record = recordAt(index);
    return record ? record->dataIndex : -1;
}

int ZEL_Overridable::getIsOverrideActive(int index) const
{
    const zelOverrideInfoData *record = recordAt(index);
    if (!record || !getOverride(index) || isDisabledHere(index)) {
        return 0;
    }
    const int state = BASload(record->activeState);
    return state == theUnsureActive ? -1 : state;
}

std::int64_t ZEL_Overridable::getMemoryUsage(bool inclusive) const
{
    return ZEL_Instance::getMemoryUsage(false) + (inclusive ? std::int64_t(sizeof(*this)) : 0) +
           (hasOverrideData() ? overrides()->getMemoryUsage() : 0);
}

// ---------------------------------------------------------------------- //
// Values out
// ---------------------------------------------------------------------- //

bool ZEL_Overridable::ownerFails(ZEL_ParmList *list, double time, int index, int thread) const
{
    ZEL_ParmOwner *owner = list ? list->getParmOwner() : nullptr;
    return owner && owner->isPendingOverride() && cookFails(*owner, time, index, thread);
}

bool ZEL_Overridable::cookFails(ZEL_ParmOwner &owner, double time, int index, int thread) const
{
    const ZEL_Multi::KeepItems keep;
    return owner.zelCookOverrides(time, thread, getToken(), index) != KIT_ERROR_NONE;
}

void ZEL_Overridable::noteState(zelOverrideInfoData &record, ZEL_ParmList *list, int index,
                                int timeDep, int active) const
{
    // Evaluation threads note the same answers concurrently; the last one wins.
    if (timeDep >= 0) {
        BASstoreIfDifferent(record.timeDepState, std::uint8_t(timeDep & 3));
    }
    if (list && BASload(record.timeDepState) != 0) {
        setTimeDependent(index, true);
    }
    // -1 is kept apart; any other answer than 0 is true.
    const std::uint8_t state = active == 0 ? 0 : active == -1 ? theUnsureActive : 1;
    BASstoreIfDifferent(record.activeState, state);
}

template <class T>
int ZEL_Overridable::evaluateRecord(ZEL_ParmList *list, double time, int index, T &value) const
{
    zelOverrideInfoData *record = countingRecord(index);
    if (!record) {
        return 0;
    }
    int timeDep = -1;
    int active = 0;
    const bool unknown = BASload(record->timeDepState) == theUnknownTimeDep;
    askProvider(record->dataIndex, time, unknown ? &timeDep : nullptr, &active, value);
    noteState(*record, list, index, timeDep, active);
    return active != 0 ? 1 : 0;
}

int ZEL_Overridable::evalOverrideValueImpl(ZEL_ParmList *list, double time, int index, int,
                                           double &value) const
{
    return evaluateRecord(list, time, index, value);
}

int ZEL_Overridable::evalOverrideValueImpl(ZEL_ParmList *list, double time, int index, int,
                                           std::int64_t &value) const
{
    return evaluateRecord(list, time, index, value);
}

int ZEL_Overridable::evalOverrideValueImpl(ZEL_ParmList *list, double time, int index, int,
                                           KIT_String &value) const
{
    return evaluateRecord(list, time, index, value);
}

template <class T>
int ZEL_Overridable::evaluateOverride(ZEL_ParmList *list, double time, int index, int thread,
                                      T &value) const
{
    if (ownerFails(list, time, index, thread)) {
        clearValue(value);
        return -1;
    }
    return hasOverrideData() ? evaluateRecord(list, time, index, value) : 0;
}

int ZEL_Overridable::evalOverrideValue(ZEL_ParmList *list, double time, int index, int thread,
                                       double &value) const
{
    return evaluateOverride(list, time, index, thread, value);
}

int ZEL_Overridable::evalOverrideValue(ZEL_ParmList *list, double time, int index, int thread,
                                       std::int64_t &value) const
{
    return evaluateOverride(list, time, index, thread, value);
}

int ZEL_Overridable::evalOverrideValue(ZEL_ParmList *list, double time, int index, int thread,
                                       KIT_String &value) const
{
    return evaluateOverride(list, time, index, thread, value);
}

template <class T>
void ZEL_Overridable::evaluateForCommand(int index, double time, T &value, int &flag) const
{
    if (const zelOverrideInfoData *record = countingRecord(index)) {
        askProvider(record->dataIndex, time, nullptr, &flag, value);
    }
}

void ZEL_Overridable::saveCommandOverride(int index, double time, double &value, int &flag) const
{
    evaluateForCommand(index, time, value, flag);
}

void ZEL_Overridable::saveCommandOverride(int index, double time, std::int64_t &value,
                                          int &flag) const
{
    evaluateForCommand(index, time, value, flag);
}

void ZEL_Overridable::saveCommandOverride(int index, double time, KIT_StringHolder &value,
                                          int &flag) const
{
    evaluateForCommand(index, time, value, flag);
}

// ---------------------------------------------------------------------- //
// Expressions
// ---------------------------------------------------------------------- //

int ZEL_Overridable::getExpressionOverride(double time, KIT_String &text, int index, int thread,
                                           bool forUI) const
{
    if (ownerFails(getParmList(), time, index, thread)) {
        return -1;
    }
    if (getIsOverrideActive(index) == 0) {
        return 0;
    }
    if (forUI) {
        ZEL_OverrideType type = ZEL_OVERRIDE_OVERRIDDEN;
        getOverrideType(index, type);
        text = type == ZEL_OVERRIDE_LAYERED ? "Layered by " : "Overridden by ";
        text += getOverride(index);
    }
    return 1;
}

void ZEL_Overridable::getExpressionStringForUI(double time, KIT_String &text, int index,
                                               int thread) const
{
    if (getExpressionOverride(time, text, index, thread, true) != 0) {
        return;
    }
    const TRK_Channel *channel = validIndex(index) ? getChannel(index) : nullptr;
    if (channel) {
        channel->getExpression(time, text);
    } else {
        getValue(getParmList(), time, text, index, true, thread);
    }
}

void ZEL_Overridable::getExpression(double time, KIT_String &text, int index, bool expand,
                                    int thread) const
{
    ZEL_ParmList *list = getParmList();
    if (ownerFails(list, time, index, thread)) {
        return;
    }
    const TRK_Channel *channel = validIndex(index) ? getChannel(index) : nullptr;
    if (channel && getIsOverrideActive(index) == 0) {
        channel->getExpression(time, text);
    } else if (expand) {
        getValue(list, time, text, index, true, thread);
    } else {
        text = "";
    }
}

// ---------------------------------------------------------------------- //
// Dependence
// ---------------------------------------------------------------------- //

bool ZEL_Overridable::isPendingInOwner(int index) const
{
    const ZEL_ParmOwner *owner = getParmOwner();
    if (!owner || !owner->isPendingOverride()) {
        return false;
    }
    const ZEL_Multi::KeepItems keep;
    return owner->isParmPendingOverride(getToken(), index);
}

template <class Test>
bool ZEL_Overridable::anyCounting(int index, Test &&test) const
{
    const int first = index < 0 ? 0 : index;
    const int end = !hasOverrideData() ? first
                    : index < 0        ? overrides()->records.size()
                                       : index + 1;
    for (int i = first; i < end; ++i) {
        const zelOverrideInfoData *record = countingRecord(i);
        if (record && test(*record)) {
            return true;
        }
    }
    return false;
}

bool ZEL_Overridable::isTimeDependent(int index) const
{
    const auto dependsOrUnknown = [](const zelOverrideInfoData &record) {
        return BASload(record.timeDepState) != 0;
    };
    return isPendingInOwner(index) || (rare() && (anyCounting(index, dependsOrUnknown) ||
                                                  ZEL_Instance::isTimeDependent(index)));
}

bool ZEL_Overridable::isDataDependent(double time, int index) const
{
    const auto always = [](const zelOverrideInfoData &) { return true; };
    return isPendingInOwner(index) || anyCounting(index, always) ||
           ZEL_Instance::isDataDependent(time, index);
}

// ---------------------------------------------------------------------- //
// Values in
// ---------------------------------------------------------------------- //

template <class Number>
bool ZEL_Overridable::offer(double time, Number value, int index) const
{
    const zelOverrideInfoData *record = writableRecord(index);
    return !record || !giveProvider(record->dataIndex, time, value);
}

template <class Number>
bool ZEL_Overridable::setOverrideNumber(double time, Number value, bool replaceExpression,
                                        int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    if (!validIndex(index)) {
        indexError(index);
        return false;
    }
    ZEL_Instance::setValue(time, value, replaceExpression, index, addKey, keySet);
    return !hasOverrideData() || offer(time, value, index);
}

bool ZEL_Overridable::setOverrideFloat(double time, double value, bool replaceExpression, int index,
                                       ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    return setOverrideNumber(time, value, replaceExpression, index, addKey, keySet);
}

bool ZEL_Overridable::setOverrideInt(double time, std::int64_t value, bool replaceExpression,
                                     int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    return setOverrideNumber(time, value, replaceExpression, index, addKey, keySet);
}

bool ZEL_Overridable::setOverrideFloat(double time, const char *text, bool replaceExpression,
                                       int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    ZEL_Instance::setValue(time, text, TRK_MEANING_LITERAL, replaceExpression, index, addKey,
                           keySet);
    return offer(time, BASparseFloat(text), index);
}

bool ZEL_Overridable::setOverrideInt(double time, const char *text, bool replaceExpression,
                                     int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    ZEL_Instance::setValue(time, text, TRK_MEANING_LITERAL, replaceExpression, index, addKey,
                           keySet);
    return offer(time, std::int64_t(ZELparseInt(text)), index);
}

bool ZEL_Overridable::setOverrideString(double time, const char *text, bool replaceExpression,
                                        int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    ZEL_Instance::setValue(time, text, TRK_MEANING_LITERAL, replaceExpression, index, addKey,
                           keySet);
    // The provider accepts numbers only; the text is parsed as an integer prefix.
    return offer(time, double(ZELparseInt(text)), index);
}
