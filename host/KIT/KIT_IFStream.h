/// \file KIT_IFStream.h
/// A KIT_IStream over the bytes of a file, which is read completely on opening.
///
/// Errors:     a file that cannot be read gives a stream with isReadable() false and no bytes; the
///             caller reports it.

#pragma once

#include <KIT/KIT_IStream.h>

#include <string_view>

class KIT_API KIT_IFStream : public KIT_IStream
{
public:
    /// What the caller expects in the file.
    enum Contents
    {
        ANY_BYTES,
        WORDS ///< if its first MiB has a byte of zero, no more is read, and errno is EILSEQ
    };

    explicit KIT_IFStream(const char *path, Mode mode = TEXT, Contents contents = ANY_BYTES);

    /// Whether a file of at least a MiB that starts with these bytes can be what the caller expects.
    using Test = bool (*)(std::string_view start);
    /// Reads no more, and sets errno to EILSEQ, where it can't: a device has no end.
    KIT_IFStream(const char *path, Mode mode, Test test);
};
