#include <ZEL/ZEL_NameTable.h>

#include <KIT/KIT_Prime.h>

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

namespace
{

/// The capacity for a number of entries: at most half full once there are a few.
std::size_t wantedCapacity(std::uint32_t entries)
{
    return entries < 3 ? entries : 2 * std::size_t(entries) + 1;
}

} // namespace

ZEL_NameTable::ZEL_NameTable(std::size_t capacity)
{
    if (capacity > 0) {
        allocate(KITbumpAllocToPrime(capacity));
    }
}

ZEL_NameTable::~ZEL_NameTable()
{
    release();
}

void ZEL_NameTable::insert(const KIT_StringRef &name, int value)
{
    if (name.isNull()) {
        return;
    }
    applyGaps();
    if (const Slot *found = myCapacity ? findSlot(name) : nullptr) {
        const_cast<Slot *>(found)->value = value;
        return;
    }
    growFor(entries() + 1);
    place(KIT_StringHolder(name), value);
    ++usedCount();
}

bool ZEL_NameTable::removeIfValue(const KIT_StringRef &name, int value)
{
    const Slot *found = myCapacity && !name.isNull() ? findSlot(name) : nullptr;
    if (!found || present(found->value) != value) {
        return false;
    }
    const auto gap = std::uint32_t(found - mySlots);
    mySlots[gap].name = KIT_StringHolder();
    --usedCount();
    reinsertAround(gap);
    return true;
}

void ZEL_NameTable::closeGap(int value)
{
    int next = 0; // the first gap behind the value
    std::int32_t inSlots = value;
    for (; next < myNumGaps && inSlots >= myGaps[next].first; ++next) {
        inSlots += myGaps[next].size;
    }
    if (joinGaps(next, inSlots)) {
        return;
    }
    if (myNumGaps == theMostGaps) {
        applyGaps();
        next = 0;
        inSlots = value;
    }
    std::copy_backward(myGaps + next, myGaps + myNumGaps, myGaps + myNumGaps + 1);
    myGaps[next] = {inSlots, 1};
    ++myNumGaps;
}

/// Adds a value to the gaps that it touches; false if it touches none.
bool ZEL_NameTable::joinGaps(int next, std::int32_t value)
{
    Gap *const below = next > 0 ? &myGaps[next - 1] : nullptr;
    Gap *const above = next < myNumGaps ? &myGaps[next] : nullptr;
    const bool touchesBelow = below && below->first + below->size == value;
    const bool touchesAbove = above && above->first == value + 1;
    if (touchesBelow) {
        below->size += 1 + (touchesAbove ? above->size : 0);
    } else if (touchesAbove) {
        --above->first;
        ++above->size;
    }
    if (touchesBelow && touchesAbove) {
        std::copy(above + 1, myGaps + myNumGaps, above);
        --myNumGaps;
    }
    return touchesBelow || touchesAbove;
}

void ZEL_NameTable::applyGaps()
{
    for (std::uint32_t i = 0; myNumGaps > 0 && i < myCapacity; ++i) {
        mySlots[i].value = present(mySlots[i].value);
    }
    myNumGaps = 0;
}

std::int64_t ZEL_NameTable::getMemoryUsage(bool inclusive) const
{
    std::int64_t bytes = inclusive ? std::int64_t(sizeof(*this)) : 0;
    if (mySlots) {
        bytes += std::int64_t(myCapacity * sizeof(Slot) + sizeof(std::uint64_t));
    }
    return bytes;
}

const ZEL_NameTable::Slot *ZEL_NameTable::findSlot(const KIT_StringRef &name) const
{
    const std::uint32_t start = home(name.hash());
    std::uint32_t i = start;
    for (; i < myCapacity; ++i) {
        if (mySlots[i].name.isNull()) {
            return nullptr;
        }
        if (mySlots[i].name == name) {
            return &mySlots[i];
        }
    }
    // The run reaches the end of the array: entries that found no place above stand below.
    for (i = start; i-- > 0;) {
        if (mySlots[i].name.isNull()) {
            return nullptr;
        }
        if (mySlots[i].name == name) {
            return &mySlots[i];
        }
    }
    return nullptr;
}

std::uint32_t &ZEL_NameTable::usedCount() const
{
    return *reinterpret_cast<std::uint32_t *>(mySlots + myCapacity);
}

void ZEL_NameTable::allocate(std::size_t capacity)
{
    myCapacity = std::uint32_t(capacity);
    myMagic = UINT64_MAX / capacity + 1;
    // The count of used slots is the word behind the last slot.
    void *block = ::operator new(capacity * sizeof(Slot) + sizeof(std::uint64_t));
    mySlots = static_cast<Slot *>(block);
    for (std::uint32_t i = 0; i < myCapacity; ++i) {
        new (&mySlots[i]) Slot{KIT_StringHolder(), -1};
    }
    new (mySlots + myCapacity) std::uint32_t(0);
}

void ZEL_NameTable::release()
{
    for (std::uint32_t i = 0; i < myCapacity; ++i) {
        mySlots[i].~Slot();
    }
    ::operator delete(mySlots);
    mySlots = nullptr;
    myCapacity = 0;
}

void ZEL_NameTable::growFor(std::uint32_t entries)
{
    const std::size_t wanted = wantedCapacity(entries);
    if (myCapacity >= wanted) {
        return;
    }
    Slot *oldSlots = mySlots;
    const std::uint32_t oldCapacity = myCapacity;
    const std::uint32_t used = this->entries();
    // More than is wanted, or a table that is filled one by one would move at each step.
    allocate(KITbumpAllocToPrime(std::max(wanted, oldCapacity + std::size_t(oldCapacity) / 2)));
    for (std::uint32_t i = 0; i < oldCapacity; ++i) {
        if (!oldSlots[i].name.isNull()) {
            place(std::move(oldSlots[i].name), oldSlots[i].value);
        }
        oldSlots[i].~Slot();
    }
    ::operator delete(oldSlots);
    usedCount() = used;
}

void ZEL_NameTable::place(KIT_StringHolder &&name, std::int32_t value)
{
    const std::uint32_t wanted = home(name.hash());
    std::uint32_t at = wanted;
    while (at < myCapacity && !mySlots[at].name.isNull() &&
           home(mySlots[at].name.hash()) <= wanted) {
        ++at;
    }
    std::uint32_t empty = at;
    while (empty < myCapacity && !mySlots[empty].name.isNull()) {
        ++empty;
    }
    if (empty < myCapacity) {
        for (; empty > at; --empty) {
            mySlots[empty] = std::move(mySlots[empty - 1]);
        }
    } else {
        // No empty slot above: the run below moves down by one. The table is never full here.
        empty = --at;
        while (!mySlots[empty].name.isNull()) {
            --empty;
        }
        for (; empty < at; ++empty) {
            mySlots[empty] = std::move(mySlots[empty + 1]);
        }
    }
    mySlots[at].name = std::move(name);
    mySlots[at].value = value;
}

void ZEL_NameTable::reinsertAround(std::uint32_t gap)
{
    std::uint32_t first = gap;
    while (first > 0 && !mySlots[first - 1].name.isNull()) {
        --first;
    }
    std::uint32_t end = gap + 1;
    while (end < myCapacity && !mySlots[end].name.isNull()) {
        ++end;
    }
    std::vector<Slot> run;
    for (std::uint32_t i = first; i < end; ++i) {
        if (!mySlots[i].name.isNull()) {
            run.push_back(std::move(mySlots[i]));
            mySlots[i].name = KIT_StringHolder();
        }
    }
    for (Slot &slot : run) {
        place(std::move(slot.name), slot.value);
    }
}
