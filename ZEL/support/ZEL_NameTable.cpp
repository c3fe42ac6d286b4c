#include <ZEL/ZEL_NameTable.h>

#include <KIT/KIT_Prime.h>

#include <algorithm>
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
    applyGaps();
    if (Slot *found = capacity() ? myTable.find(name) : nullptr) {
        found->value = value;
        return;
    }
    KIT_StringHolder kept(name);
    if (!kept.isNull()) {
        Slot &slot = myTable.insert(kept);
        slot.name = std::move(kept);
        slot.value = value;
    }
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

void ZEL_NameTable::closeGap(int value)
{
    int next = 0; // the first pending shift after the value
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

/// Merges a value into the pending shifts adjacent to it; false if there are none.
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
    if (myNumGaps > 0) {
        for (Slot &slot : myTable) {
            slot.value = present(slot.value);
        }
    }
    myNumGaps = 0;
}

std::int64_t ZEL_NameTable::getMemoryUsage(bool inclusive) const
{
    return std::int64_t(myTable.bytes() + (inclusive ? sizeof(*this) : 0));
}
