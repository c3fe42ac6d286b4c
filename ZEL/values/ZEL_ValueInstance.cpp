#include <ZEL/values/ZEL_ValueInstancePrivate.h>

#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_ChannelRef.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Parm.h>

// -------------------------------------------------------------------------- //
// Common to all kinds
// -------------------------------------------------------------------------- //

std::int64_t ZEL_ValueInstance::limited(const ZEL_Range &range, std::int64_t value)
{
    std::int64_t result = value;
    if (range.hasParmMin() && range.getParmMin() > double(value)) {
        result = truncated<std::int64_t>(std::ceil(range.getParmMin()));
    }
    if (range.hasParmMax() && range.getParmMax() < double(value)) {
        result = truncated<std::int64_t>(std::floor(range.getParmMax()));
    }
    return result;
}

void ZEL_ValueInstance::overwriteDefaults(double time)
{
    for (int i = 0; i < getVectorSize(); ++i) {
        overwriteDefault(time, i);
    }
}

void ZEL_ValueInstance::getValue(ZEL_ParmList *, double, KIT_JSONValueMap &, int, bool, int) const
{}

void ZEL_ValueInstance::getValue(ZEL_ParmList *, double, std::shared_ptr<const ZEL_DataItem> &value,
                                 int, int) const
{
    value.reset();
}

void ZEL_ValueInstance::setValue(double time, const std::shared_ptr<const ZEL_DataItem> &,
                                 bool replaceExpression, int index, ZEL_AddKeyType addKey,
                                 ZEL_KeySetType keySet)
{
    setValue(time, 0, replaceExpression, index, addKey, keySet);
}

void ZEL_ValueInstance::setValue(double time, int value, bool replaceExpression, int index,
                                 ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    setValue(time, std::int64_t(value), replaceExpression, index, addKey, keySet);
}

void ZEL_ValueInstance::setValues(double time, const std::int64_t *values, bool replaceExpression,
                                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    ZEL_Overridable::setValues(time, values, replaceExpression, addKey, keySet);
    for (int i = 0; i < getVectorSize(); ++i) {
        setValue(time, values[i], replaceExpression, i, addKey, keySet);
    }
}

void ZEL_ValueInstance::setValues(double time, const double *values, bool replaceExpression,
                                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    ZEL_Overridable::setValues(time, values, replaceExpression, addKey, keySet);
    for (int i = 0; i < getVectorSize(); ++i) {
        setValue(time, values[i], replaceExpression, i, addKey, keySet);
    }
}

// -------------------------------------------------------------------------- //
// Channels and keys
// -------------------------------------------------------------------------- //

TRK_Collection *ZEL_ValueInstance::evaluationCollection(const TRK_Channel *channel) const
{
    TRK_Collection *collection = getChannelGroupPtr();
    return collection || !channel ? collection : channel->getCollection();
}

bool ZEL_ValueInstance::commitFlag(ZEL_KeySetType keySet)
{
    return keySet == ZEL_KEYSET_PREFERENCE
               ? ZEL_Parm::getAlwaysHardenFlag() || TRK_Manager::getContext().getCommitPreference()
               : keySet == ZEL_KEYSET_COMMIT;
}

TRK_ExprLanguage ZEL_ValueInstance::expressionLanguage(TRK_StringMeaning meaning) const
{
    return stringMeaningToExprLanguage(meaning == TRK_MEANING_LITERAL ? TRK_MEANING_COLLECTION
                                                                      : meaning);
}

bool ZEL_ValueInstance::hardenSet(const ChannelSet &set)
{
    if (set.addKey == ZEL_ADDKEY_PENDING) {
        return false;
    }
    hardenChanges(set.time, set.index, set.addKey == ZEL_ADDKEY_FORCE, nullptr, nullptr);
    return true;
}

