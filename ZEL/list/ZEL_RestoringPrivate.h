/// \file ZEL_RestoringPrivate.h
/// A snapshot while a list is restored to it. Not installed.
///
/// A block that is made meanwhile gets the items that it has in the snapshot: its defaults would be
/// made and, when its own entry is restored, removed again from the middle of the list.
///
/// Ownership:  borrows the list and the snapshot, which must outlive it.
/// Threads:    the list's own.
#pragma once

#include <ZEL/ZEL_NameTable.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_UndoData.h>

#include <cstdint>
#include <memory>

class ZEL_ParmList::Restoring
{
public:
    Restoring(ZEL_ParmList &list, const ZEL_UndoDataArray &snapshot)
        : myList(list), mySnapshot(snapshot), myOuter(list.myRestoring)
    {
        myList.myRestoring = this;
    }
    ~Restoring() { myList.myRestoring = myOuter; }
    Restoring(const Restoring &) = delete;
    Restoring &operator=(const Restoring &) = delete;

    /// Entries before this one are restored.
    void setNext(std::int64_t entry) { myNext = entry; }
    /// What is to be restored yet under that name; null if nothing is.
    const std::shared_ptr<ZEL_UndoData> *find(const KIT_StringRef &token) const
    {
        if (myEntries.entries() == 0) {
            for (std::int64_t i = 0; i < mySnapshot.size(); ++i) {
                myEntries.insert(mySnapshot[i].first, int(i));
            }
        }
        const int entry = myEntries.find(token);
        return entry >= myNext ? &mySnapshot[entry].second : nullptr;
    }

private:
    ZEL_ParmList &myList;
    const ZEL_UndoDataArray &mySnapshot;
    const Restoring *myOuter;
    std::int64_t myNext = 0;
    mutable ZEL_NameTable myEntries; // made by the first that asks
};
