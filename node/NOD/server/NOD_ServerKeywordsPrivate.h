/// \file NOD_ServerKeywordsPrivate.h
/// What keywords of scripts do, from the table beside theirs.
///
/// Threads:    immutable.
#pragma once

#include <string>
#include <string_view>

/// A sentence on a keyword of a parameter's block, or of a page; null without one.
const char *NODfindKeywordDoc(std::string_view word, bool inParm);
/// What a word of a type means; "" for no such word.
std::string NODtypeDoc(const std::string &word);
/// Whether only imports have it.
bool NODisImportKeyword(std::string_view word);
