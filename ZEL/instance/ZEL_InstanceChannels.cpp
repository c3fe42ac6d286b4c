#include <ZEL/ZEL_Instance.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_BitArray.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_FullKey.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/instance/ZEL_ChannelReferenceTextPrivate.h>
#include <ZEL/instance/ZEL_InstancePrivate.h>

namespace
{

double findNeighbourKey(const TRK_Channel *channel, double time, ZEL_KeyDirection direction)
{
    if (!channel) {
        return time;
    }
    return direction == ZEL_KeyDirection::NEXT ? channel->findNextKey(time)
                                               : channel->findPrevKey(time);
}

double findNeighbourKey(const ZEL_Instance &instance, double time, int index,
                        ZEL_KeyDirection direction)
{
    if (index >= 0) {
        return instance.validIndex(index)
                   ? findNeighbourKey(instance.getChannel(index), time, direction)
                   : time;
    }
    double nearest = time;
    for (int i = instance.getVectorSize(); i-- > 0;) {
        const double key = findNeighbourKey(instance.getChannel(i), time, direction);
        if (ZELisFurther(direction, key, time) &&
            (nearest == time || ZELisFurther(direction, nearest, key))) {
            nearest = key;
        }
    }
    return nearest;
}

} // namespace

// ---------------------------------------------------------------------- //
// Creating and removing channels
// ---------------------------------------------------------------------- //

int ZEL_Instance::getChannelCount() const
{
    int count = 0;
    for (int i = getVectorSize(); i-- > 0;) {
        count += getChannel(i) ? 1 : 0;
    }
    return count;
}

TRK_ExprLanguage ZEL_Instance::getCollectionLanguage() const
{
    const TRK_Collection *collection = getChannelGroupPtr();
    return collection ? collection->getExprLanguage() : TRK_LANGUAGE_NATIVE;
}

void ZEL_Instance::addChannel(int index)
{
    internalAddChannel(index, nullptr, getCollectionLanguage(), true);
}

void ZEL_Instance::addChannel(int index, const char *expression, TRK_ExprLanguage language)
{
    internalAddChannel(index, expression, language, true);
}

int ZEL_Instance::addChannel(const KIT_StringRef &name)
{
    return addChannel(name, nullptr, getCollectionLanguage());
}

int ZEL_Instance::addChannel(const KIT_StringRef &name, const char *expression,
                             TRK_ExprLanguage language)
{
    const int index = getChannelGroupPtr() ? findChannelName(name) : -1;
    if (index < 0) {
        return 0;
    }
    putChannel(index, nullptr);
    internalAddChannel(index, expression, language, true);
    return 1;
}

void ZEL_Instance::internalAddChannel(int index, const char *expression, TRK_ExprLanguage language,
                                      bool initialise)
{
    TRK_Collection *collection = getChannelGroupPtr();
    if (!collection || !validIndex(index) || getChannel(index)) {
        return;
    }
    makeSlots(); // before there is a channel that would be lost if there is no memory
    const KIT_StringHolder &token = getChannelToken(index);
    TRK_Channel *channel = collection->getChannel(token);
    if (channel) {
        setChannel(index, channel);
    } else {
        channel = collection->addChannel(token);
        if (!channel) {
            addParmWarning(ZEL_ERR_CHANNEL_NAME);
            return;
        }
        putChannel(index, channel);
        channel->setHolders(TRK_Channel::Holders::ONE);
        setDefaultChannelValue(channel, index);
        const KIT_StringHolder &alias = getChannelAlias(index);
        if (alias != token) {
            collection->setChannelAlias(channel, alias);
        }
        if (initialise) {
            channel->initializeFirstSegment(expression, language);
        }
    }
    channel->clearPending();
}

