#include <NOD/undo/NOD_ParmMemoryPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Data.h>
#include <ZEL/ZEL_Float.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_UndoData.h>

#include <algorithm>
#include <new>

namespace
{

enum Flag : std::uint32_t
{
    FLAG_EXPRESSION = 1,
    FLAG_BYPASS = 2,
    FLAG_LABEL = 4,
    FLAG_REFUSED = 8 ///< a count with fewer items than it says: more were refused
};

bool isRefused(const ZEL_Parm &parm)
{
    constexpr double rounding = 0.5;
    return parm.isMultiParm() &&
           static_cast<const ZEL_Float *>(parm.getInstance())->getRawValue(0) >
               parm.getMultiParmNumItems() + rounding;
}

NOD_ParmMemory::Masks masksOf(const ZEL_Parm &parm)
{
    const ZEL_Instance &instance = *parm.getInstance();
    return {instance.getLockedField(), instance.getAutoScopeField(), instance.getAutoSelectField(),
            (instance.getExpressionState() ? FLAG_EXPRESSION : 0u) |
                (instance.getBypassFlag() ? FLAG_BYPASS : 0u) |
                (instance.getSaveLabelFlag() ? FLAG_LABEL : 0u) |
                (isRefused(parm) ? FLAG_REFUSED : 0u)};
}

/// The binary form keeps every bit of a float and all of a text, but only 32 bits of an ordinal.
bool isSavedAsText(const ZEL_Parm &parm)
{
    return parm.getType().isOrdinalType();
}

std::shared_ptr<const NOD_ParmMemory::Rare> rareOf(const ZEL_Parm &parm, NOD_ChannelTaker &channels,
                                                   bool momentFlag)
{
    std::shared_ptr<NOD_ParmMemory::Rare> rare;
    const auto get = [&]() -> NOD_ParmMemory::Rare & {
        rare = rare ? rare : std::make_shared<NOD_ParmMemory::Rare>();
        return *rare;
    };
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        if (const TRK_Channel *const channel = parm.getChannel(k)) {
            get().links.emplace_back(k, channel->getName());
            if (!NODfindChannel(get().channels, channel->getName())) {
                get().channels.push_back(momentFlag ? channels.peek(*channel)
                                                    : channels.take(*channel));
            }
        }
        if (parm.getChannelAlias(k) != parm.getChannelToken(k)) {
            get().aliases.emplace_back(k, parm.getChannelAlias(k));
        }
        if (parm.hasChannelCustomColor(k)) {
            get().colors.emplace_back(k, parm.getChannelCustomColor(k));
        }
    }
    return rare;
}

bool isSameRare(const NOD_ParmMemory::Rare *a, const NOD_ParmMemory::Rare *b)
{
    static const NOD_ParmMemory::Rare theNone;
    a = a ? a : &theNone;
    b = b ? b : &theNone;
    return a == b || (a->links == b->links && a->aliases == b->aliases && a->colors == b->colors &&
                      NODhasSameChannels(a->channels, b->channels));
}

bool isSameItems(const ZEL_UndoData *a, const ZEL_UndoData *b)
{
    const auto *const items = dynamic_cast<const ZEL_DataUndoData *>(a);
    const auto *const others = dynamic_cast<const ZEL_DataUndoData *>(b);
    return !items || !others ? items == others
                             : std::equal(items->getItems().begin(), items->getItems().end(),
                                          others->getItems().begin(), others->getItems().end());
}

int blockDepthOf(const ZEL_Parm &parm)
{
    int depth = parm.isMultiParm() ? 0 : -1;
    for (const ZEL_Multi *at = parm.getMultiParmOwner(); depth >= 0 && at;
         at = at->getMultiParmOwner()) {
        ++depth;
    }
    return depth;
}

/// Beside a channel with a pending value, what was read last is saved: brings it up to date.
void readPending(const ZEL_Parm &parm)
{
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        if (parm.changePending(k)) {
            constexpr bool expand = true;
            const int thread = BASgetSTID();
            const ZEL_AutoBlockErrors block(thread);
            // What is restored has no limit, but a count that was set since has one: it may be what was refused.
            const ZEL_InputBudget budget(0);
            KIT_String value;
            parm.getValue(parm.getParmList()->getEvalTime(thread), value, k, expand, thread);
        }
    }
}

} // namespace

// ---------------------------------------------------------------------- //
// Taking and comparing
// ---------------------------------------------------------------------- //

NOD_ParmMemory NOD_ParmTaker::take(const ZEL_Parm &parm)
{
    constexpr bool momentFlag = false;
    return takeAll(parm, momentFlag);
}

