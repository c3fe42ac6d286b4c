#include <ZEL/ZEL_Ordinal.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_SmallObjectAllocator.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/support/ZEL_NumberPrivate.h>
#include <ZEL/values/ZEL_OrdinalPrivate.h>
#include <ZEL/values/ZEL_ValueInstancePrivate.h>

#include <algorithm>
#include <new>

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

ZEL_Ordinal::ZEL_Ordinal(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_Ordinal(templatePtr, parm, nullptr)
{}

ZEL_Ordinal::ZEL_Ordinal(ZEL_Template *templatePtr, ZEL_Parm *parm, std::int64_t *room)
    : ZEL_ValueInstance(templatePtr, parm)
{
    makeNumbers(myNumbers, room);
}

ZEL_Ordinal::ZEL_Ordinal(const ZEL_Ordinal &source, ZEL_Parm *parm)
    : ZEL_Ordinal(source, parm, nullptr)
{}

ZEL_Ordinal::ZEL_Ordinal(const ZEL_Ordinal &source, ZEL_Parm *parm, std::int64_t *room)
    : ZEL_ValueInstance(source, parm)
{
    makeNumbers(myNumbers, room);
    for (int i = 0, size = getVectorSize(); i < size; ++i) {
        copyComponent(source, i);
    }
    if (getChannelCount() > 0) {
        moveValuesApart();
    }
}

ZEL_Ordinal::~ZEL_Ordinal()
{
    freeNumbers(myNumbers);
}

void ZEL_Ordinal::moveValuesApart()
{
    moveNumbersApart(myNumbers);
}

ZEL_Instance *ZEL_Ordinal::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_Ordinal(*this, parm);
}

void ZEL_Ordinal::adopt(ZEL_Instance &source)
{
    ZEL_ValueInstance::adopt(source);
    if (const auto *other = dynamic_cast<const ZEL_Ordinal *>(&source)) {
        const int size = std::min(getVectorSize(), other->getVectorSize());
        for (int i = 0; i < size; ++i) {
            copyComponent(*other, i);
        }
    }
    setDefaultsInitFlag(true);
}

// -------------------------------------------------------------------------- //
// Evaluation
// -------------------------------------------------------------------------- //

bool ZEL_Ordinal::isHeldTo(const ZEL_ChoiceList &list)
{
    const int type = list.getType();
    return (type & ZEL_CHOICELIST_EXCLUSIVE_BIT) != 0 && (type & ZEL_CHOICELIST_USE_TOKEN) == 0;
}

std::int64_t ZEL_Ordinal::constrained(std::int64_t value) const
{
    if (const ZEL_Range *range = getRangePtr()) {
        return limited(*range, value);
    }
    const ZEL_ChoiceList *list = getChoiceListPtr();
    if (!list || !isHeldTo(*list)) {
        return value;
    }
    // A menu without entries can't supply a value, so the value stays.
    const int size = list->getSize(getParm());
    return size > 0 ? std::clamp<std::int64_t>(value, 0, size - 1) : value;
}

bool ZEL_Ordinal::channelValue(const TRK_Channel *channel, double time, int thread,
                               std::int64_t &value) const
{
    const TRK_Collection *collection = evaluationCollection(channel);
    if (collection) {
        value =
            truncated<std::int64_t>(halvesUp(collection->evaluate(channel, time, false, thread)));
    }
    return collection != nullptr;
}

std::int64_t ZEL_Ordinal::evaluateChannel(const TRK_Channel *channel, double time, int index,
                                          int thread) const
{
    std::int64_t value = 0;
    if (!channelValue(channel, time, thread, value)) {
        return getInternalValue(index);
    }
    setInternalValue(index, value);
    return value;
}

