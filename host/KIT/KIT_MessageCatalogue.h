/// \file KIT_MessageCatalogue.h
/// The sentence of every code that a person can meet, and what there is to say of it, from the rows of
/// KIT_Messages.def, KIT_MessageHelp.def and KIT_TextMessages.def.
///
/// Vocabulary: *sentence* = a line of text that may end in ": {}", the place of the error's own text;
///             *text message* = one that is told as a text alone, and has its code by that text. Its
///             sentence is the text, with {} for what differs.
/// Threads:    immutable.
/// Errors:     a code without a sentence is printed as its text alone.

#pragma once

#include <BAS/BAS_API.h>

#include <string>
#include <string_view>
#include <vector>

/// All texts are constants, "" where there is nothing to say.
struct KIT_MessageEntry
{
    const char *category;
    int code;
    const char *severity; ///< "message", "warning", "error" or "fatal"; "varies"
    const char *sentence;
    const char *cause;
    const char *remedy;
    const char *kind;    ///< what the example is: "SCRIPT" ... as in KIT_MessageHelp.def, or "NONE"
    const char *example; ///< input that gives the message
    bool isText;
};

/// The category of the text messages of scripts, which error managers hold under common code 14.
constexpr const char *theKITScriptCategory = "DS";

/// Of codes of an error manager: the sentence, or null for a code that is not in the catalogue.
KIT_API const char *KITgetMessageText(const char *category, int code);

/// The sentence with the text put in. An empty or null text removes the ": {}".
KIT_API std::string KITformatMessage(const char *category, int code, const char *text);

/// The text message that a text is, of one category or, with "", of any; null if it is none.
KIT_API const KIT_MessageEntry *KITfindTextMessage(std::string_view text,
                                                   std::string_view category = {});

/// Every code, by category in the order of the tables, then by number.
KIT_API const std::vector<KIT_MessageEntry> &KITgetMessageEntries();

/// Calls `visit` for every line of the catalogue that has a code of an error manager, in order.
KIT_API void KITforEachMessage(void (*visit)(const char *category, int code, const char *sentence,
                                             void *data),
                               void *data);
