#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_PresetText.h>
#include <NOD/NOD_Presets.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_ValueFile.h>
#include <STO/STO_Reader.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <algorithm>
#include <iostream>
#include <optional>
#include <sstream>

namespace
{

/// The arguments of all of these commands, and of some.
struct Call
{
    std::string table;
    std::string opName;
    std::string name;
    std::string newName;
    ZELT_NodeCall node;
    std::vector<std::string> only; ///< addresses of parameters; none: all
    std::string folder;            ///< one of the search path; "": the first that may be written
    std::string out = "-";         ///< where the values are written
    std::string form = "text";
    bool forceFlag = false;
    bool allowLossFlag = false;
};

NOD_Presets presetsOf(const Call &call)
{
    return {call.table, call.opName, "--force"};
}

NOD_Presets::Existing existingOf(const Call &call)
{
    return call.forceFlag ? NOD_Presets::Existing::REPLACE : NOD_Presets::Existing::REFUSE;
}

/// What was done to which preset, for people in one line; no path after an error.
int finish(const char *done, const std::string &name, const std::string &path,
           const NOD_Report &report, const ZELT_Options &options, ZELT_Messages &messages)
{
    messages.add(report);
    if (path.empty()) {
        return 1;
    }
    if (options.json) {
        ZELT_Json json;
        json["name"] = name;
        json["path"] = path;
        ZELTprintJson(json);
    } else {
        std::cout << done << ' ' << path << '\n';
    }
    return 0;
}

// -------------------------------------------------------------------- //
// Looking
// -------------------------------------------------------------------- //

using Rows = std::vector<std::vector<std::string>>;

/// Rows as a table, or as an array of objects with the heading's words as keys.
void printRows(const Rows &rows, const ZELT_Options &options)
{
    if (!options.json) {
        Rows printed = rows;
        std::for_each(printed.begin() + 1, printed.end(),
                      [](auto &row) { row[0] = ZELTquote(row[0]); });
        std::cout << ZELTtable(printed);
        return;
    }
    ZELT_Json json = ZELT_Json::array();
    for (std::size_t i = 1; i < rows.size(); ++i) {
        ZELT_Json one;
        for (std::size_t k = 0; k < rows[i].size(); ++k) {
            one[rows[0][k]] = rows[i][k];
        }
        json.push_back(one);
    }
    ZELTprintJson(json);
}

Rows presetRows(const Call &call)
{
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    Rows rows = {{"preset", "path"}};
    for (int i = 0; i < presets.getNumPresets(); ++i) {
        rows.push_back(
            {presets.getPresetName(i).toStdString(), presets.getPresetPath(i).toStdString()});
    }
    return rows;
}

Rows nameRows(const char *heading, const KIT_StringArray &names)
{
    Rows rows = {{heading}};
    for (const KIT_String &name : names) {
        rows.push_back({name.toStdString()});
    }
    return rows;
}

std::vector<std::string> wordsOf(const KIT_StringArray &names)
{
    std::vector<std::string> words;
    for (const KIT_String &name : names) {
        words.push_back(name.toStdString());
    }
    return words;
}

/// Whether there are presets of what a word names: no table, and no type of one, is known otherwise.
bool isOneOf(const KIT_StringArray &names, const std::string &word, const std::string &what,
             ZELT_Messages &messages)
{
    const std::vector<std::string> words = wordsOf(names);
    const bool knownFlag = std::find(words.begin(), words.end(), word) != words.end();
    if (!knownFlag) {
        messages.wordError(word, "there are no presets of " + what + KITdidYouMean(word, words));
    }
    return knownFlag;
}

/// None after a message.
Rows listRows(const Call &call, ZELT_Messages &messages)
{
    const KIT_StringArray tables = ZEL_PresetInfo::findTables();
    if (call.table.empty()) {
        return nameRows("table", tables);
    }
    if (!isOneOf(tables, call.table, "a table " + call.table, messages)) {
        return {};
    }
    const KIT_StringArray types = ZEL_PresetInfo::findTypes(call.table.c_str());
    if (call.opName.empty()) {
        return nameRows("type", types);
    }
    return isOneOf(types, call.opName, call.table + "/" + call.opName, messages) ? presetRows(call)
                                                                                 : Rows();
}

int list(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    Rows rows = listRows(call, messages);
    if (rows.empty()) {
        return 1;
    }
    if (options.json && rows[0].size() > 1) {
        rows[0][0] = "name";
    }
    printRows(rows, options);
    messages.takeErrors("");
    return messages.hasErrors() ? 1 : 0;
}

int show(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    NOD_Report report;
    const std::string path = presetsOf(call).find(call.name, report);
    messages.add(report);
    std::string text;
    if (path.empty() ||
        !ZELTtakeFault("", STO_Reader::readBytes(path.c_str(), text) ? "" : path + " can't be read",
                       messages)) {
        return 1;
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
    return 0;
}

// -------------------------------------------------------------------- //
// Applying and saving
// -------------------------------------------------------------------- //

/// The node with the files of the call, but without its changes, which come after the preset.
std::unique_ptr<ZELT_Session> openBare(const ZELT_NodeCall &node, ZELT_Messages &messages)
{
    ZELT_NodeCall bare = node;
    bare.inputs = ZELT_Inputs();
    bare.inputs.values = node.inputs.values;
    bare.inputs.channels = node.inputs.channels;
    std::unique_ptr<ZELT_Session> session = ZELT_Session::open(bare, messages);
    return session && session->isOneNode(messages) ? std::move(session) : nullptr;
}

constexpr bool theNodeAlone = false; // and not all of the file that it is from

bool write(ZELT_Session &session, const Call &call, const ZELT_Options &options,
           ZELT_Messages &messages)
{
    NOD_ValueFile::Form form = NOD_ValueFile::Form::TEXT;
    NOD_ValueFile::findForm(call.form, form);
    const bool jsonFlag = options.json && call.out == "-";
    if (jsonFlag && (call.form == "binary" || call.form == "compact")) {
        messages.error("", "JSON can't hold the binary form");
        return false;
    }
    NOD_Node &node = session.getNode();
    NOD_Report report;
    std::ostringstream os;
    const bool saved =
        NOD_ValueFile::checkCarried(node, form, session.getLosses(theNodeAlone),
                                    ZELTlossRule(call.allowLossFlag), report) &&
        NOD_ValueFile::save(session.getScene(), node, form, os, ZELTfolderOf(call.out), report);
    messages.add(report);
    if (!saved) {
        return false;
    }
    if (!jsonFlag) {
        return ZELTwriteFile(call.out, os.str(), messages);
    }
    ZELT_Json json;
    json["values"] = os.str();
    ZELTprintJson(json);
    return true;
}

int apply(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Session> session = openBare(call.node, messages);
    if (!session) {
        return 1;
    }
    NOD_Report report;
    const std::string path = presetsOf(call).find(call.name, report);
    messages.add(report);
    report.clear();
    if (path.empty()) {
        return 1;
    }
    const bool applied = NODapplyPreset(session->getNode(), path, call.only, report);
    messages.add(report);
    session->growBlocks(session->getTime());
    ZELT_Inputs changes = call.node.inputs;
    changes.values.clear();
    changes.channels.clear();
    if (!applied || !ZELTapplyInputs(*session, changes, session->getTime(), messages)) {
        return 1;
    }
    if (!report.isEmpty()) {
        session->addLosses({{path}});
    }
    const bool written = write(*session, call, options, messages);
    return written && ZELTtakeFault("", "", messages) ? 0 : 1;
}

int save(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.node, messages);
    if (!session || !session->isOneNode(messages)) {
        return 1;
    }
    NOD_Report report;
    std::ostringstream text;
    const bool made =
        NODcheckPreset(session->getNode(), call.only, session->getLosses(theNodeAlone),
                       ZELTlossRule(call.allowLossFlag), report) &&
        NODsavePreset(session->getNode(), call.only, text, report);
    const std::string path =
        made ? presetsOf(call).save(text.str(), call.name, call.folder, existingOf(call), report)
             : "";
    return finish("saved", call.name, path, report, options, messages);
}

// -------------------------------------------------------------------- //
// Arranging
// -------------------------------------------------------------------- //

int copy(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    NOD_Report report;
    const std::string path =
        presetsOf(call).copy(call.name, call.newName, call.folder, existingOf(call), report);
    return finish("copied to", call.newName, path, report, options, messages);
}

int rename(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    NOD_Report report;
    const std::string path =
        presetsOf(call).rename(call.name, call.newName, call.folder, existingOf(call), report);
    return finish("renamed to", call.newName, path, report, options, messages);
}

int remove(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    NOD_Report report;
    const std::string path = presetsOf(call).remove(call.name, call.folder, report);
    return finish("deleted", call.name, path, report, options, messages);
}

// -------------------------------------------------------------------- //
// Calls
// -------------------------------------------------------------------- //

using Added = ZELT_CommandLine::Added<Call>;

/// A command on one preset of a node type.
Added addNamed(ZELT_CommandLine &line, ZELT_Command group, const char *name, const char *what,
               const char *example, ZELT_CommandLine::Function<Call> function)
{
    const Added added = line.addTo(group, name, what, example, function);
    added.command.addOption("TABLE", added.call.table, "The family of node types").required();
    added.command.addOption("OPNAME", added.call.opName, "The node type").required();
    added.command.addOption("NAME", added.call.name, "The preset").required();
    return added;
}

void addFolder(const Added &added)
{
    added.command.addOption("--dir", added.call.folder, "A folder of the search path");
}

void addForce(const Added &added)
{
    added.command.addFlag("--force", added.call.forceFlag, "Replaces one of that name");
}

void addOnly(const Added &added)
{
    added.command.addList("--only", added.call.only,
                          "Only these parameters: tokens, or patterns of them");
}

/// One that makes a preset of another.
void addArranging(ZELT_CommandLine &line, ZELT_Command group, const char *name, const char *what,
                  const char *example, ZELT_CommandLine::Function<Call> function)
{
    const Added added = addNamed(line, group, name, what, example, function);
    added.command.addOption("NEWNAME", added.call.newName, "The new name").required();
    addFolder(added);
    addForce(added);
}

void addApply(ZELT_CommandLine &line, ZELT_Command group)
{
    const Added added =
        addNamed(line, group, "apply", "Load one, then the changes; print the values",
                 "zel preset apply Node light Night examples/light.ds", apply);
    ZELTaddNode(added.command, added.call.node);
    addOnly(added);
    added.command.addOption("-o,--out", added.call.out, "A file for the values");
    ZELTaddForm(added.command, added.call.form);
    ZELTaddAllowLoss(added.command, added.call.allowLossFlag,
                     "Write also where not all that was loaded is carried");
}

void addSave(ZELT_CommandLine &line, ZELT_Command group)
{
    const Added added = addNamed(
        line, group, "save", "Save values as one",
        "zel preset save Node light Night examples/light.ds --values examples/light_night.parms",
        save);
    ZELTaddNode(added.command, added.call.node);
    addOnly(added);
    addFolder(added);
    addForce(added);
    ZELTaddAllowLoss(added.command, added.call.allowLossFlag,
                     "Save also where a file has values that the node doesn't take");
}

} // namespace

void ZELTaddPreset(ZELT_CommandLine &line)
{
    ZELT_Command group =
        line.addGroup("preset", "Presets on the search path (ZEL_PATH)", "zel preset list");
    const Added listed = line.addTo(group, "list", "List tables, their types, or presets by name",
                                    "zel preset list", list);
    listed.command.addOption("TABLE", listed.call.table, "The family of node types");
    listed.command.addOption("OPNAME", listed.call.opName, "The node type");
    addSave(line, group);
    addNamed(line, group, "show", "Print the text of one", "zel preset show Node light Night",
             show);
    addApply(line, group);
    addArranging(line, group, "copy", "Save one under another name",
                 "zel preset copy Node light Night Dusk", copy);
    addArranging(line, group, "rename", "Rename one", "zel preset rename Node light Dusk Dawn",
                 rename);
    addFolder(addNamed(line, group, "delete", "Delete one", "zel preset delete Node light Night",
                       remove));
}