std::int64_t ZEL_Ordinal::resolveComponent(ZEL_ParmList *list, double time, int index,
                                           int thread) const
{
    const bool animatible = getType().isAnimatible();
    if (!animatible) {
        time = 0.0;
    }
    std::int64_t value = 0;
    if (hasOverrideData() && evalOverrideValueImpl(list, time, index, thread, value) != 0) {
        return value;
    }
    TRK_Channel *channel = getChannel(index);
    if (!channel) {
        setTimeDependent(index, false);
        return getInternalValue(index);
    }
    value = evaluateChannel(channel, time, index, thread);
    const bool timeDependent = list && (channel->getPendingFlag() || channel->isTimeDependent());
    setTimeDependent(index, timeDependent);
    if (timeDependent && !animatible && channel->isTimeDependentSlow(thread)) {
        addParmWarning(ZEL_ERR_TIME_DEPENDENT);
    }
    return value;
}

void ZEL_Ordinal::getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                           int thread) const
{
    if (!validIndex(index)) {
        value = 0;
        return;
    }
    // When the owner fails, the limits apply to the resulting 0 as well; a float's stays 0.
    const double at = getType().isAnimatible() ? time : 0.0;
    const bool failed = ownerFails(list, at, index, thread);
    value = constrained(failed ? 0 : resolveComponent(list, time, index, thread));
}

void ZEL_Ordinal::getValue(ZEL_ParmList *list, double time, int &value, int index, int thread) const
{
    std::int64_t wide = 0;
    getValue(list, time, wide, index, thread);
    value = ZELclampToInt(wide);
}

void ZEL_Ordinal::getValue(ZEL_ParmList *list, double time, double &value, int index,
                           int thread) const
{
    std::int64_t wide = 0;
    getValue(list, time, wide, index, thread);
    value = double(wide);
}

void ZEL_Ordinal::getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool,
                           int thread) const
{
    std::int64_t wide = 0;
    getValue(list, time, wide, index, thread);
    intToToken(wide, value);
}

// -------------------------------------------------------------------------- //
// Setting
// -------------------------------------------------------------------------- //

void ZEL_Ordinal::setValue(double time, double value, bool replaceExpression, int index,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    setValue(time, truncated<int>(halvesUp(value)), replaceExpression, index, addKey, keySet);
}

void ZEL_Ordinal::setValue(double time, std::int64_t value, bool replaceExpression, int index,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    if (!setOverrideInt(time, value, replaceExpression, index, addKey, keySet)) {
        return;
    }
    if (TRK_Channel *channel = getChannel(index)) {
        setChannelValue({channel, time, replaceExpression, index, addKey, keySet}, value);
    } else {
        setInternalValue(index, value);
    }
}

void ZEL_Ordinal::setChannelValue(const ChannelSet &set, std::int64_t value)
{
    setChannelNumber(
        set, double(value),
        [&](double stored) {
            setInternalValue(set.index, truncated<std::int64_t>(halvesUp(stored)));
        },
        // Compares unclamped values: unlike with floats, setting a stored value beyond the limits
        // again is no change.
        [&](int thread) { return resolveComponent(nullptr, set.time, set.index, thread) == value; },
        [&](int thread) { evaluateChannel(set.channel, set.time, set.index, thread); },
        // A button or a toggle of a tuple is keyed alone, whatever the manager's setting for
        // tuples.
        [] {});
}

void ZEL_Ordinal::setValue(double time, const char *text, TRK_StringMeaning meaning,
                           bool replaceExpression, int index, ZEL_AddKeyType addKey,
                           ZEL_KeySetType keySet)
{
    // Don't fall through for a bad index: the override's text setter would notify and forward to
    // the provider without checking it.
    if (!validIndex(index)) {
        indexError(index);
        return;
    }
    if (!setOverrideInt(time, text, replaceExpression, index, addKey, keySet)) {
        return;
    }
    bool isNumber = false;
    const std::int64_t value = tokenToInt(text, isNumber);
    if (isNumber || !text || !*text) {
        setValue(time, ZELclampToInt(value), replaceExpression, index, addKey, keySet);
    } else {
        constexpr bool evaluate = true;
        constexpr bool deleteChannel = false;
        setExpression(time, text, expressionLanguage(meaning), index, evaluate, deleteChannel);
    }
}

