#include <ZEL/ZEL_Template.h>

#include <BAS/BAS_LostText.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_VarEncode.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_SpareData.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace
{

constexpr int theMaxParts = 4;

/// The channel names of the components under a naming style, for one vector size.
struct ChannelStyle
{
    ZEL_Type::ZEL_ChannelType style;
    int size; ///< 0 = every size from 2 on
    bool partFirstFlag;
    const char *tokens[theMaxParts]; ///< a null ends the list
    const char *labels[theMaxParts];
};

// clang-format off
constexpr ChannelStyle theStyles[] = {
    {ZEL_Type::ZEL_CHAN_NAMEXYZW, 0, false, {"x", "y", "z", "w"}, {"X", "Y", "Z", "W"}},
    {ZEL_Type::ZEL_CHAN_NAMERGB, 0, false, {"r", "g", "b", "a"}, {"R", "G", "B", "A"}},
    {ZEL_Type::ZEL_CHAN_NAMEXYWH, 0, false, {"x", "y", "w", "h"}, {"X", "Y", "W", "H"}},
    {ZEL_Type::ZEL_CHAN_NAMEUVW, 0, false, {"u", "v", "w"}, {"U", "V", "W"}},
    {ZEL_Type::ZEL_CHAN_NAMEBEGINEND, 2, true, {"begin", "end"}, {"Begin", "End"}},
    {ZEL_Type::ZEL_CHAN_NAMEMAXMIN, 2, false, {"max", "min"}, {"Max", "Min"}},
    {ZEL_Type::ZEL_CHAN_NAMEMAXMIN, 4, false, {"maxu", "maxv", "minu", "minv"},
     {"Max U", "Max V", "Min U", "Min V"}},
    {ZEL_Type::ZEL_CHAN_NAMEMINMAX, 2, false, {"min", "max"}, {"Min", "Max"}},
    {ZEL_Type::ZEL_CHAN_NAMEMINMAX, 4, false, {"minu", "minv", "maxu", "maxv"},
     {"Min U", "Min V", "Max U", "Max V"}},
    {ZEL_Type::ZEL_CHAN_NAMESTARTEND, 2, false, {"start", "end"}, {"Start", "End"}},
    {ZEL_Type::ZEL_CHAN_NAMESTARTEND, 3, false, {"start", "end", "inc"}, {"Start", "End", "Inc"}},
};
// clang-format on

/// The row for a vector, null for plain numbering.
const ChannelStyle *findStyle(ZEL_Type::ZEL_ChannelType style, int vectorSize)
{
    if (vectorSize < 2) {
        return nullptr;
    }
    for (const ChannelStyle &row : theStyles) {
        if (row.style == style && (row.size == 0 || row.size == vectorSize)) {
            return &row;
        }
    }
    return nullptr;
}

/// One digit below 10, else tens and units by arithmetic on '0': the tens of 100 are ':'.
void appendIndex(KIT_WorkBuffer &out, unsigned index)
{
    if (index >= 10) {
        out.append(static_cast<char>('0' + index / 10));
    }
    out.append(static_cast<char>('0' + index % 10));
}

struct alignas(KIT_StringHolder) TokenCount
{
    int32_t count;
};

size_t tokenBytes(int count)
{
    return sizeof(TokenCount) + static_cast<size_t>(count) * sizeof(KIT_StringHolder);
}

KIT_StringHolder makeChannelToken(const char *base, const ChannelStyle *style, int vectorSize,
                                  int index)
{
    KIT_WorkBuffer token;
    const char *part = style && index < theMaxParts ? style->tokens[index] : nullptr;
    if (part && style->partFirstFlag) {
        token.append(part);
    }
    token.append(base);
    if (part && !style->partFirstFlag) {
        token.append(part);
    } else if (!part && vectorSize > 1) {
        appendIndex(token, static_cast<unsigned>(index) + 1u);
    }
    return KIT_StringHolder(token.buffer());
}

} // namespace

// -------------------------------------------------------------------- //
// Channel tokens
// -------------------------------------------------------------------- //

/// In one block with their number in front.
ZEL_Template::Tokens ZEL_Template::newTokens(int count)
{
    void *const memory = KIT_SmallObjectAllocator::allocate(tokenBytes(count));
    auto *const tokens = reinterpret_cast<KIT_StringHolder *>(new (memory) TokenCount{count} + 1);
    std::uninitialized_default_construct_n(tokens, count);
    return Tokens(tokens);
}

