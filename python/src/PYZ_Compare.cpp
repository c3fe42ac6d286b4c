#include "PYZ_Compare.h"

#include "PYZ_Files.h"
#include "PYZ_Interface.h"
#include "PYZ_Node.h"
#include "PYZ_Report.h"
#include "PYZ_Scene.h"

#include <NOD/NOD_Difference.h>
#include <NOD/NOD_DifferenceText.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Merge.h>
#include <NOD/NOD_Node.h>

#include <exception>
#include <optional>

namespace
{

using DocumentPtr = std::shared_ptr<NOD_Document>;
using Side = NOD_MergeSide;

// ---------------------------------------------------------------------- //
// States
// ---------------------------------------------------------------------- //

/// How states are read, as Python says it.
NOD_DocumentOptions optionsOf(const py::object &interface, const py::object &scripts, bool isExact)
{
    NOD_DocumentOptions options;
    options.isExact = isExact;
    options.interface = PYZtoInterfaceOrNone(interface);
    options.load = PYZloadOptions(scripts);
    return options;
}

/// The state of anything that has one.
DocumentPtr documentOf(const py::object &state, const NOD_DocumentOptions &how)
{
    const DocumentPtr document = std::make_shared<NOD_Document>();
    const bool isExact = how.isExact;
    const char *const theClass = "PatchError";
    if (py::isinstance<PYZ_Scene>(state)) {
        NOD_Scene &scene = PYZ_Scene::of(state).get();
        PYZchange(&scene, theClass,
                  [&](NOD_Report &report) { return document->take(scene, isExact, report); });
    } else if (py::isinstance<PYZ_Node>(state)) {
        const PYZ_Node &node = state.cast<const PYZ_Node &>();
        const PYZ_Changing changing(&node.getScene().get());
        NOD_Node &held = node.get();
        PYZchange(&node.getScene().get(), theClass, [&](NOD_Report &report) {
            document->take(held, isExact, report);
            return true;
        });
    } else if (py::isinstance<PYZ_Interface>(state)) {
        document->take(*state.cast<const PYZ_Interface &>().interface);
    } else if (PyBytes_Check(state.ptr())) {
        const std::string bytes(state.cast<py::bytes>());
        PYZchange(nullptr, theClass,
                  [&](NOD_Report &report) { return document->read(bytes, "bytes", how, report); });
    } else {
        const std::string path = PYZfromPath(state);
        PYZchange(nullptr, theClass,
                  [&](NOD_Report &report) { return document->read(path, how, report); });
    }
    return document;
}

void checkKinds(const NOD_Document &left, const NOD_Document &right)
{
    if (left.getTop().getKind() != right.getTop().getKind() || left.getKind() != right.getKind()) {
        PYZraise("PatchError", std::string(NOD_ValueFile::getKindName(right.getKind())) +
                                   " can't be compared with " +
                                   NOD_ValueFile::getKindName(left.getKind()));
    }
}

// ---------------------------------------------------------------------- //
// Differences
// ---------------------------------------------------------------------- //

/// `zel.Difference`.
struct Difference
{
    using PYZ_Class = void;

