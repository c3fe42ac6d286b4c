/// \file NOD_SnapshotLayoutPrivate.h
/// Which parameters a node of a snapshot has, where their values lie, and the names that lead to them. Nodes with the
/// same description and without parameters of their own share one.
///
/// Ownership:  owns names and rules.
/// Threads:    immutable; any thread.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_ValueRules.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

class ZEL_ParmList;

struct NOD_SnapshotParm
{
    KIT_StringHolder token;
    ZEL_ValueRules rules;
    std::uint32_t first = 0; ///< of its numbers
    std::uint32_t text = 0;  ///< of its texts
    int size = 0;            ///< components
};

struct NOD_SnapshotComponent
{
    int parm = -1;
    int component = -1;
};

class NOD_SnapshotLayout
{
public:
    explicit NOD_SnapshotLayout(const ZEL_ParmList &list);

    const std::vector<NOD_SnapshotParm> &getParms() const { return myParms; }
    std::size_t getNumNumbers() const { return myNumNumbers; }
    std::size_t getNumTexts() const { return myNumTexts; }
    /// By token; -1 for none.
    int findParm(std::string_view token) const;
    /// By channel token or alias; parm -1 for none.
    NOD_SnapshotComponent findChannel(std::string_view name) const;
    /// Its channel's name, or the token where another one has that.
    std::string_view nameOf(NOD_SnapshotComponent component) const;
    std::int64_t getMemoryUsage() const;

private:
    static constexpr std::uint32_t theNone = ~0u;

    std::vector<NOD_SnapshotParm> myParms;
    std::vector<KIT_StringHolder> myAliases; ///< keeps what the maps' keys point to
    std::vector<std::uint32_t> myNames;      ///< for each number its place in there
    std::unordered_map<std::string_view, int> myByToken;
    std::unordered_map<std::string_view, NOD_SnapshotComponent> myByChannel;
    std::size_t myNumNumbers = 0;
    std::size_t myNumTexts = 0;
};
