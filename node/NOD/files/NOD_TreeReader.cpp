#include <NOD/files/NOD_TreeReaderPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Scene.h>
#include <NOD/files/NOD_InterfacePathsPrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_LoadingPrivate.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmTypes.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <unordered_set>
#include <utility>

namespace
{

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/// Whether items came or went as the node's driven blocks read their counts.
bool followDrivenBlocks(NOD_Node &node)
{
    const int thread = BASgetSTID();
    ZEL_ParmList &list = node.getParms();
    bool changed = false;
    for (int i = 0; i < list.getEntries(); ++i) {
        ZEL_Parm *const parm = list.getParmPtr(i);
        if (parm && parm->isMultiParm() && parm->getChannel(0)) {
            const int before = parm->getMultiParmNumItems();
            int count = 0;
            parm->getValue(list.getEvalTime(thread), count, 0, thread);
            changed = changed || parm->getMultiParmNumItems() != before;
        }
    }
    return changed;
}

/// What a node's blocks asked for and didn't get, each once. An expression that fails is told to who reads it.
void tellLimits(NOD_Node &node, KIT_ErrorManager &errors, std::set<std::string> &told,
                const std::string &file, NOD_Report &report)
{
    NOD_Report all;
    all.take(errors, file, "values " + NODpathOf(node));
    for (const NOD_Message &message : all.getMessages()) {
        const bool limitFlag =
            message.category == ZEL_ERROR_CATEGORY &&
            (message.code == ZEL_ERR_TOO_MANY_ITEMS || message.code == ZEL_ERR_TOO_MANY_BYTES);
        if (limitFlag && told.insert(message.asText()).second) {
            report.add(message);
        }
    }
}

/// Blocks have the items that their streams name; lets those whose count is an expression have those that it
/// asks for, now that what it reads is there, items of other blocks among it.
void followDrivenBlocks(const std::vector<NOD_Node *> &nodes, const std::string &file,
                        NOD_Report &report)
{
    constexpr int theMostRounds = 16;
    KIT_ErrorManager::Scope errors(BASgetSTID());
    std::set<std::string> told;
    bool changed = true;
    for (int round = 0; changed && round < theMostRounds; ++round) {
        changed = false;
        for (NOD_Node *node : nodes) {
            changed = followDrivenBlocks(*node) || changed;
            tellLimits(*node, errors.getManager(), told, file, report);
        }
    }
    if (changed) {
        report.add({KIT_ERROR_WARNING,
                    file,
                    0,
                    {},
                    "counts of blocks change each other without an end",
                    {},
                    0});
    }
}

/// The line of a channels' message, within the section.
int lineIn(const std::string &text)
{
    constexpr const char *theWord = "line ";
    const std::size_t at = text.find(theWord);
    return at == std::string::npos ? 0 : std::atoi(text.c_str() + at + 5);
}

} // namespace

NOD_TreeReader::NOD_TreeReader(NOD_Scene &scene, const NOD_SectionFile &file,
                               const std::string &name, const NOD_LoadOptions &options,
                               NOD_Report &report)
    : myScene(scene), myFile(file), myName(name), myOptions(options), myReport(report),
      myUsedFlags(file.getSections().size()), myRoom(NODroomForNodes(file.getLength(), options)),
      myVersions(scene)
{
    for (std::size_t i = 0; i < file.getSections().size(); ++i) {
        myByName.emplace(file.getSections()[i].name, i);
    }
}

// ---------------------------------------------------------------------- //
// Sections and messages
// ---------------------------------------------------------------------- //

const NOD_SectionFile::Section *NOD_TreeReader::use(const std::string &name)
{
    const auto entry = myByName.find(name);
    if (entry == myByName.end()) {
        return nullptr;
    }
    myUsedFlags[entry->second] = true;
    return &myFile.getSections()[entry->second];
}

