/// \file KIT_ProbeTable.h
/// A hash table by name with all entries in one array: what the tables of names and tokens share.
///
/// Vocabulary: *slot* = a place of the array and its contents; it is empty while its name is in the
///             null state. *home* = the slot where a name's look-up starts. Entries are in
///             ascending order of home; a displaced one is near its home: above it, or below it at
///             the end of the array. *sizing* = where homes are and how far a table fills.
/// Ownership:  owns its slots. Pointers to them last until the next insertion or removal.
/// Threads:    look-ups from any thread while no thread changes the table; no lock.
/// Errors:     out of memory throws std::bad_alloc, and then nothing has changed.
/// Cost:       a look-up is the home slot and a short probe. Only growing allocates.
///
/// A slot has `const KIT_StringRef &key() const`, is made empty, and neither throws on a move nor
/// keeps its name when it is moved from.
#pragma once

#include <KIT/KIT_Prime.h>
#include <KIT/KIT_StringRef.h>
#include <KIT/KIT_TableMemory.h>

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

/// Prime capacities, at most half full once there are a few entries.
class KIT_PrimeSizing
{
public:
    /// The number of slots for that many entries: `capacity` as long as that is enough.
    static size_t grown(size_t entries, size_t capacity)
    {
        const size_t wanted = entries < 3 ? entries : 2 * entries + 1;
        if (capacity >= wanted) {
            return capacity;
        }
        // More than is wanted, or a table that is filled one by one would move at each step.
        return KITbumpAllocToPrime(std::max(wanted, capacity + capacity / 2));
    }
    void setCapacity(uint32_t capacity) { myMagic = UINT64_MAX / capacity + 1; }
    uint32_t home(uint32_t hash, uint32_t capacity) const
    {
        // Exact remainder by multiplication (Lemire, Kaser, Kurz: "Faster Remainder by Direct
        // Computation", 2019).
        __extension__ using Wide = unsigned __int128;
        return static_cast<uint32_t>((static_cast<Wide>(myMagic * hash) * capacity) >> 64);
    }

private:
    uint64_t myMagic = 0;
};

/// Capacities that are powers of two, at most three quarters full: no word more in the object.
class KIT_MaskSizing
{
public:
    static size_t grown(size_t entries, size_t capacity)
    {
        while (entries * 4 > capacity * 3) {
            capacity = std::max(size_t(4), capacity * 2);
        }
        return capacity;
    }
    void setCapacity(uint32_t) {}
    uint32_t home(uint32_t hash, uint32_t capacity) const { return hash & (capacity - 1); }
};

template <class Slot, class Sizing>
class KIT_ProbeTable : private Sizing
{
public:
    KIT_ProbeTable() = default;
    /// With exactly that many slots, which must be a capacity of the sizing; 0 allocates nothing.
    explicit KIT_ProbeTable(size_t capacity);
    ~KIT_ProbeTable();
    KIT_ProbeTable(const KIT_ProbeTable &) = delete;
    KIT_ProbeTable &operator=(const KIT_ProbeTable &) = delete;

    uint32_t capacity() const { return myCapacity; }
    uint32_t entries() const { return mySlots ? usedCount() : 0; }
    /// Bytes on the heap.
    size_t bytes() const { return mySlots ? blockBytes(myCapacity) : 0; }

    /// Null if the name is unknown. It must not be null, and the table must have slots.
    Slot *find(const KIT_StringRef &name) const;
    /// Where a look-up of the name starts; the table must have slots.
    const Slot *homeSlot(const KIT_StringRef &name) const { return mySlots + homeOf(name); }

    /// Room for that many entries in all, so that a run of insertions moves nothing.
    void reserve(size_t entries)
    {
        const size_t wanted = Sizing::grown(entries, myCapacity);
        if (wanted != myCapacity) {
            grow(wanted);
        }
    }
    /// The empty slot for an entry that isn't there yet. The name isn't null, and the caller fills
    /// it in at once.
    Slot &insert(const KIT_StringRef &name)
    {
        reserve(size_t(entries()) + 1);
        ++usedCount();
        return mySlots[place(name)];
    }
    /// Empties a slot of this table that isn't empty.
    void erase(Slot *slot);
    void swap(KIT_ProbeTable &other) noexcept;

    /// All slots, the empty ones too; names may not change.
    Slot *begin() { return mySlots; }
    Slot *end() { return mySlots + myCapacity; }
    const Slot *begin() const { return mySlots; }
    const Slot *end() const { return mySlots + myCapacity; }

private:
    static size_t blockBytes(size_t capacity) { return capacity * sizeof(Slot) + sizeof(uint64_t); }
    bool isEmpty(uint32_t index) const { return mySlots[index].key().isNull(); }
    uint32_t homeOf(const KIT_StringRef &name) const { return this->home(name.hash(), myCapacity); }
    uint32_t homeAt(uint32_t index) const { return homeOf(mySlots[index].key()); }

    /// The number of entries is stored right after the last slot.
    uint32_t &usedCount() const { return *reinterpret_cast<uint32_t *>(mySlots + myCapacity); }
    void grow(size_t capacity);
    uint32_t place(const KIT_StringRef &name);
    uint32_t makeRoomBelow(uint32_t wanted, uint32_t at);

