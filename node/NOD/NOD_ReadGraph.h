/// \file NOD_ReadGraph.h
/// What reads what in a snapshot at a time: components, and edges between those that one evaluation reads directly.
///
///     const NOD_ReadGraph graph(*snapshot, time, thread);
///     for (const NOD_SnapshotHandle &reader : graph.findReaders(handle)) // what a change of it reaches
///
/// Ownership:  borrows the snapshot.
/// Threads:    immutable once made; any thread.
/// Errors:     what is lost or no parameter's has no place in it.
/// Cost:       made: an evaluation of each component that isn't plain.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_SnapshotHandle.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

class NOD_Snapshot;

class NOD_API NOD_ReadGraph
{
public:
    NOD_ReadGraph(const NOD_Snapshot &snapshot, double time, int thread);

    /// Those that read another one or are read, in the order of the nodes.
    const std::vector<NOD_SnapshotHandle> &getComponents() const { return myComponents; }
    /// Of the component's readers, and of theirs, in the order of the nodes.
    std::vector<NOD_SnapshotHandle> findReaders(const NOD_SnapshotHandle &handle) const;
    /// In the DOT language: nodes with their components and values, an edge from what is read to what reads it. What
    /// moves in time has a double edge; what can't be evaluated is red.
    std::string asDOT(int thread) const;

private:
    const NOD_Snapshot &mySnapshot;
    const double myTime;
    std::vector<NOD_SnapshotHandle> myComponents;
    std::unordered_map<const void *, std::uint32_t>
        myPlaces;                                      ///< of components, by their own places
    std::vector<std::vector<std::uint32_t>> myReaders; ///< of each, places of components
};