bool ZEL_ValueInstance::makeConstant(TRK_Channel *channel, double time, double &stored)
{
    TRK_Segment *segment = channel->getExpressionSegment(time);
    if (segment) {
        segment->changeExpression("constant()", segment->getExprLanguage());
        stored = segment->getValue();
    }
    channel->clearPending();
    return segment != nullptr;
}

TRK_Channel *ZEL_ValueInstance::putExpression(double time, const char *text,
                                              TRK_ExprLanguage language, int index,
                                              bool deleteChannel)
{
    if (deleteChannel) {
        removeChannel(index);
    }
    if (!getChannel(index)) {
        addChannel(index);
    }
    TRK_Channel *channel = getChannel(index);
    if (channel) {
        channel->changeExpression(time, text, language, true);
        channel->clearPending();
    }
    return channel;
}

bool ZEL_ValueInstance::rewriteObsoleteReference(KIT_String &text, const char *function,
                                                 const char *quote)
{
    if (!isObsoleteDirectChanRefString(text.nonNullStr(), nullptr)) {
        return false;
    }
    if (text.substitute("`!!ch", function) > 0) {
        text.substitute("!!`", "");
    } else {
        const KIT_String opened = KIT_String(quote, true) += function;
        text.substitute("!!ch", opened.c_str());
        text.substitute("!!", quote);
    }
    return true;
}

TRK_Channel *ZEL_ValueInstance::channelToHarden(double time, int index, bool force,
                                                const char *pattern,
                                                KIT_Array<TRK_ChannelRef> *collect)
{
    TRK_Channel *channel = validIndex(index) ? getChannel(index) : nullptr;
    if (!channel) {
        return nullptr;
    }
    if (!force) {
        if (channel->getPendingFlag() && !channel->isPending(time)) {
            channel->clearPending();
            return nullptr;
        }
        if (getChanState(time, index) != ZEL_CHAN_PENDING) {
            return nullptr;
        }
    }
    if (collect) {
        if (getChannelGroupPtr()) {
            collect->append(TRK_ChannelRef());
            TRK_Manager::getContext().fillChannelRef(collect->last(), channel);
        }
        return nullptr;
    }
    return pattern && !channel->match(pattern) ? nullptr : channel;
}

void ZEL_ValueInstance::hardenNumber(TRK_Channel *channel, double time, double value)
{
    constexpr bool notify = true;
    constexpr bool commit = true;
    constexpr bool keyOnly = true;
    if (channel->isAtHardKey(time) &&
        channel->setKeyValue(value, time, notify, commit, keyOnly) == 0) {
        return;
    }
    insertHardKey(channel, time, [&] {
        if (TRK_Segment *segment = channel->getExpressionSegment(time)) {
            segment->setInValue(value, true);
        }
    });
}

// -------------------------------------------------------------------------- //
// Defaults
// -------------------------------------------------------------------------- //

const ZEL_Default *ZEL_ValueInstance::factoryDefault(int index) const
{
    const ZEL_Default *factory = getTemplatePtr()->getFactoryDefaults();
    return factory && validIndex(index) ? factory + index : nullptr;
}

const ZEL_Default *ZEL_ValueInstance::defaultOf(int index) const
{
    const ZEL_Default *current = currentDefault(index);
    return current ? current : factoryDefault(index);
}

TRK_ExprLanguage ZEL_ValueInstance::defaultLanguage(const ZEL_Default &record) const
{
    return stringMeaningToExprLanguage(record.getStringMeaning());
}

bool ZEL_ValueInstance::hasFactoryExpression(int index) const
{
    const ZEL_Default *factory = factoryDefault(index);
    const TRK_Channel *channel = getChannel(index);
    if (!factory || !factory->gotString() || !channel || channel->getNSegments() != 1) {
        return false;
    }
    const TRK_Segment *segment = channel->getFirstSegment();
    return segment->getExprLanguage() == defaultLanguage(*factory) &&
           std::strcmp(segment->getExpression(), factory->getString()) == 0;
}
