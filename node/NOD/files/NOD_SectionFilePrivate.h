/// \file NOD_SectionFilePrivate.h
/// The sections of a scene or node file, read and written in either form. Not installed.
///
/// Vocabulary: *text form* = that of STO_IndexFile. *binary form* = an 8-byte mark, the version as 4 bytes;
///             for each section the lengths of name and text, of 4 and 8 bytes, and both; 4 bytes of 0
///             and the number of sections as 8 bytes. Numbers are little endian.
/// Ownership:  a file that was read owns its bytes; sections are views of them.
/// Threads:    one thread at a time.
/// Errors:     to the report, with the line, or the byte in the binary form; the sections that are whole
///             are there.
/// Cost:       one pass; memory is a small multiple of the bytes.
#pragma once

#include <NOD/NOD_FileOptions.h>
#include <STO/STO_IndexFile.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class NOD_Report;
struct KIT_MessageDetail;

class NOD_SectionFile
{
public:
    struct Section
    {
        std::string_view name;
        std::string_view text;
        int line;              ///< 0 in the binary form
        std::size_t start;     ///< in bytes of the file
        std::size_t textStart; ///< in bytes of the file
        std::string header;    ///< the line that it begins with; "" in the binary form
    };

    /// Whether a file that starts with these bytes can be of either form: a test for KIT_IFStream.
    static bool canBeOne(std::string_view start);
    /// The name of the first section of a binary file that starts with these bytes; "" if it isn't there.
    static std::string_view firstName(std::string_view start);
    /// False if the bytes are of neither form, or of a newer one.
    bool read(std::string bytes, const std::string &file, NOD_Report &report);
    /// A detail of a section's text with the places of the file that it was read from; null for null.
    /// `inner` is the name that its reader took the text for; places in other files stay.
    static std::shared_ptr<const KIT_MessageDetail>
    placeDetail(const std::shared_ptr<const KIT_MessageDetail> &detail, const Section &section,
                const std::string &file, const std::string &inner = {});
    /// Of a line of a section's text, from 1; 0 is the line that the section begins with.
    static std::shared_ptr<const KIT_MessageDetail> makeDetail(const Section &section, int line,
                                                               const std::string &file);
    const std::vector<Section> &getSections() const { return mySections; }
    std::int64_t getLength() const { return std::int64_t(myLength); }

private:
    bool readText(const std::string &file, NOD_Report &report);
    bool readBinary(const std::string &file, NOD_Report &report);

    std::string myBytes;
    std::size_t myLength = 0;
    STO_IndexFile myIndex;
    std::vector<Section> mySections;
};

class NOD_SectionWriter
{
public:
    NOD_SectionWriter(std::ostream &os, NOD_SaveOptions::Form form);
    void add(const std::string &name, std::string_view text);
    void end();
    /// Of what was written so far, but for tabs, escapes and the like.
    std::int64_t getLength() const { return myLength; }

private:
    std::ostream &myStream;
    bool myBinaryFlag;
    std::uint64_t myCount = 0;
    std::int64_t myLength = 0;
};
