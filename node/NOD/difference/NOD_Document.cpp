#include <NOD/NOD_Document.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <NOD/NOD_ConflictNotes.h>
#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/difference/NOD_ChannelRecordsPrivate.h>
#include <NOD/difference/NOD_NodeRecordsPrivate.h>
#include <NOD/difference/NOD_PresetRecordsPrivate.h>
#include <NOD/difference/NOD_SceneRecordsPrivate.h>
#include <NOD/difference/NOD_ScriptRecordsPrivate.h>
#include <NOD/difference/NOD_StatementRecordsPrivate.h>
#include <NOD/files/NOD_FilesPrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>
#include <NOD/files/NOD_TreeReaderPrivate.h>
#include <NOD/tree/NOD_LoadingPrivate.h>
#include <STO/STO_IndexFile.h>
#include <TRK/TRK_Collection.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <utility>

namespace
{

using Kind = NOD_RecordKind;
using Reading = NOD_StreamRecords::Reading;

/// The key of the one node of a document without others.
constexpr const char *theOnlyType = "";

void tell(const std::string &name, const std::string &text, NOD_Report &report)
{
    report.add({KIT_ERROR_ABORT, name, 0, {}, text, {}, 0});
}

/// The interfaces of a file by the keys that its nodes have. What can't be had is a warning: its nodes' values are
/// compared as the words they are.
void readInterfaces(const NOD_SectionFile &file, const std::string &name,
                    const NOD_DocumentOptions &options, NOD_NodeRecords &nodes, NOD_Report &report)
{
    NOD_Scene scene;
    for (const auto &[type, interface] : options.interfaces) {
        scene.addInterface(interface);
        nodes.setInterface(type, interface);
    }
    NOD_Report reading;
    NOD_TreeReader reader(scene, file, name, options.load, reading);
    reader.readInterfaces();
    for (const auto &[key, interface] : reader.getInterfaces()) {
        if (interface) {
            nodes.setInterface(key, interface);
        }
    }
    std::set<std::string> ofApplication;
    for (const NOD_SectionFile::Section &section : file.getSections()) {
        if (section.text == std::string(theInterfaceOfApplication) + "\n") {
            ofApplication.emplace(section.name);
        }
    }
    for (NOD_Message message : reading.getMessages()) {
        if (ofApplication.count(message.subject) != 0) {
            continue; // nobody expects it here
        }
        message.severity = std::min(message.severity, KIT_ERROR_WARNING);
        report.add(std::move(message));
    }
}

/// What the script itself may include where the file may name scripts.
NOD_Interface::Includes includesOf(NOD_LoadOptions::Scripts scripts)
{
    switch (scripts) {
    case NOD_LoadOptions::Scripts::ANYWHERE: return NOD_Interface::Includes::ANY;
    case NOD_LoadOptions::Scripts::IN_FOLDER: return NOD_Interface::Includes::CONFINED;
    case NOD_LoadOptions::Scripts::NONE: break;
    }
    return NOD_Interface::Includes::NONE;
}

/// What is wrong in it is told by who reads it.
bool hasSeveralPresets(const std::string &bytes)
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    STO_IndexFile file;
    return file.read(bytes, "") && file.getNumSections() > 1;
}

} // namespace

NOD_Document::NOD_Document() : myTop(std::make_unique<NOD_Record>(Kind::DOCUMENT)) {}
NOD_Document::~NOD_Document() = default;
NOD_Document::NOD_Document(NOD_Document &&other) noexcept = default;
NOD_Document &NOD_Document::operator=(NOD_Document &&other) noexcept = default;

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

bool NOD_Document::read(const std::string &path, const NOD_DocumentOptions &options,
                        NOD_Report &report)
{
    const std::size_t mark = NOD_ValueFile::findSection(path);
    const std::string file = path.substr(0, mark);
    std::string bytes;
    if (!NODreadFile(file, bytes, report, [](std::string_view) { return true; })) {
        return false;
    }
    NOD_DocumentOptions placed = options;
    placed.load = NODplaced(options.load, file);
    return read(std::move(bytes), path, placed, report);
}

