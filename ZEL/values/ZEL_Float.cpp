#include <ZEL/ZEL_Float.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_SmallObjectAllocator.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/values/ZEL_ValueInstancePrivate.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace
{

void digitsOf(double value, KIT_String &text)
{
    KIT_Digits digits;
    digits.reset(value, 0, -1);
    text.harden(digits.buffer());
}

bool isNumberText(const KIT_String &text)
{
    return text.isFloat();
}

} // namespace

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

ZEL_Float::ZEL_Float(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_Float(templatePtr, parm, nullptr)
{
    makeRare();
}

ZEL_Float::ZEL_Float(ZEL_Template *templatePtr, ZEL_Parm *parm, double *room)
    : ZEL_ValueInstance(templatePtr, parm)
{
    makeNumbers(myNumbers, room);
}

ZEL_Float::ZEL_Float(const ZEL_Float &source, ZEL_Parm *parm) : ZEL_Float(source, parm, nullptr)
{
    makeRare();
}

ZEL_Float::ZEL_Float(const ZEL_Float &source, ZEL_Parm *parm, double *room)
    : ZEL_ValueInstance(source, parm)
{
    makeNumbers(myNumbers, room);
    for (int i = 0, size = getVectorSize(); i < size; ++i) {
        values()[i] = source.storedValue(i);
    }
    if (getChannelCount() > 0) {
        moveValuesApart();
    }
}

ZEL_Float::~ZEL_Float()
{
    freeNumbers(myNumbers);
}

void ZEL_Float::moveValuesApart()
{
    moveNumbersApart(myNumbers);
}

ZEL_Instance *ZEL_Float::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_Float(*this, parm, nullptr);
}

void ZEL_Float::adopt(ZEL_Instance &source)
{
    ZEL_ValueInstance::adopt(source);
    if (const auto *other = dynamic_cast<const ZEL_Float *>(&source)) {
        const int size = std::min(getVectorSize(), other->getVectorSize());
        for (int i = 0; i < size; ++i) {
            storeValue(i, other->storedValue(i));
        }
    }
    setDefaultsInitFlag(true);
}

// -------------------------------------------------------------------------- //
// Evaluation
// -------------------------------------------------------------------------- //

void ZEL_Float::storeValue(int index, double value) const
{
    // Stored without comparing first: a store doesn't wait for the cache line, but a load of a line
    // that another evaluation thread has just written does.
    BASstore(values()[index], value);
}

double ZEL_Float::constrainedValue(double value, bool useMin, bool useMax, bool round) const
{
    const ZEL_Range *range = getRangePtr();
    value = range ? range->constrain(useMin, useMax, value) : value;
    return round ? halvesUp(value) : value;
}

inline double ZEL_Float::limited(double value) const
{
    return ZEL_ValueInstance::limited(getRangePtr(),
                                      getType().hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER), value);
}

double ZEL_Float::constrainedValue(double value) const
{
    return limited(value);
}

double ZEL_Float::constrainedRawValue(int index) const
{
    return validIndex(index) ? constrainedValue(storedValue(index)) : 0.0;
}

inline __attribute__((always_inline)) double
ZEL_Float::evaluateChannel(ZEL_ParmList *list, TRK_Channel *channel, double time, int index,
                           int thread, bool &timeDependent) const
{
    const TRK_Collection *collection = evaluationCollection(channel);
    const double value =
        collection ? collection->evaluate(channel, time, false, thread) : storedValue(index);
    timeDependent = list && (channel->getPendingFlag() || channel->isTimeDependent());
    double &stored = values()[index];
    if (timeDependent) {
        // Without comparing, as in storeValue().
        BASstore(stored, value);
    } else {
        // Seldom another value: not written, its cache line stays with all threads that read it.
        BASstoreIfDifferent(stored, value);
    }
    return value;
}

// What a plain read doesn't need is called last, so that it saves no register.
inline __attribute__((always_inline)) double ZEL_Float::readComponent(ZEL_ParmList *list,
                                                                      double time, int index,
                                                                      int thread,
                                                                      OwnerStep ownerStep) const
{
    if (!validIndex(index)) {
        return 0.0;
    }
    if (list && ownerStep == OwnerStep::ASK) {
        ZEL_ParmOwner *owner = list->getParmOwner();
        if (owner && owner->isPendingOverride()) {
            return resolvePending(list, *owner, time, index, thread);
        }
    }
    // Without a record no overrides, channels or nodes to mark; and setTimeDependent is this library's.
    const Rare *const record = rare();
    return record ? resolveRare(list, *record, time, index, thread) : limited(storedValue(index));
}

