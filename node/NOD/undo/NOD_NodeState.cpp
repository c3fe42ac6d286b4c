#include <NOD/NOD_NodeState.h>

#include <BAS/BAS_LostText.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>
#include <NOD/undo/NOD_NodePartsPrivate.h>
#include <NOD/undo/NOD_ParmMemoryPrivate.h>
#include <TRK/TRK_EventManager.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_LateRemovals.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <unordered_map>
#include <utility>

struct NOD_NodeState::Contents
{
    using Places = std::unordered_map<KIT_StringHolder, std::size_t, KIT_StringRefHash>;

    const NOD_ParmMemory *find(const KIT_StringHolder &token) const
    {
        const auto place = places.find(token);
        return place == places.end() ? nullptr : &parms[place->second];
    }
    void add(NOD_ParmMemory state)
    {
        parms.push_back(std::move(state));
        places[parms.back().token] = parms.size() - 1;
    }
    void keep(const std::vector<bool> &kept);
    void cut(std::size_t count);

    std::vector<NOD_ParmMemory> parms;
    Places places;
    NOD_NodeParts::Structure structure;         ///< null: not of the whole node
    NOD_NodeParts::Texts texts;                 ///< null: not covered
    NOD_NodeParts::OtherChannels otherChannels; ///< with the structure
};

void NOD_NodeState::Contents::keep(const std::vector<bool> &kept)
{
    std::vector<NOD_ParmMemory> left;
    left.reserve(std::size_t(std::count(kept.begin(), kept.end(), true)));
    places.clear();
    for (std::size_t i = 0; i < parms.size(); ++i) {
        if (kept[i]) {
            places[parms[i].token] = left.size();
            left.push_back(std::move(parms[i]));
        }
    }
    parms.swap(left);
}

void NOD_NodeState::Contents::cut(std::size_t count)
{
    // A token may be lost, so that its place can't be looked up.
    for (auto at = places.begin(); at != places.end();) {
        at = at->second < count ? std::next(at) : places.erase(at);
    }
    parms.resize(count);
}

namespace
{

/// Takes back what was added of a parameter unless all of it was.
template <class Contents>
class Adding
{
public:
    explicit Adding(Contents &contents) : myContents(contents), myCount(contents.parms.size()) {}
    ~Adding()
    {
        if (!myDoneFlag) {
            myContents.cut(myCount);
        }
    }
    Adding(const Adding &) = delete;
    Adding &operator=(const Adding &) = delete;

    void done()
    {
        myLost.check();
        myDoneFlag = true;
    }

private:
    BAS_LostText myLost;
    Contents &myContents;
    std::size_t myCount;
    bool myDoneFlag = false;
};

/// Brings the items of a block up to its count.
void settle(const ZEL_Parm &parm)
{
    const int thread = BASgetSTID();
    const ZEL_AutoBlockErrors block(thread);
    int count = 0;
    parm.getValue(parm.getParmList()->getEvalTime(thread), count, 0, thread);
}

/// Those of all blocks, in items of others too.
void settleAll(ZEL_ParmList &list)
{
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm *const parm = list.getParmPtr(i);
        if (parm && parm->isMultiParm()) {
            settle(*parm);
        }
    }
}

template <class Visit>
void forEachItemParm(const ZEL_Parm &parm, const Visit &visit)
{
    const ZEL_Multi *const multi = parm.asMulti();
    const int count =
        multi ? multi->getMultiParmNumItems() * multi->getMultiParmInstancesPerItem() : 0;
    for (int flat = 0; flat < count; ++flat) {
        if (ZEL_Parm *const item = parm.getMultiParm(flat)) {
            visit(*item);
        }
    }
}

/// With all items below it.
void settleBelow(ZEL_Parm &parm)
{
    if (parm.isMultiParm()) {
        settle(parm);
        forEachItemParm(parm, settleBelow);
    }
}

} // namespace

// ---------------------------------------------------------------------- //
// Taking
// ---------------------------------------------------------------------- //

NOD_NodeState::NOD_NodeState() : myContents(std::make_unique<Contents>()) {}
NOD_NodeState::NOD_NodeState(NOD_Node &node) : NOD_NodeState()
{
    addWhole(node);
}
NOD_NodeState::~NOD_NodeState() = default;
NOD_NodeState::NOD_NodeState(NOD_NodeState &&other) noexcept = default;
NOD_NodeState &NOD_NodeState::operator=(NOD_NodeState &&other) noexcept = default;

bool NOD_NodeState::isWhole() const
{
    return bool(myContents->structure);
}

bool NOD_NodeState::covers(const ZEL_Parm &parm) const
{
    if (isWhole()) {
        return true;
    }
    for (const ZEL_Parm *at = &parm; at;) {
        if (!myContents->places.empty() && myContents->find(KIT_StringHolder(at->getTokenRef()))) {
            return true;
        }
        const ZEL_Multi *const owner = at->getMultiParmOwner();
        at = owner ? owner->getParm() : nullptr;
    }
    return false;
}

