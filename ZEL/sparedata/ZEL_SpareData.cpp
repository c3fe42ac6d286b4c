#include <ZEL/ZEL_SpareData.h>

#include <KIT/KIT_StringArray.h>
#include <ZEL/sparedata/ZEL_SpareValuesPrivate.h>

#include <algorithm>
#include <iterator>
#include <utility>

/// A token in the null state marks an empty slot. The value is one use in the table of values.
struct ZEL_SpareData::Slot
{
    KIT_StringHolder token;
    KIT_StringHolder value;
};

namespace
{

constexpr uint32_t theSmallestCapacity = 4;

constexpr const char *theBuiltInTokens[] = {
#define ZEL_SPARE_TOKEN(stem, text) text,
#include <ZEL/ZEL_SpareDataTokens.def>
};
constexpr size_t theBuiltInCount = 65;
static_assert(std::size(theBuiltInTokens) == theBuiltInCount, "a built-in token was added or lost");

/// The built-in tokens by their hashes.
class TokenSet
{
public:
    TokenSet()
    {
        for (const char *text : theBuiltInTokens) {
            const KIT_StringRef token(text);
            mySlots[slotOf(token)] = token;
        }
    }
    bool contains(const KIT_StringRef &token) const
    {
        return !token.isNull() && !mySlots[slotOf(token)].isNull();
    }

private:
    static constexpr size_t theSlots = 131;
    static_assert(theSlots > theBuiltInCount, "a probe ends at an empty slot");

    /// The token's slot, or the empty one where it would go.
    size_t slotOf(const KIT_StringRef &token) const
    {
        size_t i = token.hash() % theSlots;
        while (!mySlots[i].isNull() && mySlots[i] != token) {
            i = (i + 1) % theSlots;
        }
        return i;
    }

    KIT_StringRef mySlots[theSlots];
};

} // namespace

// -------------------------------------------------------------------- //
// The map
// -------------------------------------------------------------------- //

ZEL_SpareData::ZEL_SpareData() : mySlots(nullptr), myCapacity(0), myCount(0) {}

ZEL_SpareData::ZEL_SpareData(const ZEL_SpareData &other) : ZEL_SpareData()
{
    copyFrom(other);
}

ZEL_SpareData::~ZEL_SpareData()
{
    freeTable();
}

void ZEL_SpareData::freeTable()
{
    for (uint32_t i = 0; i < myCapacity; i++) {
        ZEL_SpareValues::release(mySlots[i].value);
    }
    delete[] mySlots;
    mySlots = nullptr;
    myCapacity = 0;
    myCount = 0;
}

/// The token's slot, null when it is absent.
ZEL_SpareData::Slot *ZEL_SpareData::find(const KIT_StringRef &token) const
{
    if (!myCount || token.isNull()) {
        return nullptr;
    }
    const uint32_t mask = myCapacity - 1;
    for (uint32_t i = token.hash() & mask;; i = (i + 1) & mask) {
        if (mySlots[i].token.isNull()) {
            return nullptr;
        }
        if (mySlots[i].token == token) {
            return &mySlots[i];
        }
    }
}

/// Room and the token's absence are given. The value's use goes over to the slot.
void ZEL_SpareData::insertUnique(KIT_StringHolder &&token, KIT_StringHolder &&value)
{
    const uint32_t mask = myCapacity - 1;
    uint32_t i = token.hash() & mask;
    while (!mySlots[i].token.isNull()) {
        i = (i + 1) & mask;
    }
    mySlots[i].token = std::move(token);
    mySlots[i].value = std::move(value);
    myCount++;
}

void ZEL_SpareData::resize(uint32_t capacity)
{
    Slot *const oldSlots = mySlots;
    const uint32_t oldCapacity = myCapacity;
    mySlots = new Slot[capacity];
    myCapacity = capacity;
    myCount = 0;
    for (uint32_t i = 0; i < oldCapacity; i++) {
        if (!oldSlots[i].token.isNull()) {
            insertUnique(std::move(oldSlots[i].token), std::move(oldSlots[i].value));
        }
    }
    delete[] oldSlots;
}

/// Sets or replaces; neither is null.
void ZEL_SpareData::store(const KIT_StringHolder &token, const KIT_StringRef &value)
{
    KIT_StringHolder shared = ZEL_SpareValues::acquire(value);
    if (shared.isNull()) {
        return;
    }
    if (Slot *slot = find(token)) {
        // Only now is the old value let go: the new one may be its text.
        ZEL_SpareValues::release(slot->value);
        slot->value = std::move(shared);
        return;
    }
    if ((myCount + 1) * 4 > myCapacity * 3) {
        resize(std::max(theSmallestCapacity, myCapacity * 2));
    }
    insertUnique(KIT_StringHolder(token), std::move(shared));
}

