/// \file NOD_Snapshots.h
/// Named states of a node, within a limit of bytes.
///
/// Units:      bytes; where they exceed the limit, the oldest states are dropped. The last one is kept
///             whatever it takes.
/// Ownership:  owns the states.
/// Threads:    the thread that owns the node.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_NodeState.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

class NOD_API NOD_Snapshots
{
public:
    static constexpr std::int64_t theUsualBytes = std::int64_t(1) << 28;

    explicit NOD_Snapshots(std::int64_t mostBytes = theUsualBytes) : myMostBytes(mostBytes) {}

    /// Keeps a state, in the place of one of that name; returns the names of those dropped.
    std::vector<std::string> put(const std::string &name, NOD_NodeState state);
    /// Null if there is none.
    const NOD_NodeState *find(const std::string &name) const;
    /// In alphabetical order.
    std::vector<std::string> getNames() const;

private:
    struct Entry
    {
        std::string name;
        NOD_NodeState state;
    };

    /// Of all: what they share is counted for one of those that are left.
    std::int64_t countBytes() const;

    std::deque<Entry> myEntries; ///< the oldest first
    std::int64_t myMostBytes;
};
