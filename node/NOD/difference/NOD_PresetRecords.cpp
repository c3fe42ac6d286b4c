#include <NOD/difference/NOD_PresetRecordsPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <NOD/NOD_FileLoss.h>
#include <NOD/NOD_Report.h>
#include <STO/STO_IndexFile.h>
#include <TRK/TRK_Collection.h>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>

namespace
{

using Kind = NOD_RecordKind;

// As ZEL_PresetInfo writes them.
constexpr std::string_view theStart = "#PSI_PRESET\nversion 2.0a\nchannels\n";
constexpr std::string_view theValues = "}\nvalues\n";
constexpr std::string_view theNoChannels = "channels 1.0\n{\n}\n";

const std::string *wholeOf(const NOD_Record &record, const char *name)
{
    const NOD_Record *const whole = record.find(Kind::SECTION, name);
    return whole ? std::get_if<std::string>(&whole->getValue()) : nullptr;
}

/// The two sections of a preset that the library has written, or of one with other blanks; false if there are others.
bool takeApart(const std::string &text, NOD_NodeRecords &nodes, NOD_NodeSections &sections)
{
    if (!NODfindComments(text, {}).empty()) {
        return false; // which would be lost
    }
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    TRK_Collection channels;
    std::ostringstream os;
    float version = 0.0F;
    is.skipByteOrderMark();
    if (!is.checkToken("#PSI_PRESET") || !is.checkToken("version") || !is.aread(version) ||
        version != 2.0F || !is.checkToken("channels") || !channels.load(is) ||
        !is.checkToken("values")) {
        return false;
    }
    channels.save(os);
    sections.channels = os.str() == theNoChannels ? "" : os.str();
    is.skipWhitespace();
    sections.values = text.substr(std::size_t(is.tellg()));
    return nodes.renewBlanks(sections.values);
}

/// As the library writes it.
bool takeWritten(const std::string &text, NOD_NodeSections &sections)
{
    const std::size_t end = text.find("\n" + std::string(theValues));
    if (text.compare(0, theStart.size(), theStart) != 0 || end == std::string::npos) {
        return false;
    }
    const std::size_t values = end + 3; // a line feed, a brace and another one
    sections.channels = text.substr(theStart.size(), values - theStart.size());
    sections.channels = sections.channels == theNoChannels ? "" : sections.channels;
    sections.values = text.substr(values + theValues.size() - 2);
    return true;
}

bool readPlain(const std::string &text, NOD_NodeRecords &nodes, NOD_Record &contents)
{
    NOD_NodeSections sections;
    NOD_Report ignored;
    std::string again;
    if (takeWritten(text, sections)) {
        nodes.read(sections, contents);
        if (!nodes.isExact() || (NODwritePreset(contents, nodes, again, ignored) && again == text &&
                                 !contents.find(Kind::SECTION, "values"))) {
            return true;
        }
        contents.changeParts().clear();
    }
    sections = NOD_NodeSections();
    if (!takeApart(text, nodes, sections)) {
        return false;
    }
    nodes.read(sections, contents);
    return true;
}

bool readPlainFile(const STO_IndexFile &file, NOD_NodeRecords &nodes, NOD_Record &top)
{
    for (std::int64_t i = 0; i < file.getNumSections(); ++i) {
        NOD_Record &preset = top.add(Kind::PRESET, file.getSectionName(i).toStdString());
        NODreadPreset(file.getSectionText(i), nodes, preset.add(Kind::CONTENTS));
    }
    return file.getRepeats().empty();
}

/// Where only blanks are others; comments would be lost.
bool isReadAgain(const std::string &former, const std::string &bytes, NOD_NodeRecords &nodes,
                 const NOD_Record &top)
{
    if (std::count(former.begin(), former.end(), '#') !=
        std::count(bytes.begin(), bytes.end(), '#')) {
        return false;
    }
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    STO_IndexFile file;
    NOD_Record again(Kind::DOCUMENT);
    return file.read(bytes, "") && readPlainFile(file, nodes, again) && again.isSame(top);
}

} // namespace

void NODreadPreset(const std::string &text, NOD_NodeRecords &nodes, NOD_Record &contents)
{
    NOD_Record plain(Kind::CONTENTS);
    if (!readPlain(text, nodes, plain)) {
        contents.add(Kind::SECTION, theWholePreset, text);
        return;
    }
    for (auto &part : plain.changeParts()) {
        contents.add(std::move(part));
    }
}

bool NODwritePreset(const NOD_Record &contents, NOD_NodeRecords &nodes, std::string &text,
                    NOD_Report &report)
{
    if (const std::string *const whole = wholeOf(contents, theWholePreset)) {
        text = *whole;
        return true;
    }
    NOD_NodeSections sections;
    if (!nodes.write(contents, sections, report)) {
        return false;
    }
    text = std::string(theStart) +
           (sections.channels.empty() ? std::string(theNoChannels) : sections.channels) +
           std::string(theValues.substr(2)) + sections.values;
    return true;
}

bool NODreadPresets(const std::string &bytes, const std::string &name, NOD_NodeRecords &nodes,
                    NOD_Record &top, NOD_Report &report)
{
    STO_IndexFile file;
    {
        const NOD_ReportScope scope(report, name);
        if (!file.read(bytes, name.c_str())) {
            report.error(name, "is damaged: what is whole in it would be all that is left");
            return false;
        }
    }
    NOD_Record plain(Kind::DOCUMENT);
    NOD_Report ignored;
    std::string again;
    const bool plainFlag = readPlainFile(file, nodes, plain);
    if (nodes.isExact() && (!plainFlag || !NODwritePresets(plain, nodes, again, ignored) ||
                            (again != bytes && !isReadAgain(bytes, again, nodes, plain)))) {
        top.add(Kind::SECTION, theWholePresets, bytes);
        return true;
    }
    for (auto &part : plain.changeParts()) {
        top.add(std::move(part));
    }
    return true;
}

bool NODwritePresets(const NOD_Record &top, NOD_NodeRecords &nodes, std::string &bytes,
                     NOD_Report &report)
{
    if (const std::string *const whole = wholeOf(top, theWholePresets)) {
        bytes = *whole;
        return true;
    }
    std::ostringstream os;
    bool goodFlag = true;
    STO_IndexFile::writeStart(os);
    for (const auto &part : top.getParts()) {
        const NOD_Record *const contents =
            part->getKind() == Kind::PRESET ? part->find(Kind::CONTENTS) : nullptr;
        if (contents) {
            std::string text;
            goodFlag = NODwritePreset(*contents, nodes, text, report) && goodFlag;
            STO_IndexFile::writeSection(os, part->getName(), text);
        }
    }
    STO_IndexFile::writeEnd(os);
    bytes = os.str();
    return goodFlag;
}
