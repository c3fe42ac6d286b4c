#include <NOD/difference/NOD_PresetRecordsPrivate.h>

#include <NOD/NOD_Report.h>
#include <STO/STO_IndexFile.h>

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
// Sections of records, stored in patches.
constexpr const char *theWhole = "preset";
constexpr const char *theWholeFile = "presets";

const std::string *wholeOf(const NOD_Record &record, const char *name)
{
    const NOD_Record *const whole = record.find(Kind::SECTION, name);
    return whole ? std::get_if<std::string>(&whole->getValue()) : nullptr;
}

bool readPlain(const std::string &text, NOD_NodeRecords &nodes, NOD_Record &contents)
{
    const std::size_t end = text.find("\n" + std::string(theValues));
    if (text.compare(0, theStart.size(), theStart) != 0 || end == std::string::npos) {
        return false;
    }
    const std::size_t values = end + 3; // a line feed, a brace and another one
    NOD_NodeSections sections;
    sections.channels = text.substr(theStart.size(), values - theStart.size());
    sections.channels = sections.channels == theNoChannels ? "" : sections.channels;
    sections.values = text.substr(values + theValues.size() - 2);
    nodes.read(sections, contents);
    NOD_Report ignored;
    std::string again;
    return !nodes.isExact() || (NODwritePreset(contents, nodes, again, ignored) && again == text);
}

bool readPlainFile(const STO_IndexFile &file, NOD_NodeRecords &nodes, NOD_Record &top)
{
    for (std::int64_t i = 0; i < file.getNumSections(); ++i) {
        NOD_Record &preset = top.add(Kind::PRESET, file.getSectionName(i).toStdString());
        NODreadPreset(file.getSectionText(i), nodes, preset.add(Kind::CONTENTS));
    }
    return file.getRepeats().empty();
}

} // namespace

void NODreadPreset(const std::string &text, NOD_NodeRecords &nodes, NOD_Record &contents)
{
    NOD_Record plain(Kind::CONTENTS);
    if (!readPlain(text, nodes, plain)) {
        contents.add(Kind::SECTION, theWhole, text);
        return;
    }
    for (auto &part : plain.changeParts()) {
        contents.add(std::move(part));
    }
}

bool NODwritePreset(const NOD_Record &contents, NOD_NodeRecords &nodes, std::string &text,
                    NOD_Report &report)
{
    if (const std::string *const whole = wholeOf(contents, theWhole)) {
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
    if (nodes.isExact() &&
        (!plainFlag || !NODwritePresets(plain, nodes, again, ignored) || again != bytes)) {
        top.add(Kind::SECTION, theWholeFile, bytes);
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
    if (const std::string *const whole = wholeOf(top, theWholeFile)) {
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
