/// \file NOD_Merge.h
/// Two states that came of one, joined: what either side did to it is done.
///
/// Vocabulary: see NOD_Conflict.h. *policy* = who stands where a path fits a pattern.
/// Ownership:  owns its conflicts, which share nothing with the states.
/// Threads:    one thread at a time.
/// Errors:     none: what doesn't go together is a conflict, and ours stands there unless a policy or the chooser says
///             otherwise.
/// Cost:       of what differs from the base; what only one side changed is shared with it.
///
/// The states are exact ones (NOD_Document.h), so that the merged one can be written. Different parts of a thing are
/// merged one by one, down to the component of a value and the number of a key. A few parts are one thing, in
/// which two edits are a conflict: a component's value and the channel that drives it; the two slopes of a key;
/// an expression and its language; all of an entry whose form differs; a spare parameter that changed, and its value. The contents of two nodes of different types are
/// one thing, too.
///
/// Items, nodes and spare parameters that both sides added at one place are both there, ours first. Equal edits are
/// one. Where only the order of a file's entries differs, nothing is told. Counts of blocks are those of
/// the items that there are, and channels of items follow their parameters to the numbers that they have at last, as do
/// expressions that refer to these, also by a path of a node of the same file. One that refers to an item which isn't
/// there at last is a conflict, in which the text stands that somebody has.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Conflict.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class NOD_API NOD_Merge
{
public:
    using Side = NOD_MergeSide;
    using Conflicts = std::vector<NOD_Conflict>;
    using Chooser = std::function<std::optional<Side>(const NOD_Conflict &)>;

    // ------------------------------------------------------------------ //
    /// \name Who stands
    // ------------------------------------------------------------------ //
    ///@{
    /// `*` and `?` stand for any bytes in the path as people write it (NODpathText()), or in that part of it which follows
    /// the node. The last policy that fits counts.
    void addPolicy(std::string pattern, Side side);
    /// Asked where no policy fits.
    void setChooser(Chooser chooser);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Merging
    // ------------------------------------------------------------------ //
    ///@{
    std::unique_ptr<NOD_Record> merge(const NOD_Record &base, const NOD_Record &ours,
                                      const NOD_Record &theirs);
    /// The bytes that a merge of three files gives whatever is in them: two are equal, and the result needs no other
    /// form. Null if they must be read.
    static const std::string *withoutReading(const std::string &base, const std::string &ours,
                                             const std::string &theirs);
    /// Of the last one.
    const Conflicts &getConflicts() const { return myConflicts; }
    /// Those that neither a policy nor a person decided.
    std::size_t getOpenCount() const;
    /// The conflicts as JSON of docs/merge.schema.json, with a line end.
    std::string toJson() const;
    ///@}

private:
    std::vector<std::pair<std::string, Side>> myPolicies;
    Chooser myChooser;
    Conflicts myConflicts;
};