bool NOD_Document::read(std::string bytes, const std::string &name,
                        const NOD_DocumentOptions &options, NOD_Report &report)
{
    const std::size_t mark = NOD_ValueFile::findSection(name);
    const std::string file = name.substr(0, mark);
    const std::string section = mark == std::string::npos ? "" : name.substr(mark + 1);
    myTop = std::make_unique<NOD_Record>(Kind::DOCUMENT);
    myLosses.clear();
    myOptions = options;
    myKind = NOD_ValueFile::kindOf(std::string_view(bytes));
    myBinaryFlag = NOD_ValueFile::isBinary(bytes);
    myNodes =
        std::make_shared<NOD_NodeRecords>(options.isExact ? Reading::EXACT : Reading::COMPLETED);
    myNodes->setInterface(theOnlyType, options.interface);
    if (options.asNode) {
        myTakenApartFlag = false;
        return readAsNode(bytes, name, options, report);
    }
    myTakenApartFlag = options.isExact && section.empty();
    switch (myKind) {
    case NOD_FileKind::STREAM: return readStream(bytes, file, options, report);
    case NOD_FileKind::CHANNELS:
        myLosses = NODfindComments(bytes, file);
        return NODreadChannels(bytes, file, *myTop, report);
    case NOD_FileKind::PRESET: return readPresets(bytes, name, section, options, report);
    case NOD_FileKind::PRESETS: {
        const bool readFlag = readPresets(bytes, name, section, options, report);
        if (!myTop->find(Kind::SECTION, theWholePresets)) {
            myLosses =
                NODfindFrameComments(bytes, file); // those in a section are parts of its text
        }
        return readFlag;
    }
    case NOD_FileKind::NODE:
    case NOD_FileKind::SCENE:
        myLosses = NODfindFrameComments(bytes, file);
        return readScene(std::move(bytes), file, section, options, report);
    case NOD_FileKind::SCRIPT: return readScript(bytes, file, report);
    default:
        if (!NOD_ValueFile::isOther(bytes, file, NOD_FileKind::NONE, report,
                                    "a file of parameters")) {
            tell(file, "is no file of parameters", report);
        }
        return false;
    }
}

bool NOD_Document::readStream(const std::string &bytes, const std::string &name,
                              const NOD_DocumentOptions &options, NOD_Report &report)
{
    NOD_StreamRecords stream(options.interface);
    const bool readFlag = stream.read(
        bytes, name, options.isExact ? Reading::EXACT : Reading::COMPLETED, *myTop, report);
    myLosses = stream.getLosses();
    return readFlag;
}

/// A preset is compared as what it makes of a node. All of a file are taken apart, as is one that is to be written again.
bool NOD_Document::readPresets(const std::string &bytes, const std::string &name,
                               const std::string &section, const NOD_DocumentOptions &options,
                               NOD_Report &report)
{
    const bool allFlag = myKind == NOD_FileKind::PRESETS && section.empty() &&
                         (options.isExact || hasSeveralPresets(bytes));
    if (!allFlag && (!options.isExact || !section.empty())) {
        return readAsNode(bytes, name, options, report);
    }
    if (allFlag) {
        return NODreadPresets(bytes, name, *myNodes, *myTop, report);
    }
    NODreadPreset(bytes, *myNodes, *myTop);
    return true;
}

/// What it makes of a node.
bool NOD_Document::readAsNode(const std::string &bytes, const std::string &name,
                              const NOD_DocumentOptions &options, NOD_Report &report)
{
    NOD_ValueFile file;
    NOD_Scene scene;
    if (!file.read(bytes, name, report)) {
        return false;
    }
    NOD_Report making;
    NOD_Node *node = nullptr;
    {
        const NOD_Loading loading;
        node = options.interface ? scene.add("/node", options.interface, making)
                                 : scene.add("/node", nullptr, making);
    }
    if (!node || !file.apply(*node, report)) {
        return false;
    }
    NODgrowBlocks(*node, 0.0);
    const NOD_FileKind kind = myKind;
    take(*node, options.isExact, report);
    myKind = kind;
    return true;
}