void ZEL_Ordinal::setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                                bool evaluate, bool deleteChannel)
{
    if (!validIndex(index)) {
        indexError(index);
        return;
    }
    KIT_String expression(text ? text : "", true);
    rewriteObsoleteReference(expression, "ch");
    const TRK_Channel *channel =
        putExpression(time, expression.nonNullStr(), language, index, deleteChannel);
    if (channel && evaluate && getChannelGroupPtr()) {
        evaluateChannel(channel, time, index, BASgetSTID());
    }
}

void ZEL_Ordinal::setDefaultChannelValue(TRK_Channel *channel, int index)
{
    if (validIndex(index)) {
        channel->setDefault(double(getInternalValue(index)));
    }
}

void ZEL_Ordinal::hardenChanges(double time, int index, bool force, const char *pattern,
                                KIT_Array<TRK_ChannelRef> *collect)
{
    TRK_Channel *channel = channelToHarden(time, index, force, pattern, collect);
    if (!channel) {
        return;
    }
    const std::int64_t value =
        channel->isPending(time)
            ? truncated<std::int64_t>(halvesUp(channel->getDefault()))
            : constrained(resolveComponent(nullptr, time, index, BASgetSTID()));
    setInternalValue(index, value);
    hardenNumber(channel, time, double(value));
}

// -------------------------------------------------------------------------- //
// Defaults
// -------------------------------------------------------------------------- //

bool ZEL_Ordinal::groupDefault(std::int64_t &value) const
{
    const ZEL_SpareData *spare = getTemplatePtr()->getSparePtr();
    const char *text = isSwitcherList() && spare
                           ? spare->getValue(ZEL_SpareData::getGroupDefaultToken())
                           : nullptr;
    if (text) {
        value = BASparseInteger(text);
    }
    return text != nullptr;
}

const ZEL_Default *ZEL_Ordinal::valueDefault(int index) const
{
    return isSwitcherList() ? currentDefault(index) : defaultOf(index);
}

std::int64_t ZEL_Ordinal::defaultInteger(const ZEL_Default &record) const
{
    Choices choices(*this);
    return defaultInteger(record, choices);
}

std::int64_t ZEL_Ordinal::defaultInteger(const ZEL_Default &record, Choices &choices) const
{
    bool ok = false;
    const std::int64_t value = record.gotString() ? choices.parse(record.getString(), ok) : 0;
    return ok ? value : record.getOrdinal();
}

void ZEL_Ordinal::getDefaultValue(std::int64_t &value, int index) const
{
    if (validIndex(index)) {
        const ZEL_Default *found = defaultOf(index);
        value = found ? defaultInteger(*found) : 0;
    }
}

void ZEL_Ordinal::getDefaultValue(int &value, int index) const
{
    std::int64_t wide = value;
    getDefaultValue(wide, index);
    value = ZELclampToInt(wide);
}

void ZEL_Ordinal::getDefaultValue(double &value, int index) const
{
    if (validIndex(index)) {
        std::int64_t wide = 0;
        getDefaultValue(wide, index);
        value = double(wide);
    }
}

void ZEL_Ordinal::getDefaultValue(KIT_String &value, int index) const
{
    if (validIndex(index)) {
        std::int64_t wide = 0;
        getDefaultValue(wide, index);
        intToToken(wide, value);
    }
}

