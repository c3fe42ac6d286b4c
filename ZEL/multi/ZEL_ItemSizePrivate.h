/// \file ZEL_ItemSizePrivate.h
/// How much memory an item of a multi-parameter takes, estimated from its block.
///
/// Units:      bytes, allocations included; within a quarter for numbers, and too much rather than
///             too little for texts with an item's number.
/// Threads:    any.
/// Cost:       one pass over the block's texts.
#pragma once

#include <cstdint>

class ZEL_Template;

struct ZEL_ItemCost
{
    std::int64_t items; ///< 1 if every saved form names a parameter of it, and its blocks' items
    std::int64_t bytes;
};

/// Of nested blocks the items that their hard minimum requires are included. `levels` counts the
/// numbers in a name.
ZEL_ItemCost ZELestimateItem(const ZEL_Template *block, std::int64_t levels);

/// The nearest count; 0 if the value isn't a number.
int ZELtoCount(double value);

/// The count that a multi-parameter's range doesn't go below.
int ZELhardMinimum(const ZEL_Template &multi);
