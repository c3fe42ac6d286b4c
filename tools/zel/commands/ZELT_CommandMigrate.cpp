#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Migration.h>
#include <NOD/NOD_MigrationCheck.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_MigrationWalk.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_PresetText.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_ValueFile.h>

#include <algorithm>
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
    std::string from; ///< a version of the map; "" for what the file says
    std::string to;   ///< "" for the last
    bool dryFlag = false;
    bool checkFlag = false;
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
    const bool goneFlag = entry.fate == Fate::LOST || entry.fate == Fate::DROPPED;
    json["new_token"] = goneFlag ? ZELT_Json() : ZELT_Json(entry.newToken);
    json["before"] = entry.fate == Fate::NEW ? ZELT_Json() : ZELT_Json(entry.before);
    json["after"] = goneFlag ? ZELT_Json() : ZELT_Json(entry.after);
    json["was_default"] = entry.fate == Fate::NEW ? ZELT_Json() : ZELT_Json(entry.defaultFlag);
    json["reason"] = entry.reason.empty() ? ZELT_Json() : ZELT_Json(entry.reason);
    return json;
}

/// With the steps of a map, which a migration by names alone hasn't.
ZELT_Json asJson(const NOD_MigrationWalk::Stage &stage)
{
    ZELT_Json values = ZELT_Json::array();
    for (const NOD_Migration::Entry &entry : stage.entries) {
        ZELT_Json steps = ZELT_Json::array();
        for (const NOD_MigrationStep &step : entry.steps) {
            steps.push_back(step.asText());
        }
        values.push_back(asJson(entry));
        values.back()["steps"] = std::move(steps);
    }
    ZELT_Json json;
    json["from"] = stage.from;
    json["to"] = stage.to;
    json["values"] = std::move(values);
    return json;
}

void print(const NOD_Migration::Entries &entries, std::ostream &os)
{
    for (const NOD_Migration::Entry &entry : entries) {
        os << entry.asText() << '\n';
    }
    const char *between = "";
    for (const Fate fate : {Fate::CARRIED, Fate::CONVERTED, Fate::DEFAULT, Fate::CHANGED,
                            Fate::LOST, Fate::DROPPED, Fate::NEW}) {
        const auto count = std::count_if(entries.begin(), entries.end(),
                                         [&](const auto &entry) { return entry.fate == fate; });
        const bool stepFlag = fate == Fate::CONVERTED || fate == Fate::DROPPED;
        if (count > 0 || !stepFlag) {
            os << between << count << ' ' << NOD_Migration::getFateName(fate);
            between = ", ";
        }
    }
    os << '\n';
}

void print(const NOD_Migration &migration, bool jsonFlag, std::ostream &os)
{
    if (!jsonFlag) {
        print(migration.getEntries(), os);
        return;
    }
    ZELT_Json json = ZELT_Json::array();
    for (const NOD_Migration::Entry &entry : migration.getEntries()) {
        json.push_back(asJson(entry));
    }
    os << ZELTjsonDocument(json) << '\n';
}

void print(const NOD_MigrationWalk &walk, bool jsonFlag, std::ostream &os)
{
    ZELT_Json stages = ZELT_Json::array();
    for (const NOD_MigrationWalk::Stage &stage : walk.getStages()) {
        if (jsonFlag) {
            stages.push_back(asJson(stage));
        } else {
            os << "version " << stage.from << " -> " << stage.to << '\n';
            print(stage.entries, os);
        }
    }
    if (jsonFlag) {
        ZELT_Json json;
        json["stages"] = std::move(stages);
        os << ZELTjsonDocument(json) << '\n';
    }
}

std::vector<NOD_Migration::Names> renamesOf(const NOD_Migration &migration)
{
    return {migration.getRenames()};
}

std::vector<NOD_Migration::Names> renamesOf(const NOD_MigrationWalk &walk)
{
    std::vector<NOD_Migration::Names> renames;
    for (const NOD_MigrationWalk::Stage &stage : walk.getStages()) {
        renames.push_back(stage.renames);
    }
    return renames;
}

/// What of the scene goes on reading the node's values by their former names.
void tellReaders(const std::string &input, const NOD_ValueFile &file,
                 const std::vector<NOD_Migration::Names> &renames, NOD_Report &report)
{
    const bool anyFlag = std::any_of(renames.begin(), renames.end(),
                                     [](const auto &names) { return !names.empty(); });
    if (!anyFlag || file.getKind() != NOD_FileKind::SCENE || input == "-") {
        return;
    }
    NOD_Report ignored; // it is another node that is written
    NOD_Report found;
    NOD_Scene scene;
    const std::string path = input.substr(0, NOD_ValueFile::findSection(input));
    const std::vector<std::string> nodes = file.findNodes(ignored);
    if (!nodes.empty() && NOD_SceneFile::load(scene, path, ZELTloadOptions(), ignored)) {
        NODtellFormerReaders(scene, nodes[0], renames, found);
    }
    for (NOD_Message message : found.getMessages()) {
        message.file = path;
        report.add(std::move(message));
    }
}

