#include <ZEL/ZEL_NameTable.h>

#include <KIT/KIT_Prime.h>

#include <algorithm>
#include <new>
#include <utility>

ZEL_NameTable::ZEL_NameTable(std::size_t capacity)
    : myTable(capacity > 0 ? KITbumpAllocToPrime(capacity) : 0)
{}

const ZEL_NameTable::Slot *ZEL_NameTable::findSlot(const KIT_StringRef &name) const
{
    return myTable.find(name);
}

void ZEL_NameTable::insert(const KIT_StringRef &name, int value)
{
    if (name.isNull()) {
        return;
    }
    applyShifts();
    if (Slot *found = capacity() ? myTable.find(name) : nullptr) {
        found->value = value;
        return;
    }
    KIT_StringHolder kept(name);
    if (kept.isNull()) {
        throw std::bad_alloc();
    }
    Slot &slot = myTable.insert(kept);
    slot.name = std::move(kept);
    slot.value = value;
}

bool ZEL_NameTable::removeIfValue(const KIT_StringRef &name, int value)
{
    Slot *const found = capacity() && !name.isNull() ? myTable.find(name) : nullptr;
    if (!found || present(found->value) != value) {
        return false;
    }
    myTable.erase(found);
    return true;
}

void ZEL_NameTable::shiftAbove(int value)
{
    int next = 0; // the first pending shift after the value
    std::int32_t inSlots = value;
    for (; next < myNumShifts && inSlots >= myShifts[next].first; ++next) {
        inSlots += myShifts[next].size;
    }
    if (joinShifts(next, inSlots)) {
        return;
    }
    if (myNumShifts == theMostShifts) {
        applyShifts();
        next = 0;
        inSlots = value;
    }
    std::copy_backward(myShifts + next, myShifts + myNumShifts, myShifts + myNumShifts + 1);
    myShifts[next] = {inSlots, 1};
    ++myNumShifts;
}

void ZEL_NameTable::renumber(const std::int32_t *to)
{
    for (Slot &slot : myTable) {
        if (!slot.name.isNull()) {
            slot.value = to[present(slot.value)];
        }
    }
    myNumShifts = 0;
}

/// Merges a value into the pending shifts adjacent to it; false if there are none.
bool ZEL_NameTable::joinShifts(int next, std::int32_t value)
{
    Shift *const below = next > 0 ? &myShifts[next - 1] : nullptr;
    Shift *const above = next < myNumShifts ? &myShifts[next] : nullptr;
    const bool touchesBelow = below && below->first + below->size == value;
    const bool touchesAbove = above && above->first == value + 1;
    if (touchesBelow) {
        below->size += 1 + (touchesAbove ? above->size : 0);
    } else if (touchesAbove) {
        --above->first;
        ++above->size;
    }
    if (touchesBelow && touchesAbove) {
        std::copy(above + 1, myShifts + myNumShifts, above);
        --myNumShifts;
    }
    return touchesBelow || touchesAbove;
}

void ZEL_NameTable::applyShifts()
{
    if (myNumShifts > 0) {
        for (Slot &slot : myTable) {
            slot.value = present(slot.value);
        }
    }
    myNumShifts = 0;
}

std::int64_t ZEL_NameTable::getMemoryUsage(bool inclusive) const
{
    return std::int64_t(myTable.bytes() + (inclusive ? sizeof(*this) : 0));
}