namespace
{

/// The parameter and the items below it, but for what is known already.
template <class Contents>
void addParm(Contents &contents, NOD_ParmTaker &taker, ZEL_Parm &parm)
{
    if (parm.getInstance() && !contents.find(KIT_StringHolder(parm.getTokenRef()))) {
        contents.add(taker.take(parm));
        forEachItemParm(parm, [&](ZEL_Parm &item) { addParm(contents, taker, item); });
    }
}

} // namespace

void NOD_NodeState::add(NOD_Node &node, ZEL_Parm &parm)
{
    if (covers(parm)) {
        return;
    }
    settleBelow(parm);
    // A save stops at an error that is still in the error manager.
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    NOD_ParmTaker taker(NOD_NodeParts::channelTaker(node));
    Adding<Contents> adding(*myContents);
    addParm(*myContents, taker, parm);
    adding.done();
}

void NOD_NodeState::addTexts(const NOD_Node &node)
{
    if (!myContents->texts) {
        myContents->texts = NOD_NodeParts::texts(node);
    }
}

void NOD_NodeState::addWhole(NOD_Node &node)
{
    if (isWhole()) {
        return;
    }
    ZEL_ParmList &list = node.getParms();
    settleAll(list);
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    NOD_ParmTaker taker(NOD_NodeParts::channelTaker(node));
    Adding<Contents> adding(*myContents);
    for (int i = 0; i < list.getEntries(); ++i) {
        ZEL_Parm *const parm = list.getParmPtr(i);
        const ZEL_Multi *const owner = parm ? parm->getMultiParmOwner() : nullptr;
        // Those of items come with their block; those of a known block that aren't known are new.
        if (parm && !owner && !covers(*parm)) {
            addParm(*myContents, taker, *parm);
        }
    }
    addTexts(node);
    NOD_NodeParts::OtherChannels channels = NOD_NodeParts::otherChannels(node);
    NOD_NodeParts::Structure structure = NOD_NodeParts::structure(node);
    adding.done();
    myContents->structure = std::move(structure);
    myContents->otherChannels = std::move(channels);
}

NOD_NodeState NOD_NodeState::present(NOD_Node &node) const
{
    NOD_NodeState now;
    if (isWhole()) {
        now.addWhole(node);
        return now;
    }
    for (const NOD_ParmMemory &state : myContents->parms) {
        if (ZEL_Parm *const parm = node.getParms().getParmPtr(state.token)) {
            now.add(node, *parm);
        }
    }
    if (myContents->texts) {
        now.addTexts(node);
    }
    return now;
}

// ---------------------------------------------------------------------- //
// Restoring
// ---------------------------------------------------------------------- //

void NOD_NodeState::restoreSilently(NOD_Node &node, Changes &changes) const
{
    const BAS_LostText lost;
    // What existed before needs no limit.
    const ZEL_InputBudget noLimit(ZEL_InputBudget::NO_LIMIT, 0);
    const TRK_AutoEventHandler events;
    // Loads stop at an error that is still in the error manager.
    KIT_ErrorManager::Scope errors(BASgetSTID());
    if (myContents->structure) {
        NOD_NodeParts::restore(node, *myContents->structure);
    }
    if (myContents->texts) {
        NOD_NodeParts::restore(node, myContents->texts);
    }
    NOD_ChannelTaker &channels = NOD_NodeParts::channelTaker(node);
    NOD_ParmTaker taker(channels);
    std::vector<std::pair<ZEL_Parm *, const NOD_ParmMemory *>> restored;
    ZEL_ParmList::LateRemovals removals(node.getParms());
    const auto restoreParm = [&](const NOD_ParmMemory &state) {
        ZEL_Parm *const parm = removals.find(state.token);
        if (!parm || !parm->getInstance()) {
            return;
        }
        const NOD_ParmMemory present = taker.peek(*parm);
        if (!state.isSame(present)) {
            changes.push_back({state.token, state.masks.locks != present.masks.locks,
                               !state.hasSameChannels(present)});
            restored.emplace_back(parm, &state);
            state.restore(*parm, present, channels);
        }
    };
    // A new item starts from its defaults, without channels, so it must be there before its state; and
    // a block of an item, which may have been taken before the block that it is in, after that one.
    std::vector<const NOD_ParmMemory *> order;
    order.reserve(myContents->parms.size());
    for (const NOD_ParmMemory &state : myContents->parms) {
        order.push_back(&state);
    }
    std::stable_sort(order.begin(), order.end(), [](const auto *a, const auto *b) {
        return unsigned(a->blockDepth) < unsigned(b->blockDepth);
    });
    for (const NOD_ParmMemory *state : order) {
        restoreParm(*state);
    }
    removals.finish();
    bool aliasFlag = false;
    for (const auto &[parm, state] : restored) {
        aliasFlag |= state->clearAliases(*parm);
    }
    for (const auto &[parm, state] : restored) {
        aliasFlag |= state->restoreAliases(*parm);
    }
    NOD_Graph *const graph = aliasFlag ? node.getGraph() : nullptr;
    if (graph) {
        graph->channelsChanged(node); // names that are found
    }
    if (myContents->structure) {
        NOD_NodeParts::restore(node, myContents->otherChannels);
    }
    errors.getOuterManager().stealErrors(errors.getManager());
    lost.check();
}