TRK_Channel **ZEL_Instance::makeSlots()
{
    Rare &record = makeRare();
    if (!record.channels) {
        const int size = getVectorSize();
        std::unique_ptr<TRK_Channel *[]> several(size > 1 ? new TRK_Channel *[std::size_t(size)]()
                                                          : nullptr);
        moveValuesApart();
        // The last step, which can't fail: from now on threads that find a channel write values.
        TRK_Channel **const slots = size > 1 ? several.release() : &record.onlyChannel;
        __atomic_store_n(&record.channels, slots, __ATOMIC_RELEASE);
    }
    return record.channels;
}

void ZEL_Instance::putChannel(int index, TRK_Channel *channel)
{
    const Rare *record = rare();
    if (!channel && !(record && record->channels)) {
        return;
    }
    TRK_Channel **const slot = makeSlots() + index;
    if (*slot != channel) {
        __atomic_store_n(slot, channel, __ATOMIC_RELEASE);
        tellTextsChanged(); // of the channel, or of the value below it
    }
}

void ZEL_Instance::setChannel(int index, TRK_Channel *channel)
{
    putChannel(index, channel);
    if (channel) {
        using Holders = TRK_Channel::Holders;
        channel->setHolders(channel->getHolders() == Holders::NEW ? Holders::ONE
                                                                  : Holders::UNKNOWN);
    }
}

bool ZEL_Instance::removeChannel(int index)
{
    const bool removedFlag = dropChannel(index);
    if (removedFlag) {
        tellTextsChanged();
    }
    return removedFlag;
}

bool ZEL_Instance::dropChannel(int index)
{
    TRK_Channel *channel = channelAt(index);
    if (!channel) {
        return false;
    }
    __atomic_store_n(makeSlots() + index, static_cast<TRK_Channel *>(nullptr), __ATOMIC_RELEASE);
    if (TRK_Collection *collection = getChannelGroupPtr()) {
        // Told as the holder, so that lists don't search all their components for it. Not looked at
        // here: while a list is destroyed, another component may have deleted it already.
        collection->deleteChannel(channel, true);
    }
    return true;
}

void ZEL_Instance::clearAndDestroyChannels()
{
    const int size = getVectorSize();
    for (int i = 0; i < size; ++i) {
        removeChannel(i);
    }
}

void ZEL_Instance::adoptChannels(ZEL_Instance &source)
{
    TRK_Collection *collection = getChannelGroupPtr();
    if (collection != source.getChannelGroupPtr()) {
        return;
    }
    const int size = getVectorSize();
    const int sourceSize = source.getVectorSize();
    for (int i = 0; i < size; ++i) {
        TRK_Channel *channel = i < sourceSize ? source.getChannel(i) : nullptr;
        if (channel != getChannel(i)) {
            // Otherwise relinking by name would find the old channel and the taken-over one
            // couldn't use its name.
            removeChannel(i);
        }
        setChannel(i, channel);
        if (channel) {
            channel->dirtyExprCache();
            if (collection) {
                collection->renameChannel(channel, getChannelToken(i));
            }
        }
    }
    for (int i = 0; i < sourceSize; ++i) {
        TRK_Channel *channel = source.getChannel(i);
        source.putChannel(i, nullptr);
        if (i >= size && channel && collection) {
            collection->deleteChannel(channel);
        }
    }
}

// ---------------------------------------------------------------------- //
// Keeping slots and collection in step
// ---------------------------------------------------------------------- //

int ZEL_Instance::channelPtrModified(const KIT_StringRef &token)
{
    const TRK_Collection *collection = getChannelGroupPtr();
    const int index = collection ? myTemplate->findSubIndex(token) : -1;
    if (!validIndex(index)) {
        return 0;
    }
    setChannel(index, collection->getChannel(token));
    return 1;
}

