/// \file NOD_NumberPatternPrivate.h
/// Names with a `#` for each number, as those of items have them. Not installed.
///
/// Threads:    any.
#pragma once

#include <string>
#include <vector>

/// Whether a token has numbers where the pattern has `#`; they are appended. A `#` of a token counts as one.
bool NODmatchNumbers(const std::string &token, const std::string &pattern,
                     std::vector<std::string> &numbers);
/// The pattern with the numbers in place of its marks.
std::string NODwithNumbers(const std::string &pattern, const std::vector<std::string> &numbers);
