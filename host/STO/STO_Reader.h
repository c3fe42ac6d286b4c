/// \file STO_Reader.h
/// The bytes at a path, as a stream: of a file, of a section of an index file, or of a node type's
/// definition.
///
/// Vocabulary: *section path* = the path of an index file, "?" and the section's name, in which
///             "?", "/" and "%" are written as "%" and two hexadecimal digits; a path is one if no
///             "/" comes after its last "?". The index file may itself be a section.
///             *definition* = as in KIT_OpUtils.h; its bytes come from the application.
/// Ownership:  owns the bytes and the stream; borrows the data of the definition source.
/// Threads:    reading: any. The definition source is set before threads start that read.
/// Errors:     a path that refers to nothing gives no stream; no message.
/// Cost:       the file is read completely; for a section path the complete index file.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>

#include <memory>
#include <string>

class KIT_API STO_Reader
{
public:
    /// The most nested index files in one path.
    static constexpr int theMaxNesting = 8;

    explicit STO_Reader(const char *path, KIT_IStream::Mode mode = KIT_IStream::TEXT);
    STO_Reader(const STO_Reader &) = delete;
    STO_Reader &operator=(const STO_Reader &) = delete;

    /// Null without a stream. Valid as long as the reader.
    KIT_IStream *getStream() { return myStream.get(); }

    /// The bytes at a path; false if there are none.
    static bool readBytes(const char *path, std::string &bytes);

    static KIT_String combineIndexFileSectionPath(const char *file, const char *section);
    /// False for a path that isn't a section path; `file` is then the path and `section` unset.
    static bool splitIndexFileSectionPath(const char *path, KIT_String &file, KIT_String &section);

    /// Returns the bytes of a definition's path, requested with or without its "?" part; false if
    /// there are none.
    using DefinitionSource = bool (*)(void *data, const char *path, std::string &bytes);
    /// One for the process, set before threads start; null removes it.
    static void setDefinitionSource(DefinitionSource source, void *data);

private:
    std::string myBytes;
    std::unique_ptr<KIT_IStream> myStream;
};
