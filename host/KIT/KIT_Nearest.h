/// \file KIT_Nearest.h
/// The word that somebody may have meant.
///
/// Threads:    any.
/// Cost:       a word's length times each other's; words that are much longer are passed over.
#pragma once

#include <BAS/BAS_API.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct KIT_MessageDetail;

/// The one of the words that is nearest: a letter more, less, other or swapped with the next in each
/// `share`. Null if none is near or has a letter of the word, or the word itself is among them; the first
/// of several.
KIT_API const std::string *
KITnearestWord(std::string_view word, const std::vector<std::string> &words, std::size_t share = 3);
/// `; did you mean NAME?` with that word; "" without one.
KIT_API std::string KITdidYouMean(std::string_view word, const std::vector<std::string> &words);
/// Tells in a message what the word at its place may have been meant as: as hint, expected word and, of a known
/// place, a fix. False, and nothing told, if no word is near.
KIT_API bool KITaddNearest(KIT_MessageDetail &detail, std::string_view word,
                           const std::vector<std::string> &words);
