#include <ZEL/ZEL_Float.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_SmallObjectAllocator.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_ChannelRef.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace
{

/// Toward zero; what no integer can hold becomes the nearest one, a NaN 0.
template <class T>
T truncated(double value)
{
    // 2^31 and 2^63 are doubles; the largest int64 isn't.
    const double limit = -double(std::numeric_limits<T>::min());
    if (value >= limit) {
        return std::numeric_limits<T>::max();
    }
    if (value >= -limit) {
        return T(value);
    }
    return value < -limit ? std::numeric_limits<T>::min() : T(0);
}

std::size_t valueBytes(int size)
{
    return sizeof(double) * std::size_t(std::max(size, 1));
}

double halvesUp(double value)
{
    return std::floor(value + 0.5);
}

void digitsOf(double value, KIT_String &text)
{
    KIT_Digits digits;
    digits.reset(value, 0, -1);
    text.harden(digits.buffer());
}

bool isNumberText(const KIT_String &text)
{
    return text.isFloat(false, false, false);
}

} // namespace

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

ZEL_Float::ZEL_Float(ZEL_Template *templatePtr, ZEL_Parm *parm) : ZEL_Overridable(templatePtr, parm)
{
    allocateValues();
}

ZEL_Float::ZEL_Float(const ZEL_Float &source, ZEL_Parm *parm) : ZEL_Overridable(source, parm)
{
    const int size = getVectorSize();
    allocateValues();
    for (int i = 0; i < size; ++i) {
        myValues[i] = source.storedValue(i);
    }
}

ZEL_Float::~ZEL_Float()
{
    KIT_SmallObjectAllocator::deallocate(myValues, valueBytes(getVectorSize()));
}

void ZEL_Float::allocateValues()
{
    const int size = getVectorSize();
    myValues = static_cast<double *>(KIT_SmallObjectAllocator::allocate(valueBytes(size)));
    std::fill(myValues, myValues + size, 0.0);
}

ZEL_Instance *ZEL_Float::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_Float(*this, parm);
}

void ZEL_Float::adopt(ZEL_Instance &source)
{
    ZEL_Overridable::adopt(source);
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
    // Written without a look at what is there: a store doesn't wait for the cache line, a load of a
    // line that another evaluation thread has just written would.
    BASstore(myValues[index], value);
}

double ZEL_Float::constrainedValue(double value, bool useMin, bool useMax, bool round) const
{
    const ZEL_Range *range = getRangePtr();
    if (useMin && range && range->getParmMin() > value) {
        value = range->getParmMin();
    } else if (useMax && range && range->getParmMax() < value) {
        value = range->getParmMax();
    }
    return round ? halvesUp(value) : value;
}

double ZEL_Float::constrainedValue(double value) const
{
    const ZEL_Range *range = getRangePtr();
    return constrainedValue(value, range && range->hasParmMin(), range && range->hasParmMax(),
                            getType().hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER));
}

double ZEL_Float::constrainedRawValue(int index) const
{
    return validIndex(index) ? constrainedValue(storedValue(index)) : 0.0;
}

double ZEL_Float::evaluateChannel(ZEL_ParmList *list, TRK_Channel *channel, double time, int index,
                                  int thread, bool &timeDependent) const
{
    const TRK_Collection *collection = getChannelGroupPtr();
    if (!collection) {
        collection = channel->getCollection();
    }
    const double value =
        collection ? collection->evaluate(channel, time, false, thread) : storedValue(index);
    timeDependent = list && (channel->getPendingFlag() || channel->isTimeDependent());
    storeValue(index, value);
    return value;
}

