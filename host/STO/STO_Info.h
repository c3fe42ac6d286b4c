/// \file STO_Info.h
/// Queries about folders.
///
/// Threads:    any. A result may be outdated as soon as it is returned.
/// Errors:     false for a path that can't be examined.

#pragma once

#include <BAS/BAS_API.h>

#include <string>

class KIT_API STO_Info
{
public:
    /// Whether the path is a folder in which this process may create files.
    static bool canWriteDirectory(const char *path);
    /// Whether a path is the folder or is below it once all links are resolved; the part of the
    /// path that doesn't exist is taken literally.
    static bool leadsBelow(const char *path, const char *folder);
    /// The canonical path of a file, with all links resolved. A missing file is named in its
    /// folder; a path whose folder is missing too is returned unchanged.
    static std::string followLinks(const char *path);
};