/// Writes what the node has now, unless something is lost; the account says what.
template <class Account>
int finish(const Call &call, const std::string &input, NOD_Scene &scene, NOD_Node *node,
           const NOD_ValueFile &file, const Account &account, bool good, NOD_Report &report,
           const ZELT_Options &options, ZELT_Messages &messages)
{
    std::ostringstream os;
    if (good) {
        tellReaders(input, file, renamesOf(account), report);
    }
    good = good && (call.dryFlag || write(scene, *node, file, call, os, report));
    messages.add(report);
    messages.takeErrors("");
    if (!good || messages.hasErrors()) {
        return 1;
    }
    // A warning is something of the input that isn't in the output either.
    const bool lossFlag = (account.hasLoss() || !report.isEmpty()) && !call.allowLossFlag;
    if (!lossFlag && !call.dryFlag && !ZELTwriteFile(call.out, os.str(), messages)) {
        return 1;
    }
    // To standard error where the values are what is printed.
    print(account, options.json, call.out == "-" ? std::cerr : std::cout);
    if (lossFlag) {
        messages.error(input, std::string("not all of it is carried") + (call.dryFlag ? "" : "; ") +
                                  (call.dryFlag ? "" : theZELTLossOffer));
    }
    return lossFlag ? 1 : 0;
}

/// The node with the values of the file; null if there is none. `good` is whether they are all there.
NOD_Node *readNode(const Call &call, const std::string &input, NOD_Scene &scene,
                   const ZELT_ScriptPtr &script, std::vector<NOD_ValueFile> &files, bool &good,
                   NOD_Report &report)
{
    std::vector<NOD_FileLoss> losses;
    good = ZELTreadValues(files[0], input, report) &&
           (call.channels.empty() || ZELTreadValues(files[1], call.channels, report));
    NOD_Node *const node = good ? addNode(scene, script, files[0], report) : nullptr;
    good = node && NOD_ValueFile::applyAll(files, *node, losses, report);
    NODcheckLosses(losses, ZELTlossRule(true), report); // a warning is a loss here
    if (node) {
        NODgrowBlocks(*node, 0.0);
    }
    return node;
}

int migrate(const Call &call, const std::vector<NOD_MigrationMap> &maps,
            const ZELT_Options &options, ZELT_Messages &messages)
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
    bool good = true;
    for (const NOD_MigrationMap &map : maps) {
        good = migration.addRenames(map, report) && good;
    }
    for (const std::string &rename : call.renames) {
        good = migration.addRename(rename, report) && good;
    }
    NOD_Node *const node =
        good ? readNode(call, call.input, scene, former, files, good, report) : nullptr;
    good = good && node && migration.run(*node, present, 0.0, report);
    return finish(call, call.input, scene, node, files[0], migration, good, report, options,
                  messages);
}

/// The place of a version that the call names; -1 after an error.
int findVersion(const NOD_MigrationMap &map, const std::string &name, NOD_Report &report)
{
    const int version = map.findVersion(name);
    if (version < 0) {
        report.error("", (name.empty() ? "say --from VERSION, one of "
                                       : "there is no version " + name + " in " + map.getName() +
                                             ", which has ") +
                             map.getVersionNames());
    }
    return version;
}

/// What a node file says; standard input is read once, by what applies it.
std::string versionIn(const std::string &input, NOD_Report &report)
{
    NOD_ValueFile file;
    return input != "-" && ZELTreadValues(file, input, report) ? file.findNodeVersion() : "";
}

/// Whether the input is a scene of several nodes, which are brought up together and by another command.
bool isSceneOfSeveral(const std::string &input)
{
    NOD_ValueFile file;
    NOD_Report ignored;
    return input != "-" && NOD_ValueFile::findSection(input) == std::string::npos &&
           ZELTreadValues(file, input, ignored) && file.getKind() == NOD_FileKind::SCENE &&
           file.findNodes(ignored).empty();
}

/// Files without a version may be of one that the map names. What standard input says isn't known yet.
int findFrom(const NOD_MigrationMap &map, const std::string &name, const std::string &input,
             NOD_Report &report)
{
    return name.empty() && input != "-" && map.getUnmarked() >= 0 ? map.getUnmarked()
                                                                  : findVersion(map, name, report);
}

