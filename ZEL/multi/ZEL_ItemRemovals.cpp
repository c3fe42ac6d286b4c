// Removes many items at once: of one multi-parameter, or of all that shrank in a load.

#include <ZEL/ZEL_ParmList.h>

#include <BAS/BAS_Allocate.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_LateRemovals.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/multi/ZEL_MultiChangingPrivate.h>

#include <algorithm>
#include <deque>
#include <new>
#include <utility>
#include <vector>

/// The parameters of items, nested ones too, while they are removed together: one by one, each would
/// move all that follow it in the list.
class ZEL_ParmList::ItemRemovals
{
public:
    explicit ItemRemovals(ZEL_ParmList &list) : myList(list) {}

    /// False if an item is without a parameter.
    bool add(const ZEL_Multi &multi, int firstItem, int endItem);
    /// After the last of them: makes room for all that removing takes.
    void prepare();
    void notifyOwner() const;
    void removeAll();

private:
    struct Leaving
    {
        ZEL_Parm *parm;
        bool wholeFlag; // all its own items leave with it
    };

    bool addChild(const ZEL_Multi &multi, int item, int child);
    void destroy(const Leaving &leaving) const;

    ZEL_ParmList &myList;
    std::vector<Leaving> myLeaving; // a multi-parameter comes before its items
    std::vector<std::pair<std::int32_t, ZEL_Parm *>> myOrder; // by their indices
    std::vector<std::int32_t> myIndices;
    std::vector<std::int32_t> myPlaces;
    std::uint32_t myChanges = 0;
};

bool ZEL_ParmList::ItemRemovals::add(const ZEL_Multi &multi, int firstItem, int endItem)
{
    bool complete = true;
    for (int item = firstItem; item < endItem; ++item) {
        for (int child = 0; child < multi.getMultiParmInstancesPerItem(); ++child) {
            complete = addChild(multi, item, child) && complete;
        }
    }
    return complete;
}

bool ZEL_ParmList::ItemRemovals::addChild(const ZEL_Multi &multi, int item, int child)
{
    int index = -1;
    ZEL_Parm *const parm = multi.findOwnChild(item, child, index);
    if (!parm) {
        return false;
    }
    const std::size_t at = myLeaving.size();
    myLeaving.push_back({parm, true});
    myOrder.emplace_back(index, parm);
    if (const ZEL_Multi *const nested = parm->asMulti()) {
        const bool wholeFlag = add(*nested, 0, nested->getItemsEnd());
        myLeaving[at].wholeFlag = wholeFlag;
    }
    return true;
}

void ZEL_ParmList::ItemRemovals::prepare()
{
    constexpr int theFewRanges = 2;
    std::sort(myOrder.begin(), myOrder.end());
    int ranges = 0;
    myIndices.reserve(myOrder.size());
    for (const auto &[index, parm] : myOrder) {
        ranges += myIndices.empty() || index != myIndices.back() + 1 ? 1 : 0;
        myIndices.push_back(index);
    }
    myChanges = myList.myAddRemoveCount;
    myPlaces.resize(ranges > theFewRanges ? std::size_t(myList.getEntries()) : 0);
}

/// From the last to the first, so that an owner that counts along has the index of each.
void ZEL_ParmList::ItemRemovals::notifyOwner() const
{
    for (auto at = myOrder.rbegin(); at != myOrder.rend(); ++at) {
        if (myList.getParmPtr(at->first) == at->second) {
            myList.tellRemoval(*at->second, at->first);
        }
    }
}

void ZEL_ParmList::ItemRemovals::removeAll()
{
    if (myList.myAddRemoveCount != myChanges) {
        // The owner has read a count, and items were made.
        for (auto at = myOrder.rbegin(); at != myOrder.rend(); ++at) {
            if (myList.getParmPtr(at->first) == at->second) {
                myList.takeOut(at->first);
            }
        }
        return;
    }
    myList.takeOutAll(myIndices, myPlaces);
    // Items first: their descriptions are their multi-parameter's.
    for (auto at = myLeaving.rbegin(); at != myLeaving.rend(); ++at) {
        destroy(*at);
    }
}

void ZEL_ParmList::ItemRemovals::destroy(const Leaving &leaving) const
{
    const ZEL_OwnedParm owned(leaving.parm);
    ZEL_Multi *const multi = leaving.parm->asMulti();
    if (multi && leaving.wholeFlag) {
        multi->forgetItems();
    } else if (multi) {
        multi->destroyChildParms();
    }
}

/// Removes the parameters of these items. False if one wasn't found. Out of memory throws
/// std::bad_alloc and removes none.
bool ZEL_ParmList::removeItemParms(const ZEL_Multi &multi, int firstItem, int endItem)
{
    ItemRemovals removals(*this);
    const bool complete = removals.add(multi, firstItem, endItem);
    removals.prepare();
    removals.notifyOwner();
    removals.removeAll();
    return complete;
}

