#include <NOD/files/NOD_TreeWriterPrivate.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_ScriptText.h>
#include <NOD/files/NOD_InterfacePathsPrivate.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>
#include <NOD/files/NOD_TreeLimitsPrivate.h>
#include <NOD/files/NOD_TreeVersionsPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>

#include <ostream>
#include <unordered_set>
#include <utility>

namespace
{

/// Nodes of the same description have the same.
const void *idOf(const NOD_Node &node)
{
    return node.getInterface() ? static_cast<const void *>(node.getInterface().get())
                               : node.getPlainTemplates();
}

/// A script that wasn't there, or the application's own that is missing.
bool isInterface(const std::string &section)
{
    return section.find(' ') != std::string::npos && NODkindOf(section) == theInterfaceSection;
}

} // namespace

NOD_TreeWriter::NOD_TreeWriter(NOD_Scene &scene, std::ostream &os, const NOD_SaveOptions &options,
                               NOD_Report &report)
    : myScene(scene), myOptions(options), myReport(report), mySections(os, options.form)
{}

bool NOD_TreeWriter::isReadable(NOD_Node &top, NOD_Report &report)
{
    std::vector<std::pair<NOD_Node *, std::ptrdiff_t>> open{{&top, top.getParent() ? 1 : 0}};
    while (!open.empty()) {
        const auto [node, level] = open.back();
        open.pop_back();
        if (level > theMostLevels) {
            report.error(NODpathOf(*node), "is deeper than " + std::to_string(theMostLevels) +
                                               " levels, which can't be read: nothing is saved");
            return false;
        }
        for (const auto &child : node->getChildren()) {
            open.emplace_back(child.get(), level + 1);
        }
    }
    return true;
}

void NOD_TreeWriter::end()
{
    mySections.end();
    const NOD_LoadOptions usual;
    const std::int64_t room = NODroomForNodes(mySections.getLength(), usual);
    if (myNodeBytes > room) {
        myReport.warning("", "the nodes take " + NODmegabytes(myNodeBytes) +
                                 " when they are read, and a reading gives them " +
                                 NODmegabytes(room) + " (" + NODroomSetting(usual) + ")");
    }
}

void NOD_TreeWriter::writeTree(NOD_Node &top)
{
    collect(top);
    nameInterfaces();
    writeInterfaces();
    for (const Place &place : myPlaces) {
        writeNode(place);
    }
    // What nobody knows, and belongs to no node.
    for (const auto &[name, text] :
         top.getParent() ? NOD_Node::Sections() : top.getKeptSections()) {
        if (!isInterface(name) && !NODisNodeKind(name) && name != NOD_Node::theVersionSection) {
            mySections.add(name, text);
        }
    }
}

void NOD_TreeWriter::collect(NOD_Node &top)
{
    // Not recursive: trees may be deeper than a thread's stack.
    std::vector<Place> open;
    open.push_back({&top, top.getParent() ? "/" + top.getName() : "/"});
    while (!open.empty()) {
        const Place place = std::move(open.back());
        open.pop_back();
        const auto &children = place.node->getChildren();
        const std::string above = place.path == "/" ? "" : place.path;
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            open.push_back({child->get(), above + "/" + (*child)->getName()});
        }
        myPlaces.push_back(place);
    }
}

// ---------------------------------------------------------------------- //
// Interfaces
// ---------------------------------------------------------------------- //

void NOD_TreeWriter::nameInterfaces()
{
    for (const Place &place : myPlaces) {
        const void *const id = idOf(*place.node);
        if (!id || myKeys.count(id)) {
            continue;
        }
        const std::string &type = place.node->getTypeName();
        const std::string name = type.empty() ? theNamelessType : type;
        std::string key = name;
        for (int number = 2; myInterfaces.count(key); ++number) {
            key = name + "#" + std::to_string(number);
        }
        myInterfaces[key] = interfaceText(key, *place.node);
        myKeys[id] = std::move(key);
    }
}

