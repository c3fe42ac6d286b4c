#include <ZEL/ZEL_ValueInstance.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_ChannelRef.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>

// -------------------------------------------------------------------------- //
// What all of them do alike
// -------------------------------------------------------------------------- //

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

TRK_ExprLanguage ZEL_ValueInstance::defaultLanguage(const ZEL_Default &record)
{
    return TRKstringMeaningToExprLanguage(record.getStringMeaning());
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

// -------------------------------------------------------------------------- //
// Held channels
// -------------------------------------------------------------------------- //

ZEL_ValueInstance::HeldChannels::HeldChannels(int size) : mySize(size)
{
    if (size > theInlineSize) {
        myHeap.resize(std::size_t(size));
        myChannels = myHeap.data();
    }
}

void ZEL_ValueInstance::HeldChannels::forget(const TRK_Channel *channel)
{
    std::replace(myChannels, myChannels + mySize, const_cast<TRK_Channel *>(channel),
                 static_cast<TRK_Channel *>(nullptr));
}

void ZEL_ValueInstance::holdChannel(HeldChannels &held, int index)
{
    held[index] = getChannel(index);
    setChannel(index, nullptr);
}

void ZEL_ValueInstance::holdAllChannels(HeldChannels &held)
{
    for (int i = 0; i < getVectorSize(); ++i) {
        holdChannel(held, i);
    }
}

void ZEL_ValueInstance::deleteHeldChannel(HeldChannels &held, int index)
{
    TRK_Channel *channel = held[index];
    TRK_Collection *collection = getChannelGroupPtr();
    if (channel && collection) {
        // Two components may hold the same one.
        held.forget(channel);
        collection->deleteChannel(channel);
    }
}

// -------------------------------------------------------------------------- //
// Loading
// -------------------------------------------------------------------------- //

bool ZEL_ValueInstance::reportCut(const char *token)
{
    KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, token);
    return false;
}

void ZEL_ValueInstance::revertMissing(int numRead, const LoadRules &rules)
{
    if (numRead >= getVectorSize()) {
        return;
    }
    if (rules.warnTooFew) {
        addParmWarning(ZEL_ERR_TOO_FEW_VALUES);
    }
    for (int i = numRead; i < getVectorSize(); ++i) {
        revertToDefault(i);
    }
}

bool ZEL_ValueInstance::openAsciiValues(KIT_IStream &is, unsigned &keyMask)
{
    std::string_view word;
    is.getWord(word);
    if (word == "[") {
        if (!loadAsciiOptions(is, keyMask)) {
            return reportCut("]");
        }
        is.getWord(word);
    }
    return word == "(" || reportCut("(");
}

void ZEL_ValueInstance::loadOptionPacket(KIT_IStream &is, int packetId, const LoadRules &rules)
{
    if (!loadBinaryOption(is, short(packetId))) {
        KITaddCommonWarning(KIT_COMMON_UNKNOWN_PACKET, rules.label);
    }
}

bool ZEL_ValueInstance::loadBinaryLink(KIT_IStream &is, int index)
{
    KIT_WorkBuffer name;
    if (!is.readWorkBuffer(name, true)) {
        return false;
    }
    setChannel(index, linkChannel(name.buffer(), index));
    return true;
}
