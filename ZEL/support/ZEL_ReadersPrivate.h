/// \file ZEL_ReadersPrivate.h
/// Reading what other threads replace and free, without a lock and without writing to words that
/// other threads use.
///
/// Vocabulary: *slot* = a thread's hazard pointer, on a cache line of its own: what that thread is
///             reading; a writer that took it away waits before freeing it.
/// Units:      thread ids are 1-based (BASgetSTID); the first 32 threads have slots.
/// Ownership:  borrows what is read.
/// Threads:    any. A thread reads one thing at a time.
/// Errors:     none.
/// Cost:       a read is one sequentially consistent store; a writer looks at the slot of each thread
///             that ever read.
#pragma once

#include <atomic>

class ZEL_Readers
{
public:
    struct alignas(64) Slot
    {
        std::atomic<const void *> held{nullptr};
    };

    /// The thread's slot; null for a thread that has none.
    static Slot *slotOf(int thread)
    {
        if (thread > theCount) {
            return nullptr;
        }
        int known = theHighest.load();
        while (known < thread && !theHighest.compare_exchange_weak(known, thread)) {
        }
        return &theSlots[thread - 1];
    }

    /// Returns when no thread reads that object, which must not be there for new readers.
    static void waitFor(const void *object);

private:
    static constexpr int theCount = 32;

    static Slot theSlots[theCount];
    static std::atomic<int> theHighest; // thread ids that have read
};

/// What a pointer held at construction; it can't be freed while this lives.
///
/// Publishing the pointer and re-checking it are sequentially consistent with replacing it and
/// looking at the slots; so either the reader sees the new one or the writer sees the reader.
template <class T>
class ZEL_Reading
{
public:
    ZEL_Reading(ZEL_Readers::Slot &slot, const std::atomic<T *> &from)
        : mySlot(slot), myObject(from.load(std::memory_order_relaxed))
    {
        while (myObject) {
            mySlot.held.store(myObject);
            T *const now = from.load();
            if (now == myObject) {
                break;
            }
            myObject = now;
        }
    }
    ~ZEL_Reading() { mySlot.held.store(nullptr, std::memory_order_release); }
    ZEL_Reading(const ZEL_Reading &) = delete;
    ZEL_Reading &operator=(const ZEL_Reading &) = delete;

    T *get() const { return myObject; }

private:
    ZEL_Readers::Slot &mySlot;
    T *myObject;
};
