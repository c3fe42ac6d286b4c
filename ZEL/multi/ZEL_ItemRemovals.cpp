// Removes many items at once.

#include <ZEL/ZEL_ParmList.h>

#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>
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
        const bool wholeFlag = add(*nested, 0, nested->getMultiParmNumItems());
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
