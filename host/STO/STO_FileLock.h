/// \file STO_FileLock.h
/// Keeps other processes and threads that use the same lock from changing a file.
///
/// Vocabulary: *lock file* = the path with its links resolved and ".lock" appended. It is removed
///             with the lock; that of a process that was killed is free, and stays until the next
///             lock ends.
/// Threads:    one lock belongs to one thread; another lock on the same file, of any thread or
///             process, waits.
/// Errors:     isHeld() is false, with errno, when the lock file can't be created.

#pragma once

#include <BAS/BAS_API.h>

#include <string>

class KIT_API STO_FileLock
{
public:
    /// Waits for the lock on a file, which need not exist; its folder must.
    explicit STO_FileLock(const char *path);
    ~STO_FileLock();
    STO_FileLock(const STO_FileLock &) = delete;
    STO_FileLock &operator=(const STO_FileLock &) = delete;

    bool isHeld() const { return myFile >= 0; }

private:
    std::string myPath;
    int myFile = -1;
};
