/// \file NOD_Conflict.h
/// What two people made of one thing, where both can't be had.
///
/// Vocabulary: *base* = the state that both began with; *ours*, *theirs* = the two that came of it. A side *stands* where
///             the merged state has what that side has. *decided* = by a policy or a person, not by the rule that ours
///             stands.
/// Units:      items from 0.
/// Ownership:  owns its texts and shares its records, which nobody changes.
/// Threads:    plain values.
#pragma once

#include <NOD/NOD_Change.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

enum class NOD_MergeSide
{
    BASE,
    OURS,
    THEIRS
};

/// "base" and so on.
NOD_API const char *NODmergeSideName(NOD_MergeSide side);

/// What one of the three states has.
struct NOD_API NOD_ConflictSide
{
    NOD_RecordPath path; ///< in that state; empty if it isn't there, or is all of it
    /// None if it isn't there; several where they are one thing, such as a value and the channel that drives it.
    std::vector<std::shared_ptr<const NOD_Record>> records;

    bool isThere() const { return !records.empty(); }
    /// For people: the value, or how much there is; "nothing" if it isn't there.
    std::string asText() const;
};

struct NOD_API NOD_Conflict
{
    enum class Kind
    {
        BOTH_CHANGED,
        BOTH_ADDED,      ///< under one name, with different contents
        CHANGED_REMOVED, ///< by one each
        BOTH_MOVED,      ///< or renamed
        NAME_TAKEN, ///< two nodes came to one name: the one that doesn't stand has a number behind its name
        UNDER_REMOVED, ///< put below a node that the other side removed
        IN_EACH_OTHER, ///< two nodes, each moved into the other one
        REFERENCE_LOST ///< an expression refers to what the merged state hasn't
    };

    Kind kind = Kind::BOTH_CHANGED;
    NOD_ConflictSide base;
    NOD_ConflictSide ours;
    NOD_ConflictSide theirs;
    NOD_RecordPath path; ///< in the merged state; where it was, if it isn't there
    NOD_MergeSide standing = NOD_MergeSide::OURS;
    bool isDecided = false;

    const NOD_ConflictSide &of(NOD_MergeSide side) const;
    /// That of ours, or of theirs, or of the base: what policies look at.
    const NOD_RecordPath &getPath() const;
    /// `ADDRESS: KIND: base ..., ours ..., theirs ...; ours stands`
    std::string asText() const;

    /// "both_changed" and so on.
    static const char *getKindName(Kind kind);
};