    NOD_Difference changes;
    DocumentPtr right; ///< null: not known
};

py::object valueOf(const NOD_Value &value)
{
    if (const double *const number = std::get_if<double>(&value)) {
        return py::float_(*number);
    }
    if (const std::int64_t *const integer = std::get_if<std::int64_t>(&value)) {
        return py::int_(*integer);
    }
    if (const std::string *const text = std::get_if<std::string>(&value)) {
        return PYZtext(*text);
    }
    return py::none();
}

py::list listChanges(const Difference &self)
{
    const py::object change = PYZrecord("Change");
    py::list changes;
    for (const NOD_Change &one : self.changes.getChanges()) {
        const auto path = [](const NOD_RecordPath &steps) -> py::object {
            return steps.empty() ? py::object(py::none()) : py::object(PYZtext(NODpathText(steps)));
        };
        changes.append(change(NOD_Change::getVerbName(one.verb), NODtraitsOf(one.getKind()).people,
                              path(one.oldPath), path(one.newPath), valueOf(one.oldValue),
                              valueOf(one.newValue)));
    }
    return changes;
}

py::str differenceText(const Difference &self)
{
    std::string text;
    for (const NOD_DifferenceLine &line :
         NODdifferenceLines(self.changes, self.right ? &self.right->getTop() : nullptr)) {
        text += (text.empty() ? "" : "\n") + line.text;
    }
    return PYZtext(text);
}

Difference diff(const py::object &left, const py::object &right, const py::object &interface,
                bool exact, const py::object &tolerances, const py::object &scripts)
{
    NOD_CompareOptions options;
    options.isExact = exact;
    NOD_Report report;
    for (const py::handle text :
         PyUnicode_Check(tolerances.ptr()) ? py::make_tuple(tolerances) : tolerances) {
        options.tolerances.emplace_back();
        NOD_Tolerance::parse(PYZfromText(text, "a tolerance"), options.tolerances.back(), report);
    }
    PYZtell(report, "PatchError", true);
    const NOD_DocumentOptions how = optionsOf(interface, scripts, exact);
    const DocumentPtr from = documentOf(left, how);
    const DocumentPtr to = documentOf(right, how);
    checkKinds(*from, *to);
    const PYZ_Changing changing(nullptr);
    return PYZgather(report, {}, [&](NOD_Report &) {
        return Difference{NOD_Difference::between(from->getTop(), to->getTop(), options), to};
    });
}

Difference readPatch(const py::object &text, const py::object &name)
{
    const std::string bytes = PYZfromTextOrBytes(text, "a patch");
    const std::string shown = PYZfromText(name, "a name");
    Difference made;
    PYZchange(nullptr, "PatchError",
              [&](NOD_Report &report) { return made.changes.fromJson(bytes, shown, report); });
    return made;
}

void setPatched(NOD_Document &document, const NOD_Difference &changes)
{
    PYZchange(nullptr, "PatchError", [&](NOD_Report &report) {
        std::unique_ptr<NOD_Record> made = changes.apply(document.getTop(), report);
        if (!made) {
            return false;
        }
        document.setTop(std::move(made));
        return true;
    });
}

py::object writtenBytes(const NOD_Document &document)
{
    std::string bytes;
    PYZchange(nullptr, "PatchError",
              [&](NOD_Report &report) { return document.write(bytes, report); });
    return py::bytes(bytes);
}

/// Of a scene, or of a node in it.
py::object sceneOf(const py::object &state)
{
    return py::isinstance<PYZ_Node>(state) ? state.cast<const PYZ_Node &>().getSceneObject()
                                           : state;
}

/// As one step of undo.
void give(const py::object &target, const NOD_LoadOptions &options, NOD_Document &document)
{
    const py::object scene = sceneOf(target);
    NOD_Scene &held = PYZ_Scene::of(scene).get();
    NOD_Node *const node = scene.is(target) ? nullptr : &target.cast<const PYZ_Node &>().get();
    PYZchange(&held, "PatchError", [&](NOD_Report &report) {
        return node ? document.give(*node, report) : document.give(held, options, report);
    });
}

/// Changes a scene or a node; of a file the bytes are returned.
py::object apply(const Difference &self, const py::object &target, const py::object &interface,
                 const py::object &scripts)
{
    constexpr bool isExact = true;
    const NOD_DocumentOptions how = optionsOf(interface, scripts, isExact);
    const py::object scene = sceneOf(target);
    if (!py::isinstance<PYZ_Scene>(scene)) {
        const DocumentPtr document = documentOf(target, how);
        setPatched(*document, self.changes);
        return writtenBytes(*document);
    }
    const PYZ_Changing changing(&PYZ_Scene::of(scene).get());
    const DocumentPtr document = documentOf(target, how);
    setPatched(*document, self.changes);
    give(target, how.load, *document);
    changing.raiseKept();
    return target;
}

// ---------------------------------------------------------------------- //
// Merges
// ---------------------------------------------------------------------- //

/// `zel.Merge`.
struct Merge
{
    using PYZ_Class = void;

