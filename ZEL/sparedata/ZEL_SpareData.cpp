#include <ZEL/ZEL_SpareData.h>

#include <KIT/KIT_StringArray.h>
#include <ZEL/sparedata/ZEL_SpareValuesPrivate.h>

#include <iterator>
#include <memory>
#include <utility>

namespace
{

constexpr const char *theBuiltInTokens[] = {
#define ZEL_SPARE_TOKEN(stem, text) text,
#include <ZEL/ZEL_SpareDataTokens.def>
};
constexpr size_t theBuiltInCount = std::size(theBuiltInTokens);

struct BuiltInSlot
{
    const KIT_StringRef &key() const { return token; }

    KIT_StringRef token;
};

using TokenSet = KIT_ProbeTable<BuiltInSlot, KIT_PrimeSizing>;

/// The built-in tokens by their hashes. Never destroyed: static records may use them to the end.
const TokenSet &tokenSet()
{
    static const TokenSet *const theSet = [] {
        constexpr size_t theSlots = 131;
        auto made = std::make_unique<TokenSet>(theSlots);
        for (const char *text : theBuiltInTokens) {
            const KIT_StringRef token(text);
            made->insert(token).token = token;
        }
        return made.release();
    }();
    return *theSet;
}

} // namespace

// -------------------------------------------------------------------- //
// The map
// -------------------------------------------------------------------- //

ZEL_SpareData::ZEL_SpareData(const ZEL_SpareData &other) : ZEL_SpareData()
{
    copyFrom(other);
}

ZEL_SpareData::~ZEL_SpareData()
{
    for (Slot &slot : myTable) {
        ZEL_SpareValues::release(slot.value);
    }
}

/// The token's slot, null when it is absent.
ZEL_SpareData::Slot *ZEL_SpareData::find(const KIT_StringRef &token) const
{
    return !myTable.capacity() || token.isNull() ? nullptr : myTable.find(token);
}

/// Sets or replaces a value; neither argument is null.
void ZEL_SpareData::store(const KIT_StringHolder &token, const KIT_StringRef &value)
{
    Slot *const found = find(token);
    if (!found) {
        myTable.reserve(size_t(entries()) +
                        1); // a use of the value would be lost if it threw later
    }
    KIT_StringHolder shared = ZEL_SpareValues::acquire(value);
    if (shared.isNull()) {
        return;
    }
    if (found) {
        // Release the old value only now: the new one may be its text.
        ZEL_SpareValues::release(found->value);
        found->value = std::move(shared);
        return;
    }
    Slot &slot = myTable.insert(token);
    slot.token = token;
    slot.value = std::move(shared);
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
    if (Slot *slot = find(token)) {
        ZEL_SpareValues::release(slot->value);
        myTable.erase(slot);
    }
}

void ZEL_SpareData::clear()
{
    ZEL_SpareData empty;
    myTable.swap(empty.myTable);
}

void ZEL_SpareData::copyFrom(const ZEL_SpareData &other)
{
    if (this == &other) {
        return;
    }
    ZEL_SpareData copy;
    copy.myTable.reserve(other.entries());
    for (const Slot &slot : other.myTable) {
        if (!slot.token.isNull()) {
            copy.store(slot.token, slot.value);
        }
    }
    myTable.swap(copy.myTable);
}

void ZEL_SpareData::mergeFrom(const ZEL_SpareData &other)
{
    if (this == &other) {
        return;
    }
    for (const Slot &slot : other.myTable) {
        if (!slot.token.isNull() && !find(slot.token)) {
            store(slot.token, slot.value);
        }
    }
}

bool ZEL_SpareData::containsAll(const ZEL_SpareData &other) const
{
    for (const Slot &theirs : other.myTable) {
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
    for (const Slot &theirs : other.myTable) {
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
    for (const Slot &slot : myTable) {
        if (!slot.token.isNull() && !visit(slot.token.c_str(), slot.value.c_str())) {
            return;
        }
    }
}

void ZEL_SpareData::traverseConst(int (*visit)(const char *token, const char *value, void *data),
                                  void *data) const
{
    for (const Slot &slot : myTable) {
        if (!slot.token.isNull() && !visit(slot.token.c_str(), slot.value.c_str(), data)) {
            return;
        }
    }
}

int64_t ZEL_SpareData::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    bytes += static_cast<int64_t>(myTable.bytes());
    for (const Slot &slot : myTable) {
        bytes += slot.token.getMemoryUsage(false);
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
    return !token.isNull() && tokenSet().find(token);
}
