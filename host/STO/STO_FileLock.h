/// \file STO_FileLock.h
/// Keeps other processes and threads that ask for the same lock from changing a file.
///
/// Vocabulary: *lock file* = the path that links lead to with ".lock" behind it. It goes away with
///             the lock; that of a process that was killed is free, and stays until the next lock
///             ends.
/// Threads:    one lock belongs to one thread; another lock on the same file, of whichever thread
///             or process, waits.
/// Errors:     isHeld() is false when the lock file can't be made, with errno.

#pragma once

#include <BAS/BAS_API.h>

#include <string>

class KIT_API STO_FileLock
{
public:
    /// Waits for the lock on a file, which need not be there; its folder must.
    explicit STO_FileLock(const char *path);
    ~STO_FileLock();
    STO_FileLock(const STO_FileLock &) = delete;
    STO_FileLock &operator=(const STO_FileLock &) = delete;

    bool isHeld() const { return myFile >= 0; }

private:
    std::string myPath;
    int myFile = -1;
};