bool NOD_Document::readScene(std::string bytes, const std::string &name, const std::string &section,
                             const NOD_DocumentOptions &options, NOD_Report &report)
{
    const auto file = std::make_shared<NOD_SectionFile>();
    if (!file->read(std::move(bytes), name, report)) {
        return false;
    }
    readInterfaces(*file, name, options, *myNodes, report);
    if (myKind == NOD_FileKind::NODE) {
        myTop->setValue(std::string(thePartSection));
    }
    return NODreadScene(file, name, myNodes, *myTop, report) &&
           (section.empty() || choose(section, name, report));
}

/// What is left is the node's contents, and the nodes below it.
bool NOD_Document::choose(const std::string &section, const std::string &name, NOD_Report &report)
{
    NOD_RecordPath path;
    std::istringstream names(section);
    for (std::string one; std::getline(names, one, '/');) {
        if (!one.empty()) {
            path.push_back({Kind::NODE, one});
        }
    }
    NOD_Record *const node = NODfindRecord(*myTop, path);
    if (!node || path.empty()) {
        tell(name, "has no node " + section, report);
        return false;
    }
    auto top = std::make_unique<NOD_Record>(Kind::DOCUMENT);
    for (auto &part : node->changeParts()) {
        if (part->getKind() != Kind::CONTENTS) {
            top->add(std::move(part));
            continue;
        }
        for (auto &inner : part->changeParts()) {
            top->add(std::move(inner));
        }
    }
    myTop = std::move(top);
    return true;
}

bool NOD_Document::readScript(const std::string &bytes, const std::string &name, NOD_Report &report)
{
    if (myOptions.isExact) {
        return NODreadStatements(bytes, name, *myTop, report);
    }
    const std::shared_ptr<const NOD_Interface> interface =
        NOD_Interface::fromText(bytes, name, report, includesOf(myOptions.load.scripts));
    if (interface) {
        NODreadScript(*interface, *myTop);
    }
    return interface != nullptr;
}

void NOD_Document::take(NOD_Node &node, bool isExact, NOD_Report &report)
{
    myKind = NOD_FileKind::NODE;
    myBinaryFlag = false;
    myTop = std::make_unique<NOD_Record>(Kind::DOCUMENT);
    myNodes = std::make_shared<NOD_NodeRecords>(isExact ? Reading::EXACT : Reading::MEANING);
    NOD_NodeSections sections = NOD_NodeSections::take(node, NOD_NodeSections::Form::TEXT, report);
    myNodes->setInterface(sections.type, node.getInterface());
    myNodes->read(sections, *myTop);
}

void NOD_Document::take(const NOD_Interface &interface)
{
    myKind = NOD_FileKind::SCRIPT;
    myTakenApartFlag = false;
    myTop = std::make_unique<NOD_Record>(Kind::DOCUMENT);
    NODreadScript(interface, *myTop);
}

bool NOD_Document::take(NOD_Scene &scene, bool isExact, NOD_Report &report)
{
    std::ostringstream os;
    NOD_DocumentOptions options;
    options.isExact = isExact;
    options.interfaces = scene.getInterfaces();
    if (!NOD_SceneFile::save(scene, os, {}, report)) {
        return false;
    }
    return read(os.str(), "scene", options, report);
}

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

void NOD_Document::setTop(std::unique_ptr<NOD_Record> top)
{
    myTop = std::move(top);
}

bool NOD_Document::write(std::string &bytes, NOD_Report &report) const
{
    return write(bytes, myBinaryFlag, report);
}

/// A patch may have put anything anywhere: what isn't read again is no part of the file.
bool NOD_Document::isReadAgain(const std::string &bytes, NOD_Report &report) const
{
    NOD_Document again;
    NOD_Report reading;
    if (!again.read(bytes, "", myOptions, reading)) {
        report.append(reading);
        return false;
    }
    const NOD_CompareOptions meaning;
    const NOD_Difference lost = NOD_Difference::between(*myTop, again.getTop(), meaning);
    for (const NOD_Change &change : lost.getChanges()) {
        report.error(NODpathText(change.getPath()),
                     "can't be written: it isn't read again as it is");
    }
    return lost.isEmpty();
}