// ---------------------------------------------------------------------- //
// At the end of a load
// ---------------------------------------------------------------------- //

/// Multi-parameters whose leaving items are being removed.
class ZEL_ParmList::LateRemovals::Blocks
{
public:
    Blocks() = default;
    ~Blocks()
    {
        while (!myBlocks.empty()) {
            myBlocks.pop_back();
        }
    }
    Blocks(const Blocks &) = delete;
    Blocks &operator=(const Blocks &) = delete;

    void add(ZEL_Multi &multi) { myBlocks.emplace_back(multi); }
    /// `complete` tells for each whether all its parameters were found.
    void forget(const std::vector<bool> &complete)
    {
        for (std::size_t i = 0; i < myBlocks.size(); ++i) {
            Block &block = myBlocks[i];
            if (!complete[i]) {
                block.multi.removeStrayParms(block.count, block.leaving.end() - 1);
            }
            block.leaving.forget();
        }
    }

private:
    struct Block
    {
        explicit Block(ZEL_Multi &changed)
            : multi(changed), count(changed.myNumItems), changing(changed),
              leaving((changed.countLeaving(), changed), count)
        {}

        ZEL_Multi &multi;
        int count;
        ZEL_Multi::Changing changing;
        ZEL_Multi::LeavingItems leaving;
    };

    std::deque<Block> myBlocks;
};

ZEL_ParmList::LateRemovals::~LateRemovals()
{
    myList.myRemovesLate = myOuterFlag;
    if (myOuterFlag || !myList.myHasLateItems) {
        return;
    }
    myList.myHasLateItems = false;
    for (ZEL_Parm *parm : myList.myParms) {
        if (parm && parm->getInstance()) {
            parm->getInstance()->setLeaving(false);
        }
        if (ZEL_Multi *const multi = parm ? parm->asMulti() : nullptr) {
            multi->countLeaving();
        }
    }
}

/// Those that leave with the item that they are in aren't needed.
std::vector<ZEL_Multi *> ZEL_ParmList::LateRemovals::findBlocks() const
{
    std::vector<ZEL_Multi *> blocks;
    for (const ZEL_Parm *parm : myList.myParms) {
        ZEL_Multi *const multi = parm ? parm->asMulti() : nullptr;
        if (multi && multi->myLeavingEnd > 0 && !multi->isLeaving()) {
            blocks.push_back(multi);
        }
    }
    return blocks;
}

void ZEL_ParmList::LateRemovals::removeTogether(const std::vector<ZEL_Multi *> &multis) const
{
    ItemRemovals removals(myList);
    std::vector<bool> complete;
    for (const ZEL_Multi *multi : multis) {
        complete.push_back(removals.add(*multi, multi->myNumItems, multi->myLeavingEnd));
    }
    removals.prepare();
    Blocks blocks;
    for (ZEL_Multi *multi : multis) {
        blocks.add(*multi);
    }
    removals.notifyOwner();
    removals.removeAll();
    blocks.forget(complete);
}

void ZEL_ParmList::LateRemovals::removeEach() const
{
    for (int i = 0; i < myList.getEntries(); ++i) {
        const ZEL_Parm *const parm = myList.getParmPtr(i);
        if (ZEL_Multi *const multi = parm ? parm->asMulti() : nullptr) {
            multi->settle(multi->myNumItems);
        }
    }
}

void ZEL_ParmList::LateRemovals::finish()
{
    if (myOuterFlag || !myList.myHasLateItems) {
        return;
    }
    myList.myRemovesLate = false;
    std::vector<ZEL_Multi *> multis;
    try {
        multis = findBlocks();
        removeTogether(multis);
        myList.myHasLateItems = false;
    } catch (const std::bad_alloc &) {
        BASnoteFailedAllocation();
        removeEach();
        return;
    }
    for (const ZEL_Multi *multi : multis) {
        multi->notifyChanged();
    }
}

/// The parameter of that token. One of an item that leaves is removed first, with all that leave of its
/// block, or passed over while items are kept.
ZEL_Parm *ZEL_ParmList::findSettledParm(const KIT_StringRef &token)
{
    ZEL_Parm *const parm = getParmPtr(token);
    if (!myHasLateItems || !parm || !parm->getInstance() || !parm->getInstance()->isLeaving()) {
        return parm;
    }
    const ZEL_Multi *owner = parm->getMultiParmOwner();
    while (owner && owner->isLeaving()) {
        owner = owner->getMultiParmOwner();
    }
    if (ZEL_Multi *const multi = owner ? owner->getParm()->asMulti() : nullptr) {
        multi->settle(multi->myNumItems);
    }
    int index = -1;
    return findStayingParm(token, index);
}
