/// \file STO_Writer.h
/// A stream whose bytes become a file, or a section of an index file, all at once or not at all.
///
/// Vocabulary: *part file* = where the bytes go first: the path with ".part" behind it for the
///             holder of the file's lock, else with a number that is this process's own. *section
///             path* = as in STO_Reader.h. *step* = one of "open", "write" (at most 64 KiB),
///             "sync", "rename" and "folder" (the folder is synced).
/// Ownership:  owns stream and part file; borrows the lock.
/// Threads:    one thread at a time.
/// Errors:     no stream when the part file can't be made, with errno; a failed close() leaves the
///             file as it was and the stream in its fail state, with errno; so does one whose
///             writing met a refusal of memory, as texts may be missing then.
///
/// A process that ends at any moment leaves the old file or the new one, whole, and at worst a part
/// file. A path that is a link is followed: the file that it leads to is replaced, with its
/// permissions kept.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_String.h>

#include <memory>
#include <ostream>
#include <string>

class STO_FileLock;

class KIT_API STO_Writer
{
public:
    enum PathForm
    {
        ANY_PATH,  ///< a file's or a section's
        FILE_PATH, ///< a file's, whatever its name looks like
    };

    /// `held` is the lock on the same path, if the caller has it.
    explicit STO_Writer(const char *path, const STO_FileLock *held = nullptr,
                        PathForm form = ANY_PATH);
    /// Without close() nothing is written.
    ~STO_Writer();
    STO_Writer(const STO_Writer &) = delete;
    STO_Writer &operator=(const STO_Writer &) = delete;

    /// Null when the file can't be written, or after close() was a success.
    std::ostream *getStream() { return myStream.get(); }
    /// Puts what was written in place. False, and nothing changed, if that fails or the stream had
    /// failed before.
    bool close();

    /// Called at each step of every writer of the process; a false answer makes the step fail with
    /// the errno that the call leaves. For tests of failures, set before threads start that write;
    /// null takes it away.
    using StepHook = bool (*)(void *data, const char *step);
    static void setStepHook(StepHook hook, void *data);

private:
    bool openPart(bool isOwn);
    bool closeFile();
    bool closeSection();
    bool writeBytes();

    std::string myPath;
    std::string myPart;
    KIT_String mySection; // unset: the file as a whole
    int myFile = -1;
    uint64_t myFailedBefore; // allocations
    KIT_ByteBuffer myBytes;
    std::unique_ptr<KIT_OByteStream> myStream;
};
