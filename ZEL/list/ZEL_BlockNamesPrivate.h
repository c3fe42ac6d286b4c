/// \file ZEL_BlockNamesPrivate.h
/// Which multi-parameter of a list claims the name of an item that isn't there yet. Not installed.
///
/// Vocabulary: *prefix* = what the names of a child begin with: the child's token up to the first run of
///             digits and `#` in which the item's number is, with the numbers of the enclosing items, in
///             which leading zeros don't count.
/// Ownership:  borrows the list, which must outlive it.
/// Threads:    the list's own.
/// Cost:       a look-up for each run of digits in a name. The first name visits the whole list, as does the
///             first one after a removal.
#pragma once

#include <ZEL/ZEL_ParmList.h>

#include <cstdint>
#include <unordered_map>
#include <vector>

class ZEL_ParmList::BlockNames
{
public:
    explicit BlockNames(ZEL_ParmList &list) : myList(list) {}
    BlockNames(const BlockNames &) = delete;
    BlockNames &operator=(const BlockNames &) = delete;

    /// The first in the list, as `ZEL_Multi::matchInstancePattern` says, which sets the number; null if there
    /// is none.
    ZEL_Multi *find(const KIT_StringRef &name, int &number);

private:
    /// In a chain of those that share a prefix, in list order.
    struct Entry
    {
        std::uint64_t token; // what hashes of equal ones with equal numbers are
        int index;           // of the multi-parameter
        int next;            // entry; -1 for none
    };
    struct Chain
    {
        int first = -1;
        int last = -1;
    };

    void update();
    void add(int index);
    void findIn(std::uint64_t prefix, const char *name, int &best, int &number) const;

    ZEL_ParmList &myList;
    std::unordered_map<std::uint64_t, Chain> myChains; // by the prefix's hash
    std::vector<Entry> myEntries;
    int myIndexed = 0; // so many parameters of the list are in it
    std::uint32_t myRemovals = 0;
};
