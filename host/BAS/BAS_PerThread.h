/// \file BAS_PerThread.h
/// One record for each thread, looked up by the thread's id.
///
/// Vocabulary: *inline record* = one of the first 32, inside the object, each on cache lines of its
///             own; the records of higher ids are created on first use in a concurrent map.
/// Units:      thread ids are 1-based (BASgetSTID); an id below 1 means the calling thread.
/// Ownership:  the object owns all records. A reference stays valid as long as the object. A record
///             outlives its thread: the next thread with that id finds it unchanged.
/// Threads:    get and local from any thread; a record belongs to one thread, so forEach may only
///             access what that thread writes atomically, or must run while the threads are idle.
/// Errors:     none.
/// Cost:       an index for the first 32 threads; above, a hash look-up without a lock.
///
/// The object is aligned to a cache line, and so must its memory be (plain `new` and statics are).

#pragma once

#include <BAS/BAS_Thread.h>

#include <tbb/concurrent_unordered_map.h>

#include <tuple>
#include <utility>

template <class T>
class BAS_PerThread
{
public:
    /// How many records live inside the object.
    static constexpr int theInlineCount = 32;

    BAS_PerThread() = default;
    BAS_PerThread(const BAS_PerThread &) = delete;
    BAS_PerThread &operator=(const BAS_PerThread &) = delete;

    /// The record of the thread with this id.
    T &get(int thread)
    {
        if (thread < 1) {
            thread = BASgetSTID();
        }
        return thread <= theInlineCount ? myRecords[thread - 1].myValue : getOther(thread);
    }

    /// The calling thread's record.
    T &local() { return get(BASgetSTID()); }

    /// Calls `f(T &)` for the 32 inline records and for every other record that was created.
    template <class F>
    void forEach(F f)
    {
        for (Record &record : myRecords) {
            f(record.myValue);
        }
        for (auto &entry : myOthers) {
            f(entry.second.myValue);
        }
    }

private:
    struct alignas(64) Record
    {
        T myValue{};
    };
    struct Other
    {
        T myValue{};
    };

    // Out of line, so that the common case stays small at every call.
    __attribute__((noinline)) T &getOther(int thread)
    {
        const auto found = myOthers.find(thread);
        if (found != myOthers.end()) {
            return found->second.myValue;
        }
        // If two threads create the record at once, one is kept and both get it.
        return myOthers
            .emplace(std::piecewise_construct, std::forward_as_tuple(thread), std::tuple<>())
            .first->second.myValue;
    }

    Record myRecords[theInlineCount];
    tbb::concurrent_unordered_map<int, Other> myOthers;
};
