/// \file ZEL_NameTable.h
/// The hash table from a name to a parameter index that every list and node type keeps.
///
/// Vocabulary: *pending shift* (`Shift`): after values [first, first+size) are erased, larger
///             values must drop by size. Up to theMostShifts of them are kept and applied on
///             look-up, so that erasing doesn't rewrite the table.
/// Units:      values are parm indices, 0-based; -1 means not found.
/// Ownership:  shares the names' counted text.
/// Threads:    look-ups from any thread while no thread changes the table; no lock.
/// Errors:     out of memory throws std::bad_alloc and leaves the table unchanged. A name whose
///             text gets no memory isn't added.
/// Cost:       a look-up is one multiplication for the home slot and a short probe. Erasing values
///             that extend a pending shift, such as a range from its last to its first, doesn't
///             touch the slots; the next insertion, or more shifts than are kept, rewrites them. A
///             shift that all larger values are erased after costs nothing.
#pragma once

#include <KIT/KIT_ProbeTable.h>
#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>

#include <algorithm>
#include <cstdint>

class ZEL_API ZEL_NameTable
{
public:
    ZEL_NameTable() = default;
    /// Sized at once for at least `capacity` slots; 0 allocates nothing.
    explicit ZEL_NameTable(std::size_t capacity);

    ZEL_NameTable(const ZEL_NameTable &) = delete;
    ZEL_NameTable &operator=(const ZEL_NameTable &) = delete;

    /// -1 if the name is null or unknown.
    int find(const KIT_StringRef &name) const
    {
        return capacity() == 0 || name.isNull() ? -1 : probe(name);
    }

    /// Prefetches what a look-up of the name will read; in a large table that is a cache miss.
    void prefetch(const KIT_StringRef &name) const
    {
        if (capacity() != 0) {
            __builtin_prefetch(myTable.homeSlot(name));
        }
    }

    /// Adds the name, or gives an existing one the new value. A null name is ignored.
    void insert(const KIT_StringRef &name, int value);
    /// Reserves memory for that many entries in all, so that insertions don't rehash.
    void reserve(std::uint32_t entries) { myTable.reserve(entries); }
    /// Removes the name if it has that value; true if it did.
    bool removeIfValue(const KIT_StringRef &name, int value);
    /// Decrements every value greater than `value`.
    void shiftAbove(int value);
    /// The same for the largest value of all, which was erased: no other changes, and pending shifts
    /// that no value is left for are forgotten.
    void dropLast(int value)
    {
        while (myNumShifts > 0 && present(myShifts[myNumShifts - 1].first) >= value) {
            --myNumShifts;
        }
    }
    /// Gives each value `v` the value `to[v]`.
    void renumber(const std::int32_t *to);

    std::uint32_t entries() const { return myTable.entries(); }
    std::uint32_t capacity() const { return myTable.capacity(); }
    std::int64_t getMemoryUsage(bool inclusive) const;

private:
    struct Slot
    {
        const KIT_StringRef &key() const { return name; }

        KIT_StringHolder name;
        std::int32_t value = -1;
    };

    /// A pending shift, in terms of the values that are stored in the slots.
    struct Shift
    {
        std::int32_t first;
        std::int32_t size;
    };
    /// Two for the usual pattern, one growing beside a complete one, and two more for others.
    static constexpr int theMostShifts = 4;

    int probe(const KIT_StringRef &name) const
    {
        const Slot *slot = findSlot(name);
        return slot ? present(slot->value) : -1;
    }
    /// A slot's value after the pending shifts below it.
    std::int32_t present(std::int32_t value) const
    {
        std::int32_t drop = 0;
        for (int i = 0; i < myNumShifts && value >= myShifts[i].first; ++i) {
            drop += std::min(myShifts[i].size, value - myShifts[i].first);
        }
        return value - drop;
    }
    const Slot *findSlot(const KIT_StringRef &name) const;

    void applyShifts();
    bool joinShifts(int next, std::int32_t value);

    KIT_ProbeTable<Slot, KIT_PrimeSizing> myTable;
    int myNumShifts = 0;
    Shift myShifts[theMostShifts];
};