void ZEL_Template::TokensDeleter::operator()(KIT_StringHolder *tokens) const noexcept
{
    TokenCount *const block = reinterpret_cast<TokenCount *>(tokens) - 1;
    std::destroy_n(tokens, block->count);
    KIT_SmallObjectAllocator::deallocate(block, tokenBytes(block->count));
}

/// Makes one of the two arrays.
const KIT_StringHolder *ZEL_Template::buildChannelNames(bool decoded) const
{
    const BAS_LostText lost;
    Tokens made = newTokens(myVectorSize);
    if (!decoded && myVectorSize == 1) {
        made[0] = KIT_StringHolder(getTokenRef()); // of one component: the name's own text
        lost.check();
        return myChannelTokens.publish(std::move(made));
    }
    KIT_WorkBuffer base;
    if (decoded) {
        KIT_VarEncode::decodeParm(getToken(), base);
    } else {
        base.append(getTokenRef());
    }
    const ChannelStyle *style = findStyle(myType.getChannelType(), myVectorSize);
    for (int i = 0; i < myVectorSize; i++) {
        made[size_t(i)] = makeChannelToken(base.buffer(), style, myVectorSize, i);
    }
    lost.check();
    if (decoded) {
        BASstore(myDecodedSize, myVectorSize);
    }
    return (decoded ? myDecodedTokens : myChannelTokens).publish(std::move(made));
}

const KIT_StringHolder *ZEL_Template::TokenArray::publish(Tokens made)
{
    KIT_StringHolder *present = nullptr;
    if (myTokens.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel,
                                         std::memory_order_acquire)) {
        return made.release();
    }
    return present;
}

const KIT_StringHolder &ZEL_Template::getChannelToken(int index) const
{
    if (index < 0 || index >= myVectorSize) {
        return KIT_StringHolder::theEmptyString;
    }
    return getChannelTokens()[index];
}

void ZEL_Template::getChannelToken(KIT_String &token, int index) const
{
    token = static_cast<const KIT_StringRef &>(getChannelToken(index));
}

const KIT_StringHolder &ZEL_Template::getDecodedChannelToken(int index) const
{
    if (index < 0 || index >= myVectorSize) {
        return KIT_StringHolder::theEmptyString;
    }
    const KIT_StringHolder *tokens = myDecodedTokens.get();
    if (!tokens) {
        tokens = buildChannelNames(true);
    }
    // The array may date from before an assign() and be shorter than the vector is now.
    return index < BASload(myDecodedSize) ? tokens[index] : KIT_StringHolder::theEmptyString;
}

int ZEL_Template::findSubIndex(const KIT_StringRef &token) const
{
    const KIT_StringHolder *tokens = getChannelTokens();
    for (int i = 0; i < myVectorSize; i++) {
        if (tokens[i] == token) {
            return i;
        }
    }
    return -1;
}

void ZEL_Template::getChannelLabel(KIT_String &label, int index) const
{
    label = "";
    if (index < 0 || index >= myVectorSize || myVectorSize <= 1) {
        return;
    }
    const ChannelStyle *style = findStyle(myType.getChannelType(), myVectorSize);
    if (style && index < theMaxParts && style->labels[index]) {
        label = style->labels[index];
        return;
    }
    KIT_WorkBuffer text("#");
    text.appendNumber(static_cast<int64_t>(index) + 1);
    text.copyIntoString(label);
}

// -------------------------------------------------------------------- //
// Masks
// -------------------------------------------------------------------- //

uint32_t ZEL_Template::computeAutoScopeField() const
{
    const uint32_t field = readMask(mySpare ? mySpare->getAutoScope() : nullptr, 0u);
    BASstore(myAutoScopeField, field);
    return field;
}

uint32_t ZEL_Template::computeAutoSelectField() const
{
    const uint32_t field = readMask(mySpare ? mySpare->getAutoSelect() : nullptr, ~0u);
    BASstore(myAutoSelectField, field);
    return field;
}

/// One character per component, the last one repeats; a missing text counts as `without`.
uint32_t ZEL_Template::readMask(const char *bits, uint32_t without) const
{
    if (!bits || !*bits) {
        return without;
    }
    const int last = static_cast<int>(std::min<size_t>(std::strlen(bits), INT32_MAX)) - 1;
    uint32_t field = 0;
    for (int i = 0; i < myVectorSize; i++) {
        if (bits[std::min(i, last)] == '1') {
            field |= 1u << (static_cast<unsigned>(i) & 31u);
        }
    }
    return field;
}