void NOD_TreeReader::add(KIT_ErrorSeverity severity, const Section &section, int line,
                         const std::string &text)
{
    const int placed = section.line > 0 ? section.line + line : line;
    myReport.add({severity,
                  myName,
                  placed,
                  std::string(section.name),
                  text,
                  {},
                  0,
                  myDetails++ < theMostDetails ? NOD_SectionFile::makeDetail(section, line, myName)
                                               : nullptr});
}

void NOD_TreeReader::error(const Section &section, int line, const std::string &text)
{
    add(KIT_ERROR_ABORT, section, line, text);
}

void NOD_TreeReader::warning(const Section &section, int line, const std::string &text)
{
    add(KIT_ERROR_WARNING, section, line, text);
}

bool NOD_TreeReader::checkVersion(const Section &section, const NOD_Line &line)
{
    double version = 0.0;
    if (line.words.size() != 2 || !NODreadNumber(line.words[1], version)) {
        error(section, line.number + 1, "expects a version");
        return false;
    }
    if (version > theFileVersion) {
        warning(section, line.number + 1,
                "version " + line.words[1] + " is newer than this one, " + theFileVersionText);
    }
    return version <= theFileVersion;
}

/// What the sections of a node report, with file and line.
void NOD_TreeReader::take(const NOD_Report &found, const std::string &path)
{
    for (const NOD_Message &message : found.getMessages()) {
        NOD_Message placed = message;
        const std::string kind = message.subject.substr(0, message.subject.find('/'));
        const auto entry = myByName.find(kind + " " + path);
        placed.file = myName;
        if (entry != myByName.end()) {
            const Section &section = myFile.getSections()[entry->second];
            const int line = kind == "channels" ? lineIn(message.text) : message.line;
            placed.line = section.line > 0 ? section.line + line : placed.line;
            placed.detail = message.detail
                                ? NOD_SectionFile::placeDetail(message.detail, section, myName,
                                                               kind == "spares" ? kind : "")
                                : NOD_SectionFile::makeDetail(section, line, myName);
        }
        placed.subject = NODplacedSubject(message.subject, path);
        myReport.add(std::move(placed));
    }
}

// ---------------------------------------------------------------------- //
// Interfaces
// ---------------------------------------------------------------------- //

void NOD_TreeReader::readInterfaces()
{
    const std::string start = theInterfaceSection + std::string(" ");
    for (const Section &section : myFile.getSections()) {
        if (startsWith(section.name, start)) {
            const std::string key = NODrestOf(section.name);
            use(std::string(section.name));
            myInterfaces[key] = readInterface(key, section);
        }
    }
}

std::shared_ptr<const NOD_Interface> NOD_TreeReader::readInterface(const std::string &key,
                                                                   const Section &section)
{
    const std::string_view text = section.text;
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::vector<NOD_Line> first = NODreadLines(text.substr(0, end));
    const std::vector<std::string> words =
        first.empty() ? std::vector<std::string>() : first[0].words;
    std::shared_ptr<const NOD_Interface> made;
    std::string path;
    const auto known = myOptions.interfaces.find(key);
    if (known != myOptions.interfaces.end()) {
        made = known->second;
    } else if (words.size() == 1 && words[0] == theInterfaceOfApplication) {
        made = myScene.findInterface(key);
        if (!made) {
            warning(section, 1, "the application has no interface of this name");
        }
    } else if (words.size() == 2 && words[0] == theInterfaceFile) {
        path = NODpathFrom(words[1], myOptions.folder);
        made = readScript(section, path);
    } else if (words.size() == 1 && words[0] == theInterfaceText) {
        if (myOptions.scripts == NOD_LoadOptions::Scripts::NONE) {
            error(section, 1, "scripts aren't read");
        } else {
            const bool anywhere = myOptions.scripts == NOD_LoadOptions::Scripts::ANYWHERE;
            using Includes = NOD_Interface::Includes;
            NOD_Report found;
            const std::string type = key.substr(0, key.find('#'));
            made = NOD_Interface::fromText(text.substr(std::min(end + 1, text.size())),
                                           type.empty() ? theNamelessType : type, found,
                                           anywhere ? Includes::ANY : Includes::NONE);
            Section script = section;
            const std::size_t head = std::min(end + 1, text.size());
            script.text.remove_prefix(head);
            script.textStart += head + (section.line > 0);
            script.line += section.line > 0;
            for (NOD_Message message : found.getMessages()) {
                message.line += section.line > 0 ? section.line + 1 : 1;
                message.file = myName;
                message.subject = std::string(section.name);
                message.detail = NOD_SectionFile::placeDetail(
                    message.detail, script, myName, type.empty() ? theNamelessType : type);
                myReport.add(std::move(message));
            }
        }
    } else {
        error(section, 1, "expects \"file\" with a path, \"text\" or \"application\"");
    }
    if (!made) {
        keepInterface(section, path);
    } else if (made->getTypeName() == key && maySet(myScene.findInterface(key))) {
        myScene.addInterface(made);
    }
    return made;
}

