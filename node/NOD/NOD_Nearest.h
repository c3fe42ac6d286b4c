/// \file NOD_Nearest.h
/// The word that somebody may have meant.
///
/// Threads:    any.
/// Cost:       of each word in proportion to the lengths of both.
#pragma once

#include <NOD/NOD_API.h>

#include <cstddef>
#include <string>
#include <vector>

/// The one of the words that is nearest, a letter more, less, other or exchanged with the next in each
/// `share`; "" if none is near or has a letter of the word, or the word itself is among them.
NOD_API std::string NODnearestWord(const std::string &word, const std::vector<std::string> &words,
                                   std::size_t share = 3);
