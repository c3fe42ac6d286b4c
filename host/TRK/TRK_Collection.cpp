#include <TRK/TRK_Collection.h>

#include <BAS/BAS_Character.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_EventManager.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace
{

/// Never null for want of memory: a channel without its name would be found by none.
KIT_StringHolder keptName(const KIT_StringRef &name)
{
    KIT_StringHolder kept(name);
    if (kept.isNull()) {
        throw std::bad_alloc();
    }
    return kept;
}

} // namespace

TRK_Collection::TRK_Collection() = default;

TRK_Collection::~TRK_Collection()
{
    myPathResolver = nullptr; // it may be gone already
    // They may remove themselves meanwhile.
    for (TRK_ValueSource *listener : std::exchange(myListeners, {})) {
        listener->collectionDestroyed();
    }
    for (TRK_Channel *channel : myChannels) {
        delete channel;
    }
    freeDeleted();
}

// ---------------------------------------------------------------- //
// Channels
// ---------------------------------------------------------------- //

TRK_Channel *TRK_Collection::getChannel(const KIT_StringRef &name) const
{
    const auto found = myByName.find(name);
    return found != myByName.end() ? found->second : nullptr;
}

TRK_Channel *TRK_Collection::getChannel(int index) const
{
    const bool goodFlag = index >= 0 && static_cast<size_t>(index) < myChannels.size();
    return goodFlag ? myChannels[static_cast<size_t>(index)] : nullptr;
}

TRK_Channel *TRK_Collection::findChannelOrAlias(const KIT_StringRef &name) const
{
    TRK_Channel *channel = getChannel(name);
    if (channel != nullptr || myByAlias.empty()) {
        return channel;
    }
    const auto found = myByAlias.find(name);
    return found != myByAlias.end() ? found->second : nullptr;
}

bool TRK_Collection::isValidChannelName(const char *name)
{
    if (name == nullptr || !BASisNameStart(*name)) {
        return false;
    }
    size_t length = 0;
    for (const char *c = name; *c != '\0'; ++c) {
        const bool goodFlag = BASisWordChar(*c) || std::strchr(".:#", *c) != nullptr;
        if (!goodFlag || ++length > TRK_Limits::theNameLength) {
            return false;
        }
    }
    return true;
}

TRK_Channel *TRK_Collection::addChannel(const KIT_StringRef &name)
{
    TRK_Channel *channel = getChannel(name);
    if (channel != nullptr || !isValidChannelName(name.c_str())) {
        return channel;
    }
    freeDeletedIfUnused();
    channel = new TRK_Channel(this, keptName(name));
    try {
        myByName.emplace(channel->getName(), channel);
        myChannels.push_back(channel);
    } catch (...) {
        myByName.erase(channel->getName());
        delete channel;
        throw;
    }
    return channel;
}

void TRK_Collection::deleteChannel(TRK_Channel *channel, bool byItsHolder)
{
    const auto place = std::find(myChannels.rbegin(), myChannels.rend(), channel);
    if (channel == nullptr || place == myChannels.rend()) {
        return;
    }
    myChannels.erase(place.base() - 1);
    forgetNames(*channel, byItsHolder);
    announceDeleted(*channel);
    freeDeletedIfUnused();
}

void TRK_Collection::deleteChannels(std::vector<TRK_Channel *> channels, bool byItsHolder)
{
    std::sort(channels.begin(), channels.end());
    const auto stays = [&](TRK_Channel *channel) {
        return !std::binary_search(channels.begin(), channels.end(), channel);
    };
    const auto end = std::stable_partition(myChannels.begin(), myChannels.end(), stays);
    // Into memory that is there: nothing may fail any more.
    channels.erase(std::copy(end, myChannels.end(), channels.begin()), channels.end());
    myChannels.erase(end, myChannels.end());
    for (TRK_Channel *channel : channels) {
        forgetNames(*channel, byItsHolder);
    }
    for (TRK_Channel *channel : channels) {
        announceDeleted(*channel);
    }
    freeDeletedIfUnused();
}

void TRK_Collection::forgetNames(TRK_Channel &channel, bool byItsHolder)
{
    if (byItsHolder && channel.getHolders() == TRK_Channel::Holders::ONE) {
        channel.setHolders(TRK_Channel::Holders::NONE);
    }
    setChannelAlias(&channel, KIT_StringRef());
    myByName.erase(channel.getName());
}

void TRK_Collection::announceDeleted(TRK_Channel &channel)
{
    for (TRK_ValueSource *listener : myListeners) {
        listener->channelDeleted(&channel);
    }
    // The call that raised the event which a handler answers may still use the channel.
    TRKgetEventManager().channelDestroyed(&channel);
    channel.myCollection = nullptr;
    channel.myNextDeleted = myDeleted;
    myDeleted = &channel;
}

void TRK_Collection::freeDeletedIfUnused()
{
    if (myDeleted != nullptr && !TRK_EventManager::isDelivering()) {
        freeDeleted();
    }
}

void TRK_Collection::freeDeleted()
{
    while (myDeleted != nullptr) {
        delete std::exchange(myDeleted, myDeleted->myNextDeleted);
    }
}

void TRK_Collection::removeListener(TRK_ValueSource *listener)
{
    myListeners.erase(std::remove(myListeners.begin(), myListeners.end(), listener),
                      myListeners.end());
}

