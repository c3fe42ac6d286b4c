/// \file NOD_ConflictNotes.h
/// Conflicts as comments in a parameter stream or script, each in front of the entry that it is about.
///
/// Threads:    any; a pure function.
/// Errors:     none: a conflict about nothing that the text has is told at its start.
#pragma once

#include <NOD/NOD_Merge.h>

#include <string>

/// `text` is a stream as the library writes it, of the merged records. Comments aren't kept when it is saved again.
NOD_API std::string NODaddConflictNotes(const std::string &text, const NOD_Record &top,
                                        const NOD_Merge::Conflicts &conflicts);

/// The script of merged records that have the text of one (NOD_Document.h), each conflict in front of the innermost
/// declaration that it is in.
NOD_API std::string NODnotedScript(const NOD_Record &top, const NOD_Merge::Conflicts &conflicts);
