/// \file NOD_SnapshotHandle.h
/// A component of a parameter in a snapshot, found once: reading it costs a load where it is a plain number.
///
/// Ownership:  borrows the snapshot.
/// Threads:    a value; any number of threads may read the same one.
#pragma once

#include <cstdint>

class NOD_SnapshotHandle
{
public:
    NOD_SnapshotHandle() = default;
    explicit operator bool() const { return myNumber != nullptr; }

    /// Whether it has one number at all times.
    bool isConstant() const { return myPlainFlag; }
    /// Of a constant.
    double getConstant() const { return *myNumber; }
    /// The node's number in its snapshot, the parameter's index, the component.
    std::uint32_t getNode() const { return myNode; }
    int getParm() const { return myParm; }
    int getComponent() const { return myComponent; }

private:
    friend class NOD_Snapshot;

    const double *myNumber = nullptr;
    std::uint32_t myNode = 0;
    std::int32_t myParm = -1;
    std::int16_t myComponent = -1;
    bool myPlainFlag = false;
};
