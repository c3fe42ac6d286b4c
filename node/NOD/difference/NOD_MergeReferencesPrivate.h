/// \file NOD_MergeReferencesPrivate.h
/// Expressions that refer to parameters of items follow them while states are merged: `ch("w2")` is about another item
/// once items come or go in front. Not installed.
///
/// Vocabulary: *mark* = what tells an item of one state that is the same in the others: a part of it while they are
///             merged. *marked* = said of a reference that has marks in place of numbers.
/// Ownership:  the records are changed in place.
/// Threads:    one thread at a time.
///
/// References by a path are followed within the file: `ch("./w2")`, and in one of nodes `ch("../rig/w2")`. Names that an
/// expression computes stay as they are.
#pragma once

#include <NOD/NOD_Conflict.h>
#include <NOD/NOD_Record.h>

#include <array>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

/// The names of items' parameters by what they are once they are marked, or the other way round.
using NOD_ItemNames = std::unordered_map<std::string, std::string>;

class NOD_MergeJudge;

using NOD_States =
    std::array<NOD_Record *, 3>; ///< base, ours, theirs: contents of one node, or files of nodes

/// Whether an expression refers to a parameter of an item.
bool NODhasItemReferences(const NOD_Record &top);
/// Marks the items that are referred to in three states, and what refers to them.
void NODmarkItems(const NOD_States &states);
/// The present names of all marked items.
NOD_ItemNames NODnamesByMarks(const NOD_Record &top);
/// Whether one side's state has what the record refers to.
using NOD_Knows = std::function<bool(NOD_MergeSide side, const NOD_Record &record)>;
/// A conflict for each record of the merged state that refers to what only the states have, unless one that has the same
/// text doesn't know it either.
void NODtellLost(const std::vector<NOD_Record *> &readers, const NOD_States &states,
                 NOD_MergeJudge &judge, const NOD_Knows &knows);
/// With these names for marked items, and without marks.
void NODunmarkItems(NOD_Record &record, const NOD_ItemNames &names);
/// The same for the merged state, by the names of the three. A reference to an item that isn't there any more is a
/// conflict: it would be one to a neighbour.
void NODunmarkMerged(NOD_Record &made, const NOD_States &states,
                     const std::array<NOD_ItemNames, 3> &sides, NOD_MergeJudge &judge);
