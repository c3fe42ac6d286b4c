#include <NOD/files/NOD_TreeVersionsPrivate.h>

#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_MigrationWalk.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/migration/NOD_MigrationReadersPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_ParmRenamesPrivate.h>

#include <utility>

namespace
{

using Fate = NOD_Migration::Fate;

} // namespace

std::string NODversionToSave(const NOD_Scene &scene, const NOD_Node &node)
{
    const std::string own = node.getTypeVersion();
    if (!own.empty()) {
        return own;
    }
    const auto map = node.isTypeMissing() ? nullptr : scene.findMigrationMap(node.getTypeName());
    return map ? map->getVersions().back().name : "";
}

std::shared_ptr<const NOD_Interface>
NOD_TreeVersions::interfaceFor(std::shared_ptr<const NOD_Interface> present, std::string &version,
                               std::string &warning)
{
    myNext = Older();
    const auto map = present ? myScene.findMigrationMap(present->getTypeName()) : nullptr;
    if (!map) {
        warning = present && !version.empty()
                      ? "is of version " + version +
                            " of its type, which no map is known for: loaded as it is"
                      : "";
        return present;
    }
    const int found = version.empty() ? map->getUnmarked() : map->findVersion(version);
    if (found < 0 && !version.empty()) {
        warning = "is of version " + version + " of its type, and " + map->getName() + " has " +
                  map->getVersionNames() + ": loaded as it is";
        return present;
    }
    version = "";
    if (found < 0 || found == map->getLast()) {
        return present;
    }
    const auto &former = map->getVersions()[std::size_t(found)].interface;
    if (!former || !map->getVersions().back().interface) {
        version = map->getVersions()[std::size_t(found)].name;
        warning =
            "is of version " + version + " of its type, whose script isn't there: loaded as it is";
        return present;
    }
    if (present->getSource() == NOD_Interface::Source::SCRIPT_TEXT) {
        // The file's own is of that version too.
        present = map->getVersions().back().interface;
        myScene.addInterface(present);
    }
    myNext.map = map;
    myNext.version = found;
    myNext.present = std::move(present);
    return former;
}

void NOD_TreeVersions::made(NOD_Node *node, const std::string &path)
{
    if (node && myNext.map) {
        myNext.node = node;
        myNext.path = path;
        myOlder.push_back(std::move(myNext));
    }
    myNext = Older();
}

namespace
{

void tell(const std::string &file, const std::string &node, const std::string &token,
          const std::string &text, NOD_Report &report)
{
    const std::string subject =
        "values " + (token.empty() ? node : (node == "/" ? "" : node) + "/" + token);
    report.add({KIT_ERROR_WARNING, file, 0, subject, text, {}, 0});
}

} // namespace

void NOD_TreeVersions::bringUp(const Older &older, NOD_MigrationWalk &walk, const std::string &file,
                               NOD_Report &report)
{
    NOD_Report found;
    const bool good = walk.run(*older.node, *older.map, older.version, older.map->getLast(),
                               myScene.getTime(), found, older.present);
    report.append(found);
    if (!good) {
        // A scene that is being loaded records no undo: it may have come a part of the way.
        if (older.node->getTypeVersion().empty()) {
            older.node->setTypeVersion(older.map->getVersions()[std::size_t(older.version)].name);
        }
        tell(file, older.path, "",
             "can't be brought up to the last version: it is of version " +
                 older.node->getTypeVersion(),
             report);
    }
    for (const NOD_MigrationWalk::Stage &stage : walk.getStages()) {
        for (const NOD_Migration::Entry &entry : stage.entries) {
            if (entry.fate == Fate::CHANGED || (entry.fate == Fate::LOST && !entry.defaultFlag)) {
                report.noteLoss();
                tell(file, older.path, entry.token,
                     "version " + stage.from + " to " + stage.to + ": " + entry.asText(), report);
            }
        }
    }
}

void NOD_TreeVersions::bringUp(const std::string &file, NOD_Report &report)
{
    if (myOlder.empty()) {
        return;
    }
    NOD_MigrationReaders::Targets targets;
    for (const Older &older : myOlder) {
        targets.insert(older.node);
    }
    NOD_MigrationReaders readers(myScene.getRoot(), targets, myScene.getTime());
    NOD_ParmRenames renames;
    for (const Older &older : myOlder) {
        NOD_MigrationWalk walk;
        walk.setRenames(&renames);
        bringUp(older, walk, file, report);
        readers.follow(*older.node, walk);
    }
    NOD_Edit edit(myScene, "Migrate");
    renames.rewriteOthers([&](NOD_Node &node, ZEL_Parm &parm) { edit.change(node, parm); });
    for (const NOD_MigrationReaders::Change &change : readers.findChanges()) {
        report.noteLoss();
        tell(file, NODpathOf(*change.node), change.entry.token, change.entry.asText(), report);
    }
    myOlder.clear();
}
