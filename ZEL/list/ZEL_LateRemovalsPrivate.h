/// \file ZEL_LateRemovalsPrivate.h
/// While a list is loaded, items that leave stay until the load ends. Not installed.
///
/// Each block that shrinks would move all that follows its items in the list; at the end, all that leave do
/// so in one pass. Until then they are marked, aren't counted, and lose their channels. A reader that needs
/// one of their names, or more items of their block, removes them first (`findSettledParm`). Where items are
/// kept meanwhile, those of them that are wanted again stay, as if they were made then.
///
/// Ownership:  borrows the list, which must outlive it.
/// Threads:    the list's own.
/// Errors:     without memory they leave block by block. After an exception they are surplus items again,
///             which the next read removes.
#pragma once

#include <ZEL/ZEL_ParmList.h>

#include <vector>

class ZEL_ParmList::LateRemovals
{
public:
    explicit LateRemovals(ZEL_ParmList &list) : myList(list), myOuterFlag(list.myRemovesLate)
    {
        myList.myRemovesLate = true;
    }
    ~LateRemovals();
    LateRemovals(const LateRemovals &) = delete;
    LateRemovals &operator=(const LateRemovals &) = delete;

    /// At the end of the load; does nothing within another one.
    void finish();

private:
    class Blocks;

    std::vector<ZEL_Multi *> findBlocks() const;
    void removeTogether(const std::vector<ZEL_Multi *> &multis) const;
    void removeEach() const;

    ZEL_ParmList &myList;
    bool myOuterFlag;
};
