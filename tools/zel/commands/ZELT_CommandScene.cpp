#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <KIT/KIT_Digits.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace
{

struct Call
{
    std::string file;
    std::string to;
    std::vector<std::string> maps;
    bool binary = false;
    bool allowLoss = false;
};

/// A line of the tree.
struct Row
{
    std::string path;
    std::string type;
    bool isMissing;
    int parms;
    int changed;
    int channels;
    int spares;
    int kept; ///< sections that aren't known here
};

Row rowOf(NOD_Node &node)
{
    KIT_WorkBuffer path;
    ZEL_ParmList &list = node.getParms();
    const auto &kept = node.getKeptSections();
    // Interfaces that aren't there are kept at the root.
    const auto isOther = [](const auto &section) {
        return section.first.rfind("interface ", 0) != 0 &&
               section.first != NOD_Node::theVersionSection;
    };
    Row row{node.getFullPath(path),
            node.getTypeName(),
            node.isTypeMissing(),
            list.getEntries(),
            0,
            node.getChannels().entries(),
            int(node.getSpareParms().getDescriptions().size()),
            int(std::count_if(kept.begin(), kept.end(), isOther))};
    for (int i = 0; i < list.getEntries(); ++i) {
        row.changed += !list.getParmPtr(i)->isTrueFactoryDefault();
    }
    return row;
}

std::vector<Row> rowsOf(NOD_Scene &scene)
{
    std::vector<Row> rows;
    std::vector<NOD_Node *> open{&scene.getRoot()};
    while (!open.empty()) {
        NOD_Node &node = *open.back();
        open.pop_back();
        const auto &children = node.getChildren();
        std::for_each(children.rbegin(), children.rend(),
                      [&](const auto &child) { open.push_back(child.get()); });
        const Row row = rowOf(node);
        if (node.getParent() || row.parms + row.channels + row.kept > 0) {
            rows.push_back(row);
        }
    }
    return rows;
}

std::string countsOf(const Row &row)
{
    std::string text = row.isMissing ? "type missing" : ZELTcounted(row.parms, "parameter");
    text += row.changed ? ", " + std::to_string(row.changed) + " changed" : "";
    text += row.channels ? ", " + ZELTcounted(row.channels, "channel") : "";
    text += row.spares ? ", " + ZELTcounted(row.spares, "spare") : "";
    return text + (row.kept ? ", " + ZELTcounted(row.kept, "section") + " kept" : "");
}

std::string numberText(double value)
{
    return KIT_Digits(value).buffer();
}

void printText(const NOD_Scene &scene, const std::vector<Row> &rows)
{
    std::cout << "frames " << numberText(scene.getFirstFrame()) << " to "
              << numberText(scene.getLastFrame()) << " at " << numberText(scene.getFrameRate())
              << " a second, now " << numberText(scene.getFrame()) << '\n';
    for (const auto &[name, value] : scene.getRoot().getVariables()) {
        std::cout << ZELTprintable("$" + name + " = " + value) << '\n';
    }
    std::size_t paths = 0;
    std::size_t types = 0;
    for (const Row &row : rows) {
        paths = std::max(paths, ZELTprintable(row.path).size());
        types = std::max(types, ZELTprintable(row.type).size());
    }
    for (const Row &row : rows) {
        std::string line = ZELTprintable(row.path);
        line.resize(paths + 2, ' ');
        std::string type = ZELTprintable(row.type);
        type.resize(types + 2, ' ');
        std::cout << line << type << countsOf(row) << '\n';
    }
    std::cout << ZELTcounted(int(rows.size()), "node") << '\n';
}

void printJson(const NOD_Scene &scene, const std::vector<Row> &rows)
{
    ZELT_Json json;
    json["frame_rate"] = scene.getFrameRate();
    json["frame_range"] = {scene.getFirstFrame(), scene.getLastFrame()};
    json["frame"] = scene.getFrame();
    json["variables"] = ZELT_Json::object();
    for (const auto &[name, value] : scene.getRoot().getVariables()) {
        json["variables"][name] = value;
    }
    json["nodes"] = ZELT_Json::array();
    for (const Row &row : rows) {
        ZELT_Json node;
        node["path"] = row.path;
        node["type"] = row.type.empty() ? ZELT_Json() : ZELT_Json(row.type);
        node["type_missing"] = row.isMissing;
        node["parameters"] = row.parms;
        node["changed"] = row.changed;
        node["channels"] = row.channels;
        node["spares"] = row.spares;
        node["sections_kept"] = row.kept;
        json["nodes"].push_back(node);
    }
    ZELTprintJson(json);
}

bool convert(NOD_Scene &scene, const Call &call, ZELT_Messages &messages)
{
    NOD_SaveOptions options;
    options.form = call.binary ? NOD_SaveOptions::Form::BINARY : NOD_SaveOptions::Form::TEXT;
    options.folder = ZELTfolderOf(call.to);
    NOD_Report report;
    std::ostringstream os;
    const bool saved = NOD_SceneFile::save(scene, os, options, report);
    messages.add(report);
    return saved && ZELTwriteFile(call.to, os.str(), messages);
}

/// Those of the types of older nodes; a map that doesn't name its type is refused.
bool addMaps(const std::vector<std::string> &paths, NOD_Scene &scene, NOD_Report &report)
{
    for (const std::string &path : paths) {
        const auto map = std::make_shared<NOD_MigrationMap>();
        if (!ZELTreadMap(*map, path, report)) {
            return false;
        }
        if (map->getType().empty()) {
            map->tell(0, "", "doesn't say the type of its nodes", report);
            return false;
        }
        if (!map->loadScripts(report)) {
            return false;
        }
        scene.setMigrationMap(map->getType(), map);
    }
    return true;
}

bool load(NOD_Scene &scene, const std::string &file, NOD_Report &report)
{
    if (file != "-") {
        return NOD_SceneFile::load(scene, file, ZELTloadOptions(), report);
    }
    std::string bytes;
    if (!ZELTreadInput(bytes, report)) {
        return false;
    }
    std::istringstream is(bytes);
    return NOD_SceneFile::load(scene, is, "standard input", ZELTloadOptions(), report);
}

int showScene(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    NOD_Scene scene;
    NOD_Report report;
    if (!addMaps(call.maps, scene, report)) {
        messages.add(report);
        return 1;
    }
    const bool loaded = load(scene, call.file, report);
    messages.add(report);
    const bool lossFlag = report.hasLoss() && !call.allowLoss;
    if (lossFlag) {
        messages.error(call.file, std::string("not all of it is carried") +
                                      (call.to.empty() ? "" : "; ") +
                                      (call.to.empty() ? "" : theZELTLossOffer));
    }
    if (!loaded || (!call.to.empty() && (lossFlag || !convert(scene, call, messages)))) {
        return 1;
    }
    if (call.to.empty()) {
        const std::vector<Row> rows = rowsOf(scene);
        options.json ? printJson(scene, rows) : printText(scene, rows);
    }
    return report.hasErrors() || lossFlag ? 1 : 0;
}

} // namespace

void ZELTaddScene(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("scene", "Show what a scene file holds, or write it in another form",
                 "zel scene examples/studio.scene", showScene);
    command.addOption("FILE", call.file, "A scene file in either form").required();
    const ZELT_Option to = command.addOption("--convert", call.to, "A scene file to write");
    line.addOutput(command);
    command.addList("--map", call.maps, "The migration map of a type, for its older nodes");
    ZELTaddAllowLoss(command, call.allowLoss,
                     "Exit 0, and write, also where a map loses or changes a value");
    command.addFlag("--binary", call.binary, "In the binary form, rather than as text").needs(to);
}
