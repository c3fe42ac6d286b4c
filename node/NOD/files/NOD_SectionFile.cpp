#include <NOD/files/NOD_SectionFilePrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_Write.h>
#include <NOD/NOD_Report.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <unordered_set>
#include <utility>

namespace
{

/// No text begins with it, and a transfer as text damages it.
constexpr std::string_view theMark("\x89NOD\r\n\x1a\n", 8);
constexpr std::uint32_t theVersion = 1;
/// What a section takes at least beside its name and text.
constexpr std::size_t theFrameLength = 12;

void tell(NOD_Report &report, const std::string &file, int line, const std::string &subject,
          const std::string &text, std::int64_t offset = -1)
{
    std::shared_ptr<KIT_MessageDetail> detail;
    if (offset >= 0 || line > 0) {
        detail = std::make_shared<KIT_MessageDetail>();
        detail->place.file = file;
        detail->place.line = detail->place.endLine = line;
        detail->place.offset = detail->place.endOffset = offset;
        detail->subject = subject;
    }
    report.add({KIT_ERROR_ABORT, file, line, subject, text, {}, 0, detail});
}

/// What the index file says has file and line in its text.
void takePlaced(KIT_ErrorManager &manager, const std::string &file, NOD_Report &report)
{
    for (std::int64_t i = 0; i < manager.entries(); ++i) {
        const KIT_ErrorManager::Error &entry = manager.getError(i);
        std::string text = entry.text.c_str();
        int line = 0;
        const std::string start = file + ", line ";
        if (text.compare(0, start.size(), start) == 0) {
            char *end = nullptr;
            line = int(std::strtol(text.c_str() + start.size(), &end, 10));
            text.erase(0, std::size_t(end - text.c_str()));
            text.erase(0, text.find_first_not_of(": "));
        }
        report.add({KIT_ERROR_ABORT,
                    file,
                    line,
                    {},
                    KITformatMessage(entry.category.c_str(), entry.code, text.c_str()),
                    entry.category,
                    entry.code,
                    entry.detail});
    }
    manager.clearAndDestroyErrors();
}

} // namespace

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

bool NOD_SectionFile::canBeOne(std::string_view start)
{
    return start.find('\0') == std::string_view::npos || start.substr(0, theMark.size()) == theMark;
}

std::string_view NOD_SectionFile::firstName(std::string_view start)
{
    KIT_IStream is(start.data(), start.size(), KIT_IStream::BINARY);
    is.seekg(std::int64_t(theMark.size()));
    std::uint32_t version = 0;
    std::uint32_t nameLength = 0;
    std::uint64_t length = 0;
    const bool header = is.bread(version) && is.bread(nameLength) && is.bread(length);
    return header ? is.rest().substr(0, nameLength) : std::string_view();
}

bool NOD_SectionFile::read(std::string bytes, const std::string &file, NOD_Report &report)
{
    mySections.clear();
    myBytes = std::move(bytes);
    myLength = myBytes.size();
    const std::string_view start = std::string_view(myBytes).substr(0, theMark.size());
    return start == theMark ? readBinary(file, report) : readText(file, report);
}

bool NOD_SectionFile::readText(const std::string &file, NOD_Report &report)
{
    KIT_ErrorManager::Scope errors(BASgetSTID());
    errors.setFlags(errors.getFlags() | KIT_ErrorManager::theDetailsFlag);
    if (myBytes.empty()) {
        tell(report, file, 0, {}, "is empty");
        return false;
    }
    const bool whole = myIndex.read(myBytes, file.c_str());
    takePlaced(errors.getManager(), file, report);
    for (std::int64_t i = 0; i < myIndex.getNumSections(); ++i) {
        const std::size_t start = myIndex.getSectionStart(i);
        mySections.push_back({myIndex.getSectionName(i).view(), myIndex.getSectionText(i),
                              myIndex.getSectionLine(i), start, myIndex.getTextStart(i),
                              myBytes.substr(start, myBytes.find('\n', start) - start)});
    }
    std::string().swap(myBytes);
    for (const STO_IndexFile::Repeat &repeat : myIndex.getRepeats()) {
        tell(report, file, repeat.line, repeat.name, "is there twice: the first one counts");
    }
    return whole || !mySections.empty();
}

bool NOD_SectionFile::readBinary(const std::string &file, NOD_Report &report)
{
    KIT_IStream is(myBytes.data(), myBytes.size(), KIT_IStream::BINARY);
    is.seekg(std::int64_t(theMark.size()));
    std::uint32_t version = 0;
    if (!is.bread(version) || version != theVersion) {
        tell(report, file, 0, {}, "version " + std::to_string(version) + " can't be read here",
             std::int64_t(theMark.size()));
        return false;
    }
    std::unordered_set<std::string_view> names;
    for (;;) {
        const std::int64_t begin = is.tellg();
        std::uint32_t nameLength = 0;
        std::uint64_t length = 0;
        std::string_view name;
        const bool header = is.bread(nameLength) && is.bread(length);
        if (header && nameLength == 0 && length == mySections.size() && is.eof()) {
            return true;
        }
        if (header && nameLength > 0 && nameLength <= std::uint64_t(is.remaining())) {
            name = is.rest().substr(0, nameLength);
            is.seekg(is.tellg() + nameLength);
        }
        if (name.empty() || length > std::uint64_t(is.remaining())) {
            tell(report, file, 0, std::string(name),
                 "is damaged at byte " + std::to_string(begin) + ": the rest isn't read", begin);
            return true;
        }
        if (names.insert(name).second) {
            mySections.push_back({name,
                                  is.rest().substr(0, std::size_t(length)),
                                  0,
                                  std::size_t(begin),
                                  std::size_t(is.tellg()),
                                  {}});
        } else {
            tell(report, file, 0, std::string(name), "is there twice: the first one counts", begin);
        }
        is.seekg(is.tellg() + std::int64_t(length));
    }
}