    NOD_Merge merge;
    DocumentPtr made;
    NOD_LoadOptions load;
    bool nodeFlag = false; ///< ours is a node in memory

    std::size_t openCount() const { return merge.getOpenCount(); }
};

py::object conflictOf(const NOD_Conflict &conflict)
{
    const auto side = [](const NOD_ConflictSide &one) -> py::object {
        return one.isThere() ? py::object(PYZtext(one.asText())) : py::none();
    };
    return PYZrecord("Conflict")(
        NOD_Conflict::getKindName(conflict.kind), PYZtext(NODpathText(conflict.getPath())),
        side(conflict.base), side(conflict.ours), side(conflict.theirs),
        NODmergeSideName(conflict.standing), conflict.isDecided, PYZtext(conflict.asText()));
}

Side sideOf(const std::string &word)
{
    for (const Side side : {Side::BASE, Side::OURS, Side::THEIRS}) {
        if (word == NODmergeSideName(side)) {
            return side;
        }
    }
    throw py::value_error("a side is \"base\", \"ours\" or \"theirs\"");
}

/// Asks a callable until it raises, which is then thrown in `failure`. Others may use the library meanwhile.
NOD_Merge::Chooser chooserOf(const py::object &choose, std::exception_ptr &failure)
{
    return [&choose, &failure](const NOD_Conflict &conflict) -> std::optional<Side> {
        if (failure) {
            return std::nullopt;
        }
        const PYZ_Hold hold;
        try {
            const py::object asked = conflictOf(conflict);
            const PYZ_Changing::Pause pause;
            const py::object answer = SNKstayAtEnd([&] { return choose(asked); });
            return answer.is_none() ? std::nullopt
                                    : std::optional<Side>(sideOf(PYZfromText(answer, "a side")));
        } catch (const std::exception &) { // which all of pybind11's are
            failure = std::current_exception();
        }
        return std::nullopt;
    };
}

std::unique_ptr<Merge> merge(const py::object &base, const py::object &ours,
                             const py::object &theirs, const py::object &interface,
                             const py::object &policies, const py::object &choose,
                             const py::object &scripts)
{
    constexpr bool isExact = true;
    const NOD_DocumentOptions how = optionsOf(interface, scripts, isExact);
    const DocumentPtr documents[] = {documentOf(base, how), documentOf(ours, how),
                                     documentOf(theirs, how)};
    checkKinds(*documents[1], *documents[0]);
    checkKinds(*documents[1], *documents[2]);
    auto made = std::make_unique<Merge>();
    for (const auto &[pattern, side] : py::dict(policies)) {
        made->merge.addPolicy(PYZfromText(pattern, "a pattern"),
                              sideOf(PYZfromText(side, "a side")));
    }
    std::exception_ptr failure;
    if (!choose.is_none()) {
        made->merge.setChooser(chooserOf(choose, failure));
    }
    made->made = documents[1];
    made->load = how.load;
    made->nodeFlag = py::isinstance<PYZ_Node>(ours);
    PYZchange(nullptr, "PatchError", [&](NOD_Report &) {
        std::unique_ptr<NOD_Record> top = made->merge.merge(
            documents[0]->getTop(), documents[1]->getTop(), documents[2]->getTop());
        made->made->setTop(std::move(top));
        return true;
    });
    made->merge.setChooser({});
    if (failure) {
        std::rethrow_exception(failure);
    }
    return made;
}

py::object mergedBytes(const Merge &self)
{
    if (self.nodeFlag) {
        PYZraise("PatchError", "a merge of nodes is no file: apply() gives it to a node");
    }
    return writtenBytes(*self.made);
}

py::object applyMerge(const Merge &self, const py::object &target)
{
    const bool sceneFlag = self.made->getKind() == NOD_FileKind::SCENE;
    if (!sceneFlag && !self.nodeFlag) {
        PYZraise("PatchError", "a merge of files is written by save()");
    }
    if (sceneFlag ? !py::isinstance<PYZ_Scene>(target) : !py::isinstance<PYZ_Node>(target)) {
        throw py::type_error(sceneFlag ? "a merge of scenes is applied to a zel.Scene"
                                       : "a merge of nodes is applied to a zel.Node");
    }
    const PYZ_Changing changing(&PYZ_Scene::of(sceneOf(target)).get());
    give(target, self.load, *self.made);
    changing.raiseKept();
    return target;
}

py::tuple listConflicts(const Merge &self)
{
    const NOD_Merge::Conflicts &conflicts = self.merge.getConflicts();
    py::tuple result(conflicts.size());
    for (std::size_t i = 0; i < conflicts.size(); ++i) {
        result[i] = conflictOf(conflicts[i]);
    }
    return result;
}

void defineDifference(py::module_ &module)
{
    py::class_<Difference>(module, "Difference", py::is_final(),
                           R"(All edits that lead from one state to another.

A sequence of zel.Change; str() is what people read. False if nothing differs. An exact one is a patch:

>>> box = zel.Interface.from_text('parm { name "size" type float }', "box")
>>> scene = zel.Scene()
>>> node, wanted = scene.add("a", box), scene.add("b", box)
>>> wanted["size"].value = 3
>>> patch = zel.diff(node, wanted, exact=True)
>>> patch.apply(node)["size"].value
3.0
>>> patch.inverse().apply(node)["size"].value
0.0
)")
        .def("__len__", [](const Difference &self) { return self.changes.getChanges().size(); })
        .def("__iter__", [](const Difference &self) { return py::iter(listChanges(self)); })
        .def("__getitem__",
             [](const Difference &self, const py::object &index) -> py::object {
                 return listChanges(self)[index];
             })
        .def(
            "index",
            [](const Difference &self, const py::object &change, const py::object &start,
               const py::object &stop) {
                return listChanges(self).attr("index")(change, start, stop);
            },
            py::arg("change"), py::arg("start") = 0, py::arg("stop") = PY_SSIZE_T_MAX,
            "index(change, start=0, stop=...) -> int\n\nWhere the change is; ValueError if it isn't there.")
        .def(
            "count",
            [](const Difference &self, const py::object &change) {
                return listChanges(self).attr("count")(change);
            },
            py::arg("change"), "count(change) -> int\n\nHow often the change is there.")
        .def("__str__", differenceText)
        .def("__repr__",
             [](const Difference &self) {
                 const std::size_t count = self.changes.getChanges().size();
                 return "<zel.Difference: " + std::to_string(count) +
                        (count == 1 ? " change>" : " changes>");
             })
        .def_property_readonly(
            "is_exact", [](const Difference &self) { return self.changes.isExact(); },
            "Whether it can be applied.")
        .def(
            "inverse",
            [](const Difference &self) {
                return Difference{self.changes.inverse(), nullptr};
            },
            "inverse() -> Difference\n\nFrom the new state to the old one.")
        .def("__reduce__",
             [](const py::object &self) {
                 const NOD_Difference &changes = self.cast<const Difference &>().changes;
                 if (!changes.isExact()) {
                     throw py::type_error("only an exact difference can be pickled; of another one "
                                          "its changes can, as list(difference)");
                 }
                 return py::make_tuple(py::module_::import("zel._pickles").attr("difference"),
                                       py::make_tuple(PYZtext(changes.toJson())));
             })
        .def("__copy__", [](const py::object &self) { return self; })
        .def("__deepcopy__", [](const py::object &self, const py::object &) { return self; })
        .def(
            "to_json", [](const Difference &self) { return PYZtext(self.changes.toJson()); },
            "to_json() -> str\n\nThe patch that `zel patch` applies: docs/difference.schema.json.")
        .def_static("from_json", readPatch, py::arg("text"), py::arg("name") = "patch",
                    "from_json(text, name='patch') -> Difference")
        .def(
            "apply", apply, py::arg("target"), py::kw_only(), py::arg("interface") = py::none(),
            py::arg("scripts") = true,
            "apply(target, *, interface=None, scripts=True)\n\nOf an exact difference: changes a node or a scene as one step of undo, "
            "and returns it; of a path or bytes\nreturns the new bytes. Nodes stay the objects that they are, renamed and "
            "moved ones too.");
    module.def(
        "diff", diff, py::arg("left"), py::arg("right"), py::kw_only(),
        py::arg("interface") = py::none(), py::arg("exact") = false,
        py::arg("tolerance") = py::tuple(), py::arg("scripts") = true,
        R"(diff(left, right, *, interface=None, exact=False, tolerance=(), scripts=True) -> Difference

What differs between two files of one kind (paths, with `?PART` for a part, or bytes), scenes, nodes or
interfaces. Streams, channel files and presets need the interface for what they mean. Exact: to the byte, as
a patch needs it. Tolerances are texts: "0.001", "0.1%", "t*=4ulp". Scripts that files name, or include, may be
anywhere (True), in the file's folder ("folder"), or aren't read (False).

>>> box = zel.Interface.from_text('parm { name "size" type float default { 2 } }', "box")
>>> scene = zel.Scene()
>>> a, b = scene.add("a", box), scene.add("b", box)
>>> b["size"].value = 3
>>> for change in zel.diff(a, b):
...     print(change.verb, change.path, change.old, change.new)
changed size 2.0 3.0
)");
}

} // namespace

