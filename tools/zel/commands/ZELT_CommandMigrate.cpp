#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Migration.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_PresetText.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_ValueFile.h>

#include <iostream>
#include <sstream>

namespace
{

using Fate = NOD_Migration::Fate;

struct Call
{
    std::string former;
    std::string present;
    std::string input;
    std::string channels;
    std::string out; ///< "" only with a dry run
    std::string form;
    std::vector<std::string> renames;
    std::vector<std::string> maps;
    bool dryFlag = false;
    bool allowLossFlag = false;
};

/// The node that the file is about; nodes below it, which aren't carried, are told.
NOD_Node *addNode(NOD_Scene &scene, const ZELT_ScriptPtr &script, const NOD_ValueFile &file,
                  NOD_Report &report)
{
    std::string name = script->getTypeName();
    if (file.getForm() == NOD_ValueFile::Form::NODE) {
        const std::vector<std::string> paths = file.findNodes(report);
        if (paths.empty()) {
            return nullptr;
        }
        name = paths[0].substr(paths[0].rfind('/') + 1);
        for (std::size_t i = 1; i < paths.size(); ++i) {
            report.warning(paths[i], "a node below the one that is carried is left out");
        }
    }
    return ZELTaddBareNode(scene, name, script, report);
}

bool write(NOD_Scene &scene, NOD_Node &node, const NOD_ValueFile &file, const Call &call,
           std::ostream &os, NOD_Report &report)
{
    const bool presetFlag =
        file.getKind() == NOD_FileKind::PRESET || file.getKind() == NOD_FileKind::PRESETS;
    if (call.form.empty() && presetFlag) {
        return NODsavePreset(node, {}, os, report);
    }
    NOD_ValueFile::Form form = file.getForm();
    NOD_ValueFile::findForm(call.form, form);
    return NOD_ValueFile::save(scene, node, form, os, ZELTfolderOf(call.out), report);
}

ZELT_Json asJson(const NOD_Migration::Entry &entry)
{
    ZELT_Json json;
    json["fate"] = NOD_Migration::getFateName(entry.fate);
    json["token"] = entry.token;
    json["new_token"] = entry.fate == Fate::LOST ? ZELT_Json() : ZELT_Json(entry.newToken);
    json["before"] = entry.fate == Fate::NEW ? ZELT_Json() : ZELT_Json(entry.before);
    json["after"] = entry.fate == Fate::LOST ? ZELT_Json() : ZELT_Json(entry.after);
    json["was_default"] = entry.fate == Fate::NEW ? ZELT_Json() : ZELT_Json(entry.defaultFlag);
    json["reason"] = entry.reason.empty() ? ZELT_Json() : ZELT_Json(entry.reason);
    return json;
}

/// To standard error where the values are what is printed.
void print(const NOD_Migration &migration, bool jsonFlag, std::ostream &os)
{
    if (jsonFlag) {
        ZELT_Json json = ZELT_Json::array();
        for (const NOD_Migration::Entry &entry : migration.getEntries()) {
            json.push_back(asJson(entry));
        }
        os << ZELTjsonDocument(json) << '\n';
        return;
    }
    for (const NOD_Migration::Entry &entry : migration.getEntries()) {
        os << entry.asText() << '\n';
    }
    const char *between = "";
    for (const Fate fate : {Fate::CARRIED, Fate::DEFAULT, Fate::CHANGED, Fate::LOST, Fate::NEW}) {
        os << between << migration.count(fate) << ' ' << NOD_Migration::getFateName(fate);
        between = ", ";
    }
    os << '\n';
}

int migrate(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const ZELT_ScriptPtr former = ZELTloadScript(call.former, messages);
    const ZELT_ScriptPtr present = former ? ZELTloadScript(call.present, messages) : nullptr;
    if (!present) {
        return 1;
    }
    NOD_Report report;
    NOD_Migration migration;
    NOD_Scene scene;
    std::vector<NOD_ValueFile> files(call.channels.empty() ? 1 : 2);
    const NOD_ValueFile &file = files[0];
    std::vector<std::string> partly;
    bool good = true;
    for (const std::string &map : call.maps) {
        good = migration.readRenames(map, report) && good;
    }
    for (const std::string &rename : call.renames) {
        good = migration.addRename(rename, report) && good;
    }
    good = good && ZELTreadValues(files[0], call.input, report) &&
           (call.channels.empty() || ZELTreadValues(files[1], call.channels, report));
    NOD_Node *const node = good ? addNode(scene, former, file, report) : nullptr;
    good = node && NOD_ValueFile::applyAll(files, *node, partly, report);
    if (node) {
        NODgrowBlocks(*node, 0.0);
    }
    good = good && migration.run(*node, present, 0.0, report);
    std::ostringstream os;
    good = good && (call.dryFlag || write(scene, *node, file, call, os, report));
    messages.add(report);
    messages.takeErrors("");
    if (!good || messages.hasErrors()) {
        return 1;
    }
    // A warning is something of the input that isn't in the output either.
    const bool lossFlag = (migration.hasLoss() || !report.isEmpty()) && !call.allowLossFlag;
    if (!lossFlag && !call.dryFlag && !ZELTwriteFile(call.out, os.str(), messages)) {
        return 1;
    }
    print(migration, options.json, call.out == "-" ? std::cerr : std::cout);
    if (lossFlag) {
        messages.error(call.input, std::string("not all of it is carried") +
                                       (call.dryFlag ? "" : "; ") +
                                       (call.dryFlag ? "" : theZELTLossOffer));
    }
    return lossFlag ? 1 : 0;
}

} // namespace

void ZELTaddMigrate(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "migrate", "Take values over into a new version of a script, and tell what becomes of each",
        "zel migrate examples/migration/emitter_v1.ds examples/migration/emitter.ds "
        "examples/migration/emitter_v1.parms --rename birthrate=rate --allow-loss -o emitter.parms",
        migrate);
    command.addOption("OLD", call.former, "The dialog script that the values are of").required();
    command.addOption("NEW", call.present, "The dialog script that they are to be of").required();
    command.addOption("IN", call.input, "A stream, channel file, preset, or node or scene file")
        .required();
    const ZELT_Option out =
        command.addOption("-o,--out", call.out, "The file to write; - for standard output");
    const ZELT_Option dry = command.addFlag("--dry-run", call.dryFlag, "Only tell; write nothing");
    command.addOption("--channels", call.channels, "The channel file of a stream");
    command.addList("--rename", call.renames, "OLD=NEW, with # for the numbers of items");
    command.addList("--map", call.maps, "A file of renames: OLD NEW on each line");
    ZELTaddForm(command, call.form);
    ZELTaddAllowLoss(command, call.allowLossFlag, "Exit 0 also where a value is lost or changed");
    command.needsOne("-o or --dry-run", {out, dry});
}
