/// \file ZEL_LateRemovals.h
/// A scope in which a list's items that leave stay until its end.
///
///     ZEL_ParmList::LateRemovals removals(list);
///     for (...) {
///         removals.find(token)->load(is); // blocks may shrink
///     }
///     removals.finish();
///
/// Each block that shrinks would move all that follows its items in the list; at the end, all that leave do
/// so in one pass. Until then they are marked, aren't counted, and lose their channels. What needs one of
/// their names, or more items of their block, removes them first. Where items are kept meanwhile, those of
/// them that are wanted again stay, as if they were made then. A list's own loads have such a scope.
///
/// Ownership:  borrows the list, which must outlive it. Scopes of one list nest; the outermost removes.
/// Threads:    the list's own.
/// Errors:     without memory they leave block by block. After an exception, or without `finish`, they are
///             surplus items again, which the next read removes.
#pragma once

#include <ZEL/ZEL_ParmList.h>

#include <vector>

class ZEL_API ZEL_ParmList::LateRemovals
{
public:
    explicit LateRemovals(ZEL_ParmList &list) : myList(list), myOuterFlag(list.myRemovesLate)
    {
        myList.myRemovesLate = true;
    }
    ~LateRemovals();
    LateRemovals(const LateRemovals &) = delete;
    LateRemovals &operator=(const LateRemovals &) = delete;

    /// The parameter of that token. One of an item that leaves is removed first, with all that leave of its
    /// block.
    ZEL_Parm *find(const KIT_StringRef &token) { return myList.findSettledParm(token); }
    /// Removes what leaves; does nothing within another scope.
    void finish();

private:
    class Blocks;

    std::vector<ZEL_Multi *> findBlocks() const;
    void removeTogether(const std::vector<ZEL_Multi *> &multis) const;
    void removeEach() const;

    ZEL_ParmList &myList;
    bool myOuterFlag;
};
