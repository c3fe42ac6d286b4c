/// \file NOD_Difference.h
/// All edits that lead from one state to another one.
///
/// Vocabulary: *patch* = a difference as text: JSON of docs/difference.schema.json. Record, path, change: see
///             NOD_Record.h and NOD_Change.h.
/// Ownership:  owns its changes.
/// Threads:    one thread at a time.
/// Errors:     to the report, with the path of the change as subject.
///
/// An exact difference holds all of it: applied to the old state it gives the new one, its inverse the old one again.
/// The order of the changes has no meaning.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Change.h>
#include <NOD/NOD_CompareOptions.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class NOD_Matching;
class NOD_Report;

class NOD_API NOD_Difference
{
public:
    using Changes = std::vector<NOD_Change>;

    NOD_Difference() = default;
    explicit NOD_Difference(Changes changes, bool isExact = true)
        : myChanges(std::move(changes)), myExactFlag(isExact)
    {}

    // ------------------------------------------------------------------ //
    /// \name Comparing
    // ------------------------------------------------------------------ //
    ///@{
    static NOD_Difference between(const NOD_Record &left, const NOD_Record &right,
                                  const NOD_CompareOptions &options = {});
    /// Of two states that have been matched, with the same options.
    static NOD_Difference between(const NOD_Record &left, const NOD_Record &right,
                                  const NOD_Matching &matching, const NOD_CompareOptions &options);
    /// In the order of the new state.
    const Changes &getChanges() const { return myChanges; }
    bool isEmpty() const { return myChanges.empty(); }
    /// Whether it was made to be applied.
    bool isExact() const { return myExactFlag; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Applying
    // ------------------------------------------------------------------ //
    ///@{
    NOD_Difference inverse() const;
    /// The state that the old one becomes. Null, after an error for each change that doesn't fit: what it is about isn't
    /// there, or isn't what it was.
    std::unique_ptr<NOD_Record> apply(const NOD_Record &old, NOD_Report &report) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Patches
    // ------------------------------------------------------------------ //
    ///@{
    /// With a line end.
    std::string toJson() const;
    /// False after an error: no JSON, another version, no patch, or one that isn't exact. `name` is for messages.
    bool fromJson(std::string_view text, const std::string &name, NOD_Report &report);
    ///@}

private:
    Changes myChanges;
    bool myExactFlag = true;
};
