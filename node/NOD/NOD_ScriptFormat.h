/// \file NOD_ScriptFormat.h
/// Lays dialog scripts out anew, if they can be read (DS_Formatter).
///
/// Threads:    one thread at a time; scripts are read by one.
/// Errors:     false, with messages, for a script that can't be read; also for one whose keywords can't be
///             sorted without another meaning, as those that macros rename. Warnings aren't told: nothing of
///             the script changes by which they could be lost.
/// Cost:       of reading the script, and once more where keywords are sorted.
#pragma once

#include <DS/DS_Formatter.h>
#include <NOD/NOD_API.h>
#include <NOD/NOD_Interface.h>

#include <string>
#include <string_view>

class NOD_Report;

/// Replaces `result`; it stays as it was after an error. `name` is the file that the text is from: messages
/// name it, and what it includes is looked for beside it.
NOD_API bool NODformatScript(std::string_view text, const std::string &name,
                             const DS_FormatOptions &options, std::string &result,
                             NOD_Report &report,
                             NOD_Interface::Includes includes = NOD_Interface::Includes::ANY);
