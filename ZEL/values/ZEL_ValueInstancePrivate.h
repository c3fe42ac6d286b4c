/// \file ZEL_ValueInstancePrivate.h
/// The member templates of ZEL_ValueInstance, for the sources of the kinds of value. Not installed.
///
/// Threads:    as the instance.
#pragma once

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_SmallArray.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_EventManager.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_ValueInstance.h>

#include <algorithm>
#include <limits>

template <class T>
T ZEL_ValueInstance::truncated(double value)
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

template <class T>
void ZEL_ValueInstance::makeNumbers(Numbers<T> &numbers, T *room)
{
    const int size = getVectorSize();
    if (size <= 1) {
        numbers.only = T(0);
        return;
    }
    numbers.apart =
        room ? room
             : static_cast<T *>(KIT_SmallObjectAllocator::allocate(sizeof(T) * std::size_t(size)));
    setFlag(VALUES_APART | (room ? 0u : std::uint32_t(VALUES_OWNED)), true);
    std::fill(numbers.apart, numbers.apart + size, T(0));
}

template <class T>
void ZEL_ValueInstance::moveNumbersApart(Numbers<T> &numbers)
{
    if (testFlag(VALUES_OWNED)) {
        return;
    }
    const int size = getVectorSize();
    const std::size_t bytes = sizeof(T) * std::size_t(size);
    Rare &record = makeRare();
    T *const apart = static_cast<T *>(KIT_SmallObjectAllocator::allocate(bytes));
    std::copy(dataOf(numbers), dataOf(numbers) + size, apart);
    // What a thread that evaluates meanwhile may have found before stays as it is: the array in the
    // place, or the value in the object. So the pointer to a single value doesn't go there.
    if (testFlag(VALUES_APART)) {
        __atomic_store_n(&numbers.apart, apart, __ATOMIC_RELEASE);
        setFlag(VALUES_OWNED, true);
    } else {
        record.movedValue = apart;
        setFlag(VALUES_APART | VALUE_MOVED | VALUES_OWNED, true);
    }
}

template <class T>
void ZEL_ValueInstance::freeNumbers(Numbers<T> &numbers)
{
    if (testFlag(VALUES_OWNED)) {
        KIT_SmallObjectAllocator::deallocate(dataOf(numbers),
                                             sizeof(T) * std::size_t(getVectorSize()));
    }
}

template <class Store, class IsCurrent, class Evaluate, class Finish>
void ZEL_ValueInstance::setChannelNumber(const ChannelSet &set, double value, const Store &store,
                                         const IsCurrent &isCurrent, const Evaluate &evaluate,
                                         const Finish &finish)
{
    double stored = 0.0;
    if (set.replaceExpression && makeConstant(set.channel, set.time, stored)) {
        store(stored);
    }
    const int thread = BASgetSTID();
    ZEL_AutoBlockErrors blockErrors(thread);
    if (isCurrent(thread)) {
        return;
    }
    constexpr bool notify = true;
    constexpr bool keyOnly = false;
    set.channel->setKeyValue(value, set.time, notify, commitFlag(set.keySet), keyOnly);
    evaluate(thread);
    if (hardenSet(set)) {
        finish();
    }
}

template <class Change>
void ZEL_ValueInstance::insertHardKey(TRK_Channel *channel, double time, const Change &change)
{
    TRK_AutoEventHandler batch;
    channel->insertKeyFrame(time, true);
    change();
}

template <class Store>
bool ZEL_ValueInstance::copyNumberDefaults(const Store &store)
{
    const ZEL_Template &description = *getTemplatePtr();
    const ZEL_Default *const factory = description.getFactoryDefaults();
    const int size = getVectorSize();
    if (rare()) {
        return false;
    }
    for (int i = 0; i < size; ++i) {
        if (description.getDefault(i) || (factory && factory[i].gotString())) {
            return false;
        }
    }
    for (int i = 0; i < size; ++i) {
        store(i, factory ? factory + i : nullptr);
    }
    setDefaultsInitFlag(true);
    return true;
}

template <class Apply>
void ZEL_ValueInstance::revertComponents(bool deleteChannels, const Apply &apply)
{
    if (deleteChannels) {
        clearAndDestroyChannels();
    }
    for (int i = 0; i < getVectorSize(); ++i) {
        apply(i);
    }
    setDefaultsInitFlag(true);
}

template <class Clear>
void ZEL_ValueInstance::restoreFactory(int index, const Clear &clear)
{
    if (!currentDefault(index)) {
        return;
    }
    if (const ZEL_Default *factory = factoryDefault(index)) {
        getTemplatePtr()->setDefault(index, *factory);
    } else {
        clear();
    }
}

template <class Equals, class HasExpression>
bool ZEL_ValueInstance::isNumberDefault(int index, ZEL_DefaultType type, bool checkLocks,
                                        const ZEL_Default *factory, const Equals &equals,
                                        const HasExpression &hasExpression) const
{
    // The base agrees to any index while locks aren't checked, so check the index here.
    if (!validIndex(index) || !ZEL_Overridable::isDefault(index, type, checkLocks)) {
        return false;
    }
    const ZEL_Default *current = currentDefault(index);
    if ((type & ZEL_DEFAULT_CURRENT) && current) {
        return equals(current);
    }
    if (type & ZEL_DEFAULT_FACTORY_EXPRESSION) {
        if (getChannel(index)) {
            return factory && hasFactoryExpression(index);
        }
        if (factory && hasExpression(*factory)) {
            return false;
        }
    }
    if ((type & ZEL_DEFAULT_FACTORY_VALUE) && factory) {
        return equals(factory);
    }
    return equals(nullptr);
}

template <class T, class Read, class Append>
bool ZEL_ValueInstance::buildMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size,
                                         bool addIfDefault, int thread, const Read &read,
                                         const Append &append) const
{
    KIT_SmallArray<T, 4> values(size);
    int &error = EVL::theErrNo[thread];
    int first = error;
    for (int i = size - 1; i >= 0; --i) {
        // Cleared, so that nobody's earlier error is reported for this component.
        error = EVL::EVL_OK;
        read(i, values[i]);
        checkForExpressionErrors(list, i, thread);
        first = first != EVL::EVL_OK ? first : error;
    }
    error = first;
    const bool plain = isAllDefault(ZEL_DEFAULT_MAGIC) && !isTimeDependent(-1);
    for (int i = size - 1; i >= 0 && (addIfDefault || !plain); --i) {
        if (isDefault(i, ZEL_DEFAULT_MAGIC, true) && !isTimeDependent(i)) {
            tokens.append('d');
        } else {
            append(i, values[i]);
        }
    }
    return !plain;
}
