/// \file KIT_Directory.h
/// Folders for files that are about to be written.
///
/// Threads:    any; two that create the same folder don't disturb each other.
/// Errors:     false, with errno of the system call that failed.

#pragma once

#include <BAS/BAS_API.h>

/// Creates the folder of the file, and all missing folders above it. True if the folder exists
/// afterwards.
KIT_API bool KITcreateDirectoryForFile(const char *path);
