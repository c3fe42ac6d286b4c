#include "PYZ_Migration.h"

#include "PYZ_Edit.h"
#include "PYZ_Interface.h"

#include <NOD/NOD_Migration.h>
#include <NOD/NOD_MigrationCheck.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_MigrationWalk.h>

namespace
{

/// `zel.MigrationMap`.
struct Map
{
    using PYZ_Class = void;

    std::shared_ptr<NOD_MigrationMap> map;
};

void addEntries(const NOD_Migration::Entries &entries, const std::string &from,
                const std::string &to, py::list &out)
{
    const py::object type = PYZrecord("Migrated");
    for (const NOD_Migration::Entry &entry : entries) {
        out.append(type(NOD_Migration::getFateName(entry.fate), PYZtext(entry.token),
                        PYZtext(entry.newToken), PYZtext(entry.before), PYZtext(entry.after),
                        PYZtext(entry.reason), entry.defaultFlag, PYZtext(from), PYZtext(to)));
    }
}

py::object account(const py::list &entries, bool lossFlag)
{
    return PYZrecord("Account")(entries, lossFlag);
}

std::unique_ptr<Map> readMap(const py::object &path)
{
    const std::string file = PYZfromPath(path);
    auto made = std::make_unique<Map>(Map{std::make_shared<NOD_MigrationMap>()});
    PYZchange(nullptr, "MapError", [&](NOD_Report &report) {
        return made->map->read(file, report) &&
               (made->map->isPlain() || made->map->loadScripts(report));
    });
    return made;
}

py::object migrateByNames(const PYZ_Node &node, const PYZ_InterfacePtr &interface,
                          const py::object &renames)
{
    NOD_Migration migration;
    NOD_Report report;
    for (const auto &[former, present] : py::dict(renames)) {
        migration.addRename(PYZfromText(former, "a name"), PYZfromText(present, "a name"), report);
    }
    PYZtell(report, "MapError", true);
    PYZeditNode(node, "MapError", [&](NOD_Scene &scene, NOD_Node &held, NOD_Report &faults) {
        return migration.run(held, interface, scene.getTime(), faults);
    });
    py::list entries;
    addEntries(migration.getEntries(), "", "", entries);
    return account(entries, migration.hasLoss());
}

int versionOf(const NOD_MigrationMap &map, const std::string &name, int otherwise)
{
    const int version = name.empty() ? otherwise : map.findVersion(name);
    if (version < 0) {
        PYZraise("MapError",
                 (name.empty()
                      ? "the node says no version of its type: start is one of "
                      : "there is no version " + name + " in " + map.getName() + ", which has ") +
                     map.getVersionNames());
    }
    return version;
}

py::object migrateByMap(const PYZ_Node &node, const Map &map, const py::object &to,
                        const py::object &from, bool allowLoss)
{
    const auto word = [](const py::object &name) {
        return name.is_none() ? std::string() : PYZfromText(name, "a version");
    };
    NOD_MigrationWalk walk;
    if (map.map->isPlain()) {
        PYZraise("MapError", map.map->getName() + " has no versions");
    }
    const std::string said = word(from);
    const int first = versionOf(*map.map, said.empty() ? node.get().getTypeVersion() : said,
                                map.map->getUnmarked());
    const int last = versionOf(*map.map, word(to), map.map->getLast());
    walk.setAllowLoss(allowLoss);
    PYZeditNode(node, "MapError", [&](NOD_Scene &scene, NOD_Node &held, NOD_Report &report) {
        return walk.run(held, *map.map, first, last, scene.getTime(), report);
    });
    py::list entries;
    for (const NOD_MigrationWalk::Stage &stage : walk.getStages()) {
        addEntries(stage.entries, stage.from, stage.to, entries);
    }
    return account(entries, walk.hasLoss());
}

py::object migrate(const py::object &migrated, const py::object &to, const py::object &renames,
                   const py::object &version, const py::object &start, bool allowLoss)
{
    const PYZ_Node &node = PYZtoNode(migrated, "what is migrated");
    if (py::isinstance<Map>(to)) {
        return migrateByMap(node, to.cast<const Map &>(), version, start, allowLoss);
    }
    if (!py::isinstance<PYZ_Interface>(to)) {
        throw py::type_error("a node is migrated to a zel.Interface, or by a zel.MigrationMap");
    }
    return migrateByNames(node, PYZtoInterface(to), renames);
}

py::object checkMap(const Map &self)
{
    int tests = 0, failed = 0, holes = 0;
    NOD_Report report;
    const PYZ_Changing changing(nullptr);
    PYZgather(report, {}, [&](NOD_Report &) {
        holes = NODcheckMigration(*self.map, report);
        failed = NODrunMigrationTests(*self.map, report, &tests);
        return true;
    });
    return PYZrecord("MapCheck")(holes, tests, failed, PYZmessages(report));
}

} // namespace