bool ZEL_Instance::reloadChannelPtr(TRK_Collection &collection, int index)
{
    const KIT_StringHolder &token = getChannelToken(index);
    TRK_Channel *channel = collection.getChannel(token);
    if (channel) {
        channel->setLocked((getLockedField() & bit(index)) != 0);
        channel->dirtyExprCache();
    } else {
        const KIT_StringHolder &alias = getChannelAlias(index);
        channel = alias != token ? collection.getChannel(alias) : nullptr;
        if (channel) {
            channel->dirtyExprCache();
            collection.renameChannel(channel, token);
        }
    }
    setChannel(index, channel);
    return channel != nullptr;
}

void ZEL_Instance::reloadChannelPtrs()
{
    TRK_Collection *collection = getChannelGroupPtr();
    if (!collection) {
        return;
    }
    const bool hadDefaults = getDefaultsInitFlag();
    const int size = getVectorSize();
    KIT_BitArray found(size);
    for (int i = 0; i < size; ++i) {
        if (reloadChannelPtr(*collection, i)) {
            found.setBit(i, true);
            setDefaultsInitFlag(true);
        }
    }
    // Creating a channel counts as applying the defaults, so the parameter isn't reverted later:
    // apply the other components' defaults now.
    if (!hadDefaults && getDefaultsInitFlag()) {
        for (int i = 0; i < size; ++i) {
            if (!found.getBit(i)) {
                revertToDefault(i);
            }
        }
    }
}

void ZEL_Instance::validateChannelNames(ZEL_ParmList &list)
{
    const int size = rare() ? getVectorSize() : 0;
    for (int i = 0; i < size; ++i) {
        if (getChannel(i)) {
            validateChannelName(list, i);
        }
    }
}

void ZEL_Instance::validateChannelName(ZEL_ParmList &list, int index)
{
    TRK_Channel *channel = channelAt(index);
    const KIT_StringHolder &token = getChannelToken(index);
    if (!channel || channel->getName() == token) {
        return;
    }
    int subIndex = -1;
    const ZEL_Parm *other = list.getParmPtrFromChannel(token, &subIndex);
    if (other && other != getParm() && other->getChannel(subIndex)) {
        putChannel(index, nullptr);
        return;
    }
    TRK_Collection *collection = list.getChannelGroupPtr();
    if (collection && !collection->renameChannel(channel, token)) {
        putChannel(index, nullptr);
    }
}

// ---------------------------------------------------------------------- //
// Keys and states
// ---------------------------------------------------------------------- //

bool ZEL_Instance::changePending(int index) const
{
    const TRK_Channel *channel = channelAt(index);
    return channel && channel->getPendingFlag();
}

int ZEL_Instance::getChanState(double time) const
{
    int state = ZEL_CHAN_NONE;
    for (int i = getVectorSize(); i-- > 0;) {
        state |= getChanState(time, i);
    }
    return state;
}

ZEL_ChanState ZEL_Instance::getChanState(double time, int index) const
{
    const TRK_Channel *channel = channelAt(index);
    if (!channel) {
        return ZEL_CHAN_NONE;
    }
    if (channel->isPending(time)) {
        return ZEL_CHAN_PENDING;
    }
    return channel->isAtKey(time) ? ZEL_CHAN_KEY : ZEL_CHAN_NOKEY;
}

double ZEL_Instance::findNextKey(double time, int index) const
{
    return findNeighbourKey(*this, time, index, ZEL_KeyDirection::NEXT);
}

double ZEL_Instance::findPrevKey(double time, int index) const
{
    return findNeighbourKey(*this, time, index, ZEL_KeyDirection::PREVIOUS);
}

void ZEL_Instance::setKey(double time, int index)
{
    if (index < 0) {
        for (int i = 0, size = getVectorSize(); i < size; ++i) {
            setKey(time, i);
        }
    } else if (TRK_Channel *channel = channelAt(index)) {
        channel->insertKeyFrame(time, true);
    }
}

void ZEL_Instance::setFullKey(const TRK_FullKey &key, int index)
{
    if (index < 0) {
        for (int i = 0, size = getVectorSize(); i < size; ++i) {
            setFullKey(key, i);
        }
    } else if (TRK_Channel *channel = channelAt(index)) {
        channel->putFullKey(key);
    }
}