void PYZdefineCompare(py::module_ &module)
{
    defineDifference(module);
    py::class_<Merge>(module, "Merge", py::is_final(), R"(What two people made of one state, joined.

>>> box = zel.Interface.from_text('parm { name "size" type float } parm { name "count" type integer }', "box")
>>> scene = zel.Scene()
>>> base, ours, theirs = (scene.add(name, box) for name in ("base", "ours", "theirs"))
>>> ours["size"].value, theirs["count"].value = 3, 7
>>> zel.merge(base, ours, theirs).apply(base).as_dict()
{'size': 3.0, 'count': 7}
)")
        .def_property_readonly(
            "conflicts", listConflicts,
            "Where both can't be had, each a zel.Conflict; ours stands unless it says otherwise.")
        .def_property_readonly("open_count", &Merge::openCount, "Conflicts that nobody decided.")
        .def("to_bytes", mergedBytes, "to_bytes() -> bytes\n\nThe merged file in the form of ours.")
        .def(
            "save",
            [](const Merge &self, const py::object &path) {
                py::module_::import("zel._files").attr("replace")(path, mergedBytes(self));
            },
            py::arg("path"), "save(path)\n\nWrites it.")
        .def(
            "apply", applyMerge, py::arg("target"),
            "apply(target)\n\nGives a scene what a merge of scenes made, or a node what one of nodes did, as one step "
            "of undo;\nreturns it.")
        .def(
            "to_json", [](const Merge &self) { return PYZtext(self.merge.toJson()); },
            "to_json() -> str\n\nThe conflicts: docs/merge.schema.json.")
        .def("__repr__", [](const Merge &self) {
            return "<zel.Merge: " + std::to_string(self.merge.getConflicts().size()) +
                   " conflicts, " + std::to_string(self.openCount()) + " open>";
        });
    module.def(
        "merge", merge, py::arg("base"), py::arg("ours"), py::arg("theirs"), py::kw_only(),
        py::arg("interface") = py::none(), py::arg("policies") = py::dict(),
        py::arg("choose") = py::none(), py::arg("scripts") = true,
        R"(merge(base, ours, theirs, *, interface=None, policies={}, choose=None, scripts=True) -> Merge

Joins two states that came of one: files, scenes or nodes. `policies` says which side stands where a path fits
a pattern: {"/rig/*": "theirs"}. `choose(conflict)` is asked where none fits, and returns "base", "ours",
"theirs" or None; an exception of it ends the merge. For `scripts` see zel.diff().
)");
}