bool TRK_Collection::renameChannel(TRK_Channel *channel, const KIT_StringRef &newName)
{
    if (channel == nullptr || channel->getCollection() != this ||
        !isValidChannelName(newName.c_str())) {
        return false;
    }
    TRK_Channel *holder = getChannel(newName);
    if (holder != nullptr) {
        return holder == channel;
    }
    KIT_StringHolder kept = keptName(newName);
    myByName.emplace(kept, channel);
    myByName.erase(channel->myName);
    channel->myName = std::move(kept);
    return true;
}

void TRK_Collection::setChannelAlias(TRK_Channel *channel, const KIT_StringRef &alias)
{
    if (channel == nullptr || channel->getCollection() != this) {
        return;
    }
    KIT_StringHolder kept = alias.isEmpty() ? KIT_StringHolder() : keptName(alias);
    const KIT_StringHolder former = channel->myAlias;
    if (!kept.isNull()) {
        myByAlias[kept] = channel;
    }
    channel->myAlias = std::move(kept);
    const auto held = former.isNull() ? myByAlias.end() : myByAlias.find(former);
    if (held != myByAlias.end() && held->second == channel && former != channel->myAlias) {
        myByAlias.erase(held);
    }
}

// ---------------------------------------------------------------- //
// Evaluation
// ---------------------------------------------------------------- //

double TRK_Collection::evaluate(const TRK_Channel *channel, double time, bool, int thread) const
{
    bool timeDependent = false;
    return channel != nullptr ? channel->evaluate(this, time, thread, timeDependent) : 0.0;
}

bool TRK_Collection::evaluateString(KIT_String &out, const TRK_Channel *channel, double time,
                                    int thread) const
{
    bool timeDependent = false;
    if (channel == nullptr) {
        out = "";
        return false;
    }
    return channel->evaluateString(this, time, thread, out, timeDependent);
}

const TRK_Collection *TRK_Collection::resolvePath(const KIT_StringRef &path) const
{
    if (path.isNull() || (path.length() == 1 && *path.c_str() == '.')) {
        return this;
    }
    return myPathResolver != nullptr ? myPathResolver->findCollection(path) : nullptr;
}

template <class FromSource, class FromChannel>
bool TRK_Collection::readReference(const KIT_StringRef &path, const KIT_StringRef &name,
                                   double time, bool &timeDependent, FromSource &&fromSource,
                                   FromChannel &&fromChannel) const
{
    const TRK_Collection *collection = path.isNull() ? this : resolvePath(path);
    if (collection == nullptr) {
        TRK_ReferenceTold::tellLost(*this, path);
        return false;
    }
    const TRK_ReferenceTold told(*collection, name, time);
    bool dependentFlag = false;
    if (collection->myValueSource != nullptr &&
        fromSource(*collection->myValueSource, dependentFlag)) {
        timeDependent = timeDependent || dependentFlag;
        return true;
    }
    const TRK_Channel *channel = collection->findChannelOrAlias(name);
    if (channel == nullptr) {
        return false;
    }
    fromChannel(*channel, collection);
    return true;
}

bool TRK_Collection::evaluateReference(const KIT_StringRef &path, const KIT_StringRef &name,
                                       double time, int thread, double &value,
                                       bool &timeDependent) const
{
    return readReference(
        path, name, time, timeDependent,
        [&](TRK_ValueSource &source, bool &dependentFlag) {
            return source.evaluateNumber(name, time, thread, value, dependentFlag);
        },
        [&](const TRK_Channel &channel, const TRK_Collection *collection) {
            value = channel.evaluate(collection, time, thread, timeDependent);
        });
}

bool TRK_Collection::evaluateReferenceString(const KIT_StringRef &path, const KIT_StringRef &name,
                                             double time, int thread, KIT_String &value,
                                             bool &timeDependent) const
{
    return readReference(
        path, name, time, timeDependent,
        [&](TRK_ValueSource &source, bool &dependentFlag) {
            return source.evaluateString(name, time, thread, value, dependentFlag);
        },
        [&](const TRK_Channel &channel, const TRK_Collection *collection) {
            channel.evaluateString(collection, time, thread, value, timeDependent);
        });
}

// ---------------------------------------------------------------- //
// Texts in expressions
// ---------------------------------------------------------------- //

int TRK_Collection::changeString(const char *from, const char *to, bool wholeWord)
{
    int total = 0;
    for (TRK_Channel *channel : myChannels) {
        total += channel->changeString(from, to, wholeWord);
    }
    return total;
}

bool TRK_Collection::findString(const char *text, bool wholeWord, bool pattern) const
{
    return std::any_of(myChannels.begin(), myChannels.end(), [=](const TRK_Channel *channel) {
        return channel->findString(text, wholeWord, pattern);
    });
}

int64_t TRK_Collection::getMemoryUsage(bool inclusive) const
{
    // A node of a map: the key, the value, a link and the cached hash.
    constexpr size_t node = sizeof(Map::value_type) + 2 * sizeof(void *);
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    bytes += static_cast<int64_t>(myChannels.capacity() * sizeof(TRK_Channel *));
    for (const Map *map : {&myByName, &myByAlias}) {
        bytes += static_cast<int64_t>(map->size() * node + map->bucket_count() * sizeof(void *));
    }
    for (const TRK_Channel *channel : myChannels) {
        bytes += channel->getMemoryUsage(true);
    }
    return bytes;
}
