/// \file NOD_MergePartsPrivate.h
/// The parts of one record merged, down to the last value. Not installed.
///
/// Vocabulary: *slot* = one part of the merged record, with what it came of.
/// Ownership:  borrows the matchings of the base with either side.
/// Threads:    one thread at a time.
#pragma once

#include <NOD/difference/NOD_MergeJudgePrivate.h>

#include <array>

class NOD_Matching;

class NOD_MergeParts
{
public:
    using Side = NOD_MergeSide;
    using Triple = NOD_MergeTriple;

    struct Slot
    {
        Triple of;
        std::unique_ptr<NOD_Record> record;
    };
    using Slots = std::vector<Slot>;

    NOD_MergeParts(NOD_MergeJudge &judge, const NOD_Matching &ours, const NOD_Matching &theirs)
        : myJudge(judge), myOurs(ours), myTheirs(theirs)
    {}

    /// Ours and theirs aren't null.
    std::unique_ptr<NOD_Record> merge(const Triple &triple);
    /// Gives it to the merged record.
    void mergeValue(const Triple &triple, NOD_Record &made);
    /// All parts but nodes and declarations.
    void mergeParts(const Triple &triple, Slots &slots);
    /// Puts the parts into an order that both sides' orders are in.
    void arrange(const Triple &parent, Slots &slots, NOD_Record &made);

private:
    using Triples = std::vector<Triple>;
    enum class Places
    {
        BOTH,
        OURS,
        THEIRS,
        EITHER, ///< moved by both
        BASE
    };
    using Orders = std::array<std::vector<std::size_t>, 2>; ///< of ours and theirs

    Triples triplesOf(const Triple &parent) const;
    void addBaseItems(const NOD_Record &base, Triples &triples) const;
    void addItems(const Triple &parent, Triples &triples) const;
    void mergeGroup(const Triples &group, bool hasBase, Slots &slots);
    void mergePart(const Triple &triple, bool hasBase, Slots &slots);
    void mergeRemoved(const Triple &triple, Slots &slots);
    std::unique_ptr<NOD_Record> mergeBound(const NOD_BoundStates &bound);
    std::unique_ptr<NOD_Record> mergeAll(const Triple &triple);
    std::unique_ptr<NOD_Record> mergeAdded(const Triple &triple, bool hasBase);
    void take(const Triple &triple, Side side, Slots &slots);
    bool hasMoved(const Triple &triple, Side side) const;
    Places placesOf(const Triple &parent, const Slot &slot) const;
    void settleMoved(const Slots &slots, const Orders &orders, std::vector<Places> &places);

    NOD_MergeJudge &myJudge;
    const NOD_Matching &myOurs;
    const NOD_Matching &myTheirs;
};