NOD_ParmMemory NOD_ParmTaker::peek(const ZEL_Parm &parm)
{
    constexpr bool momentFlag = true;
    return takeAll(parm, momentFlag);
}

NOD_ParmMemory NOD_ParmTaker::takeAll(const ZEL_Parm &parm, bool momentFlag)
{
    constexpr bool compiled = false;
    NOD_ParmMemory state;
    readPending(parm);
    state.token = KIT_StringHolder(parm.getTokenRef());
    state.basicType = int(parm.getType().getBasicType());
    state.blockDepth = blockDepthOf(parm);
    state.masks = masksOf(parm);
    state.rare = rareOf(parm, myChannels, momentFlag);
    if (parm.getType().isDataType()) {
        parm.saveUndoData(state.items);
        return state;
    }
    myStream.str(std::string());
    myStream.clear();
    parm.save(myStream, isSavedAsText(parm) ? 0 : 1, compiled);
    // A stream swallows std::bad_alloc, and half a body would be restored as the whole one.
    if (!myStream) {
        throw std::bad_alloc();
    }
    state.body = myStream.str();
    return state;
}

bool NOD_ParmMemory::isSame(const NOD_ParmMemory &other) const
{
    return token == other.token && basicType == other.basicType && body == other.body &&
           masks == other.masks && isSameItems(items.get(), other.items.get()) &&
           isSameRare(rare.get(), other.rare.get());
}

bool NOD_ParmMemory::hasSameChannels(const NOD_ParmMemory &other) const
{
    static const NOD_ChannelMemories theNone;
    return NODhasSameChannels(rare ? rare->channels : theNone,
                              other.rare ? other.rare->channels : theNone);
}

std::int64_t NOD_ParmMemory::getMemoryUsage() const
{
    auto bytes = std::int64_t(sizeof(*this) + body.capacity());
    bytes += items ? items->getMemoryUsage() : 0;
    if (rare) {
        const std::size_t texts = rare->links.capacity() + rare->aliases.capacity();
        bytes += std::int64_t(sizeof(*rare) + texts * sizeof(rare->links[0]) +
                              rare->colors.capacity() * sizeof(rare->colors[0]));
        bytes += NODmemoryOf(rare->channels);
    }
    return bytes;
}

// ---------------------------------------------------------------------- //
// Restoring
// ---------------------------------------------------------------------- //

void NOD_ParmMemory::restore(ZEL_Parm &parm, const NOD_ParmMemory &present,
                             NOD_ChannelTaker &channels) const
{
    if (basicType != present.basicType || blockDepth != present.blockDepth) {
        return;
    }
    try {
        restoreLinked(parm, present, channels);
    } catch (...) {
        dropUnlinked(parm);
        throw;
    }
    restoreMasks(parm);
}

void NOD_ParmMemory::restoreLinked(ZEL_Parm &parm, const NOD_ParmMemory &present,
                                   NOD_ChannelTaker &channels) const
{
    restoreChannels(parm, present, channels);
    // A load sets marks and clears none.
    ZEL_Instance &instance = *parm.getInstance();
    instance.setExpressionState(false);
    instance.setBypassFlag(false);
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        instance.resetChannelCustomColor(k);
    }
    restoreBody(parm);
    linkChannels(parm);
}

/// A channel that no parameter has would be linked by whatever looks for it next.
void NOD_ParmMemory::dropUnlinked(ZEL_Parm &parm) const
{
    TRK_Collection *const collection = parm.getChannelGroupPtr();
    for (std::size_t i = 0; collection && rare && i < rare->links.size(); ++i) {
        const auto &[k, name] = rare->links[i];
        TRK_Channel *const channel = collection->getChannel(name);
        if (channel && parm.getChannel(k) != channel) {
            collection->deleteChannel(channel);
        }
    }
}

void NOD_ParmMemory::restoreChannels(ZEL_Parm &parm, const NOD_ParmMemory &present,
                                     NOD_ChannelTaker &channels) const
{
    TRK_Collection *const collection = parm.getChannelGroupPtr();
    if (!collection) {
        return;
    }
    std::vector<bool> linked(std::size_t(parm.getVectorSize()));
    for (std::size_t i = 0; rare && i < rare->links.size(); ++i) {
        if (rare->links[i].first < parm.getVectorSize()) {
            linked[std::size_t(rare->links[i].first)] = true;
        }
    }
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        if (!linked[std::size_t(k)]) {
            parm.getInstance()->removeChannel(k);
        }
    }
    for (std::size_t i = 0; rare && i < rare->channels.size(); ++i) {
        const NOD_ChannelMemory &kept = rare->channels[i];
        const NOD_ChannelMemory *const now =
            present.rare ? NODfindChannel(present.rare->channels, kept.name) : nullptr;
        TRK_Channel *const channel = collection->addChannel(kept.name);
        if (channel && (!now || !(*now == kept))) {
            channels.restore(kept, *channel);
        }
    }
}

