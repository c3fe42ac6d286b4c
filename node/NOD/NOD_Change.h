/// \file NOD_Change.h
/// One edit that leads from one state of parameters, channels, nodes or scripts to another one, as data.
///
/// Vocabulary: *path* = from the outermost record down to the one that the change is about, a step for each: kind and
///             name, or an item's place. The *old path* leads there in the old state, the *new path* in the new one:
///             they differ where nodes were renamed or moved, and where items come and go before. *after* = the name of
///             the sibling of the same kind that it follows; "" if it is the first. Only kinds with an order have it.
/// Units:      items from 0.
/// Ownership:  owns its texts and shares the record that was added or removed, which nobody changes.
/// Threads:    plain values.
#pragma once

#include <NOD/NOD_Record.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct NOD_API NOD_PathStep
{
    NOD_RecordKind kind = NOD_RecordKind::DOCUMENT;
    std::string name;
    int item = 0; ///< of an item

    bool operator==(const NOD_PathStep &other) const
    {
        return kind == other.kind && name == other.name && item == other.item;
    }
};

using NOD_RecordPath = std::vector<NOD_PathStep>;

/// Without the outermost record, which has no step.
NOD_API NOD_RecordPath NODpathOf(const NOD_Record &record);
/// Null if it leads nowhere.
NOD_API NOD_Record *NODfindRecord(NOD_Record &top, const NOD_RecordPath &path);
/// As people write it: `/key/gobo: points[2] pt#[0]`. Items are counted from 0.
NOD_API std::string NODpathText(const NOD_RecordPath &path);

struct NOD_API NOD_Change
{
    enum class Verb
    {
        ADDED,
        REMOVED,
        CHANGED, ///< its value
        RENAMED, ///< where it is
        MOVED    ///< to another place, or another record; its name may be another one, too
    };

    Verb verb = Verb::CHANGED;
    NOD_RecordPath oldPath; ///< empty if it was added
    NOD_RecordPath newPath; ///< empty if it was removed
    NOD_Value oldValue;     ///< of a changed one
    NOD_Value newValue;
    std::shared_ptr<const NOD_Record> record; ///< that was added or removed, without what has moved
    std::optional<std::string> oldAfter;
    std::optional<std::string> newAfter;

    /// That of the record which it is about.
    NOD_RecordKind getKind() const { return getPath().back().kind; }
    /// The new one, or the old one of what was removed.
    const NOD_RecordPath &getPath() const { return newPath.empty() ? oldPath : newPath; }
    /// From the new to the old.
    NOD_Change inverse() const;

    /// "added" and so on.
    static const char *getVerbName(Verb verb);
    static bool findVerb(std::string_view word, Verb &verb);
};