double ZEL_Float::resolveComponent(ZEL_ParmList *list, double time, int index, int thread,
                                   OwnerStep ownerStep) const
{
    return readComponent(list, time, index, thread, ownerStep);
}

double ZEL_Float::resolvePending(ZEL_ParmList *list, ZEL_ParmOwner &owner, double time, int index,
                                 int thread) const
{
    return cookFails(owner, getType().isAnimatible() ? time : 0.0, index, thread)
               ? 0.0
               : resolveComponent(list, time, index, thread, OwnerStep::SKIP);
}

double ZEL_Float::resolveRare(ZEL_ParmList *list, const Rare &record, double time, int index,
                              int thread) const
{
    const bool animatible = getType().isAnimatible();
    if (!animatible) {
        time = 0.0;
    }
    double value = 0.0;
    if (record.overrides && evalOverrideValueImpl(list, time, index, thread, value) == 1) {
        return limited(value);
    }
    if (TRK_Channel *channel = record.channel(index)) {
        bool timeDependent = false;
        value = evaluateChannel(list, channel, time, index, thread, timeDependent);
        setTimeDependent(index, timeDependent);
        if (timeDependent && !animatible && channel->isTimeDependentSlow(thread)) {
            addParmWarning(ZEL_ERR_TIME_DEPENDENT);
        }
    } else {
        value = storedValue(index);
        setTimeDependent(index, false);
    }
    return limited(value);
}

void ZEL_Float::getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool,
                         int thread) const
{
    const double number = resolveComponent(list, time, index, thread, OwnerStep::ASK);
    if (getType().hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER)) {
        value.itoa(truncated<std::int64_t>(number));
    } else {
        digitsOf(number, value);
    }
}

void ZEL_Float::getValue(ZEL_ParmList *list, double time, double &value, int index,
                         int thread) const
{
    value = readComponent(list, time, index, thread, OwnerStep::ASK);
}

void ZEL_Float::getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                         int thread) const
{
    value = truncated<std::int64_t>(resolveComponent(list, time, index, thread, OwnerStep::ASK));
}

void ZEL_Float::getValue(ZEL_ParmList *list, double time, int &value, int index, int thread) const
{
    value = truncated<int>(resolveComponent(list, time, index, thread, OwnerStep::ASK));
}

/// Converts a number to the element type of an array: integers truncate, float narrows.
template <class T>
T ZEL_Float::narrowed(double number)
{
    if constexpr (std::is_integral_v<T>) {
        return truncated<T>(number);
    } else {
        return T(number);
    }
}

template <class T>
void ZEL_Float::fillValues(ZEL_ParmList *list, double time, T *values, int thread) const
{
    const ZEL_Type &type = getType();
    const ZEL_Range *range = getRangePtr();
    const bool useMin = range && range->hasParmMin();
    const bool useMax = range && range->hasParmMax();
    const bool round = type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER);
    const bool animatible = type.isAnimatible();
    const bool refreshes = !type.hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOREFRESH);
    ZEL_ParmOwner *owner = list ? list->getParmOwner() : nullptr;
    const int size = getVectorSize();
    const double at = animatible ? time : 0.0;
    bool anyTimeDependent = false;

    const double *const unmoved = this->values(); // which they are without a record
    for (int i = 0; i < size; ++i) {
        if (owner && owner->isPendingOverride() && cookFails(*owner, at, i, thread)) {
            values[i] = narrowed<T>(0.0);
            continue;
        }
        // Only now: the owner may just have made an override.
        const Rare *const record = rare();
        double value = record ? storedValue(i) : BASload(unmoved[i]);
        if (record &&
            !(record->overrides && evalOverrideValueImpl(list, at, i, thread, value) == 1)) {
            bool timeDependent = false;
            if (TRK_Channel *channel = record->channel(i)) {
                value = evaluateChannel(list, channel, at, i, thread, timeDependent);
                if (timeDependent && !animatible && channel->isTimeDependentSlow(thread)) {
                    addParmWarning(ZEL_ERR_TIME_DEPENDENT);
                }
            } else {
                value = storedValue(i);
            }
            if (refreshes) {
                setTimeDependentMicroNode(i, timeDependent);
                anyTimeDependent |= timeDependent;
            }
        }
        values[i] = narrowed<T>(constrainedValue(value, useMin, useMax, round));
    }
    if (anyTimeDependent && list) {
        list->setTimeDependent();
        if (!type.hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOCOOK)) {
            list->setCookTimeDependent();
        }
    }
}

void ZEL_Float::getValues(ZEL_ParmList *list, double time, std::int64_t *values, int thread) const
{
    fillValues(list, time, values, thread);
}