/// Bodies link channels by the names of components; those of data parameters don't.
void NOD_ParmMemory::linkChannels(ZEL_Parm &parm) const
{
    const TRK_Collection *const collection = parm.getChannelGroupPtr();
    for (std::size_t i = 0; collection && rare && i < rare->links.size(); ++i) {
        const auto &[k, name] = rare->links[i];
        TRK_Channel *const channel = collection->getChannel(name);
        if (k < parm.getVectorSize() && channel && parm.getChannel(k) != channel) {
            parm.getInstance()->setChannel(k, channel);
        }
    }
}

void NOD_ParmMemory::restoreBody(ZEL_Parm &parm) const
{
    ZEL_Instance &instance = *parm.getInstance();
    if (items) {
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            instance.setChannel(k, nullptr); // it would delete them
        }
        instance.loadUndoData(items);
        return;
    }
    KIT_IStream is(body.data(), body.size(),
                   isSavedAsText(parm) ? KIT_IStream::TEXT : KIT_IStream::BINARY);
    if ((masks.flags & FLAG_REFUSED) != 0) {
        // What had no items then gets none now, though what existed has no limit.
        const ZEL_AutoBlockErrors block(BASgetSTID());
        const ZEL_InputBudget budget(0);
        instance.load(is);
        return;
    }
    instance.load(is);
}

void NOD_ParmMemory::restoreMasks(ZEL_Parm &parm) const
{
    ZEL_Instance &instance = *parm.getInstance();
    instance.setExpressionState((masks.flags & FLAG_EXPRESSION) != 0);
    instance.setBypassFlag((masks.flags & FLAG_BYPASS) != 0);
    instance.setSaveLabelFlag((masks.flags & FLAG_LABEL) != 0);
    for (std::size_t i = 0; rare && i < rare->colors.size(); ++i) {
        instance.setChannelCustomColor(rare->colors[i].first, rare->colors[i].second);
    }
    const Masks now = masksOf(parm);
    for (int k = 0; k < std::min(parm.getVectorSize(), 32); ++k) {
        const std::uint32_t bit = 1u << unsigned(k);
        if (((now.locks ^ masks.locks) & bit) != 0) {
            instance.setLockedFlag(k, (masks.locks & bit) != 0);
        }
        // Setting a flag also marks it as one to save.
        if (((now.autoScope ^ masks.autoScope) & bit) != 0) {
            instance.setAutoScopedFlag(k, (masks.autoScope & bit) != 0);
        }
        if (((now.autoSelect ^ masks.autoSelect) & bit) != 0) {
            instance.setAutoSelectFlag(k, (masks.autoSelect & bit) != 0);
        }
    }
}

bool NOD_ParmMemory::clearAliases(ZEL_Parm &parm) const
{
    ZEL_ParmList &list = *parm.getParmList();
    bool anyFlag = false;
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        const KIT_StringHolder none;
        if (parm.getChannelAlias(k) != parm.getChannelToken(k)) {
            anyFlag = true;
            if (!list.setChannelAlias(&parm, k, none)) {
                parm.setChannelAlias(none, k);
            }
        }
    }
    return anyFlag;
}

bool NOD_ParmMemory::restoreAliases(ZEL_Parm &parm) const
{
    if (!rare) {
        return false;
    }
    ZEL_ParmList &list = *parm.getParmList();
    for (const auto &[k, alias] : rare->aliases) {
        // A list refuses those of spare parameters, which have them to themselves.
        if (!list.setChannelAlias(&parm, k, alias) && parm.isSpareParm()) {
            parm.setChannelAlias(alias, k);
        }
    }
    TRK_Collection *const collection = parm.getChannelGroupPtr();
    for (std::size_t i = 0; collection && i < rare->channels.size(); ++i) {
        const NOD_ChannelMemory &kept = rare->channels[i];
        TRK_Channel *const channel = collection->getChannel(kept.name);
        if (channel && channel->getAlias() != kept.alias) {
            collection->setChannelAlias(channel, kept.alias);
        }
    }
    return !rare->aliases.empty();
}
