/// \file NOD_MergeReferencesPrivate.h
/// Expressions that refer to parameters of items follow them while states are merged: `ch("w2")` is about another item
/// once items come or go in front. Not installed.
///
/// Vocabulary: *mark* = what tells an item of one state that is the same in the others: a part of it while they are
///             merged. *marked* = said of a reference that has marks in place of numbers.
/// Ownership:  the records are changed in place.
/// Threads:    one thread at a time.
///
/// References to parameters of other nodes, and names that an expression computes, stay as they are.
#pragma once

#include <NOD/NOD_Record.h>

#include <array>
#include <string>
#include <unordered_map>

/// The names of items' parameters by what they are once they are marked, or the other way round.
using NOD_ItemNames = std::unordered_map<std::string, std::string>;

/// Whether an expression of the contents refers to a parameter of an item.
bool NODhasItemReferences(const NOD_Record &contents);
/// Marks the items of three states, and what refers to them.
void NODmarkItems(const std::array<NOD_Record *, 3> &states);
/// With the numbers that the items have now. What refers to an item that isn't there gets the name that one of the
/// states has for it.
void NODunmarkItems(NOD_Record &made, const std::array<NOD_Record *, 3> &states);
/// The same for a copy of a part of marked contents, by those.
void NODunmarkCopy(NOD_Record &copy, const NOD_Record &contents);
