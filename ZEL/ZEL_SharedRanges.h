/// \file ZEL_SharedRanges.h
/// The ranges that parameters of many nodes share, ZELangleRange to ZELfullunituiRange.
///
/// ZEL_SharedRanges.def lists them by topic, each with its limits.
///
/// Ownership:  constant data, complete before any code runs; templates borrow it.
/// Threads:    read only.
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Range.h>

#define ZEL_SHARED_RANGE(symbol, minFlag, min, maxFlag, max) extern ZEL_API ZEL_Range symbol;
#include <ZEL/ZEL_SharedRanges.def>
#undef ZEL_SHARED_RANGE