std::string NOD_TreeWriter::interfaceText(const std::string &key, NOD_Node &node)
{
    const std::shared_ptr<const NOD_Interface> &made = node.getInterface();
    const std::shared_ptr<const NOD_Interface> known = myScene.findInterface(key);
    if (myOptions.interfaces == NOD_SaveOptions::Interfaces::AS_MADE) {
        if (made && made->getSource() == NOD_Interface::Source::SCRIPT_FILE) {
            return "file " + NODquoted(NODpathFor(made->getFile(), myOptions.folder)) + "\n";
        }
        const bool isScript = made && made->getSource() == NOD_Interface::Source::SCRIPT_TEXT;
        if (known && !isScript &&
            (made ? known == made : known->getTemplates() == node.getPlainTemplates())) {
            return "application\n";
        }
    }
    NOD_Report losses;
    const std::string text =
        "text\n" + (made ? NODscriptText(*made, losses)
                         : NODscriptText(node.getPlainTemplates(), key, "", losses));
    for (NOD_Message loss : losses.getMessages()) {
        loss.subject =
            theInterfaceSection + (" " + key) + (loss.subject.empty() ? "" : "/" + loss.subject);
        myReport.add(std::move(loss));
    }
    return text;
}

void NOD_TreeWriter::writeInterfaces()
{
    std::unordered_set<std::string> missing;
    for (const Place &place : myPlaces) {
        if (place.node->isTypeMissing()) {
            missing.insert(place.node->getTypeName());
        }
    }
    for (const auto &[name, text] : myScene.getRoot().getKeptSections()) {
        const std::string key = NODrestOf(name);
        if (!isInterface(name) || missing.count(key) == 0) {
            continue;
        }
        // A script that wasn't there has its whole path here.
        const std::vector<NOD_Line> lines = NODreadLines(text);
        const bool isFile = lines.size() == 1 && lines[0].words.size() == 2 &&
                            lines[0].words[0] == theInterfaceFile;
        myInterfaces.emplace(
            key, isFile
                     ? theInterfaceFile +
                           (" " + NODquoted(NODpathFor(lines[0].words[1], myOptions.folder))) + "\n"
                     : text);
    }
    for (const auto &[key, text] : myInterfaces) {
        mySections.add(theInterfaceSection + (" " + key), text);
    }
}

// ---------------------------------------------------------------------- //
// Nodes
// ---------------------------------------------------------------------- //

void NOD_TreeWriter::write(const std::string &kind, const std::string &path,
                           const std::string &text)
{
    if (!text.empty()) {
        mySections.add(kind + " " + path, text);
    }
}

void NOD_TreeWriter::take(const NOD_Report &found, const std::string &path)
{
    for (const NOD_Message &message : found.getMessages()) {
        NOD_Message placed = message;
        placed.subject = NODplacedSubject(message.subject, path);
        myReport.add(std::move(placed));
    }
}

void NOD_TreeWriter::writeNode(const Place &place)
{
    using Form = NOD_NodeSections::Form;
    myNodeBytes += NOD_NodeBytes(*place.node).all;
    const bool binary = myOptions.form == NOD_SaveOptions::Form::BINARY;
    const bool changed = myOptions.values == NOD_SaveOptions::Values::CHANGED;
    NOD_Report found;
    const NOD_NodeSections sections = NOD_NodeSections::take(
        *place.node, binary ? Form::BINARY : Form::TEXT, found, changed ? &myFresh : nullptr);
    take(found, place.path);
    std::string head;
    const void *const id = idOf(*place.node);
    const std::string type = id ? myKeys[id] : sections.type;
    head += type.empty() ? "" : "type " + NODquoted(type) + "\n";
    const std::string version = NODversionToSave(myScene, *place.node);
    head += version.empty() ? "" : theNodeVersion + (" " + NODquoted(version)) + "\n";
    const bool isRoot = !place.node->getParent();
    for (const auto &[name, value] : sections.variables) {
        // A scene's are in its first section.
        head += isRoot ? "" : "variable " + NODquoted(name) + " " + NODquoted(value) + "\n";
    }
    const bool hasSections = !(sections.values.empty() && sections.channels.empty() &&
                               sections.aliases.empty() && sections.spares.empty());
    if (!isRoot || !head.empty() || hasSections) {
        mySections.add(theNodeSection + (" " + place.path), head);
    }
    // In the order of reading, so that a cut file has what the rest needs.
    write("spares", place.path, sections.spares);
    write("channels", place.path, sections.channels);
    write("values", place.path, sections.values);
    write("aliases", place.path, sections.aliases);
    for (const auto &[kind, text] : sections.kept) {
        const bool ownFlag = !isRoot || NODisNodeKind(kind); // the others are the scene's
        if (ownFlag && kind != NOD_Node::theVersionSection) {
            mySections.add(kind + " " + place.path, text);
        }
    }
}
