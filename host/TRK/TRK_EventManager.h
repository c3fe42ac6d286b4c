/// \file TRK_EventManager.h
/// Channel change events: collected while a batch is open, delivered when the outermost one ends.
///
/// A handler may change, make and delete channels, also the one that it is notified of.
///
/// Vocabulary: *batch* = the time between beginHandlingEvents and endHandlingEvents; batches nest,
///             and depth counts the open ones.
/// Ownership:  one manager for the process. It borrows the listeners; each is removed before it is
///             destroyed. Destroying a channel in an open batch drops its event.
/// Threads:    events may be raised on any thread; batches and listeners belong to the main thread.
/// Errors:     an end without a begin is ignored.
/// Cost:       with no listener an event costs one relaxed load.

#pragma once

#include <BAS/BAS_API.h>

#include <atomic>
#include <mutex>
#include <vector>

class TRK_Channel;

class KIT_API TRK_EventManager
{
public:
    using Handler = void (*)(void *data, TRK_Channel *channel);

    /// Opens a batch. If it is the outermost one, a handler given here receives its events instead
    /// of the listeners.
    void beginHandlingEvents(Handler handler = nullptr, void *data = nullptr);
    /// Ends a batch; the outermost one delivers each changed channel once, in order of change.
    void endHandlingEvents();
    int depth() const { return myDepth.load(std::memory_order_relaxed); }
    /// Whether a handler is running on the calling thread.
    static bool isDelivering();

    void addListener(void *data, Handler handler);
    void removeListener(void *data, Handler handler);

    /// Raises a change event of a channel: delivered now, or at the end of the open batch.
    void channelChanged(TRK_Channel *channel);
    /// Drops the events of a channel that is being destroyed.
    void channelDestroyed(TRK_Channel *channel);

private:
    struct Listener
    {
        Handler handler;
        void *data;
    };
    /// One round of calls in progress, on the C++ stack of deliver().
    struct Delivery
    {
        std::vector<TRK_Channel *> channels;
        Delivery *outer;
    };
    bool isWatched() const;
    /// Calls \p only, or if it is null all listeners.
    void deliver(const std::vector<TRK_Channel *> &channels, Listener only);

    std::atomic<int> myDepth{0};
    std::atomic<int> myWatchers{0}; ///< listeners, batch handler, deliveries in progress
    std::mutex myLock;
    std::vector<Listener> myListeners;
    std::vector<TRK_Channel *> myChanged;
    Delivery *myDeliveries = nullptr;
    Listener myBatchHandler{nullptr, nullptr};
};

/// The process's event manager.
KIT_API TRK_EventManager &TRKgetEventManager();

/// A batch for the length of a scope.
class KIT_API TRK_AutoEventHandler
{
public:
    TRK_AutoEventHandler();
    ~TRK_AutoEventHandler();
    TRK_AutoEventHandler(const TRK_AutoEventHandler &) = delete;
    TRK_AutoEventHandler &operator=(const TRK_AutoEventHandler &) = delete;
};
