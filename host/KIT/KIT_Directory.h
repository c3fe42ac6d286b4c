/// \file KIT_Directory.h
/// Folders for files that are about to be written.
///
/// Threads:    any; two that make the same folder don't disturb each other.
/// Errors:     false, with errno of the system call that failed.

#pragma once

#include <BAS/BAS_API.h>

/// Makes the folder that the file is in, and all folders above it that aren't there. True if the
/// folder is there in the end.
KIT_API bool KITcreateDirectoryForFile(const char *path);
