/// \file NOD_UnifiedDifference.h
/// What changes between two texts, line by line, in the form that `patch` reads.
///
/// Threads:    any.
/// Cost:       of sorting the lines. Lines that both texts have once are matched first, then those around
///             them; what lies between matches without being equal is replaced as a whole where it is long.
#pragma once

#include <NOD/NOD_API.h>

#include <string>
#include <string_view>

/// "" for equal texts. The names are those of the two header lines, `context` how many equal lines stand
/// around a change.
NOD_API std::string NODunifiedDifference(std::string_view before, std::string_view after,
                                         const std::string &nameBefore,
                                         const std::string &nameAfter, int context = 3);
