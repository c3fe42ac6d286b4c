/// \file ZEL_DataRep.h
/// The item of one component of a ZEL_Data, or nothing.
///
/// Vocabulary: *share* = an owner of the item with a count of its own; each thread that reads has
///             one, so that copying and releasing what it was given writes to no word of another.
/// Ownership:  shares the item. What a reader was given keeps it alive, too. The lock belongs to the
///             instance and is passed to each operation that needs it.
/// Threads:    any; see ZEL_StringRep.h, which reads in the same way.
/// Errors:     without memory for its share a thread gets the item by the common count.
/// Cost:       one pointer, and 64 bytes for an item. Once a second thread has read it: 64 bytes for
///             each reading thread and 128 for each eight threads. The first 32 threads read without
///             the lock. A change takes the write lock and waits for readers that are copying the old
///             item.
#pragma once

#include <tbb/spin_rw_mutex.h>

#include <atomic>
#include <memory>

class ZEL_DataItem;

class ZEL_DataRep
{
public:
    using Lock = tbb::spin_rw_mutex;
    using Item = std::shared_ptr<const ZEL_DataItem>;

    ZEL_DataRep() noexcept = default;
    ~ZEL_DataRep();
    ZEL_DataRep(const ZEL_DataRep &) = delete;
    ZEL_DataRep &operator=(const ZEL_DataRep &) = delete;

    bool isEmpty() const { return !myHeld.load(std::memory_order_relaxed); }
    Item get(Lock &lock) const;
    void set(Lock &lock, const Item &item);

private:
    struct Held;

    std::atomic<Held *> myHeld{nullptr};
};
