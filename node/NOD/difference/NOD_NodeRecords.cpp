#include <NOD/difference/NOD_NodeRecordsPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Report.h>
#include <NOD/difference/NOD_ChannelRecordsPrivate.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <ZEL/ZEL_ParmStream.h>

#include <algorithm>
#include <unordered_set>
#include <utility>
#include <vector>

namespace
{

using Kind = NOD_RecordKind;

// Stored.
constexpr const char *theBinaryForm = "binary";
const std::string theEmptyStream = "{\nversion 0.8\n}\n";
constexpr const char *theScriptStart = "{\n    name    \"spares\"\n";
constexpr const char *theScriptEnd = "}\n";
constexpr std::string_view theBlockEnd = "    }\n";
constexpr std::string_view theNameWord = "name";

/// What a declaration of the library's own writing says its name is; "" if that can't be seen.
std::string nameOf(std::string_view block)
{
    for (const NOD_Line &line : NODreadLines(block)) {
        if (line.words[0] == theNameWord && line.words.size() == 2) {
            return line.words[1];
        }
    }
    return {};
}

/// The script's declarations one by one. False if it isn't as the library writes it.
bool readSpares(std::string_view script, NOD_Record &contents)
{
    std::vector<std::pair<std::string, std::string>> spares;
    std::unordered_set<std::string> names;
    const std::string_view start(theScriptStart);
    const std::string_view end(theScriptEnd);
    if (script.substr(0, start.size()) != start || script.size() < start.size() + end.size() ||
        script.substr(script.size() - end.size()) != end) {
        return false;
    }
    script.remove_prefix(start.size());
    script.remove_suffix(end.size());
    while (!script.empty()) {
        std::size_t at = script.find("\n" + std::string(theBlockEnd));
        if (at == std::string_view::npos) {
            return false;
        }
        at += 1 + theBlockEnd.size();
        const std::string name = nameOf(script.substr(0, at));
        if (name.empty() || !names.insert(name).second) {
            return false;
        }
        spares.emplace_back(name, script.substr(0, at));
        script.remove_prefix(at);
    }
    for (auto &[name, text] : spares) {
        contents.add(Kind::SPARE, name, std::move(text));
    }
    return true;
}

std::string spareText(const NOD_Record &contents)
{
    std::string text;
    for (const auto &part : contents.getParts()) {
        text += part->getKind() == Kind::SPARE ? NODtextOf(part->getValue()) : "";
    }
    return text.empty() ? text : theScriptStart + text + theScriptEnd;
}

void readAliases(const std::string &text, NOD_Record &contents)
{
    for (const NOD_Line &line : NODreadLines(text)) {
        if (line.words.size() == 2) {
            contents.add(Kind::ALIAS, line.words[0], line.words[1]);
        }
    }
}

std::string aliasText(const NOD_Record &contents)
{
    std::string text;
    for (const auto &part : contents.getParts()) {
        if (part->getKind() == Kind::ALIAS) {
            text += "\t" + part->getName() + " " + NODtextOf(part->getValue()) + "\n";
        }
    }
    return text.empty() ? text : "{\n" + text + "}\n";
}

void removeParts(NOD_Record &contents, const std::vector<Kind> &kinds)
{
    NOD_Record::Parts &parts = contents.changeParts();
    const auto isOne = [&](const auto &part) {
        return std::find(kinds.begin(), kinds.end(), part->getKind()) != kinds.end();
    };
    parts.erase(std::remove_if(parts.begin(), parts.end(), isOne), parts.end());
}

} // namespace

void NOD_NodeRecords::setInterface(const std::string &key,
                                   std::shared_ptr<const NOD_Interface> interface)
{
    myInterfaces[key] = std::move(interface);
    myStreams.erase(key);
}

/// Nodes without spare parameters share what is known of their interface.
NOD_StreamRecords &NOD_NodeRecords::streamOf(const std::string &type, const std::string &spares,
                                             std::unique_ptr<NOD_StreamRecords> &own)
{
    const auto known = myInterfaces.find(type);
    const std::shared_ptr<const NOD_Interface> interface =
        known == myInterfaces.end() ? nullptr : known->second;
    if (!spares.empty()) {
        own = std::make_unique<NOD_StreamRecords>(interface, spares);
        return *own;
    }
    std::unique_ptr<NOD_StreamRecords> &stream = myStreams[type];
    if (!stream) {
        stream = std::make_unique<NOD_StreamRecords>(interface);
    }
    return *stream;
}

