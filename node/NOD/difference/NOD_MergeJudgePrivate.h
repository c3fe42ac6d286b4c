/// \file NOD_MergeJudgePrivate.h
/// Gathers the conflicts of a merge and says who stands. Not installed.
///
/// Ownership:  borrows policies and chooser.
/// Threads:    one thread at a time.
#pragma once

#include <NOD/NOD_Merge.h>
#include <NOD/difference/NOD_MergeReferencesPrivate.h>

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

/// The same thing in the three states; null where it isn't.
struct NOD_MergeTriple
{
    const NOD_Record *base = nullptr;
    const NOD_Record *ours = nullptr;
    const NOD_Record *theirs = nullptr;

    const NOD_Record *of(NOD_MergeSide side) const
    {
        return side == NOD_MergeSide::OURS ? ours : side == NOD_MergeSide::THEIRS ? theirs : base;
    }
};

class NOD_MergeJudge
{
public:
    using Side = NOD_MergeSide;
    using Policies = std::vector<std::pair<std::string, Side>>;
    using Names = std::array<NOD_ItemNames, 3>; ///< of marked items, by side
    /// What copies of states are of.
    struct Bound
    {
        std::array<NOD_RecordPath, 3> prefixes; ///< their paths, by side
        const Names *names = nullptr;
    };

    NOD_MergeJudge(const Policies &policies, const NOD_Merge::Chooser &chooser)
        : myPolicies(policies), myChooser(chooser)
    {}

    Side decide(NOD_Conflict conflict);
    /// Of single records.
    Side decide(NOD_Conflict::Kind kind, const NOD_MergeTriple &triple, Side standing = Side::OURS);
    /// Where the last conflict stands in the merged state; null if nowhere.
    void setPlace(const NOD_Record *record) { setPlace(getCount() - 1, record); }
    void setPlace(std::size_t conflict, const NOD_Record *record) { myPlaces[conflict] = record; }
    bool hasPlace(const NOD_Record &record) const
    {
        return std::find(myPlaces.begin(), myPlaces.end(), &record) != myPlaces.end();
    }
    std::size_t getCount() const { return myConflicts.size(); }
    /// What one side of a conflict has; the path is set if it is the first, or `isMain`.
    void addTo(NOD_ConflictSide &place, const NOD_Record &record, Side side, bool isMain) const;
    /// The records are in such copies with bound channels (NOD_MergeChannelsPrivate.h), or, with null, in the states
    /// themselves.
    const Bound *setBound(const Bound *bound) { return std::exchange(myBound, bound); }
    const Bound *getBound() const { return myBound; }
    NOD_RecordPath pathOf(const NOD_Record &record, Side side) const;
    /// With the paths of the merged state, which is complete now.
    NOD_Merge::Conflicts takeConflicts();

private:
    const Policies &myPolicies;
    const NOD_Merge::Chooser &myChooser;
    const Bound *myBound = nullptr;
    NOD_Merge::Conflicts myConflicts;
    std::vector<const NOD_Record *> myPlaces;
};

/// Copies of three states with bound channels, where items have any, and marked items, where expressions refer to them
/// (NOD_MergeReferencesPrivate.h); the judge knows of them while they are there.
class NOD_BoundStates
{
public:
    NOD_BoundStates(NOD_MergeJudge &judge, const NOD_MergeTriple &triple);
    ~NOD_BoundStates();
    NOD_BoundStates(const NOD_BoundStates &) = delete;
    NOD_BoundStates &operator=(const NOD_BoundStates &) = delete;

    bool isBound() const { return myCopies[0] != nullptr; }
    /// The copies, or what they would be of.
    const NOD_MergeTriple &get() const { return myTriple; }
    void release(NOD_Record &made) const;

private:
    NOD_States getCopies() const
    {
        return {myCopies[0].get(), myCopies[1].get(), myCopies[2].get()};
    }

    NOD_MergeJudge &myJudge;
    NOD_MergeTriple myTriple;
    NOD_MergeJudge::Bound myBound;
    const NOD_MergeJudge::Bound *myFormer = nullptr;
    NOD_MergeJudge::Names myNames;
    bool myMarkedFlag = false; ///< the marks are those of this one, not of one around it
    std::array<std::unique_ptr<NOD_Record>, 3> myCopies;
};
