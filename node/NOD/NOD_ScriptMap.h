/// \file NOD_ScriptMap.h
/// Which dialog script a file of values belongs to, where nobody says it: as when a version control system calls.
///
/// A file `.zelscripts` in the folder of the values, or in one above it, has lines of a pattern and a script:
///
///     *.parms          light.ds
///     keys/*.bin       ../scripts/key.ds
///
/// Pattern and script are relative to the folder of `.zelscripts`; `*` stands for slashes, too. The last line that
/// fits counts, and the nearest file that has one. `#` begins a comment, and quotes keep blanks.
///
/// Threads:    any; a pure function but for the files that it reads.
/// Errors:     "" after an error for a line that isn't two words, or a file that can't be read.
#pragma once

#include <NOD/NOD_API.h>

#include <string>

class NOD_Report;

/// "" if there is none.
NOD_API std::string NODfindScript(const std::string &file, NOD_Report &report);
