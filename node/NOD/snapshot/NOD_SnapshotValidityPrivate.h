/// \file NOD_SnapshotValidityPrivate.h
/// How long the components of a snapshot hold around a time, what they read followed through all nodes.
///
/// Ownership:  borrows the snapshot, which the thread must be reading (NOD_SnapshotScope).
/// Threads:    an object for each.
/// Cost:       each component once at each time that is asked of it.
#pragma once

#include <NOD/snapshot/NOD_SnapshotLayoutPrivate.h>
#include <TRK/TRK_Validity.h>

#include <cstdint>
#include <map>
#include <tuple>

class NOD_SnapshotNode;

class NOD_SnapshotValidity : private TRK_ValiditySource
{
public:
    /// With the flag foreign values are taken for what they may be at other times, not as they are in the snapshot.
    NOD_SnapshotValidity(int thread, bool foreignMovesFlag)
        : myThread(thread), myForeignMovesFlag(foreignMovesFlag)
    {}

    TRK_Interval of(const NOD_SnapshotNode &node, NOD_SnapshotComponent component, double time);

private:
    TRK_Interval evaluate(const NOD_SnapshotNode &node, NOD_SnapshotComponent component,
                          double time);
    TRK_Interval ofReference(const TRK_Collection &from, const KIT_StringRef &path,
                             const KIT_StringRef &name, double time, bool textFlag) override;

    using Asked = std::tuple<const NOD_SnapshotNode *, int, int, double>;

    std::map<Asked, TRK_Interval> myKnown; ///< what is being followed holds at its time only
    const int myThread;
    const bool myForeignMovesFlag;
};