void ZEL_Ordinal::applyDefault(int index, bool allowChannel)
{
    std::int64_t value = 0;
    if (groupDefault(value)) {
        setInternalValue(index, value);
        return;
    }
    const ZEL_Default *found = valueDefault(index);
    if (!found) {
        setInternalValue(index, 0);
        return;
    }
    bool ok = false;
    const char *text = found->getString();
    value = found->gotString() ? tokenToInt(text, ok) : 0;
    setInternalValue(index, ok ? value : found->getOrdinal());
    const bool bareWord = found->getStringMeaning() == TRK_MEANING_LITERAL && ZELisBareWord(text);
    if (!ok && bareWord && *text && !resolvesInLoad() && TRK_EvalContext::NoScripts::isOpen()) {
        holdToken(index, text);
    }
    if (!ok && allowChannel && *text && !bareWord) {
        addChannel(index, text, defaultLanguage(*found));
    }
}

bool ZEL_Ordinal::copyNumberDefaults()
{
    // The defaults of a switcher are its folders.
    return !isSwitcherList() &&
           ZEL_ValueInstance::copyNumberDefaults([&](int i, const ZEL_Default *record) {
               setInternalValue(i, record ? record->getOrdinal() : 0);
           });
}

void ZEL_Ordinal::revertToDefault(int index)
{
    if (validIndex(index)) {
        removeChannel(index);
        applyDefault(index, getChannelGroupPtr() != nullptr);
        setDefaultsInitFlag(true);
    }
}

void ZEL_Ordinal::revertToDefaults(bool deleteChannels)
{
    std::int64_t folder = 0;
    const bool firstOnly = groupDefault(folder);
    const bool allowChannels = getChannelGroupPtr() != nullptr;
    revertComponents(deleteChannels, [&](int i) {
        if (i == 0 || !firstOnly) {
            applyDefault(i, allowChannels);
        }
    });
}

void ZEL_Ordinal::setValueToDefault(double time, int index, ZEL_AddKeyType addKey)
{
    if (!validIndex(index)) {
        return;
    }
    const ZEL_Default *found = valueDefault(index);
    if (!getChannel(index) || (found && isExpression(*found, getTemplatePtr()))) {
        revertToDefault(index);
    } else {
        const int value = found ? ZELclampToInt(defaultInteger(*found)) : 0;
        setValue(time, value, false, index, addKey, ZEL_KEYSET_PREFERENCE);
    }
}

void ZEL_Ordinal::restoreFactoryDefault(int index)
{
    restoreFactory(index, [&] { getTemplatePtr()->setOrdinalDefault(index, 0); });
}

void ZEL_Ordinal::overwriteDefault(double, int index)
{
    if (validIndex(index) && !isSwitcherList()) {
        getTemplatePtr()->setOrdinalDefault(index, ZELclampToInt(getInternalValue(index)));
    }
}

bool ZEL_Ordinal::isDefault(int index, ZEL_DefaultType type, bool checkLocks) const
{
    return isNumberDefault(
        index, type, checkLocks, isSwitcherList() ? nullptr : factoryDefault(index),
        [&](const ZEL_Default *record) {
            return getInternalValue(index) == (record ? defaultInteger(*record) : 0);
        },
        [&](const ZEL_Default &record) { return isExpression(record, getTemplatePtr()); });
}

// -------------------------------------------------------------------------- //
// Queries
// -------------------------------------------------------------------------- //

bool ZEL_Ordinal::getMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, double time,
                                 bool addIfDefault, int thread) const
{
    return buildMagicString<int>(
        tokens, list, size, addIfDefault, thread,
        [&](int i, int &value) { getValue(list, time, value, i, thread); },
        [&](int, int value) { tokens.append(value); });
}

std::int64_t ZEL_Ordinal::getMemoryUsage(bool inclusive) const
{
    const int size = getVectorSize();
    std::int64_t bytes = ZEL_ValueInstance::getMemoryUsage(false);
    bytes += inclusive ? std::int64_t(sizeof(*this)) : 0;
    bytes += testFlag(VALUES_APART) ? std::int64_t(sizeof(std::int64_t)) * size : 0;
    for (int i = 0; myLoadedStrings && i < size; ++i) {
        bytes += myLoadedStrings[std::size_t(i)].getMemoryUsage(true);
    }
    return bytes;
}
