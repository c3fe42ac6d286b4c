/// \file KIT_MessageCatalogue.h
/// The sentence of every code that a person can meet, from the rows of KIT_Messages.def.
///
/// Vocabulary: *sentence* = a line of text that may end in ": {}", the place of the error's own text.
/// Threads:    immutable.
/// Errors:     a code without a sentence is printed as its text alone.

#pragma once

#include <BAS/BAS_API.h>

#include <string>

/// The sentence of a code, or null for a code that is not in the catalogue.
KIT_API const char *KITgetMessageText(const char *category, int code);

/// The sentence with the text put in. An empty or null text removes the ": {}".
KIT_API std::string KITformatMessage(const char *category, int code, const char *text);

/// Calls `visit` for every line of the catalogue, in order.
KIT_API void KITforEachMessage(void (*visit)(const char *category, int code, const char *sentence,
                                             void *data),
                               void *data);
