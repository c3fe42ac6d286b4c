/// \file NOD_Matching.h
/// Which records of two states are the same one: what a comparison and a merge start from.
///
/// Vocabulary: *partner* = the record of the other state that this one has become. *stays* = said of a record whose
///             place among those of its kind needs no edit: the others come, go or move around it.
/// Ownership:  borrows both states, which may not change while it is used.
/// Threads:    one thread at a time.
/// Cost:       of what differs: equal records are one comparison, and have a partner only at their top.
///
/// Records are matched by kind and name, items of a block by what is in them, with as few edits as can be. Nodes and
/// declarations of scripts that have no partner of their name are then looked for in other places and under other
/// names: the same contents, or most of them and the same type. Exchanging the two states gives the same partners.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_CompareOptions.h>
#include <NOD/NOD_Record.h>

#include <unordered_map>
#include <unordered_set>
#include <vector>

class NOD_API NOD_Matching
{
public:
    /// The two outermost records are each other's partners.
    NOD_Matching(const NOD_Record &left, const NOD_Record &right,
                 const NOD_CompareOptions &options = {});
    ~NOD_Matching();
    NOD_Matching(const NOD_Matching &) = delete;
    NOD_Matching &operator=(const NOD_Matching &) = delete;

    /// Null if it has none, or if it is within a record that is equal on both sides.
    const NOD_Record *partnerOf(const NOD_Record &record) const;
    /// Of one that has a partner: whether the two are the same in all their parts.
    bool isEqual(const NOD_Record &record) const { return myEqual.count(&record) != 0; }
    /// Of one that has a partner in the partner of its parent.
    bool stays(const NOD_Record &record) const { return myMoved.count(&record) == 0; }
    /// Pairs of nodes and declarations that were compared in all they have, to find some under other names.
    std::size_t getComparisonCount() const { return myComparisons; }

private:
    using Records = std::vector<const NOD_Record *>;

    void pair(const NOD_Record &left, const NOD_Record &right);
    void link(const NOD_Record &left, const NOD_Record &right);
    void pairParts(const NOD_Record &left, const NOD_Record &right);
    void pairItemsOf(const NOD_Record &left, const NOD_Record &right);
    void findOthers(const NOD_Record &left, const NOD_Record &right);
    void collect(const NOD_Record &record, Records &without) const;
    void pairSame(const Records &left, const Records &right);
    void pairAlike(const Records &left, const Records &right);
    void findMoved(const NOD_Record &left);
    std::vector<std::uint64_t> ranksOf(const Records &records) const;
    void findMovedAmong(const Records &left, const NOD_Record &right);

    const NOD_CompareOptions &myOptions;
    std::size_t myComparisons = 0;
    std::unordered_map<const NOD_Record *, const NOD_Record *> myPartners; ///< of both sides
    std::unordered_set<const NOD_Record *> myEqual;
    std::unordered_set<const NOD_Record *> myMoved;
};

/// How much two records have in common: 1 for all, 0 for nothing.
NOD_API double NODlikeness(const NOD_Record &left, const NOD_Record &right,
                           const NOD_CompareOptions &options = {});
