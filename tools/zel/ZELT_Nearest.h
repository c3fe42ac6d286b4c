/// \file ZELT_Nearest.h
/// The word that somebody may have meant.
///
/// Threads:    any.
#pragma once

#include <string>
#include <vector>

/// `; did you mean NAME?` with the one of the words that is nearest (NODnearestWord); "" if none is near.
std::string ZELTdidYouMean(const std::string &word, const std::vector<std::string> &words);
