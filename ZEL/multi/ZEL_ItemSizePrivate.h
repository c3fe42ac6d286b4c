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

/// The items of nested blocks aren't included. `levels` counts the numbers in a name.
std::int64_t ZELestimateItemBytes(const ZEL_Template *block, std::int64_t levels);

/// Whether every saved form names a parameter of each item.
bool ZELisItemNamed(const ZEL_Template *block);
