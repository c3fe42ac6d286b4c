#include <ZEL/ZEL_SpareData.h>

#include <BAS/BAS_Number.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <strings.h>

/// A token in the null state marks an empty slot.
struct ZEL_SpareData::Slot
{
    KIT_StringHolder token;
    KIT_StringHolder value;
};

namespace
{

constexpr uint32_t theSmallestCapacity = 4;

int parseInt(const char *text)
{
    const int64_t value = BASparseInteger(text, 10);
    return static_cast<int>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

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

/// Room and the token's absence are given.
void ZEL_SpareData::insertUnique(const KIT_StringHolder &token, const KIT_StringHolder &value)
{
    const uint32_t mask = myCapacity - 1;
    uint32_t i = token.hash() & mask;
    while (!mySlots[i].token.isNull()) {
        i = (i + 1) & mask;
    }
    mySlots[i].token = token;
    mySlots[i].value = value;
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
            insertUnique(oldSlots[i].token, oldSlots[i].value);
        }
    }
    delete[] oldSlots;
}

void ZEL_SpareData::addTokenValue(const KIT_StringHolder &token, const char *value)
{
    if (!value) {
        deleteTokenValue(token);
        return;
    }
    if (token.isNull()) {
        return;
    }
    const KIT_StringHolder held(value); // the value may be one of ours
    if (Slot *slot = find(token)) {
        slot->value = held;
        return;
    }
    if ((myCount + 1) * 4 > myCapacity * 3) {
        resize(std::max(theSmallestCapacity, myCapacity * 2));
    }
    insertUnique(token, held);
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
    // Close the gap: a later entry of the run moves up when its home is not behind the gap.
    const uint32_t mask = myCapacity - 1;
    uint32_t gap = static_cast<uint32_t>(slot - mySlots);
    for (uint32_t i = (gap + 1) & mask; !mySlots[i].token.isNull(); i = (i + 1) & mask) {
        const uint32_t home = mySlots[i].token.hash() & mask;
        if (((i - home) & mask) >= ((i - gap) & mask)) {
            mySlots[gap] = mySlots[i];
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
    std::copy(other.mySlots, other.mySlots + other.myCapacity, mySlots);
}

void ZEL_SpareData::mergeFrom(const ZEL_SpareData &other)
{
    if (this == &other) {
        return;
    }
    for (uint32_t i = 0; i < other.myCapacity; i++) {
        const Slot &slot = other.mySlots[i];
        if (!slot.token.isNull() && !find(slot.token)) {
            addTokenValue(slot.token, slot.value.c_str());
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
        bytes += mySlots[i].token.getMemoryUsage(false) + mySlots[i].value.getMemoryUsage(false);
    }
    return bytes;
}

// -------------------------------------------------------------------- //
// Known tokens
// -------------------------------------------------------------------- //

const char *ZEL_SpareData::getAutoScope() const
{
    return getValue(getAutoScopeToken());
}

const char *ZEL_SpareData::getAutoSelect() const
{
    return getValue(getAutoSelectToken());
}

const char *ZEL_SpareData::getCallbackData() const
{
    return getValue(getCallbackToken());
}

void ZEL_SpareData::setCallbackData(const char *script)
{
    addTokenValue(getCallbackToken(), script);
}

TRK_ScriptLanguage ZEL_SpareData::getCallbackLanguage() const
{
    const char *word = getValue(getCallbackLanguageToken());
    return word ? TRKstringToScriptLanguage(word) : TRK_SCRIPT_COMMAND;
}

void ZEL_SpareData::setCallbackLanguage(TRK_ScriptLanguage language)
{
    addTokenValue(getCallbackLanguageToken(), TRKscriptLanguageAsString(language));
}

bool ZEL_SpareData::getCookDependent() const
{
    const char *value = getValue(getCookDependentToken());
    return value && (!strcasecmp(value, "true") || parseInt(value) > 0);
}

void ZEL_SpareData::setCookDependent(bool flag)
{
    addTokenValue(getCookDependentToken(), flag ? "1" : nullptr);
}

int ZEL_SpareData::getMultiStartOffset() const
{
    const char *value = getValue(getMultiStartOffsetToken());
    return value && *value ? parseInt(value) : 1;
}

void ZEL_SpareData::setMultiStartOffset(int offset)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%d", offset);
    addTokenValue(getMultiStartOffsetToken(), text);
}

const char *ZEL_SpareData::getSaveValue() const
{
    return getValue(getSaveValueToken());
}

void ZEL_SpareData::setSaveValue(bool always)
{
    addTokenValue(getSaveValueToken(), always ? "1" : "0");
}

const char *ZEL_SpareData::getTakeControl() const
{
    return getValue(getTakeControlToken());
}