void NOD_NodeRecords::readValues(const NOD_NodeSections &sections, NOD_Record &contents)
{
    const bool emptyFlag = sections.values.empty();
    if (emptyFlag && myReading != Reading::COMPLETED) {
        return;
    }
    const std::string &text = emptyFlag ? theEmptyStream : sections.values;
    NOD_Report ignored;
    std::unique_ptr<NOD_StreamRecords> own;
    NOD_StreamRecords &stream = streamOf(sections.type, sections.spares, own);
    const bool binaryFlag = text[0] == '\0';
    if (binaryFlag) {
        contents.add(Kind::FORM, {}, std::string(theBinaryForm));
    }
    NOD_Record values(Kind::CONTENTS);
    std::string again;
    const bool readFlag = stream.read(text, "", myReading, values, ignored);
    const bool exactFlag = myReading == Reading::EXACT;
    if (!readFlag ||
        (exactFlag && (!stream.write(values, binaryFlag, again, ignored) || again != text))) {
        contents.add(Kind::SECTION, "values", text);
        return;
    }
    for (auto &part : values.changeParts()) {
        contents.add(std::move(part));
    }
}

void NOD_NodeRecords::read(const NOD_NodeSections &sections, NOD_Record &contents)
{
    NOD_Report ignored;
    if (!sections.type.empty()) {
        contents.add(Kind::TYPE, {}, sections.type);
    }
    if (!sections.version.empty()) {
        contents.add(Kind::TYPE_VERSION, {}, sections.version);
    }
    for (const auto &[name, value] : sections.variables) {
        contents.add(Kind::VARIABLE, name, value);
    }
    if (!sections.spares.empty() && !readSpares(sections.spares, contents)) {
        contents.add(Kind::SECTION, "spares", sections.spares);
    }
    if (!sections.channels.empty() && (!NODreadChannels(sections.channels, "", contents, ignored) ||
                                       NODchannelText(contents) != sections.channels)) {
        removeParts(contents, {Kind::CHANNEL, Kind::LANGUAGE});
        contents.add(Kind::SECTION, "channels", sections.channels);
    }
    readValues(sections, contents);
    readAliases(sections.aliases, contents);
    if (aliasText(contents) != sections.aliases) {
        removeParts(contents, {Kind::ALIAS});
        contents.add(Kind::SECTION, "aliases", sections.aliases);
    }
    for (const auto &[kind, text] : sections.kept) {
        contents.add(Kind::SECTION, kind, text);
    }
}

bool NOD_NodeRecords::write(const NOD_Record &contents, NOD_NodeSections &sections,
                            NOD_Report &report)
{
    sections.type = NODtextOf(contents.valueOf(Kind::TYPE));
    sections.version = NODtextOf(contents.valueOf(Kind::TYPE_VERSION));
    sections.spares = spareText(contents);
    sections.channels = NODchannelText(contents);
    sections.aliases = aliasText(contents);
    bool valuesFlag = false;
    for (const auto &part : contents.getParts()) {
        if (part->getKind() == Kind::VARIABLE) {
            sections.variables[part->getName()] = NODtextOf(part->getValue());
        }
        valuesFlag = valuesFlag || part->getKind() == Kind::PARM;
        if (part->getKind() != Kind::SECTION) {
            continue;
        }
        if (std::string *const text = sections.findText(part->getName())) {
            *text = NODtextOf(part->getValue());
        } else {
            sections.kept.emplace_back(part->getName(), NODtextOf(part->getValue()));
        }
    }
    if (!valuesFlag) {
        return true;
    }
    std::unique_ptr<NOD_StreamRecords> own;
    const bool binaryFlag = contents.find(Kind::FORM) != nullptr;
    return streamOf(sections.type, sections.spares, own)
        .write(contents, binaryFlag, sections.values, report);
}

bool NOD_NodeRecords::writeStream(const NOD_Record &contents, bool binary, std::string &bytes,
                                  NOD_Report &report)
{
    std::unique_ptr<NOD_StreamRecords> own;
    return streamOf("", "", own).write(contents, binary, bytes, report);
}

bool NOD_NodeRecords::renewBlanks(std::string &values)
{
    std::unique_ptr<NOD_StreamRecords> own;
    NOD_StreamRecords &stream = streamOf("", "", own);
    NOD_Report ignored;
    NOD_Record read(Kind::CONTENTS);
    NOD_Record again(Kind::CONTENTS);
    std::string written;
    {
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        ZEL_ParmStream whole;
        KIT_IStream is(values.data(), values.size(), KIT_IStream::TEXT);
        if (!whole.read(is, nullptr) || !whole.isWhole() || whole.hasComments()) {
            return false;
        }
    }
    constexpr bool isBinary = false;
    if (!stream.read(values, "", Reading::EXACT, read, ignored) ||
        !stream.write(read, isBinary, written, ignored) ||
        !stream.read(written, "", Reading::EXACT, again, ignored) || !again.isSame(read)) {
        return false;
    }
    values = std::move(written);
    return true;
}
