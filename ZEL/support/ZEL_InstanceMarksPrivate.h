/// \file ZEL_InstanceMarksPrivate.h
/// The marks of a text; see ZEL_InstanceString.h. One without any is the same in all items.
///
/// Threads:    any.
#pragma once

#include <cstdint>
#include <string_view>

std::int64_t ZELcountMarks(std::string_view text);
