/// \file STO_Reader.h
/// The bytes behind a path, as a stream: of a file, of a section of an index file, or of what a
/// node type's definition holds.
///
/// Vocabulary: *section path* = the path of an index file, "?" and the section's name, in which
///             "?", "/" and "%" are written as "%" and two hexadecimal digits; it is one when no
///             "/" stands behind the last "?". The index file may itself be a section.
///             *definition* = as in KIT_OpUtils.h; its bytes come from the application.
/// Ownership:  owns the bytes and the stream; borrows the data of the definition source.
/// Threads:    reading: any. The definition source is set before threads start that read.
/// Errors:     a path behind which there is nothing gives no stream; no message.
/// Cost:       the file is read whole; of a section path the whole index file.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>

#include <memory>
#include <string>

class KIT_API STO_Reader
{
public:
    /// Index files inside of each other that a path may go through.
    static constexpr int theMaxNesting = 8;

    explicit STO_Reader(const char *path, KIT_IStream::Mode mode = KIT_IStream::TEXT);
    STO_Reader(const STO_Reader &) = delete;
    STO_Reader &operator=(const STO_Reader &) = delete;

    /// Null without a stream. Lasts as long as the reader.
    KIT_IStream *getStream() { return myStream.get(); }

    /// The bytes behind a path; false if there are none to be had.
    static bool readBytes(const char *path, std::string &bytes);

    static KIT_String combineIndexFileSectionPath(const char *file, const char *section);
    /// False for what is no section path; `file` is then the path and `section` unset.
    static bool splitIndexFileSectionPath(const char *path, KIT_String &file, KIT_String &section);

    /// Answers the bytes of a definition's path without its "?" part or with it, as it is asked
    /// for; false if there are none.
    using DefinitionSource = bool (*)(void *data, const char *path, std::string &bytes);
    /// One for the process, set before threads start; null takes it away.
    static void setDefinitionSource(DefinitionSource source, void *data);

private:
    std::string myBytes;
    std::unique_ptr<KIT_IStream> myStream;
};
