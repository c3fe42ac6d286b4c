/// \file BAS_Memory.h
/// Memory with an account: how many bytes each category of a program part holds.
///
/// Vocabulary: *user* = one category with its name and its counts; *table* = the users of one
///             program part, numbered from 0; *acquire/release* = count without allocating.
/// Units:      bytes; categories are 0-based indices into the table.
/// Ownership:  a table borrows its users, users borrow their names; both are statics as a rule.
///             Memory belongs to the caller and is freed with the size it was allocated with.
/// Threads:    any; counts are atomic.
/// Errors:     null when memory is exhausted, with nothing counted. A category outside the table
///             allocates as usual and is not counted.
/// Cost:       two relaxed atomic additions beside the allocation.

#pragma once

#include <BAS/BAS_API.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

/// One category's account.
class BAS_MemoryUser
{
public:
    explicit constexpr BAS_MemoryUser(const char *name) noexcept : myName(name) {}
    BAS_MemoryUser(const BAS_MemoryUser &) = delete;
    BAS_MemoryUser &operator=(const BAS_MemoryUser &) = delete;

    const char *getName() const { return myName ? myName : ""; }

    /// Bytes held now. Below zero only if more was released than acquired.
    int64_t getBytes() const { return myBytes.load(std::memory_order_relaxed); }

    /// The most bytes held at any time.
    int64_t getPeakBytes() const { return myPeak.load(std::memory_order_relaxed); }

    /// Blocks held now (allocations and acquires less frees and releases).
    int64_t getBlocks() const { return myBlocks.load(std::memory_order_relaxed); }

    /// Adds to the account; negative values subtract.
    void count(int64_t bytes, int64_t blocks) noexcept
    {
        const int64_t now = myBytes.fetch_add(bytes, std::memory_order_relaxed) + bytes;
        myBlocks.fetch_add(blocks, std::memory_order_relaxed);
        int64_t peak = myPeak.load(std::memory_order_relaxed);
        while (now > peak && !myPeak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
        }
    }

private:
    const char *myName;
    std::atomic<int64_t> myBytes{0};
    std::atomic<int64_t> myPeak{0};
    std::atomic<int64_t> myBlocks{0};
};

/// The categories of one program part.
class BAS_MemoryTable
{
public:
    constexpr BAS_MemoryTable(BAS_MemoryUser *users, int count) noexcept
        : myUsers(users), myCount(users && count > 0 ? count : 0)
    {}

    int entries() const { return myCount; }

    /// The category's account; null outside the table.
    BAS_MemoryUser *getUser(int category) const
    {
        return category >= 0 && category < myCount ? myUsers + category : nullptr;
    }

    /// Bytes over all categories.
    int64_t getTotalBytes() const
    {
        int64_t total = 0;
        for (int i = 0; i < myCount; i++) {
            total += myUsers[i].getBytes();
        }
        return total;
    }

private:
    BAS_MemoryUser *myUsers;
    int myCount;
};

/// Allocation through a table.
class KIT_API BAS_Memory
{
public:
    /// Uninitialised bytes.
    static void *Malloc(BAS_MemoryTable &table, int category, size_t size);

    /// Zeroed bytes.
    static void *Calloc(BAS_MemoryTable &table, int category, size_t size);

    /// Grows or shrinks a block of `oldSize` bytes (null and 0 for a new one). A new size of 0
    /// frees it and returns null. When memory is exhausted it returns null and the old block is
    /// unchanged.
    static void *Realloc(BAS_MemoryTable &table, int category, void *memory, size_t oldSize,
                         size_t newSize);

    /// Frees a block of that size; null is allowed and counts nothing.
    static void Free(BAS_MemoryTable &table, int category, void *memory, size_t size);

    /// Counts bytes that are allocated elsewhere.
    static void acquire(BAS_MemoryTable &table, int category, size_t size);

    /// Subtracts them from the account again.
    static void release(BAS_MemoryTable &table, int category, size_t size);
};
