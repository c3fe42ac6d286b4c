/// \file NOD_MergeJudgePrivate.h
/// Gathers the conflicts of a merge and says who stands. Not installed.
///
/// Ownership:  borrows policies and chooser.
/// Threads:    one thread at a time.
#pragma once

#include <NOD/NOD_Merge.h>

#include <unordered_map>

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
    using Paths = std::function<NOD_RecordPath(const NOD_Record &, Side)>;

    NOD_MergeJudge(const Policies &policies, const NOD_Merge::Chooser &chooser)
        : myPolicies(policies), myChooser(chooser)
    {}

    Side decide(NOD_Conflict conflict);
    /// Of single records.
    Side decide(NOD_Conflict::Kind kind, const NOD_MergeTriple &triple);
    /// Where the last conflict stands in the merged state; null if nowhere.
    void setPlace(const NOD_Record *record) { setPlace(getCount() - 1, record); }
    void setPlace(std::size_t conflict, const NOD_Record *record) { myPlaces[conflict] = record; }
    std::size_t getCount() const { return myConflicts.size(); }
    /// How paths of records within copies are found; null: they are those of the records.
    void setPaths(Paths paths) { myPaths = std::move(paths); }
    NOD_RecordPath pathOf(const NOD_Record &record, Side side) const;
    /// With the paths of the merged state, which is complete now.
    NOD_Merge::Conflicts takeConflicts();

private:
    const Policies &myPolicies;
    const NOD_Merge::Chooser &myChooser;
    Paths myPaths;
    NOD_Merge::Conflicts myConflicts;
    std::vector<const NOD_Record *> myPlaces;
};

/// Equal in all parts; not their names.
bool NODareEqual(const NOD_Record &left, const NOD_Record &right);