void NOD_NodeState::tell(NOD_Node &node, const Changes &changes)
{
    constexpr bool sendEvent = true;
    constexpr bool updateMulti = false;
    constexpr bool reserved = false;
    for (const Change &change : changes) {
        // Looked up each time: a handler may change the list.
        ZEL_Parm *parm = node.getParms().getParmPtr(change.token);
        for (int k = 0; parm && change.channelFlag && k < parm->getVectorSize(); ++k) {
            if (TRK_Channel *const channel = parm->getChannel(k)) {
                channel->setChanged(true, reserved);
            }
        }
        parm = node.getParms().getParmPtr(change.token);
        if (parm && change.lockFlag) {
            node.getParms().sendChangeEvent(TRK_CHANGE_LOCK, parm);
            parm = node.getParms().getParmPtr(change.token);
        }
        if (parm) {
            parm->privateValueChanged(-1, sendEvent, updateMulti);
        }
    }
}

void NOD_NodeState::restore(NOD_Node &node) const
{
    const NOD_Batch batch(node);
    Changes changed;
    restoreSilently(node, changed);
    // As after a load, every parameter is told; blocks first, since their items may be new.
    Changes all;
    for (const NOD_ParmMemory &state : myContents->parms) {
        if (state.blockDepth >= 0 && !changed.empty()) {
            all.push_back({state.token, false, false});
        }
    }
    std::unordered_map<KIT_StringHolder, const Change *, KIT_StringRefHash> known;
    for (const Change &change : changed) {
        known[change.token] = &change;
    }
    for (const NOD_ParmMemory &state : myContents->parms) {
        const auto change = known.find(state.token);
        all.push_back(change == known.end() ? Change{state.token, false, false} : *change->second);
    }
    tell(node, all);
}

// ---------------------------------------------------------------------- //
// Comparing
// ---------------------------------------------------------------------- //

bool NOD_NodeState::keepDifference(NOD_NodeState &before, NOD_NodeState &after)
{
    Contents &from = *before.myContents;
    Contents &to = *after.myContents;
    bool anyFlag = false;
    if (from.texts && to.texts && *from.texts == *to.texts) {
        from.texts = to.texts = nullptr;
    }
    anyFlag = from.texts || to.texts;
    if (from.structure && to.structure) {
        if (!(*from.structure == *to.structure)) {
            // With another interface, what is equal may be a default of one and not of the other.
            return true;
        }
        if (NOD_NodeParts::isSame(from.otherChannels, to.otherChannels)) {
            from.structure = to.structure = nullptr;
            from.otherChannels = to.otherChannels = nullptr;
        }
        anyFlag |= bool(from.structure);
    }
    std::vector<bool> keptFrom(from.parms.size(), true);
    std::vector<bool> keptTo(to.parms.size(), true);
    for (std::size_t i = 0; i < from.parms.size(); ++i) {
        const auto other = to.places.find(from.parms[i].token);
        if (other != to.places.end() && from.parms[i].isSame(to.parms[other->second])) {
            keptFrom[i] = keptTo[other->second] = false;
        }
    }
    from.keep(keptFrom);
    to.keep(keptTo);
    return anyFlag || !from.parms.empty() || !to.parms.empty();
}

bool NOD_NodeState::isSame(const NOD_NodeState &other) const
{
    const Contents &a = *myContents;
    const Contents &b = *other.myContents;
    const auto isSamePart = [](const auto &x, const auto &y) {
        return x && y ? *x == *y : bool(x) == bool(y);
    };
    return isSamePart(a.structure, b.structure) && isSamePart(a.texts, b.texts) &&
           NOD_NodeParts::isSame(a.otherChannels, b.otherChannels) &&
           a.parms.size() == b.parms.size() &&
           std::all_of(a.parms.begin(), a.parms.end(), [&](const NOD_ParmMemory &state) {
               const NOD_ParmMemory *const same = b.find(state.token);
               return same && state.isSame(*same);
           });
}

std::int64_t NOD_NodeState::getMemoryUsage() const
{
    const Contents &all = *myContents;
    constexpr std::size_t placeSize = sizeof(Contents::Places::value_type) + 2 * sizeof(void *);
    auto bytes = std::int64_t(sizeof(*this) + sizeof(all) + all.places.size() * placeSize +
                              all.places.bucket_count() * sizeof(void *));
    for (const NOD_ParmMemory &state : all.parms) {
        bytes += state.getMemoryUsage();
    }
    bytes += std::int64_t((all.parms.capacity() - all.parms.size()) * sizeof(NOD_ParmMemory));
    return bytes + NOD_NodeParts::getMemoryUsage(all.structure, all.texts, all.otherChannels);
}
