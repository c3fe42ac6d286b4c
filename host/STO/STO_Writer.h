/// \file STO_Writer.h
/// A stream whose bytes become a file, or a section of an index file, all at once or not at all.
///
/// Vocabulary: *part file* = where the bytes are written first: the path with ".part" appended for
///             the holder of the file's lock, else with a number unique to this process. *section
///             path* = as in STO_Reader.h. *step* = one of "open", "write" (at most 64 KiB),
///             "sync", "rename" and "folder" (the folder is synced).
/// Ownership:  owns stream and part file; borrows the lock.
/// Threads:    one thread at a time.
/// Errors:     no stream, with errno, when the part file can't be created; a failed close() leaves
///             the file unchanged and the stream in its fail state, with errno. Writing during
///             which an allocation was refused makes close() fail too, as texts may be missing.
///
/// A process that ends at any moment leaves either the old or the new file, complete, and at worst
/// a part file. A path that is a link is resolved: its target is replaced, with its permissions
/// kept, and its owner and group where the user may give files to them.

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
        ANY_PATH,  ///< of a file or a section
        FILE_PATH, ///< of a file, even if it looks like a section path
    };

    /// `held` is the lock on the same path, if the caller has it.
    explicit STO_Writer(const char *path, const STO_FileLock *held = nullptr,
                        PathForm form = ANY_PATH);
    /// Without close() nothing is written.
    ~STO_Writer();
    STO_Writer(const STO_Writer &) = delete;
    STO_Writer &operator=(const STO_Writer &) = delete;

    /// Null when the file can't be written, or after a successful close().
    std::ostream *getStream() { return myStream.get(); }
    /// Moves the written bytes into place. False, with nothing changed, if that fails or the stream
    /// had failed before.
    bool close();

    /// Called at each step of every writer of the process; false makes the step fail with the errno
    /// set by the call. For tests of failures, set before threads start that write; null removes
    /// it.
    using StepHook = bool (*)(void *data, const char *step);
    static void setStepHook(StepHook hook, void *data);

private:
    bool openPart(bool isOwn);
    bool closeFile();
    bool closeSection();
    bool writeBytes();

    std::string myPath;
    std::string myPart;
    KIT_String mySection; // unset: the whole file
    int myFile = -1;
    uint64_t myFailedBefore; // refused allocations
    KIT_ByteBuffer myBytes;
    std::unique_ptr<KIT_OByteStream> myStream;
};