bool NOD_Document::write(std::string &bytes, const std::vector<NOD_Conflict> &notes,
                         NOD_Report &report) const
{
    if (!write(bytes, report)) {
        return false;
    }
    const bool scriptFlag = myKind == NOD_FileKind::SCRIPT;
    if (notes.empty() || myBinaryFlag || !(scriptFlag || myKind == NOD_FileKind::STREAM)) {
        return true;
    }
    const std::string noted =
        scriptFlag ? NODnotedScript(*myTop, notes) : NODaddConflictNotes(bytes, *myTop, notes);
    NOD_Document without, with;
    NOD_Report reading;
    if (!without.read(bytes, "", myOptions, reading) || !with.read(noted, "", myOptions, reading) ||
        !reading.isEmpty()) {
        return true;
    }
    const NOD_Difference added = NOD_Difference::between(without.getTop(), with.getTop());
    const auto &changes = added.getChanges();
    const bool sameFlag = std::all_of(changes.begin(), changes.end(), [](const NOD_Change &one) {
        return one.getKind() == Kind::COMMENT;
    });
    bytes = sameFlag ? noted : bytes;
    return true;
}

bool NOD_Document::write(std::string &bytes, bool binary, NOD_Report &report) const
{
    // In the other form what is kept as words may have a meaning.
    return writeAny(binary, bytes, report) &&
           (binary != myBinaryFlag || isReadAgain(bytes, report));
}

bool NOD_Document::writeAny(bool binary, std::string &bytes, NOD_Report &report) const
{
    std::ostringstream os;
    switch (myKind) {
    case NOD_FileKind::STREAM: return myNodes->writeStream(*myTop, binary, bytes, report);
    case NOD_FileKind::CHANNELS: return writeChannels(binary, bytes, report);
    case NOD_FileKind::PRESET:
    case NOD_FileKind::PRESETS:
    case NOD_FileKind::SCRIPT: return writeText(bytes, report);
    case NOD_FileKind::SCENE:
    case NOD_FileKind::NODE: {
        if (!myTop->find(Kind::VERSION) || binary != myBinaryFlag) {
            break; // its nodes are in one form
        }
        NOD_SectionWriter writer(os, binary ? NOD_SaveOptions::Form::BINARY
                                            : NOD_SaveOptions::Form::TEXT);
        const bool goodFlag = NODwriteScene(*myTop, *myNodes, writer, report);
        bytes = os.str();
        return goodFlag;
    }
    default: break;
    }
    tell(NOD_ValueFile::getKindName(myKind), "can't be written again from its records", report);
    return false;
}

/// Files that have one form. A preset that is compared as a node's, or a script as what it declares, isn't one.
bool NOD_Document::writeText(std::string &bytes, NOD_Report &report) const
{
    if (!myTakenApartFlag) {
        tell(NOD_ValueFile::getKindName(myKind), "can't be written again from its records", report);
        return false;
    }
    if (myKind == NOD_FileKind::SCRIPT) {
        bytes = NODstatementText(*myTop);
        return true;
    }
    return myKind == NOD_FileKind::PRESET ? NODwritePreset(*myTop, *myNodes, bytes, report)
                                          : NODwritePresets(*myTop, *myNodes, bytes, report);
}

bool NOD_Document::writeChannels(bool binary, std::string &bytes, NOD_Report &report) const
{
    const std::string text = NODchannelText(*myTop);
    TRK_Collection channels;
    std::ostringstream os;
    const NOD_ReportScope scope(report);
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    const bool goodFlag = (text.empty() || channels.load(is)) && channels.save(os, binary);
    bytes = os.str();
    return goodFlag;
}

bool NOD_Document::give(NOD_Node &node, NOD_Report &report)
{
    NOD_NodeSections sections;
    if (!NODwriteNode(*myTop, *myNodes, sections, report)) {
        return false;
    }
    NOD_Report loading;
    sections.load(node, loading);
    report.append(loading);
    return !loading.hasErrors();
}
