/// \file STO_IndexFile.h
/// A file of named sections, each with arbitrary bytes.
///
/// Vocabulary: *section* = a name, not empty, and a text. *damaged* = the file is malformed: a
///             section that is truncated or contains a line that isn't its own, a line that belongs
///             to none, or a missing last line. A damaged file gives the sections that are whole,
///             and must not be written back.
/// Units:      sections from 0, in the order of the file; lines from 1.
/// Ownership:  owns names and texts; the file is closed as soon as it is read.
/// Threads:    one thread at a time. Code that changes a file that others may change too holds its
///             STO_FileLock from reading to writing.
/// Errors:     malformed files are reported as warnings of the category "STO" (STO_ErrorCode) with
///             name and line.
/// Cost:       reading is one pass; finding, adding and removing by name one hash look-up; removing
///             also moves the later sections.
///
/// The form: a first line `#STO_INDEX 1.0`; for each section a line `section` and the name in
/// double quotes (KIT_String.h, quoted form), the lines of the text after a tab, and a line
/// `end`, or `open` when the text's last line has no line feed; a last line `#END`. Between
/// sections, empty lines and lines that start with "#" are ignored, so that concatenated files read
/// as one. Of two sections with one name the first one counts. Lines that start with "#" and aren't
/// of the form itself are comments: write() writes them again, in front of the section that they
/// were in front of.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Codes of the category "STO"; KIT_Messages.def has the row of each, with its sentence.
enum STO_ErrorCode : int
{
#define STO_MESSAGE(enumerator, number, severity, sentence) enumerator = number,
#include <KIT/KIT_Messages.def>
};

/// The name of the category of STO_ErrorCode.
constexpr const char *theSTOCategory = "STO";

class KIT_API STO_IndexFile
{
public:
    STO_IndexFile() = default;
    /// As open().
    explicit STO_IndexFile(const char *path) { open(path); }

    // ---------------------------------------------------------------- //
    /// \name Reading
    // ---------------------------------------------------------------- //
    /// Reads a path as STO_Reader does. False if there is nothing to read, or if it is damaged. A
    /// path that exists but can't be read counts as damaged.
    bool open(const char *path);
    /// Reads bytes; `name` is for messages. Empty input is an index file without sections.
    bool read(std::string_view bytes, const char *name);
    /// Removes all content.
    void release();
    /// A section that doesn't count, as one before it has its name.
    struct Repeat
    {
        std::string name;
        int line;
    };
    /// Those of the file that was read.
    const std::vector<Repeat> &getRepeats() const { return myRepeats; }

    // ---------------------------------------------------------------- //
    /// \name Sections
    // ---------------------------------------------------------------- //
    int64_t getNumSections() const { return static_cast<int64_t>(mySections.size()); }
    /// The index must be valid.
    const KIT_String &getSectionName(int64_t index) const { return at(index).name; }
    const std::string &getSectionText(int64_t index) const { return at(index).text; }
    /// Where the section begins in the file that was read; 0 for one that was added.
    int getSectionLine(int64_t index) const { return at(index).line; }
    /// The byte where that line begins, and the one after it: of the text, with a tab in front of each
    /// of its lines.
    size_t getSectionStart(int64_t index) const { return at(index).start; }
    size_t getTextStart(int64_t index) const { return at(index).textStart; }
    /// -1 if there is none.
    int64_t findSection(std::string_view name) const;
    /// Replaces the text of a section of that name, or adds one at the end. False for an empty
    /// name.
    bool addSection(const char *name, std::string_view text);
    /// False if there is none. Comments in front of it stay.
    bool removeSection(const char *name);

    // ---------------------------------------------------------------- //
    /// \name Writing
    // ---------------------------------------------------------------- //
    /// An estimate of how many bytes write() produces, seldom too low.
    int64_t guessStreamSize() const;
    void write(std::ostream &stream) const;
    /// The same in pieces, for who has the sections elsewhere.
    static void writeStart(std::ostream &stream);
    static void writeSection(std::ostream &stream, std::string_view name, std::string_view text);
    static void writeEnd(std::ostream &stream);
    /// False, with a message, for a damaged file.
    bool canWrite() const;

private:
    struct Section
    {
        KIT_String name;
        std::string text;
        int line = 0;
        size_t start = 0;
        size_t textStart = 0;
        std::string comments = {}; ///< lines in front of it
    };
    class Parser;

    const Section &at(int64_t index) const { return mySections[static_cast<size_t>(index)]; }
    void index();

    std::vector<Section> mySections;
    std::unordered_map<std::string, size_t> myByName;
    std::vector<Repeat> myRepeats;
    std::string myLastComments; ///< lines behind all sections
    std::string myFile;
    bool myDamagedFlag = false;
};