int walk(const Call &call, NOD_MigrationMap &map, const ZELT_Options &options,
         ZELT_Messages &messages)
{
    const std::string &input = call.former;
    if (isSceneOfSeveral(input)) {
        messages.error(input, "is a scene: its nodes are brought up by zel scene " + input +
                                  " --map " + map.getName() + " --convert OUT");
        return 1;
    }
    NOD_Report report;
    NOD_Scene scene;
    NOD_MigrationWalk walk;
    std::vector<NOD_ValueFile> files(call.channels.empty() ? 1 : 2);
    bool good = map.loadScripts(report);
    const std::string said = call.from.empty() ? versionIn(input, report) : call.from;
    const int from = good && !report.hasErrors() ? findFrom(map, said, input, report) : -1;
    const int to = call.to.empty() ? map.getLast() : findVersion(map, call.to, report);
    good = from >= 0 && to >= 0;
    NOD_Node *const node =
        good ? readNode(call, input, scene, map.getVersions()[std::size_t(from)].interface, files,
                        good, report)
             : nullptr;
    walk.setAllowLoss(call.allowLossFlag);
    good = good && node && walk.run(*node, map, from, to, 0.0, report);
    return finish(call, input, scene, node, files[0], walk, good, report, options, messages);
}

/// Whether each map covers its scripts and does what its tests say.
int check(std::vector<NOD_MigrationMap> &maps, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZELT_Json json = ZELT_Json::array();
    for (NOD_MigrationMap &map : maps) {
        NOD_Report report;
        int tests = 0;
        int failed = 0;
        int holes = 0;
        if (map.isPlain()) {
            map.tell(0, "", "has no versions to be checked", report);
        } else if (map.loadScripts(report)) {
            holes = NODcheckMigration(map, report);
            failed = NODrunMigrationTests(map, report, &tests);
        }
        messages.add(report);
        messages.takeErrors("");
        json.push_back({{"map", map.getName()},
                        {"versions", map.isPlain() ? 0 : int(map.getVersions().size())},
                        {"holes", holes},
                        {"tests", tests},
                        {"failed", failed}});
        if (!options.json && !report.hasErrors()) {
            std::cout << map.getName() << ": versions " << map.getVersionNames() << ", "
                      << ZELTcounted(tests, "test") << '\n';
        }
    }
    if (options.json) {
        std::cout << ZELTjsonDocument(json) << '\n';
    }
    return messages.hasErrors() ? 1 : 0;
}

int run(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    NOD_Report report;
    std::vector<NOD_MigrationMap> maps(call.maps.size());
    bool good = true;
    bool versionsFlag = false;
    for (std::size_t i = 0; i < maps.size(); ++i) {
        good = ZELTreadMap(maps[i], call.maps[i], report) && good;
        versionsFlag = versionsFlag || (good && !maps[i].isPlain());
    }
    messages.add(report);
    if (!good) {
        return 1;
    }
    if (call.checkFlag) {
        return check(maps, options, messages);
    }
    if (!versionsFlag) {
        if (call.input.empty() || !call.from.empty() || !call.to.empty()) {
            messages.error("", "without a --map of versions it is zel migrate OLD NEW IN");
            return 1;
        }
        return migrate(call, maps, options, messages);
    }
    if (maps.size() > 1 || !call.renames.empty() || !call.present.empty()) {
        messages.error("", maps[0].getName() + " has versions and their scripts: it goes with IN "
                                               "alone, without OLD, NEW and other renames");
        return 1;
    }
    return walk(call, maps[0], options, messages);
}

} // namespace

void ZELTaddMigrate(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "migrate", "Take values over into a new version of a script, and tell what becomes of each",
        "zel migrate examples/migration/emitter_v1.ds examples/migration/emitter.ds "
        "examples/migration/emitter_v1.parms --rename birthrate=rate --allow-loss -o emitter.parms",
        run);
    const ZELT_Option former = command.addOption(
        "OLD", call.former,
        "The dialog script that the values are of; with a --map of versions, IN itself");
    const ZELT_Option present =
        command.addOption("NEW", call.present, "The dialog script that they are to be of");
    const ZELT_Option input = command.addOption(
        "IN", call.input, "A stream, channel file, preset, or node or scene file");
    present.needs(input);
    const ZELT_Option out =
        command.addOption("-o,--out", call.out, "The file to write; - for standard output");
    const ZELT_Option dry = command.addFlag("--dry-run", call.dryFlag, "Only tell; write nothing");
    command.addOption("--channels", call.channels, "The channel file of a stream");
    command.addList("--rename", call.renames, "OLD=NEW, with # for the numbers of items");
    const ZELT_Option maps = command.addList(
        "--map", call.maps, "A file of renames, OLD NEW on each line, or of versions");
    command.addOption("--from", call.from, "The version that the values are of").needs(maps);
    command.addOption("--to", call.to, "The version that they are to be of; else the last")
        .needs(maps);
    ZELTaddForm(command, call.form);
    ZELTaddAllowLoss(command, call.allowLossFlag, "Exit 0 also where a value is lost or changed");
    const ZELT_Option check =
        command
            .addFlag("--check", call.checkFlag,
                     "Whether the maps cover the scripts of their versions; runs their tests")
            .needs(maps);
    check.excludes(former);
    command.needsOne("OLD NEW IN", {former, check});
    command.needsOne("-o or --dry-run", {out, dry, check});
}
