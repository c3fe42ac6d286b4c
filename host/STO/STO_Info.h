/// \file STO_Info.h
/// Questions about folders.
///
/// Threads:    any. An answer is old as soon as it is given.
/// Errors:     what can't be looked at is answered with false.

#pragma once

#include <BAS/BAS_API.h>

#include <string>

class KIT_API STO_Info
{
public:
    /// Whether the path is a folder in which this process may make files.
    static bool canWriteDirectory(const char *path);
    /// Whether a path leads to the folder or below it once every link on the way is followed; what
    /// of the path isn't there yet counts as it is written.
    static bool leadsBelow(const char *path, const char *folder);
    /// The one path of a file, whichever links lead to it. What isn't there is named in its folder;
    /// a path whose folder isn't there either comes back as it is.
    static std::string followLinks(const char *path);
};