// ---------------------------------------------------------------------- //
// Expression languages
// ---------------------------------------------------------------------- //

TRK_StringMeaning ZEL_Instance::getStringMeaning(double time, int index) const
{
    const TRK_Channel *channel = channelAt(index);
    return channel ? channel->getStringMeaning(time) : TRK_MEANING_LITERAL;
}

TRK_ExprLanguage ZEL_Instance::getExprLanguageIfMadeAnExpression(double time, int index) const
{
    const TRK_Collection *collection = getChannelGroupPtr();
    if (!collection) {
        return TRK_LANGUAGE_NATIVE;
    }
    const TRK_StringMeaning meaning = getStringMeaning(time, index);
    if (meaning == TRK_MEANING_LITERAL || meaning == TRK_MEANING_COLLECTION) {
        return collection->getExprLanguage();
    }
    return TRKstringMeaningToExprLanguage(meaning, collection->getExprLanguage());
}

TRK_ExprLanguage ZEL_Instance::stringMeaningToExprLanguage(TRK_StringMeaning meaning) const
{
    const TRK_Collection *collection = getChannelGroupPtr();
    return collection ? TRKstringMeaningToExprLanguage(meaning, collection->getExprLanguage())
                      : TRK_LANGUAGE_NATIVE;
}

bool ZEL_Instance::isLanguageOldExprOrLiteral(double time, int index) const
{
    if (!getChannelGroupPtr() || !channelAt(index)) {
        return true;
    }
    const TRK_StringMeaning meaning = getStringMeaning(time, index);
    return meaning == TRK_MEANING_LITERAL ||
           stringMeaningToExprLanguage(meaning) == TRK_LANGUAGE_NATIVE;
}

// ---------------------------------------------------------------------- //
// Channels named in streams and commands
// ---------------------------------------------------------------------- //

double ZEL_Instance::commandTime() const
{
    return getChannelGroupPtr() ? TRK_Manager::getContext().getEvaluateTime(BASgetSTID()) : 0.0;
}

void ZEL_Instance::loadTokenAsChannelNameOrExpression(const char *token, int index)
{
    if (!validIndex(index)) {
        return;
    }
    TRK_Collection *collection = getChannelGroupPtr();
    const KIT_StringRef name(token);
    if (collection && hasChannelName(name, index)) {
        TRK_Channel *channel = collection->getChannel(name);
        if (!channel && name != getChannelToken(index)) {
            // An alias refers to the channel named by the component's token.
            channel = collection->getChannel(getChannelToken(index));
        }
        if (channel) {
            setChannel(index, channel);
            return;
        }
    }
    constexpr bool evaluate = true;
    constexpr bool deleteChannel = false;
    setExpression(commandTime(), token, getCollectionLanguage(), index, evaluate, deleteChannel);
}

bool ZEL_Instance::isChannelToken(const KIT_String &token, int index) const
{
    const std::string_view text = token.view();
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        return false;
    }
    const TRK_Collection *collection = getChannelGroupPtr();
    return collection && validIndex(index) && getChannelToken(index) == KIT_StringRef(token) &&
           collection->getChannel(getChannelToken(index));
}

TRK_Channel *ZEL_Instance::linkChannel(const char *name, int index)
{
    const TRK_Collection *collection = getChannelGroupPtr();
    if (!collection) {
        addParmWarning(ZEL_ERR_NO_COLLECTION);
        return nullptr;
    }
    if (TRK_Channel *channel = collection->getChannel(KIT_StringRef(name))) {
        return channel;
    }
    const KIT_StringHolder &token = getChannelToken(index);
    TRK_Channel *channel = collection->getChannel(token);
    if (!channel) {
        KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_NO_CHANNEL, token.c_str());
    }
    return channel;
}

// ---------------------------------------------------------------------- //
// Aliases and colours
// ---------------------------------------------------------------------- //

