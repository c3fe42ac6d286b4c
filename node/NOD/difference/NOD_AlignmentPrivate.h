/// \file NOD_AlignmentPrivate.h
/// Which places of two sequences belong together, with as few others as can be. Not installed.
///
/// Vocabulary: *common* = equal elements of both that stand in the same order.
/// Threads:    any.
/// Cost:       of sequences whose elements differ among themselves, n log n; else of the length times what differs.
///             Where that is more than a few millions of steps, what is found may be less than the most.
///
/// Exchanging the two gives the same pairs the other way round.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

using NOD_Hashes = std::vector<std::uint64_t>;
/// Places in the left and the right sequence.
using NOD_Pairs = std::vector<std::pair<int, int>>;

/// The longest sequence that both have, in ascending order.
NOD_Pairs NODcommonPlaces(const NOD_Hashes &left, const NOD_Hashes &right);

/// What became of the items of a block.
struct NOD_ItemPairs
{
    NOD_Pairs staying; ///< in ascending order; some with other contents
    NOD_Pairs moved;   ///< equal or alike ones at another place
};

/// What two items of other contents have in common.
struct NOD_ItemMeasures
{
    /// How many removals and insertions a change of one into the other is worth; 2 and more: it is another item. It is
    /// asked of items between two common ones only.
    std::function<double(int, int)> cost;
    /// How much of them is the same, up to 1. At another place they are one item if it is more than a half.
    std::function<double(int, int)> likeness;
};

NOD_ItemPairs NODpairItems(const NOD_Hashes &left, const NOD_Hashes &right,
                           const NOD_ItemMeasures &measures);