    Slot *mySlots = nullptr;
    uint32_t myCapacity = 0;
};

// -------------------------------------------------------------------- //
// Implementation
// -------------------------------------------------------------------- //

template <class Slot, class Sizing>
KIT_ProbeTable<Slot, Sizing>::KIT_ProbeTable(size_t capacity)
{
    static_assert(std::is_nothrow_default_constructible<Slot>::value &&
                      std::is_nothrow_move_assignable<Slot>::value,
                  "entries move without a way back");
    static_assert(alignof(Slot) >= alignof(uint32_t), "the count stands behind the slots");
    if (capacity == 0) {
        return;
    }
    if (capacity > UINT32_MAX) {
        throw std::bad_alloc();
    }
    mySlots = static_cast<Slot *>(KIT_TableMemory::allocate(blockBytes(capacity)));
    myCapacity = static_cast<uint32_t>(capacity);
    this->setCapacity(myCapacity);
    for (uint32_t i = 0; i < myCapacity; ++i) {
        new (&mySlots[i]) Slot();
    }
    new (mySlots + myCapacity) uint32_t(0);
}

template <class Slot, class Sizing>
KIT_ProbeTable<Slot, Sizing>::~KIT_ProbeTable()
{
    for (uint32_t i = 0; i < myCapacity; ++i) {
        mySlots[i].~Slot();
    }
    KIT_TableMemory::deallocate(mySlots, myCapacity == 0 ? 0 : blockBytes(myCapacity));
}

template <class Slot, class Sizing>
void KIT_ProbeTable<Slot, Sizing>::swap(KIT_ProbeTable &other) noexcept
{
    std::swap(static_cast<Sizing &>(*this), static_cast<Sizing &>(other));
    std::swap(mySlots, other.mySlots);
    std::swap(myCapacity, other.myCapacity);
}

template <class Slot, class Sizing>
Slot *KIT_ProbeTable<Slot, Sizing>::find(const KIT_StringRef &name) const
{
    const uint32_t start = homeOf(name);
    uint32_t i = start;
    do {
        if (isEmpty(i)) {
            return nullptr;
        }
        if (mySlots[i].key() == name) {
            return &mySlots[i];
        }
    } while (++i < myCapacity);
    // The run reaches the end of the array: entries that found no place above are below.
    for (i = start; i-- > 0;) {
        if (isEmpty(i)) {
            return nullptr;
        }
        if (mySlots[i].key() == name) {
            return &mySlots[i];
        }
    }
    return nullptr;
}

template <class Slot, class Sizing>
void KIT_ProbeTable<Slot, Sizing>::grow(size_t capacity)
{
    KIT_ProbeTable larger(capacity);
    for (Slot &slot : *this) {
        if (!slot.key().isNull()) {
            larger.mySlots[larger.place(slot.key())] = std::move(slot);
        }
    }
    larger.usedCount() = this->entries();
    swap(larger);
}

template <class Slot, class Sizing>
uint32_t KIT_ProbeTable<Slot, Sizing>::place(const KIT_StringRef &name)
{
    const uint32_t wanted = homeOf(name);
    uint32_t at = wanted;
    while (at < myCapacity && !isEmpty(at) && homeAt(at) <= wanted) {
        ++at;
    }
    uint32_t empty = at;
    while (empty < myCapacity && !isEmpty(empty)) {
        ++empty;
    }
    if (empty == myCapacity) {
        return makeRoomBelow(wanted, at);
    }
    std::move_backward(mySlots + at, mySlots + empty, mySlots + empty + 1);
    return at;
}

/// No slot above is empty: the run below `at` moves down by one. The table is never full here.
template <class Slot, class Sizing>
uint32_t KIT_ProbeTable<Slot, Sizing>::makeRoomBelow(uint32_t wanted, uint32_t at)
{
    // Skip entries of later homes that are below theirs.
    while (!isEmpty(at - 1) && homeAt(at - 1) > wanted) {
        --at;
    }
    uint32_t empty = --at;
    while (!isEmpty(empty)) {
        --empty;
    }
    std::move(mySlots + empty + 1, mySlots + at + 1, mySlots + empty);
    return at;
}

template <class Slot, class Sizing>
void KIT_ProbeTable<Slot, Sizing>::erase(Slot *slot)
{
    const uint32_t removed = static_cast<uint32_t>(slot - mySlots);
    uint32_t gap = removed;
    // Entries below their home move up towards it over the gap, with those in between.
    for (uint32_t i = gap; i-- > 0 && !isEmpty(i);) {
        if (homeAt(i) > i) {
            std::move_backward(mySlots + i, mySlots + gap, mySlots + gap + 1);
            gap = i;
        }
    }
    if (gap == removed) {
        // There are none: entries above their home move down.
        for (; gap + 1 < myCapacity && !isEmpty(gap + 1) && homeAt(gap + 1) <= gap; ++gap) {
            mySlots[gap] = std::move(mySlots[gap + 1]);
        }
    }
    mySlots[gap] = Slot();
    --usedCount();
}