bool ZEL_Instance::setChannelAlias(const KIT_StringHolder &alias, int index)
{
    if (!validIndex(index)) {
        return false;
    }
    if (!alias.isEmpty() && !TRK_Collection::isValidChannelName(alias.c_str())) {
        return false;
    }
    if (!alias.isEmpty() || (rare() && rare()->aliases)) {
        std::unique_ptr<KIT_StringHolder[]> &aliases = makeRare().aliases;
        if (!aliases) {
            aliases = std::make_unique<KIT_StringHolder[]>(std::size_t(getVectorSize()));
        }
        aliases[std::size_t(index)] = alias;
    }
    TRK_Channel *channel = getChannel(index);
    if (channel && channel->getCollection()) {
        channel->getCollection()->setChannelAlias(channel, alias);
    }
    return true;
}

const KIT_StringHolder &ZEL_Instance::getChannelAlias(int index) const
{
    if (!validIndex(index)) {
        return KIT_StringHolder::theEmptyString;
    }
    const Rare *record = rare();
    if (record && record->aliases && !record->aliases[std::size_t(index)].isEmpty()) {
        return record->aliases[std::size_t(index)];
    }
    return getChannelToken(index);
}

void ZEL_Instance::getChannelAlias(KIT_String &alias, int index) const
{
    alias = getChannelAlias(index);
}

bool ZEL_Instance::hasChannelAlias(const KIT_StringRef &alias, int index) const
{
    return validIndex(index) && getChannelAlias(index) == alias;
}

bool ZEL_Instance::hasChannelName(const KIT_StringRef &name, int index) const
{
    return validIndex(index) && (getChannelAlias(index) == name || getChannelToken(index) == name);
}

int ZEL_Instance::findChannelName(const KIT_StringRef &name) const
{
    const int size = getVectorSize();
    for (int i = 0; i < size; ++i) {
        if (hasChannelName(name, i)) {
            return i;
        }
    }
    return -1;
}

int ZEL_Instance::findSubIndex(const KIT_StringRef &token, bool allowAlias) const
{
    const Rare *record = allowAlias ? rare() : nullptr;
    for (int i = 0; record && record->aliases && i < getVectorSize(); ++i) {
        const KIT_StringHolder &alias = record->aliases[std::size_t(i)];
        if (!alias.isEmpty() && alias == token) {
            return i;
        }
    }
    return myTemplate->findSubIndex(token);
}

void ZEL_Instance::setChannelCustomColor(int index, const KIT_Color &color)
{
    if (!validIndex(index)) {
        return;
    }
    std::unique_ptr<ColorRecord[]> &colors = makeRare().colors;
    if (!colors) {
        colors = std::make_unique<ColorRecord[]>(std::size_t(getVectorSize()));
    }
    colors[std::size_t(index)] = {color, true};
}

void ZEL_Instance::resetChannelCustomColor(int index)
{
    if (hasChannelCustomColor(index)) {
        rare()->colors[std::size_t(index)] = ColorRecord();
    }
}

bool ZEL_Instance::hasChannelCustomColor(int index) const
{
    const Rare *record = rare();
    return record && record->colors && validIndex(index) && record->colors[std::size_t(index)].set;
}

const KIT_Color &ZEL_Instance::getChannelCustomColor(int index) const
{
    return hasChannelCustomColor(index) ? rare()->colors[std::size_t(index)].color
                                        : KIT_Color::theNoColor;
}

// ---------------------------------------------------------------------- //
// References to channels in texts
// ---------------------------------------------------------------------- //

bool ZEL_Instance::isChanRefString(const char *text, bool bare, KIT_String *channel)
{
    return ZELisChannelReference(text, bare, channel);
}

bool ZEL_Instance::isObsoleteDirectChanRefString(const char *text, KIT_String *channel)
{
    return ZELisObsoleteChannelReference(text, channel);
}