double ZEL_Float::resolveComponent(ZEL_ParmList *list, double time, int index, int thread,
                                   OwnerStep ownerStep) const
{
    if (!validIndex(index)) {
        return 0.0;
    }
    const bool animatible = getType().isAnimatible();
    if (!animatible) {
        time = 0.0;
    }
    if (list && ownerStep == OwnerStep::ASK) {
        ZEL_ParmOwner *owner = list->getParmOwner();
        if (owner && owner->isPendingOverride() &&
            owner->zelCookOverrides(time, thread, getToken(), index) != KIT_ERROR_NONE) {
            return 0.0;
        }
    }
    double value = 0.0;
    if (hasOverrideData() && evalOverrideValueImpl(list, time, index, thread, value) == 1) {
        return constrainedValue(value);
    }
    if (TRK_Channel *channel = getChannel(index)) {
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
    return constrainedValue(value);
}

void ZEL_Float::getValue(ZEL_ParmList *, double, KIT_JSONValueMap &, int, bool, int) const {}

void ZEL_Float::getValue(ZEL_ParmList *, double, std::shared_ptr<const ZEL_DataItem> &value, int,
                         int) const
{
    value.reset();
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
    value = resolveComponent(list, time, index, thread, OwnerStep::ASK);
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

namespace
{

void assignNumber(double &to, double number)
{
    to = number;
}
void assignNumber(float &to, double number)
{
    to = float(number);
}
void assignNumber(std::int64_t &to, double number)
{
    to = truncated<std::int64_t>(number);
}
void assignNumber(int &to, double number)
{
    to = truncated<int>(number);
}

} // namespace

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

    for (int i = 0; i < size; ++i) {
        if (owner && owner->isPendingOverride() &&
            owner->zelCookOverrides(at, thread, getToken(), i) != KIT_ERROR_NONE) {
            assignNumber(values[i], 0.0);
            continue;
        }
        double value = 0.0;
        if (!(hasOverrideData() && evalOverrideValueImpl(list, at, i, thread, value) == 1)) {
            bool timeDependent = false;
            if (TRK_Channel *channel = getChannel(i)) {
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
        assignNumber(values[i], constrainedValue(value, useMin, useMax, round));
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

void ZEL_Float::setValue(double time, const std::shared_ptr<const ZEL_DataItem> &,
                         bool replaceExpression, int index, ZEL_AddKeyType addKey,
                         ZEL_KeySetType keySet)
{
    setValue(time, 0, replaceExpression, index, addKey, keySet);
}

void ZEL_Float::setValue(double time, std::int64_t value, bool replaceExpression, int index,
                         ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    setValue(time, double(value), replaceExpression, index, addKey, keySet);
}

void ZEL_Float::setValue(double time, int value, bool replaceExpression, int index,
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
        setChannelValue(channel, time, value, replaceExpression, index, addKey, keySet);
    } else {
        BASstore(myValues[index], value);
    }
}

void ZEL_Float::setChannelValue(TRK_Channel *channel, double time, double value,
                                bool replaceExpression, int index, ZEL_AddKeyType addKey,
                                ZEL_KeySetType keySet)
{
    if (replaceExpression) {
        if (TRK_Segment *segment = channel->getExpressionSegment(time)) {
            segment->changeExpression("constant()", segment->getExprLanguage());
            storeValue(index, segment->getValue());
        }
        channel->clearPending();
    }
    const int thread = BASgetSTID();
    ZEL_AutoBlockErrors blockErrors(thread);
    // Clamped against raw: a value beyond a hard limit always counts as a change.
    if (resolveComponent(nullptr, time, index, thread, OwnerStep::SKIP) == value) {
        return;
    }
    const bool preference = TRK_Manager::getContext().getCommitPreference();
    const bool commit = keySet == ZEL_KEYSET_PREFERENCE
                            ? ZEL_Parm::getAlwaysHardenFlag() || preference
                            : keySet == ZEL_KEYSET_COMMIT;
    channel->setKeyValue(value, time, true, commit, false);
    if (const TRK_Collection *collection = getChannelGroupPtr()) {
        storeValue(index, collection->evaluate(channel, time, false, thread));
    }
    if (addKey != ZEL_ADDKEY_PENDING) {
        hardenChanges(time, index, addKey == ZEL_ADDKEY_FORCE, nullptr, nullptr);
        if (preference && TRK_Manager::getContext().getTupleKeying()) {
            keyWholeTuple(time, index);
        }
    }
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
    if (!setOverrideFloat(time, text, replaceExpression, index, addKey, keySet)) {
        return;
    }
    if (!text || BASisFloat(text)) {
        setValue(time, BASparseFloat(text), replaceExpression, index, addKey, keySet);
        return;
    }
    const TRK_StringMeaning asExpression =
        meaning == TRK_MEANING_LITERAL ? TRK_MEANING_COLLECTION : meaning;
    setExpression(time, text, stringMeaningToExprLanguage(asExpression), index, true, false);
}

void ZEL_Float::setValues(double time, const std::int64_t *values, bool replaceExpression,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    ZEL_Overridable::setValues(time, values, replaceExpression, addKey, keySet);
    for (int i = 0; i < getVectorSize(); ++i) {
        setValue(time, values[i], replaceExpression, i, addKey, keySet);
    }
}

void ZEL_Float::setValues(double time, const double *values, bool replaceExpression,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    ZEL_Overridable::setValues(time, values, replaceExpression, addKey, keySet);
    for (int i = 0; i < getVectorSize(); ++i) {
        setValue(time, values[i], replaceExpression, i, addKey, keySet);
    }
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
        // A number never makes a channel.
        setValue(time, expression.toFloat(), false, index, ZEL_ADDKEY_PENDING,
                 ZEL_KEYSET_PREFERENCE);
        return;
    }
    if (deleteChannel) {
        removeChannel(index);
    }
    if (!getChannel(index)) {
        addChannel(index);
    }
    TRK_Channel *channel = getChannel(index);
    if (!channel) {
        return;
    }
    channel->changeExpression(time, expression.nonNullStr(), language, true);
    channel->clearPending();
    const TRK_Collection *collection = getChannelGroupPtr();
    if (evaluate && collection) {
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
    TRK_Channel *channel = validIndex(index) ? getChannel(index) : nullptr;
    if (!channel) {
        return;
    }
    if (!force) {
        if (channel->getPendingFlag() && !channel->isPending(time)) {
            channel->clearPending();
            return;
        }
        if (getChanState(time, index) != ZEL_CHAN_PENDING) {
            return;
        }
    }
    if (collect) {
        if (getChannelGroupPtr()) {
            collect->append(TRK_ChannelRef());
            TRK_Manager::getContext().fillChannelRef(collect->last(), channel);
        }
        return;
    }
    if (pattern && !channel->match(pattern)) {
        return;
    }
    const double value = channel->isPending(time) ? channel->getDefault()
                                                  : resolveComponent(nullptr, time, index,
                                                                     BASgetSTID(), OwnerStep::SKIP);
    storeValue(index, value);
    if (channel->isAtHardKey(time) && channel->setKeyValue(value, time, true, true, true) == 0) {
        return;
    }
    TRK_AutoEventHandler batch;
    channel->insertKeyFrame(time, true);
    if (TRK_Segment *segment = channel->getExpressionSegment(time)) {
        segment->setInValue(value, true);
    }
}

// -------------------------------------------------------------------------- //
// Defaults
// -------------------------------------------------------------------------- //

const ZEL_Default *ZEL_Float::defaultOf(int index) const
{
    if (const ZEL_Default *current = getTemplatePtr()->getDefault(index)) {
        return current;
    }
    const ZEL_Default *factory = getTemplatePtr()->getFactoryDefaults();
    return factory ? factory + index : nullptr;
}

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
    BASstore(myValues[index], found ? found->getFloat() : 0.0);
    const char *expression = found ? found->getString() : "";
    if (allowChannel && isExpression(expression)) {
        addChannel(index, expression, TRKstringMeaningToExprLanguage(found->getStringMeaning()));
    }
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
    if (deleteChannels) {
        clearAndDestroyChannels();
    }
    const bool allowChannels = getChannelGroupPtr() != nullptr;
    for (int i = 0; i < getVectorSize(); ++i) {
        applyDefault(i, allowChannels);
    }
    setDefaultsInitFlag(true);
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
    ZEL_Template *description = getTemplatePtr();
    if (!description->getDefault(index)) {
        return;
    }
    if (const ZEL_Default *factory = description->getFactoryDefaults()) {
        description->setDefault(index, factory[index]);
    } else {
        description->setFloatDefault(index, 0.0);
    }
}

void ZEL_Float::overwriteDefault(double, int index)
{
    if (validIndex(index)) {
        getTemplatePtr()->setFloatDefault(index, storedValue(index));
    }
}

void ZEL_Float::overwriteDefaults(double time)
{
    for (int i = 0; i < getVectorSize(); ++i) {
        overwriteDefault(time, i);
    }
}

bool ZEL_Float::isFactoryExpression(int index) const
{
    const ZEL_Default &factory = getTemplatePtr()->getFactoryDefaults()[index];
    TRK_Channel *channel = getChannel(index);
    if (!factory.gotString() || channel->getNSegments() != 1) {
        return false;
    }
    const TRK_Segment *segment = channel->getFirstSegment();
    return segment->getExprLanguage() ==
               TRKstringMeaningToExprLanguage(factory.getStringMeaning()) &&
           std::strcmp(segment->getExpression(), factory.getString()) == 0;
}

bool ZEL_Float::isDefault(int index, ZEL_DefaultType type, bool checkLocks) const
{
    // The base agrees with anything while locks aren't checked, so the index is ours to test.
    if (!validIndex(index) || !ZEL_Overridable::isDefault(index, type, checkLocks)) {
        return false;
    }
    const ZEL_Default *current = getTemplatePtr()->getDefault(index);
    if ((type & ZEL_DEFAULT_CURRENT) && current) {
        return storedValue(index) == current->getFloat();
    }
    const ZEL_Default *factory = getTemplatePtr()->getFactoryDefaults();
    if (type & ZEL_DEFAULT_FACTORY_EXPRESSION) {
        if (getChannel(index)) {
            return factory && isFactoryExpression(index);
        }
        if (factory && isExpression(factory[index].getString())) {
            return false;
        }
    }
    if ((type & ZEL_DEFAULT_FACTORY_VALUE) && factory) {
        return storedValue(index) == factory[index].getFloat();
    }
    return storedValue(index) == 0.0;
}

// -------------------------------------------------------------------------- //
// Queries
// -------------------------------------------------------------------------- //

bool ZEL_Float::getMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, double time,
                               bool addIfDefault, int thread) const
{
    constexpr int theInlineSize = 4;
    double inlineValues[theInlineSize];
    std::unique_ptr<double[]> heapValues;
    double *values = inlineValues;
    if (size > theInlineSize) {
        heapValues.reset(new double[std::size_t(size)]);
        values = heapValues.get();
    }
    for (int i = size - 1; i >= 0; --i) {
        getValue(list, time, values[i], i, thread);
        checkForExpressionErrors(list, i, thread);
    }
    const bool plain = isAllDefault(ZEL_DEFAULT_MAGIC) && !isTimeDependent(-1);
    if (addIfDefault || !plain) {
        for (int i = size - 1; i >= 0; --i) {
            if (isDefault(i, ZEL_DEFAULT_MAGIC, true) && !isTimeDependent(i)) {
                tokens.append('d');
            } else {
                tokens.append(values[i]);
            }
        }
    }
    return !plain;
}

std::int64_t ZEL_Float::getMemoryUsage(bool inclusive) const
{
    return ZEL_Overridable::getMemoryUsage(false) + std::int64_t(sizeof(double)) * getVectorSize() +
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