// ---------------------------------------------------------------------- //
// Places
// ---------------------------------------------------------------------- //

namespace
{

constexpr const char *theTab = "\t";      // in front of each line of a text
constexpr const char *theEndLine = "end"; // after a text that ends in a line feed

/// One end of a place in a section's text, as it is in the file.
struct End
{
    End(std::int64_t offset, const NOD_SectionFile::Section &section)
    {
        const std::string_view text = section.text;
        const auto lines = std::count(text.begin(), text.begin() + offset, '\n');
        behindFlag = std::size_t(offset) == text.size() && (text.empty() || text.back() == '\n');
        line = section.line + 1 + int(lines);
        at = std::int64_t(section.textStart) + offset + lines + !behindFlag;
    }

    int line;
    std::int64_t at;
    bool behindFlag; ///< in the line after the text, which has no tab
};

/// From a place in the section's text to one of the file.
void moveToFile(KIT_MessagePlace &place, const NOD_SectionFile::Section &section)
{
    if (place.offset < 0 || place.offset > place.endOffset ||
        place.endOffset > std::int64_t(section.text.size())) {
        return;
    }
    if (section.line <= 0) { // a binary has no lines
        const auto start = std::int64_t(section.textStart);
        const KIT_MessagePlace inner = std::exchange(place, KIT_MessagePlace());
        place.offset = inner.offset + start;
        place.endOffset = inner.endOffset + start;
        return;
    }
    const End begin(place.offset, section);
    const End end(place.endOffset, section);
    place.line = begin.line;
    place.offset = begin.at;
    place.endLine = end.line;
    place.endOffset = end.at;
    place.column += place.column > 0 && !begin.behindFlag;
    place.character += place.character > 0 && !begin.behindFlag;
    place.endColumn += place.endColumn > 0 && !end.behindFlag;
    place.endCharacter += place.endCharacter > 0 && !end.behindFlag;
    if (place.column > 0) {
        place.source = begin.behindFlag ? theEndLine : theTab + place.source;
    }
}

} // namespace

std::shared_ptr<const KIT_MessageDetail>
NOD_SectionFile::placeDetail(const std::shared_ptr<const KIT_MessageDetail> &detail,
                             const Section &section, const std::string &file,
                             const std::string &inner)
{
    if (!detail) {
        return nullptr;
    }
    auto placed = std::make_shared<KIT_MessageDetail>(*detail);
    placed->changePlaces([&](KIT_MessagePlace &place) {
        if (place.file == inner) {
            moveToFile(place, section);
            place.file = file;
        }
    });
    if (placed->subject.empty()) {
        placed->subject = section.name;
    }
    return placed;
}

std::shared_ptr<const KIT_MessageDetail>
NOD_SectionFile::makeDetail(const Section &section, int line, const std::string &file)
{
    KIT_MessageDetail detail;
    if (line > 0) {
        std::size_t begin = 0;
        for (int i = 1; i < line && begin < section.text.size(); ++i) {
            begin = std::min(section.text.find('\n', begin), section.text.size() - 1) + 1;
        }
        const std::size_t end = std::min(section.text.find('\n', begin), section.text.size());
        detail.place.setFromText(section.text, begin, end, line);
        return placeDetail(std::make_shared<KIT_MessageDetail>(std::move(detail)), section, file);
    }
    if (section.line > 0) {
        detail.place.setFromText(section.header, 0, section.header.size(), section.line);
    }
    detail.place.file = file;
    detail.place.offset += std::int64_t(section.start) + (detail.place.offset < 0);
    detail.place.endOffset += std::int64_t(section.start) + (detail.place.endOffset < 0);
    detail.subject = section.name;
    return std::make_shared<KIT_MessageDetail>(std::move(detail));
}

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

NOD_SectionWriter::NOD_SectionWriter(std::ostream &os, NOD_SaveOptions::Form form)
    : myStream(os), myBinaryFlag(form == NOD_SaveOptions::Form::BINARY)
{
    if (myBinaryFlag) {
        os << theMark;
        KITwrite(os, theVersion);
    } else {
        STO_IndexFile::writeStart(os);
    }
}

void NOD_SectionWriter::add(const std::string &name, std::string_view text)
{
    ++myCount;
    myLength += std::int64_t(theFrameLength + name.size() + text.size());
    if (!myBinaryFlag) {
        STO_IndexFile::writeSection(myStream, name, text);
        return;
    }
    KITwrite(myStream, std::uint32_t(name.size()));
    KITwrite(myStream, std::uint64_t(text.size()));
    myStream << name << text;
}

void NOD_SectionWriter::end()
{
    if (!myBinaryFlag) {
        STO_IndexFile::writeEnd(myStream);
        return;
    }
    KITwrite(myStream, std::uint32_t(0));
    KITwrite(myStream, myCount);
}
