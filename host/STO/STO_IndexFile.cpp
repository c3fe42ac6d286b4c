#include <STO/STO_IndexFile.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_WorkBuffer.h>
#include <STO/STO_Reader.h>

#include <algorithm>
#include <ostream>
#include <sys/stat.h>
#include <utility>

namespace
{

constexpr std::string_view theHeader = "#STO_INDEX ";
constexpr double theVersion = 1.0;
constexpr std::string_view theVersionText = "1.0";
constexpr std::string_view theSection = "section ";
constexpr std::string_view theEnd = "end";
constexpr std::string_view theOpenEnd = "open";
constexpr std::string_view theLastLine = "#END";

bool startsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

/// The name on a section's line; false unless the line is exactly one quoted text, without a zero
/// byte, which would truncate it.
bool readName(std::string_view quoted, KIT_WorkBuffer &name)
{
    KIT_IStream is(quoted.data(), quoted.size(), KIT_IStream::TEXT);
    return startsWith(quoted, "\"") && is.getString(name) && is.eof() && name.length() > 0 &&
           name.view().find('\0') == std::string_view::npos;
}

} // namespace

// ---------------------------------------------------------------------- //
// Reading
// ---------------------------------------------------------------------- //

class STO_IndexFile::Parser
{
public:
    Parser(STO_IndexFile &index, std::string_view bytes, const char *name)
        : myIndex(index), mySource(bytes, name ? name : "", false), myBytes(bytes), myRest(bytes),
          myName(name ? name : "")
    {
        const std::string_view mark = KIT_IStream::theByteOrderMark;
        myRest.remove_prefix(startsWith(bytes, mark) ? mark.size() : 0);
    }

    void parse()
    {
        if (!checkHeader()) {
            return;
        }
        bool ended = false;
        bool brokenFlag = false; // what follows may be the rest of a section
        while (nextLine()) {
            if (startsWith(myLine, theSection)) {
                // A line that breaks off a section may be the first of the next one.
                bool whole = readSection();
                while (!whole && startsWith(myLine, theSection)) {
                    whole = readSection();
                }
                // What breaks off a section at the end of the file has been told.
                ended = !whole && (myLine == theLastLine || myLine.data() == nullptr);
                brokenFlag = !whole;
            } else if (brokenFlag && isOfSection()) {
                ended = false;
            } else if (!myLine.empty() && myLine[0] != '#') {
                fault(STO_INDEX_DAMAGED, "a line of no section");
            } else {
                ended = ended || myLine == theLastLine;
                takeComment();
            }
        }
        if (!ended) {
            fault(STO_INDEX_DAMAGED, "the end is missing");
        }
    }

private:
    bool nextLine()
    {
        if (myRest.empty()) {
            myLine = {};
            return false;
        }
        const size_t feed = myRest.find('\n');
        myLine = myRest.substr(0, feed);
        myRest.remove_prefix(feed == std::string_view::npos ? myRest.size() : feed + 1);
        ++myLineNumber;
        // Accept the line ends of other editors; a section's text keeps its own.
        if (!startsWith(myLine, "\t") && !myLine.empty() && myLine.back() == '\r') {
            myLine.remove_suffix(1);
        }
        return true;
    }

    void takeComment()
    {
        if (!myLine.empty() && myLine != theLastLine && !startsWith(myLine, theHeader)) {
            myIndex.myLastComments.append(myLine) += '\n';
        }
    }

    bool isOfSection() const
    {
        return startsWith(myLine, "\t") || myLine == theEnd || myLine == theOpenEnd;
    }

    bool checkHeader()
    {
        nextLine();
        if (!startsWith(myLine, theHeader)) {
            fault(STO_INDEX_HEADER, "");
            return false;
        }
        const std::string version(myLine.substr(theHeader.size()));
        if (BASparseFloat(version.c_str()) != theVersion) {
            fault(STO_INDEX_VERSION, version);
            return false;
        }
        return true;
    }

    /// At a section's line. False if the section is malformed; the current line is then the wrong
    /// one.
    bool readSection()
    {
        KIT_WorkBuffer name;
        const bool named = readName(myLine.substr(theSection.size()), name);
        if (!named) {
            fault(STO_INDEX_DAMAGED, "the section's name");
        }
        const int first = myLineNumber;
        mySource.setSubject(named ? name.view() : std::string_view());
        mySource.setOpening(myLine, "the section begins here");
        const auto start = static_cast<size_t>(myLine.data() - myBytes.data());
        const auto textStart = static_cast<size_t>(myRest.data() - myBytes.data());
        std::string text;
        while (nextLine() && startsWith(myLine, "\t")) {
            text += myLine.substr(1);
            text += '\n';
        }
        const bool open = myLine == theOpenEnd && !text.empty();
        if (!open && myLine != theEnd) {
            fault(STO_INDEX_DAMAGED, "section from line " + std::to_string(first) + " has no end");
            mySource.setSubject({});
            mySource.setOpening({}, nullptr);
            return false;
        }
        if (open) {
            text.pop_back();
        }
        if (named) {
            add(name, {KIT_String(), std::move(text), first, start, textStart});
        }
        mySource.setSubject({});
        mySource.setOpening({}, nullptr);
        return true;
    }