/// Whether the scene's interface of that name becomes the file's: one of the application's own stays, and for
/// a part of a scene so does any that is there.
bool NOD_TreeReader::maySet(const std::shared_ptr<const NOD_Interface> &present) const
{
    return !present || (present->getSource() != NOD_Interface::Source::TEMPLATES &&
                        myByName.count(thePartSection) == 0);
}

std::shared_ptr<const NOD_Interface> NOD_TreeReader::readScript(const Section &section,
                                                                const std::string &path)
{
    using Scripts = NOD_LoadOptions::Scripts;
    using Includes = NOD_Interface::Includes;
    if (myOptions.scripts == Scripts::NONE) {
        error(section, 1, "scripts aren't read");
        return nullptr;
    }
    if (myOptions.scripts == Scripts::IN_FOLDER && !NODisBelow(path, myOptions.folder)) {
        error(section, 1, "the path leads out of the file's folder: " + path);
        return nullptr;
    }
    // One file for many interfaces is read once.
    const auto [entry, added] = myScripts.try_emplace(NODpathFor(path, ""));
    if (added) {
        NOD_Report found;
        const bool anywhere = myOptions.scripts == Scripts::ANYWHERE;
        entry->second =
            NOD_Interface::fromFile(path, found, anywhere ? Includes::ANY : Includes::CONFINED);
        myReport.append(found);
    }
    if (!entry->second) {
        error(section, 1, "there is no interface in " + path);
    }
    return entry->second;
}

void NOD_TreeReader::keepInterface(const Section &section, const std::string &path)
{
    const bool isFile = !path.empty();
    myKept.emplace_back(section.name,
                        isFile ? theInterfaceFile + (" " + NODquoted(NODpathFor(path, ""))) + "\n"
                               : std::string(section.text));
}

/// Of the file, else of the application.
std::shared_ptr<const NOD_Interface> NOD_TreeReader::findInterface(const std::string &key)
{
    const auto entry = myInterfaces.find(key);
    return entry == myInterfaces.end() ? myScene.findInterface(key) : entry->second;
}

// ---------------------------------------------------------------------- //
// Nodes
// ---------------------------------------------------------------------- //

NOD_Node *NOD_TreeReader::find(const std::string &path) const
{
    const auto entry = myByPath.find(path);
    return entry == myByPath.end() ? nullptr : entry->second;
}