void ZEL_Float::getValues(ZEL_ParmList *list, double time, int *values, int thread) const
{
    fillValues(list, time, values, thread);
}

void ZEL_Float::getValues(ZEL_ParmList *list, double time, double *values, int thread) const
{
    fillValues(list, time, values, thread);
}

void ZEL_Float::getValues(ZEL_ParmList *list, double time, float *values, int thread) const
{
    fillValues(list, time, values, thread);
}

// -------------------------------------------------------------------------- //
// Setting
// -------------------------------------------------------------------------- //

void ZEL_Float::setValue(double time, std::int64_t value, bool replaceExpression, int index,
                         ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    setValue(time, double(value), replaceExpression, index, addKey, keySet);
}

void ZEL_Float::setValue(double time, double value, bool replaceExpression, int index,
                         ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    if (!setOverrideFloat(time, value, replaceExpression, index, addKey, keySet)) {
        return;
    }
    if (TRK_Channel *channel = getChannel(index)) {
        setChannelValue({channel, time, replaceExpression, index, addKey, keySet}, value);
    } else {
        BASstore(values()[index], value);
    }
}

void ZEL_Float::setRawValue(int index, double value)
{
    if (validIndex(index)) {
        storeValue(index, value);
    }
}

void ZEL_Float::setChannelValue(const ChannelSet &set, double value)
{
    const TRK_Manager &manager = TRK_Manager::getContext();
    const bool keysTuples = manager.getCommitPreference() && manager.getTupleKeying();
    setChannelNumber(
        set, value, [&](double stored) { storeValue(set.index, stored); },
        // Compares the current, clamped value with the new, unclamped one: a value beyond a hard
        // limit always counts as a change.
        [&](int thread) {
            return resolveComponent(nullptr, set.time, set.index, thread, OwnerStep::SKIP) == value;
        },
        [&](int thread) {
            if (const TRK_Collection *collection = getChannelGroupPtr()) {
                storeValue(set.index, collection->evaluate(set.channel, set.time, false, thread));
            }
        },
        [&] {
            if (keysTuples) {
                keyWholeTuple(set.time, set.index);
            }
        });
}

void ZEL_Float::keyWholeTuple(double time, int index)
{
    for (int i = 0; i < getVectorSize(); ++i) {
        if (i != index && getChannel(i)) {
            getChannel(i)->insertKeyFrame(time, true);
        }
    }
}

void ZEL_Float::setValue(double time, const char *text, TRK_StringMeaning meaning,
                         bool replaceExpression, int index, ZEL_AddKeyType addKey,
                         ZEL_KeySetType keySet)
{
    // Don't fall through for a bad index: the override's text setter would notify and forward to
    // the provider without checking it.
    if (!validIndex(index)) {
        indexError(index);
        return;
    }
    if (!setOverrideFloat(time, text, replaceExpression, index, addKey, keySet)) {
        return;
    }
    if (!text || BASisFloat(text)) {
        setValue(time, BASparseFloat(text), replaceExpression, index, addKey, keySet);
        return;
    }
    constexpr bool evaluate = true;
    constexpr bool deleteChannel = false;
    setExpression(time, text, expressionLanguage(meaning), index, evaluate, deleteChannel);
}

void ZEL_Float::setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                              bool evaluate, bool deleteChannel)
{
    if (!validIndex(index)) {
        indexError(index);
        return;
    }
    KIT_String expression(text ? text : "", true);
    expression.removeTrailingSpace();
    if (!getChannel(index) && isNumberText(expression)) {
        // A number never creates a channel.
        setValue(time, expression.toFloat(), false, index, ZEL_ADDKEY_PENDING,
                 ZEL_KEYSET_PREFERENCE);
        return;
    }
    const TRK_Channel *channel =
        putExpression(time, expression.nonNullStr(), language, index, deleteChannel);
    const TRK_Collection *collection = getChannelGroupPtr();
    if (channel && evaluate && collection) {
        storeValue(index, collection->evaluate(channel, time, false, BASgetSTID()));
    }
}

void ZEL_Float::setDefaultChannelValue(TRK_Channel *channel, int index)
{
    if (validIndex(index)) {
        channel->setDefault(storedValue(index));
    }
}

void ZEL_Float::hardenChanges(double time, int index, bool force, const char *pattern,
                              KIT_Array<TRK_ChannelRef> *collect)
{
    TRK_Channel *channel = channelToHarden(time, index, force, pattern, collect);
    if (!channel) {
        return;
    }
    const double value = channel->isPending(time) ? channel->getDefault()
                                                  : resolveComponent(nullptr, time, index,
                                                                     BASgetSTID(), OwnerStep::SKIP);
    storeValue(index, value);
    hardenNumber(channel, time, value);
}