void ZEL_SpareData::addTokenValue(const KIT_StringHolder &token, const char *value)
{
    if (!value) {
        deleteTokenValue(token);
    } else if (!token.isNull()) {
        store(token, KIT_StringRef(value));
    }
}

const char *ZEL_SpareData::getValue(const KIT_StringRef &token) const
{
    const Slot *slot = find(token);
    return slot ? slot->value.c_str() : nullptr;
}

void ZEL_SpareData::deleteTokenValue(const KIT_StringRef &token)
{
    Slot *slot = find(token);
    if (!slot) {
        return;
    }
    ZEL_SpareValues::release(slot->value);
    // Close the gap: a later entry of the run moves up when its home is not behind the gap.
    const uint32_t mask = myCapacity - 1;
    uint32_t gap = static_cast<uint32_t>(slot - mySlots);
    for (uint32_t i = (gap + 1) & mask; !mySlots[i].token.isNull(); i = (i + 1) & mask) {
        const uint32_t home = mySlots[i].token.hash() & mask;
        if (((i - home) & mask) >= ((i - gap) & mask)) {
            mySlots[gap] = std::move(mySlots[i]);
            gap = i;
        }
    }
    mySlots[gap] = Slot();
    myCount--;
}

void ZEL_SpareData::clear()
{
    freeTable();
}

void ZEL_SpareData::copyFrom(const ZEL_SpareData &other)
{
    if (this == &other) {
        return;
    }
    freeTable();
    if (!other.myCount) {
        return;
    }
    mySlots = new Slot[other.myCapacity];
    myCapacity = other.myCapacity;
    myCount = other.myCount;
    for (uint32_t i = 0; i < myCapacity; i++) {
        mySlots[i].token = other.mySlots[i].token;
        mySlots[i].value = ZEL_SpareValues::acquire(other.mySlots[i].value);
    }
}

void ZEL_SpareData::mergeFrom(const ZEL_SpareData &other)
{
    if (this == &other) {
        return;
    }
    for (uint32_t i = 0; i < other.myCapacity; i++) {
        const Slot &slot = other.mySlots[i];
        if (!slot.token.isNull() && !find(slot.token)) {
            store(slot.token, slot.value);
        }
    }
}

bool ZEL_SpareData::containsAll(const ZEL_SpareData &other) const
{
    for (uint32_t i = 0; i < other.myCapacity; i++) {
        const Slot &theirs = other.mySlots[i];
        if (!theirs.token.isNull()) {
            const Slot *ours = find(theirs.token);
            if (!ours || ours->value != theirs.value) {
                return false;
            }
        }
    }
    return true;
}

bool ZEL_SpareData::containsAny(const ZEL_SpareData &other) const
{
    for (uint32_t i = 0; i < other.myCapacity; i++) {
        const Slot &theirs = other.mySlots[i];
        if (!theirs.token.isNull()) {
            const Slot *ours = find(theirs.token);
            if (ours && ours->value == theirs.value) {
                return true;
            }
        }
    }
    return false;
}

void ZEL_SpareData::traverseConst(int (*visit)(const char *token, const char *value)) const
{
    for (uint32_t i = 0; i < myCapacity; i++) {
        const Slot &slot = mySlots[i];
        if (!slot.token.isNull() && !visit(slot.token.c_str(), slot.value.c_str())) {
            return;
        }
    }
}

void ZEL_SpareData::traverseConst(int (*visit)(const char *token, const char *value, void *data),
                                  void *data) const
{
    for (uint32_t i = 0; i < myCapacity; i++) {
        const Slot &slot = mySlots[i];
        if (!slot.token.isNull() && !visit(slot.token.c_str(), slot.value.c_str(), data)) {
            return;
        }
    }
}

int64_t ZEL_SpareData::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    bytes += static_cast<int64_t>(myCapacity * sizeof(Slot));
    for (uint32_t i = 0; i < myCapacity; i++) {
        bytes += mySlots[i].token.getMemoryUsage(false);
    }
    return bytes;
}

// -------------------------------------------------------------------- //
// Built-in tokens
// -------------------------------------------------------------------- //

void ZEL_SpareData::builtInTokens(KIT_StringArray &tokens)
{
    const int64_t room = tokens.entries() + static_cast<int64_t>(theBuiltInCount);
    if (tokens.capacity() < room) {
        tokens.setCapacity(room);
    }
    for (const char *token : theBuiltInTokens) {
        tokens.append(token);
    }
}

bool ZEL_SpareData::isBuiltInToken(const KIT_StringRef &token)
{
    static const TokenSet theSet;
    return theSet.contains(token);
}