    void add(const KIT_WorkBuffer &name, Section section)
    {
        const std::string key(name.view());
        if (myIndex.myByName.emplace(key, myIndex.mySections.size()).second) {
            section.name = key;
            section.comments.swap(myIndex.myLastComments);
            myIndex.mySections.push_back(std::move(section));
        } else {
            myIndex.myRepeats.push_back({key, section.line});
        }
    }

    void fault(STO_ErrorCode code, const std::string &what)
    {
        myIndex.myDamagedFlag = true;
        std::string text = myName + ", line " + std::to_string(std::max(myLineNumber, 1));
        if (!what.empty()) {
            text += ": " + what;
        }
        mySource.setWord(myLine.data() ? myLine : myBytes.substr(myBytes.size()));
        KITaddWarning(theSTOCategory, code, text.c_str());
    }

    STO_IndexFile &myIndex;
    KIT_MessageSource mySource;
    std::string_view myBytes;
    std::string_view myRest;
    std::string_view myLine;
    std::string myName;
    int myLineNumber = 0;
};

bool STO_IndexFile::open(const char *path)
{
    std::string bytes;
    if (STO_Reader::readBytes(path, bytes)) {
        return read(bytes, path);
    }
    release();
    struct stat info;
    if (path && lstat(path, &info) == 0) {
        // The path exists; a file written in its place would destroy it.
        myFile = path;
        myDamagedFlag = true;
        KITaddWarning(theSTOCategory, STO_INDEX_UNREADABLE, path);
    }
    return false;
}

bool STO_IndexFile::read(std::string_view bytes, const char *name)
{
    release();
    myFile = name ? name : "";
    if (!bytes.empty()) {
        Parser(*this, bytes, name).parse();
    }
    return !myDamagedFlag;
}

void STO_IndexFile::release()
{
    mySections.clear();
    myByName.clear();
    myRepeats.clear();
    myLastComments.clear();
    myFile.clear();
    myDamagedFlag = false;
}

// ---------------------------------------------------------------------- //
// Sections
// ---------------------------------------------------------------------- //

int64_t STO_IndexFile::findSection(std::string_view name) const
{
    const auto entry = myByName.find(std::string(name));
    return entry == myByName.end() ? -1 : static_cast<int64_t>(entry->second);
}

bool STO_IndexFile::addSection(const char *name, std::string_view text)
{
    if (!name || !*name) {
        return false;
    }
    const auto [entry, added] = myByName.emplace(name, mySections.size());
    if (added) {
        mySections.push_back({KIT_String(std::string(name)), std::string(text)});
    } else {
        mySections[entry->second].text = text;
    }
    return true;
}

bool STO_IndexFile::removeSection(const char *name)
{
    const int64_t found = findSection(name ? name : "");
    if (found < 0) {
        return false;
    }
    const std::string comments = at(found).comments;
    const auto next = mySections.erase(mySections.begin() + found);
    (next == mySections.end() ? myLastComments : next->comments).insert(0, comments);
    index();
    return true;
}

void STO_IndexFile::index()
{
    myByName.clear();
    for (size_t i = 0; i < mySections.size(); ++i) {
        myByName.emplace(mySections[i].name.view(), i);
    }
}

// ---------------------------------------------------------------------- //
// Writing
// ---------------------------------------------------------------------- //

int64_t STO_IndexFile::guessStreamSize() const
{
    constexpr size_t frame = 64; // the lines around a section, and a few escapes
    size_t size = frame + myLastComments.size();
    for (const Section &section : mySections) {
        const auto lines = std::count(section.text.begin(), section.text.end(), '\n');
        size += frame + section.name.length() + section.text.size() + static_cast<size_t>(lines) +
                section.comments.size();
    }
    return static_cast<int64_t>(size);
}

void STO_IndexFile::writeStart(std::ostream &stream)
{
    stream << theHeader << theVersionText << '\n';
}

void STO_IndexFile::writeSection(std::ostream &stream, std::string_view name, std::string_view text)
{
    KIT_WorkBuffer quoted;
    KITappendQuoted(quoted, name.data(), name.size());
    stream << theSection << quoted.view() << '\n';
    const bool open = !text.empty() && text.back() != '\n';
    while (!text.empty()) {
        const size_t feed = text.find('\n');
        stream << '\t' << text.substr(0, feed) << '\n';
        text.remove_prefix(feed == std::string_view::npos ? text.size() : feed + 1);
    }
    stream << (open ? theOpenEnd : theEnd) << '\n';
}

void STO_IndexFile::writeEnd(std::ostream &stream)
{
    stream << theLastLine << '\n';
}

void STO_IndexFile::write(std::ostream &stream) const
{
    writeStart(stream);
    for (const Section &section : mySections) {
        stream << section.comments;
        writeSection(stream, section.name.view(), section.text);
    }
    stream << myLastComments;
    writeEnd(stream);
}

bool STO_IndexFile::canWrite() const
{
    if (myDamagedFlag) {
        KITaddError(theSTOCategory, STO_INDEX_KEPT, myFile.c_str());
    }
    return !myDamagedFlag;
}