void NOD_TreeReader::readNodes(NOD_Node &above, bool isPart)
{
    struct Place
    {
        const Section *section;
        std::string path;
        std::ptrdiff_t level;
    };
    const std::string start = theNodeSection + std::string(" ");
    std::vector<Place> places;
    for (const Section &section : myFile.getSections()) {
        if (startsWith(section.name, start)) {
            const std::string path = NODrestOf(section.name);
            use(std::string(section.name));
            const auto level = std::count(path.begin(), path.end(), '/') - (path == "/");
            places.push_back({&section, path, level});
        }
    }
    // Children may stand before their parents, as after a merge; what is behind keeps its order.
    std::stable_sort(places.begin(), places.end(),
                     [](const Place &a, const Place &b) { return a.level < b.level; });
    myByPath["/"] = &above;
    std::ptrdiff_t levelsAbove = 0;
    for (const NOD_Node *node = above.getParent(); node; node = node->getParent()) {
        ++levelsAbove;
    }
    std::vector<std::pair<const Place *, NOD_NodeSections>> made;
    for (const Place &place : places) {
        if (levelsAbove + place.level > theMostLevels) {
            error(*place.section, 0,
                  "is deeper than " + std::to_string(theMostLevels) + " levels: left out");
            continue;
        }
        NOD_NodeSections head = readHead(*place.section);
        if (NOD_Node *const node = makeNode(*place.section, place.path, above, isPart, head)) {
            myByPath[place.path] = node;
            myNodes.push_back(node);
            made.emplace_back(&place, std::move(head));
        }
    }
    // All nodes are there before values are read that refer to them.
    for (auto &[place, head] : made) {
        readNode(place->path, *find(place->path), std::move(head));
    }
    followDrivenBlocks(myNodes, myName, myReport);
    myVersions.bringUp(myName, myReport);
    for (const auto &[key, missing] : myMissing) {
        warning(*missing.section, 1,
                "the type \"" + key + "\" isn't known here: " +
                    (missing.nodes == 1
                         ? "a node of it has no parameters, and keeps its sections"
                         : std::to_string(missing.nodes) +
                               " nodes of it have no parameters, and keep their sections"));
    }
}

NOD_NodeSections NOD_TreeReader::readHead(const Section &section)
{
    NOD_NodeSections head;
    for (const NOD_Line &line : NODreadLines(section.text)) {
        const std::vector<std::string> &words = line.words;
        if (words.size() == 2 && words[0] == "type") {
            head.type = words[1];
        } else if (words.size() == 2 && words[0] == theNodeVersion) {
            head.version = words[1];
        } else if (words.size() == 3 && words[0] == "variable") {
            head.variables[words[1]] = words[2];
        } else {
            error(section, line.number + 1, "\"" + words[0] + "\" isn't known here: left out");
        }
    }
    return head;
}

/// Null, with a message, if there is none or the node's name can't be.
NOD_Node *NOD_TreeReader::findParent(const Section &section, const std::string &path, bool isPart)
{
    const std::size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? "" : path.substr(slash + 1);
    const bool isEmptyAbove = slash != std::string::npos && slash > 0 && path[slash - 1] == '/';
    if (path.empty() || path[0] != '/' || isEmptyAbove || !NOD_Node::isValidName(name)) {
        error(section, 0, "isn't the path of a node: left out");
        return nullptr;
    }
    const std::string above = slash == 0 ? "/" : path.substr(0, slash);
    NOD_Node *const parent = find(above);
    if (!parent) {
        error(section, 0, "there is no node " + above + ": left out");
    } else if (isPart && slash == 0 && !myNodes.empty()) {
        error(section, 0, "is a second node at the top: left out");
        return nullptr;
    }
    return parent;
}

/// Whether the file has room for a node that takes so much.
bool NOD_TreeReader::isAllowed(const Section &section, std::int64_t bytes)
{
    if (bytes <= myRoom) {
        myRoom -= bytes;
        return true;
    }
    error(section, 0,
          "nodes take more memory than the " +
              NODmegabytes(NODroomForNodes(myFile.getLength(), myOptions)) +
              " that a file of this length may make (" + NODroomSetting(myOptions) + "): left out");
    return false;
}

