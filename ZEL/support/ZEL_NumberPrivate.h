/// \file ZEL_NumberPrivate.h
/// Converts wide numbers and texts to plain ints. Not installed.
///
/// Threads:    any.
/// Errors:     none. A number that doesn't fit an int becomes the nearest one.
#pragma once

#include <BAS/BAS_Number.h>

#include <algorithm>
#include <cstdint>

inline int ZELclampToInt(std::int64_t value)
{
    return static_cast<int>(std::clamp<std::int64_t>(value, INT32_MIN, INT32_MAX));
}

/// The decimal integer that a text starts with; 0 without one and for null.
inline int ZELparseInt(const char *text)
{
    return ZELclampToInt(BASparseInteger(text, 10));
}
