#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Preset.h"
#include "ZELT_Session.h"

#include <KIT/KIT_String.h>
#include <STO/STO_Reader.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <iostream>
#include <sstream>

namespace
{

/// The arguments of all of these commands, and of some.
struct Call
{
    std::string table;
    std::string opName;
    std::string name;
    ZELT_NodeCall node;
    std::string folder; ///< one of the search path; "": the first that may be written
    std::string out;    ///< where the values are written; "": standard output
};

/// Where a preset is, for people.
std::string placeOf(const Call &call)
{
    return ZELTquote(call.name) + " of " + call.table + "/" + call.opName;
}

int fail(const std::string &text, ZELT_Messages &messages)
{
    messages.takeErrors("");
    messages.error("", text);
    return 1;
}

/// -1 after a message if there is no such preset.
int findPreset(ZEL_PresetInfo &presets, const Call &call, ZELT_Messages &messages)
{
    const int index = presets.getPresetIndex(call.name.c_str());
    if (index < 0) {
        fail("there is no preset " + placeOf(call), messages);
    }
    return index;
}

/// The folders that presets may be saved in, for a message.
std::string folderNames()
{
    std::string names;
    for (const KIT_String &dir : ZEL_PresetInfo::getValidSaveDirs()) {
        names += (names.empty() ? "" : ", ") + dir.toStdString();
    }
    return names.empty() ? "none of the search path" : names;
}

/// What was done to which preset, for people in one line.
void printDone(const char *done, const std::string &name, const std::string &path,
               const ZELT_Options &options)
{
    if (options.json) {
        ZELT_Json json;
        json["name"] = name;
        json["path"] = path;
        ZELTprintJson(json);
    } else {
        std::cout << done << ' ' << path << '\n';
    }
}

std::string savedValues(ZELT_Session &session)
{
    constexpr bool binary = false;
    constexpr bool compact = false;
    std::ostringstream os;
    session.getParms().save(os, binary, compact);
    return os.str();
}

int list(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    ZELT_Json json = ZELT_Json::array();
    std::vector<std::vector<std::string>> rows = {{"preset", "path"}};
    for (int i = 0; i < presets.getNumPresets(); ++i) {
        const std::string name = presets.getPresetName(i).toStdString();
        const std::string path = presets.getPresetPath(i).toStdString();
        rows.push_back({ZELTquote(name), path});
        ZELT_Json one;
        one["name"] = name;
        one["path"] = path;
        json.push_back(one);
    }
    if (options.json) {
        ZELTprintJson(json);
    } else {
        std::cout << ZELTtable(rows);
    }
    messages.takeErrors("");
    return messages.hasErrors() ? 1 : 0;
}

int show(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    const int index = findPreset(presets, call, messages);
    if (index < 0) {
        return 1;
    }
    const std::string path = presets.getPresetPath(index).toStdString();
    std::string text;
    if (!STO_Reader::readBytes(path.c_str(), text)) {
        return fail(path + " can't be read", messages);
    }
    if (options.json) {
        ZELT_Json json;
        json["name"] = call.name;
        json["path"] = path;
        json["text"] = text;
        ZELTprintJson(json);
    } else {
        std::cout << text;
    }
    messages.takeErrors("");
    return 0;
}

int apply(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.node, messages);
    if (!session || !session->isOneNode(messages)) {
        return 1;
    }
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    const int index = findPreset(presets, call, messages);
    if (index < 0) {
        return 1;
    }
    const KIT_String path = presets.getPresetPath(index);
    if (!session->getNode().loadPresetFile(path)) {
        return fail("the preset " + placeOf(call) + " isn't loaded as a whole", messages);
    }
    messages.takeErrors(path.toStdString());
    session->growBlocks(session->getTime());
    const std::string values = savedValues(*session);
    if (!ZELTtakeFault(call.out, "", messages)) {
        return 1;
    }
    if (!call.out.empty()) {
        return ZELTwriteFile(call.out, values, messages) ? 0 : 1;
    }
    if (options.json) {
        ZELT_Json json;
        json["values"] = values;
        ZELTprintJson(json);
    } else {
        std::cout << values;
    }
    return 0;
}

int save(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.node, messages);
    if (!session) {
        return 1;
    }
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    const std::string folder = ZELTpresetFolder(call.folder);
    if (!presets.savePresetToDir(&session->getParms(), call.name.c_str(), folder.c_str())) {
        return fail("the preset " + placeOf(call) + " isn't saved in " + ZELTquote(folder) +
                        "; presets are saved in: " + folderNames(),
                    messages);
    }
    messages.takeErrors("");
    printDone("saved", call.name, ZELTpresetPath(presets, call.name, folder), options);
    return 0;
}

int remove(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    const char *const folder = call.folder.empty() ? nullptr : call.folder.c_str();
    const std::string path = ZELTpresetPath(presets, call.name, call.folder);
    if (!presets.deletePresetFromDir(call.name.c_str(), folder)) {
        return fail("the preset " + placeOf(call) +
                        " isn't deleted; presets are deleted in: " + folderNames(),
                    messages);
    }
    messages.takeErrors("");
    printDone("deleted", call.name, path, options);
    return 0;
}

/// A command on the presets of a node type.
ZELT_CommandLine::Added<Call> add(ZELT_CommandLine &line, CLI::App &group, const char *name,
                                  const char *what, const char *example,
                                  ZELT_CommandLine::Function<Call> function)
{
    const auto added = line.addTo(group, name, what, example, function);
    added.command.add_option("TABLE", added.call.table, "The family of node types")->required();
    added.command.add_option("OPNAME", added.call.opName, "The node type")->required();
    return added;
}

/// The same on one preset.
ZELT_CommandLine::Added<Call> addNamed(ZELT_CommandLine &line, CLI::App &group, const char *name,
                                       const char *what, const char *example,
                                       ZELT_CommandLine::Function<Call> function)
{
    const auto added = add(line, group, name, what, example, function);
    added.command.add_option("NAME", added.call.name, "The preset")->required();
    return added;
}

void addFolder(const ZELT_CommandLine::Added<Call> &added)
{
    added.command.add_option("--dir", added.call.folder, "A folder of the search path");
}

} // namespace

void ZELTaddPreset(ZELT_CommandLine &line)
{
    CLI::App &group = line.addGroup("preset", "Presets on the search path (ZEL_PATH)",
                                    "zel preset list Node light");
    add(line, group, "list", "List them by name", "zel preset list Node light", list);
    addNamed(line, group, "show", "Print the text of one", "zel preset show Node light Night",
             show);

    const auto applied = addNamed(line, group, "apply", "Load one and print the values",
                                  "zel preset apply Node light Night examples/light.ds", apply);
    ZELTaddNode(applied.command, applied.call.node);
    applied.command.add_option("--out", applied.call.out, "A file for the values, as text");

    const auto saved = addNamed(
        line, group, "save", "Save values as one",
        "zel preset save Node light Night examples/light.ds --values examples/light_night.parms",
        save);
    ZELTaddNode(saved.command, saved.call.node);
    addFolder(saved);

    addFolder(addNamed(line, group, "delete", "Delete one", "zel preset delete Node light Night",
                       remove));
}