void PYZdefineMigration(py::module_ &module)
{
    py::class_<Map>(module, "MigrationMap", py::is_final(), R"doc(MigrationMap(path)

What becomes of the values of a node type from version to version, with its scripts: see docs/migration.md.

>>> import pathlib, tempfile
>>> text = "migration 1.0\nversion 1 v1.ds\nversion 2 v2.ds\n\trename rate birth\n"
>>> with tempfile.TemporaryDirectory() as name:
...     folder = pathlib.Path(name)
...     for version, parm in ("v1", "rate"), ("v2", "birth"):
...         script = '{ name emitter parm { name "%s" type float } }' % parm
...         length = (folder / (version + ".ds")).write_text(script)
...     length = (folder / "emitter.map").write_text(text)
...     emitter = zel.MigrationMap(folder / "emitter.map")
>>> emitter.versions, list(emitter.interface("1"))
(('1', '2'), ['rate'])
)doc")
        .def(py::init(&readMap), py::arg("path"))
        .def_property_readonly(
            "type", [](const Map &self) { return PYZtext(self.map->getType()); },
            "The type of the nodes; '' for any.")
        .def_property_readonly(
            "versions",
            [](const Map &self) {
                py::list names;
                for (const NOD_MigrationVersion &version : self.map->getVersions()) {
                    names.append(PYZtext(version.name));
                }
                return py::tuple(names);
            },
            "The names of the versions, the oldest first.")
        .def(
            "interface",
            [](const Map &self, const py::object &version) {
                const int found =
                    versionOf(*self.map,
                              version.is_none() ? std::string() : PYZfromText(version, "a version"),
                              self.map->getLast());
                return PYZ_Interface{self.map->getVersions()[std::size_t(found)].interface};
            },
            py::arg("version") = py::none(),
            "interface(version=None) -> Interface\n\nThat of a version, or the last.")
        .def(
            "check", checkMap,
            "check() -> MapCheck\n\nWhether the map covers its scripts and does what its tests say.")
        .def("__repr__", [](const Map &self) {
            return "<zel.MigrationMap of '" + self.map->getType() +
                   "': " + self.map->getVersionNames() + '>';
        });
    module.def(
        "migrate", migrate, py::arg("node"), py::arg("to"), py::kw_only(),
        py::arg("renames") = py::dict(), py::arg("version") = py::none(),
        py::arg("start") = py::none(), py::arg("allow_loss") = false,
        R"(migrate(node, to, *, renames={}, version=None, start=None, allow_loss=False) -> Account

Gives a node another interface, or takes it along a MigrationMap from the version that it is of, or `start`, to
the last, or `version`; its values go along. One step of undo. The account says what became of each.

>>> old = zel.Interface.from_text('parm { name "rate" type float }', "old")
>>> new = zel.Interface.from_text('parm { name "birth" type float }', "new")
>>> node = zel.Scene().add("n", old)
>>> node["rate"].value = 2
>>> account = zel.migrate(node, new, renames={"rate": "birth"})
>>> node["birth"].value, account.has_loss
(2.0, False)
)");
    const py::object type = module.attr("Scene");
    type.attr("set_migration_map") = py::cpp_function(
        [](PYZ_Scene &scene, const py::object &name, const Map *map) {
            const std::string text = PYZfromText(name, "a type");
            const PYZ_Changing changing(&scene.get());
            scene->setMigrationMap(text, map ? map->map : nullptr);
        },
        py::name("set_migration_map"), py::is_method(type), py::arg("type"), py::arg("map"),
        "set_migration_map(type, map)\n\nFiles that the scene loads are brought up to the map's last version; None "
        "removes the type's map.");
}