NOD_Node *NOD_TreeReader::makeNode(const Section &section, const std::string &path, NOD_Node &above,
                                   bool isPart, NOD_NodeSections &head)
{
    std::string fault;
    const std::shared_ptr<const NOD_Interface> interface = myVersions.interfaceFor(
        head.type.empty() ? nullptr : findInterface(head.type), head.version, fault);
    if (!fault.empty()) {
        warning(section, 0, fault);
    }
    const auto known = myBytes.find(interface.get());
    const NOD_NodeBytes bytes = known != myBytes.end()
                                    ? known->second
                                    : NOD_NodeBytes(interface ? interface->getParmCount() : 0);
    if (!isAllowed(section, bytes.all)) {
        return nullptr;
    }
    // Items that each node of the type begins with are paid for by the room, not as the file's own.
    const ZEL_InputBudget items(ZEL_InputBudget::DEFAULTS,
                                bytes.items / ZEL_InputBudget::theBytesPerByte);
    const NOD_Loading loading;
    NOD_Node *node = nullptr;
    if (path == "/" && !isPart) {
        node = &above;
        if (interface) {
            node->renewParms(interface);
        }
    } else if (NOD_Node *const parent = findParent(section, path, isPart)) {
        std::string name = path.substr(path.rfind('/') + 1);
        if (parent == &above && isPart) {
            myTopName = name;
            name = NOD_Scene::freeName(above, name);
        }
        node = parent->addChild(name.c_str(), interface);
    }
    myVersions.made(node, path);
    if (node && interface && known == myBytes.end()) {
        myBytes.emplace(interface.get(), NOD_NodeBytes(*node));
    }
    if (node && !interface && !head.type.empty()) {
        Missing &missing = myMissing.try_emplace(head.type, Missing{&section, 0}).first->second;
        ++missing.nodes;
    }
    return node;
}

void NOD_TreeReader::readNode(const std::string &path, NOD_Node &node, NOD_NodeSections sections)
{
    const bool isMissing = !node.getInterface() && !sections.type.empty();
    for (const char *const kind : theNodeKinds) {
        const Section *const section = use(kind + (" " + path));
        if (section && isMissing) {
            sections.kept.emplace_back(kind, section->text);
        } else if (section) {
            *sections.findText(kind) = section->text;
        }
    }
    if (!sections.version.empty()) {
        sections.kept.emplace_back(NOD_Node::theVersionSection, sections.version);
    }
    NOD_Report found;
    sections.load(node, found);
    take(found, path);
}

// ---------------------------------------------------------------------- //
// The rest
// ---------------------------------------------------------------------- //

void NOD_TreeReader::readRest()
{
    std::unordered_map<NOD_Node *, NOD_Node::Sections> kept;
    for (std::size_t i = 0; i < myUsedFlags.size(); ++i) {
        const Section &section = myFile.getSections()[i];
        if (myUsedFlags[i]) {
            continue;
        }
        const std::string name(section.name);
        const std::string kind = NODkindOf(name);
        NOD_Node *const node = find(NODrestOf(name));
        if (NODisNodeKind(kind)) {
            error(section, 0, "there is no such node: left out");
        } else if (name == theSceneSection || name == thePartSection) {
            error(section, 0, "has no place in this file: left out");
        } else if (node && node != myByPath["/"]) {
            warning(section, 0, "isn't known here: kept as it is");
            kept[node].emplace_back(kind, section.text);
        } else {
            warning(section, 0, "isn't known here: kept as it is");
            myKept.emplace_back(name, section.text);
        }
    }
    for (auto &[node, sections] : kept) {
        NOD_Node::Sections all = node->getKeptSections();
        std::move(sections.begin(), sections.end(), std::back_inserter(all));
        node->keepSections("", std::move(all));
    }
    NOD_Node &root = myScene.getRoot();
    NOD_Node::Sections all = root.getKeptSections();
    std::unordered_set<std::string> names;
    for (const auto &section : all) {
        names.insert(section.first);
    }
    for (auto &section : myKept) {
        if (names.insert(section.first).second) {
            all.push_back(std::move(section));
        }
    }
    root.keepSections("", std::move(all));
}
