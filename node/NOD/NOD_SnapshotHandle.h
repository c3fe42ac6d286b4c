/// \file NOD_SnapshotHandle.h
/// A component of a parameter in a snapshot, found once: reading it costs a load where it is a plain number.
///
/// Ownership:  borrows the snapshot, which tells its path, token and component.
/// Threads:    a value; any number of threads may read the same one.
/// Cost:       16 bytes: they are read in long rows.
#pragma once

#include <cstdint>

class NOD_SnapshotHandle
{
public:
    NOD_SnapshotHandle() : myParm(0), myPlainFlag(0) {}
    explicit operator bool() const { return myNumber != nullptr; }
    bool operator==(const NOD_SnapshotHandle &other) const { return myNumber == other.myNumber; }

    /// Whether it has one number at all times.
    bool isConstant() const { return myPlainFlag; }
    /// Of a constant.
    double getConstant() const { return *myNumber; }
    /// The node's number in its snapshot, and the parameter's index.
    std::uint32_t getNode() const { return myNode; }
    /// The same for handles of one component of a snapshot only.
    const void *getPlace() const { return myNumber; }
    int getParm() const { return myNumber ? int(myParm) : -1; }

private:
    friend class NOD_Snapshot;

    const double *myNumber = nullptr;
    std::uint32_t myNode = 0;
    std::uint32_t myParm : 31;
    std::uint32_t myPlainFlag : 1;
};
