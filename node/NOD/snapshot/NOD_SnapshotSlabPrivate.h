/// \file NOD_SnapshotSlabPrivate.h
/// Memory for the numbers of many nodes side by side, so that a reader who goes from node to node finds them close
/// together.
///
/// Ownership:  a part keeps the slab that it lies in. While a node of a slab is there the others' memory is, too: at
///             most as much again as all numbers have.
/// Threads:    the scene's; parts are released on any.
#pragma once

#include <cstddef>
#include <memory>

class NOD_SnapshotSlab
{
public:
    /// Of so many numbers; 0: each part by itself.
    explicit NOD_SnapshotSlab(std::size_t size) : mySize(size) {}

    /// Zeros.
    std::shared_ptr<double[]> take(std::size_t count)
    {
        if (count > myLeft) {
            myLeft = count > mySize ? count : mySize;
            mySlab.reset(new double[myLeft]());
            myNext = mySlab.get();
        }
        std::shared_ptr<double[]> part(mySlab, myNext);
        myNext += count;
        myLeft -= count;
        return part;
    }

private:
    std::shared_ptr<double[]> mySlab;
    double *myNext = nullptr;
    std::size_t myLeft = 0;
    const std::size_t mySize;
};
