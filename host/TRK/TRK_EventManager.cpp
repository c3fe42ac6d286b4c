#include <TRK/TRK_EventManager.h>

#include <algorithm>
#include <unordered_set>

namespace
{

thread_local int theDeliveries = 0;

/// While it lives, handlers run on this thread.
struct Delivering
{
    Delivering() { ++theDeliveries; }
    ~Delivering() { --theDeliveries; }
    Delivering(const Delivering &) = delete;
    Delivering &operator=(const Delivering &) = delete;
};

} // namespace

bool TRK_EventManager::isDelivering()
{
    return theDeliveries > 0;
}

bool TRK_EventManager::isWatched() const
{
    return myWatchers.load(std::memory_order_relaxed) > 0;
}

void TRK_EventManager::beginHandlingEvents(Handler handler, void *data)
{
    std::lock_guard<std::mutex> guard(myLock);
    if (myDepth.fetch_add(1, std::memory_order_relaxed) == 0 && handler != nullptr) {
        myBatchHandler = Listener{handler, data};
        myWatchers.fetch_add(1, std::memory_order_relaxed);
    }
}

void TRK_EventManager::endHandlingEvents()
{
    std::vector<TRK_Channel *> changed;
    Listener batch{nullptr, nullptr};
    {
        std::lock_guard<std::mutex> guard(myLock);
        const int open = myDepth.load(std::memory_order_relaxed);
        if (open <= 0) {
            return;
        }
        if (open > 1) {
            myDepth.store(open - 1, std::memory_order_relaxed);
            return;
        }
        changed.swap(myChanged);
        batch = myBatchHandler;
        myBatchHandler = Listener{nullptr, nullptr};
        myDepth.store(0, std::memory_order_relaxed);
    }
    if (!changed.empty()) {
        deliver(changed, batch);
    }
    if (batch.handler != nullptr) {
        myWatchers.fetch_sub(1, std::memory_order_relaxed);
    }
}

void TRK_EventManager::addListener(void *data, Handler handler)
{
    std::lock_guard<std::mutex> guard(myLock);
    myListeners.push_back(Listener{handler, data});
    myWatchers.fetch_add(1, std::memory_order_relaxed);
}

void TRK_EventManager::removeListener(void *data, Handler handler)
{
    std::lock_guard<std::mutex> guard(myLock);
    const auto match = [=](const Listener &listener) {
        return listener.data == data && listener.handler == handler;
    };
    const auto found = std::find_if(myListeners.begin(), myListeners.end(), match);
    if (found != myListeners.end()) {
        myListeners.erase(found);
        myWatchers.fetch_sub(1, std::memory_order_relaxed);
    }
}

void TRK_EventManager::channelChanged(TRK_Channel *channel)
{
    if (!isWatched()) {
        return;
    }
    if (depth() > 0) {
        std::lock_guard<std::mutex> guard(myLock);
        myChanged.push_back(channel);
        return;
    }
    deliver({channel}, Listener{nullptr, nullptr});
}

void TRK_EventManager::channelDestroyed(TRK_Channel *channel)
{
    if (!isWatched()) {
        return;
    }
    std::lock_guard<std::mutex> guard(myLock);
    myChanged.erase(std::remove(myChanged.begin(), myChanged.end(), channel), myChanged.end());
    for (Delivery *delivery = myDeliveries; delivery != nullptr; delivery = delivery->outer) {
        std::replace(delivery->channels.begin(), delivery->channels.end(), channel,
                     static_cast<TRK_Channel *>(nullptr));
    }
}

void TRK_EventManager::deliver(const std::vector<TRK_Channel *> &channels, Listener only)
{
    Delivery delivery{{}, nullptr};
    std::unordered_set<const TRK_Channel *> seen;
    for (TRK_Channel *channel : channels) {
        if (seen.insert(channel).second) {
            delivery.channels.push_back(channel);
        }
    }
    std::vector<Listener> listeners;
    {
        std::lock_guard<std::mutex> guard(myLock);
        listeners = only.handler != nullptr ? std::vector<Listener>{only} : myListeners;
        delivery.outer = myDeliveries;
        myDeliveries = &delivery;
        myWatchers.fetch_add(1, std::memory_order_relaxed);
    }
    // Handlers run without the lock, so that they may change channels; a channel that one of them
    // destroys is nulled for the others.
    for (size_t i = 0; i < delivery.channels.size(); ++i) {
        for (const Listener &listener : listeners) {
            TRK_Channel *channel = nullptr;
            {
                std::lock_guard<std::mutex> guard(myLock);
                channel = delivery.channels[i];
            }
            if (channel != nullptr) {
                const Delivering delivering;
                listener.handler(listener.data, channel);
            }
        }
    }
    std::lock_guard<std::mutex> guard(myLock);
    Delivery **link = &myDeliveries;
    while (*link != &delivery) {
        link = &(*link)->outer;
    }
    *link = delivery.outer;
    myWatchers.fetch_sub(1, std::memory_order_relaxed);
}

TRK_EventManager &TRKgetEventManager()
{
    static TRK_EventManager theManager;
    return theManager;
}

TRK_AutoEventHandler::TRK_AutoEventHandler()
{
    TRKgetEventManager().beginHandlingEvents();
}

TRK_AutoEventHandler::~TRK_AutoEventHandler()
{
    TRKgetEventManager().endHandlingEvents();
}