// -------------------------------------------------------------------------- //
// Defaults
// -------------------------------------------------------------------------- //

double ZEL_Float::defaultFloat(int index) const
{
    const ZEL_Default *found = defaultOf(index);
    return found ? found->getFloat() : 0.0;
}

void ZEL_Float::getDefaultValue(double &value, int index) const
{
    if (validIndex(index)) {
        value = defaultFloat(index);
    }
}

void ZEL_Float::getDefaultValue(std::int64_t &value, int index) const
{
    if (validIndex(index)) {
        value = truncated<std::int64_t>(halvesUp(defaultFloat(index)));
    }
}

void ZEL_Float::getDefaultValue(int &value, int index) const
{
    if (validIndex(index)) {
        value = truncated<int>(halvesUp(defaultFloat(index)));
    }
}

void ZEL_Float::getDefaultValue(KIT_String &value, int index) const
{
    if (!validIndex(index)) {
        return;
    }
    if (getType().hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER)) {
        value.itoa(truncated<int>(halvesUp(defaultFloat(index))));
    } else {
        digitsOf(defaultFloat(index), value);
    }
}

void ZEL_Float::applyDefault(int index, bool allowChannel)
{
    const ZEL_Default *found = defaultOf(index);
    BASstore(values()[index], found ? found->getFloat() : 0.0);
    const char *expression = found ? found->getString() : "";
    if (allowChannel && isExpression(expression)) {
        addChannel(index, expression, defaultLanguage(*found));
    }
}

bool ZEL_Float::copyNumberDefaults()
{
    return ZEL_ValueInstance::copyNumberDefaults([&](int i, const ZEL_Default *record) {
        BASstore(values()[i], record ? record->getFloat() : 0.0);
    });
}

void ZEL_Float::revertToDefault(int index)
{
    if (!validIndex(index)) {
        return;
    }
    removeChannel(index);
    applyDefault(index, true);
    setDefaultsInitFlag(true);
}

void ZEL_Float::revertToDefaults(bool deleteChannels)
{
    const bool allowChannels = getChannelGroupPtr() != nullptr;
    revertComponents(deleteChannels, [&](int i) { applyDefault(i, allowChannels); });
}

void ZEL_Float::setValueToDefault(double time, int index, ZEL_AddKeyType addKey)
{
    if (!validIndex(index)) {
        return;
    }
    const ZEL_Default *found = defaultOf(index);
    if (!getChannel(index) || (found && isExpression(found->getString()))) {
        revertToDefault(index);
    } else {
        setValue(time, defaultFloat(index), false, index, addKey, ZEL_KEYSET_PREFERENCE);
    }
}

void ZEL_Float::restoreFactoryDefault(int index)
{
    restoreFactory(index, [&] { getTemplatePtr()->setFloatDefault(index, 0.0); });
}

void ZEL_Float::overwriteDefault(double, int index)
{
    if (validIndex(index)) {
        getTemplatePtr()->setFloatDefault(index, storedValue(index));
    }
}

bool ZEL_Float::isDefault(int index, ZEL_DefaultType type, bool checkLocks) const
{
    return isNumberDefault(
        index, type, checkLocks, factoryDefault(index),
        [&](const ZEL_Default *record) {
            return storedValue(index) == (record ? record->getFloat() : 0.0);
        },
        [](const ZEL_Default &record) { return isExpression(record.getString()); });
}

// -------------------------------------------------------------------------- //
// Queries
// -------------------------------------------------------------------------- //

bool ZEL_Float::getMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, double time,
                               bool addIfDefault, int thread) const
{
    return buildMagicString<double>(
        tokens, list, size, addIfDefault, thread,
        [&](int i, double &value) { getValue(list, time, value, i, thread); },
        [&](int, double value) { tokens.append(value); });
}

std::int64_t ZEL_Float::getMemoryUsage(bool inclusive) const
{
    return ZEL_ValueInstance::getMemoryUsage(false) +
           (testFlag(VALUES_APART) ? std::int64_t(sizeof(double)) * getVectorSize() : 0) +
           (inclusive ? std::int64_t(sizeof(*this)) : 0);
}

bool ZEL_Float::isRotationParm() const
{
    const char *token = getToken();
    return getVectorSize() == 3 && getType().isChannelType(ZEL_Type::ZEL_CHAN_NAMEXYZW) && token &&
           std::strcmp(token, "r") == 0;
}

bool ZEL_Float::isExpression(const char *text)
{
    return text && *text;
}
