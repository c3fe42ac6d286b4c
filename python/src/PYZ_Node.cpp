#include "PYZ_Node.h"

#include "PYZ_Edit.h"
#include "PYZ_Guard.h"
#include "PYZ_Interface.h"
#include "PYZ_Value.h"

#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_PresetText.h>
#include <NOD/NOD_Presets.h>
#include <NOD/NOD_ValueFile.h>
#include <ZEL/ZEL_Parm.h>

#include <sstream>

namespace
{

/// Of a name that is none of the node's.
[[noreturn]] void raiseUnknown(NOD_Node &node, const std::string &name)
{
    const ZEL_ParmList &parms = node.getParms();
    std::vector<std::string> names;
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        names.emplace_back(parm.getToken());
        for (int k = 0; parm.getVectorSize() > 1 && k < parm.getVectorSize(); ++k) {
            names.emplace_back(parm.getChannelToken(k).c_str());
        }
    }
    const py::str text =
        PYZtext("no parameter \"" + name + "\" in " + PYZpathOf(node) + KITdidYouMean(name, names));
    PyErr_SetObject(PyExc_KeyError, text.ptr());
    throw py::error_already_set();
}

bool hasValue(const ZEL_Parm &parm)
{
    return PYZkindOf(parm) != PYZ_Kind::NONE;
}

/// Tokens of what has a value.
std::vector<KIT_StringHolder> tokensOf(NOD_Node &node)
{
    std::vector<KIT_StringHolder> tokens;
    const ZEL_ParmList &parms = node.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        if (hasValue(*parms.getParmPtr(i))) {
            tokens.emplace_back(parms.getParmPtr(i)->getTokenRef());
        }
    }
    return tokens;
}

py::list listTokens(const PYZ_Node &self)
{
    const PYZ_Reading reading(nullptr);
    py::list names;
    for (const KIT_StringHolder &token : tokensOf(self.get())) {
        names.append(PYZtext(token.view()));
    }
    return names;
}

py::list listParms(PYZ_Node &self)
{
    py::list parms;
    for (const py::handle name : listTokens(self)) {
        parms.append(self.find(name));
    }
    return parms;
}

// ---------------------------------------------------------------------- //
// Dictionaries
// ---------------------------------------------------------------------- //

py::dict asDict(PYZ_Node &self, bool changedOnly)
{
    py::dict values;
    for (const py::handle item : listParms(self)) {
        const PYZ_Parm &parm = item.cast<const PYZ_Parm &>();
        if (!changedOnly || !parm.get().isTrueFactoryDefault()) {
            values[PYZtext(parm.getToken().view())] = PYZread(parm, parm.getTime());
        }
    }
    return values;
}

/// Counts of blocks first, from the outermost in, so that the items are there.
void setAll(PYZ_Node &self, const py::dict &values)
{
    py::dict left = py::reinterpret_steal<py::dict>(PyDict_Copy(values.ptr()));
    for (bool goesOn = true; goesOn;) {
        goesOn = false;
        for (const py::handle name : py::list(left)) {
            if (self.has(name) && self.find(name).cast<const PYZ_Parm &>().get().isMultiParm()) {
                self.find(name).attr("value") = left[name];
                PyDict_DelItem(left.ptr(), name.ptr());
                goesOn = true;
            }
        }
    }
    for (const auto &[name, value] : left) {
        self.find(name).attr("value") = value;
    }
}

void update(PYZ_Node &self, const py::object &values, const py::kwargs &more)
{
    const py::dict all = values.is_none() ? py::dict() : py::dict(values);
    for (const auto &[name, value] : more) {
        all[name] = value;
    }
    const PYZ_Changing changing(&self.getScene().get());
    {
        NOD_Edit edit(self.get(), "Set values");
        try {
            setAll(self, all);
        } catch (...) {
            edit.cancel();
            throw;
        }
    }
    changing.raiseKept();
}

// ---------------------------------------------------------------------- //
// The tree
// ---------------------------------------------------------------------- //

py::list listChildren(const PYZ_Node &self)
{
    const PYZ_Reading reading(nullptr);
    py::list children;
    for (const std::unique_ptr<NOD_Node> &child : self.get().getChildren()) {
        children.append(PYZnode(self.getSceneObject(), child.get()));
    }
    return children;
}

/// An edit of the scene's tree.
template <class Work>
auto change(const PYZ_Node &self, const Work &work)
{
    return PYZeditNode(self, "EditError", work);
}

void checkScene(const PYZ_Node &self, const PYZ_Node &other)
{
    if (!self.getSceneObject().is(other.getSceneObject())) {
        throw py::value_error("the two nodes are of two scenes");
    }
}

py::object copyNode(const PYZ_Node &self, const py::object &name, const py::object &where)
{
    const PYZ_Node *const parent = where.is_none() ? nullptr : &PYZtoNode(where, "a parent");
    if (parent) {
        checkScene(self, *parent);
    }
    const PYZ_Changing changing(&self.getScene().get());
    NOD_Node *const above = parent ? &parent->get() : self.get().getParent();
    if (!above) {
        PYZraise("EditError", "the root can't be copied");
    }
    const std::string wanted = name.is_none() ? std::string() : PYZfromText(name, "a name");
    NOD_Node *const made = change(self, [&](NOD_Scene &scene, NOD_Node &node, NOD_Report &report) {
        return scene.copy(node, *above,
                          wanted.empty() ? NOD_Scene::freeName(*above, node.getName()) : wanted,
                          report);
    });
    const py::object result = PYZnode(self.getSceneObject(), made);
    changing.raiseKept();
    return result;
}

py::dict getVariables(const PYZ_Node &self)
{
    py::dict result;
    for (const auto &[name, value] : self.get().getVariables()) {
        result[PYZtext(name)] = PYZtext(value);
    }
    return result;
}

void setVariables(const PYZ_Node &self, const py::object &values)
{
    std::map<std::string, std::string> all;
    for (const auto &[name, value] : py::dict(values)) {
        all[PYZfromText(name, "a variable's name")] = PYZfromText(value, "a variable");
    }
    change(self, [&](NOD_Scene &, NOD_Node &node, NOD_Report &) {
        const NOD_Edit edit(node, "Set variables");
        node.clearVariables();
        for (const auto &[name, value] : all) {
            node.setVariable(name, value);
        }
        return true;
    });
}

std::string nodeText(const PYZ_Node &self)
{
    if (!self.isThere()) {
        return "<zel.Node '" + self.getFirstPath() + "': gone>";
    }
    NOD_Node &node = self.get();
    const std::size_t count = tokensOf(node).size();
    std::string text = "<zel.Node '" + PYZpathOf(node) + "': ";
    if (!node.getTypeName().empty()) {
        text += node.getTypeName() + ", ";
    }
    return text +
           (count == 0   ? "no parameters"
            : count == 1 ? "1 parameter"
                         : std::to_string(count) + " parameters") +
           '>';
}

// ---------------------------------------------------------------------- //
// Files and presets
// ---------------------------------------------------------------------- //

void load(const PYZ_Node &self, const py::object &path, bool strict)
{
    const std::string file = PYZfromPath(path);
    PYZeditNode(
        self, "ValuesError",
        [&](NOD_Scene &, NOD_Node &node, NOD_Report &report) {
            NOD_ValueFile values;
            // What was read in part is told by the report.
            return values.read(file, report) && (values.apply(node, report) || report.hasErrors());
        },
        "not all of it could be used", strict ? PYZ_Faults::RAISE : PYZ_Faults::WARN);
}

std::string written(const PYZ_Node &self, const py::object &word, const std::string &folder)
{
    NOD_ValueFile::Form form = NOD_ValueFile::Form::TEXT;
    if (!NOD_ValueFile::findForm(PYZfromText(word, "a form"), form)) {
        const std::vector<std::string> &words = NOD_ValueFile::getFormWords();
        std::string all;
        for (const std::string &one : words) {
            all += (all.empty() ? "" : ", ") + one;
        }
        throw py::value_error("a form is one of " + all +
                              KITdidYouMean(PYZfromText(word, ""), words));
    }
    std::ostringstream os;
    PYZeditNode(self, "ValuesError", [&](NOD_Scene &scene, NOD_Node &node, NOD_Report &report) {
        return NOD_ValueFile::save(scene, node, form, os, folder, report);
    });
    return os.str();
}

void save(const PYZ_Node &self, const py::object &path, const py::object &form)
{
    const py::object full = py::module_::import("os").attr("path");
    const std::string folder = PYZfromPath(full.attr("dirname")(full.attr("abspath")(path)));
    const py::bytes bytes = written(self, form, folder);
    py::module_::import("zel._files").attr("replace")(path, bytes);
}

/// A preset's path, by its name or of a file of its own.
void loadPreset(const PYZ_Node &self, const py::object &name, const py::object &only)
{
    const std::string text = PYZfromPath(name);
    std::vector<std::string> addresses;
    for (const py::handle one : only) {
        addresses.push_back(PYZfromText(one, "an address"));
    }
    PYZeditNode(self, "PresetError", [&](NOD_Scene &, NOD_Node &node, NOD_Report &report) {
        const bool fileFlag = text.find('/') != std::string::npos;
        const std::string path =
            fileFlag
                ? text
                : NOD_Presets(NOD_Node::thePresetTable, node.getTypeName(), "").find(text, report);
        return !path.empty() && NODapplyPreset(node, path, addresses, report);
    });
}

std::string presetText(const PYZ_Node &self, const py::object &only)
{
    std::vector<std::string> addresses;
    for (const py::handle one : only) {
        addresses.push_back(PYZfromText(one, "an address"));
    }
    std::ostringstream os;
    PYZeditNode(self, "PresetError", [&](NOD_Scene &, NOD_Node &node, NOD_Report &report) {
        return NODsavePreset(node, addresses, os, report);
    });
    return os.str();
}

py::object savePreset(const PYZ_Node &self, const py::object &name, const py::object &folder,
                      bool replace, const py::object &only)
{
    const std::string text = presetText(self, only);
    const std::string shown = PYZfromText(name, "a preset's name");
    const std::string where = PYZfromPath(folder);
    std::string path;
    PYZeditNode(self, "PresetError", [&](NOD_Scene &, NOD_Node &node, NOD_Report &report) {
        NOD_Presets presets(NOD_Node::thePresetTable, node.getTypeName(), "replace=True");
        path = presets.save(
            text, shown, where,
            replace ? NOD_Presets::Existing::REPLACE : NOD_Presets::Existing::REFUSE, report);
        return !path.empty();
    });
    return PYZtext(path);
}

py::list listPresets(const PYZ_Node &self)
{
    py::list names;
    const PYZ_Changing changing(&self.getScene().get());
    if (ZEL_PresetInfo *const presets = self.get().getPresets()) {
        presets->setNeedsRefresh();
        for (int i = 0; i < presets->getNumPresets(); ++i) {
            names.append(PYZtext(presets->getPresetName(i).nonNullStr()));
        }
    }
    return names;
}

// ---------------------------------------------------------------------- //
// The class
// ---------------------------------------------------------------------- //

PyObject *getItem(PyObject *self, PyObject *name)
{
    return PYZguard([&] { return PYZmade<PYZ_Node>(self).find(name).release().ptr(); });
}

void defineMapping(py::class_<PYZ_Node> &type)
{
    type.def("__getitem__", &PYZ_Node::find, py::arg("name"));
    type.def("__setitem__", [](PYZ_Node &self, const py::object &name, const py::object &value) {
        self.find(name).attr("value") = value;
    });
    type.def("__contains__", &PYZ_Node::has);
    type.def("__len__", [](const PYZ_Node &self) { return tokensOf(self.get()).size(); });
    type.def("__bool__", [](const PYZ_Node &) { return true; });
    type.def("__iter__", [](const PYZ_Node &self) { return py::iter(listTokens(self)); });
    type.def("keys", listTokens,
             "keys() -> list of str\n\nThe names of all parameters that have a value.");
    type.def("values", listParms, "values() -> list of Parm");
    type.def(
        "items",
        [](PYZ_Node &self) {
            return py::list(
                py::module_::import("builtins").attr("zip")(listTokens(self), listParms(self)));
        },
        "items() -> list of (str, Parm)");
    type.def(
        "get",
        [](PYZ_Node &self, const py::object &name, const py::object &otherwise) {
            try {
                return self.find(name);
            } catch (py::error_already_set &error) {
                if (!error.matches(PyExc_KeyError)) {
                    throw;
                }
            }
            return otherwise;
        },
        py::arg("name"), py::arg("default") = py::none(), "get(name, default=None) -> Parm");
    type.def(
        "as_dict", asDict, py::kw_only(), py::arg("changed_only") = false,
        "as_dict(*, changed_only=False) -> dict\n\nThe values by name at the scene's time; with `changed_only` "
        "of what isn't at its default.");
    type.def(
        "update", update, py::arg("values") = py::none(),
        "update(values, **more)\n\nSets values by name, all of them or, after an exception, none: one step of "
        "undo.");
}

void defineTree(py::class_<PYZ_Node> &type)
{
    type.def_property(
        "name", [](const PYZ_Node &self) { return PYZtext(self.get().getName()); },
        [](const PYZ_Node &self, const py::object &name) {
            const std::string text = PYZfromText(name, "a name");
            change(self, [&](NOD_Scene &scene, NOD_Node &node, NOD_Report &report) {
                return scene.rename(node, text, report);
            });
        },
        "The node's name; references to it follow another one.");
    type.def_property_readonly(
        "path", [](const PYZ_Node &self) { return PYZtext(PYZpathOf(self.get())); },
        "The names from the root on: '/lights/key'.");
    type.def_property_readonly(
        "type", [](const PYZ_Node &self) { return PYZtext(self.get().getTypeName()); },
        "The name of the node's type; '' for none.");
    type.def_property_readonly(
        "interface",
        [](const PYZ_Node &self) -> py::object {
            const auto &interface = self.get().getInterface();
            return interface ? py::cast(PYZ_Interface{interface}) : py::none();
        },
        "What the node was made of; None for a node without parameters.");
    type.def_property_readonly(
        "scene", [](const PYZ_Node &self) { return self.getSceneObject(); },
        "The scene that the node is or was in.");
    type.def_property_readonly(
        "parent",
        [](const PYZ_Node &self) { return PYZnode(self.getSceneObject(), self.get().getParent()); },
        "The node above; None for the root.");
    type.def_property_readonly("children", listChildren, "The nodes right below, in their order.");
    type.def_property_readonly(
        "is_gone", [](const PYZ_Node &self) { return !self.isThere(); },
        "Whether the node isn't in the scene any more.");
    type.def(
        "find",
        [](const PYZ_Node &self, const py::object &path) {
            const std::string text = PYZfromText(path, "a path");
            return PYZnode(self.getSceneObject(), self.get().findNode(KIT_StringRef(text.c_str())));
        },
        py::arg("path"),
        "find(path) -> Node or None\n\nBy a path from this node: '../key'; None if there is none.");
    type.def(
        "remove",
        [](const PYZ_Node &self) {
            change(self, [](NOD_Scene &scene, NOD_Node &node, NOD_Report &report) {
                return scene.remove(node, report);
            });
        },
        "remove()\n\nRemoves the node with all below it. References to them that are lost are a warning.");
    type.def(
        "move",
        [](const PYZ_Node &self, const py::object &parent) {
            const PYZ_Node &target = PYZtoNode(parent, "a parent");
            checkScene(self, target);
            const PYZ_Changing changing(&self.getScene().get());
            NOD_Node &above = target.get();
            change(self, [&](NOD_Scene &scene, NOD_Node &node, NOD_Report &report) {
                return scene.move(node, above, report);
            });
            changing.raiseKept();
        },
        py::arg("parent"), "move(parent)\n\nTo the end of another node's children.");
    type.def(
        "copy", copyNode, py::arg("name") = py::none(), py::arg("parent") = py::none(),
        "copy(name=None, parent=None) -> Node\n\nA copy with all below it, beside the node or below another one; "
        "without a name\nunder the first that is free.");
    type.def_property(
        "variables", getVariables, setVariables,
        "The node's own variables, which texts and expressions of it and below see as $NAME. A new dict "
        "each time:\nto change them set another one.");
    type.def(
        "renew",
        [](const PYZ_Node &self, const py::object &interface) {
            const PYZ_InterfacePtr wanted = PYZtoInterface(interface);
            change(self, [&](NOD_Scene &, NOD_Node &node, NOD_Report &) {
                const NOD_Edit edit(node, "New interface");
                node.renewParms(wanted);
                return true;
            });
        },
        py::arg("interface"),
        "renew(interface)\n\nGives the node another interface; what has the same name and kind keeps its value. "
        "zel.migrate() gives an account.");
}

void defineEvents(py::class_<PYZ_Node> &type)
{
    const auto add = [](PYZ_Scene::Event event) {
        return [event](const PYZ_Node &self, const py::object &handler) {
            self.getScene().addHandler(self.get(), event, handler);
            return handler;
        };
    };
    type.def("on_change", add(PYZ_Scene::CHANGE), py::arg("handler"),
             R"(on_change(handler) -> handler

Calls `handler(node, what, parm)` for each change of the node: `what` is "value", "enabled", "visible" or
"locked", and `parm` the parameter, or None for several. Handlers are called once the edit is done, on its
thread, and may edit anything or wait for other threads; their exceptions are raised by the edit. Edits of
handlers that bring about more than 20,000 further calls are a RecursionError. Usable as a decorator.
)");
    type.def(
        "on_press", add(PYZ_Scene::PRESS), py::arg("handler"),
        "on_press(handler) -> handler\n\nCalls `handler(parm)` for each button that is pressed: see Parm.press().");
    type.def(
        "off",
        [](const PYZ_Node &self, const py::object &handler) {
            PYZ_Scene &scene = self.getScene();
            const bool changeFlag = scene.removeHandler(self.get(), PYZ_Scene::CHANGE, handler);
            const bool pressFlag = scene.removeHandler(self.get(), PYZ_Scene::PRESS, handler);
            if (!changeFlag && !pressFlag) {
                throw py::value_error("it is no handler of the node");
            }
        },
        py::arg("handler"), "off(handler)\n\nCalls the handler no more.");
}

void defineFiles(py::class_<PYZ_Node> &type)
{
    type.def("load", load, py::arg("path"), py::kw_only(), py::arg("strict") = true,
             R"(load(path, *, strict=True)

Values from a parameter stream, a channel file, a preset, a node or a scene; `light.idx?Night` and
`shot.scene?/rig/key` mean a part of a file. One step of undo. Not `strict`: what can't be used is a warning.
)");
    type.def(
        "save", save, py::arg("path"), py::arg("form") = "text",
        "save(path, form='text')\n\nForms: text, binary, compact (without what has no value to keep), channels, "
        "node.");
    type.def(
        "to_bytes",
        [](const PYZ_Node &self, const py::object &form) {
            return py::bytes(written(self, form, {}));
        },
        py::arg("form") = "text", "to_bytes(form='text') -> bytes\n\nWhat save() writes.");
    type.def(
        "load_preset", loadPreset, py::arg("name"), py::kw_only(), py::arg("only") = py::tuple(),
        "load_preset(name, *, only=())\n\nThe values of a preset of the node's type by its name, or of a file; of "
        "some parameters\nby addresses, which may be patterns.");
    type.def(
        "save_preset", savePreset, py::arg("name"), py::kw_only(), py::arg("folder") = "",
        py::arg("replace") = false, py::arg("only") = py::tuple(),
        "save_preset(name, *, folder='', replace=False, only=()) -> str\n\nSaves a preset of the node's type in a "
        "folder of the search path,\nthe first that takes presets; returns its path.");
    type.def(
        "preset_text",
        [](const PYZ_Node &self, const py::object &only) {
            return py::bytes(presetText(self, only));
        },
        py::kw_only(), py::arg("only") = py::tuple(),
        "preset_text(*, only=()) -> bytes\n\nThe preset alone.");
    type.def_property_readonly("presets", listPresets,
                               "The names of the presets of the node's type.");
}

} // namespace

PYZ_Node::PYZ_Node(py::object scene, NOD_Node &node)
    : myScene(std::move(scene)), mySceneData(&PYZ_Scene::of(myScene)),
      myAnchor(node.getParms().getHandleAnchor()), myNode(&node), myPath(PYZpathOf(node))
{}

bool PYZ_Node::isThere() const
{
    PYZ_Reading::await();
    return myAnchor->getList() && mySceneData->isInTree(*myNode);
}

NOD_Node &PYZ_Node::get() const
{
    if (!isThere()) {
        PYZraise("GoneError",
                 "the node " + getFirstPath() + " is gone: it isn't in the scene any more");
    }
    return *myNode;
}

const ZEL_Parm *PYZ_Node::findParm(const std::string &name, int &component) const
{
    const ZEL_ParmList &parms = get().getParms();
    const KIT_StringRef token(name.c_str(), name.size());
    component = PYZ_Parm::theWhole;
    const ZEL_Parm *parm = parms.getParmPtr(token);
    if (!parm) {
        parm = parms.getParmPtrFromChannel(token, &component);
    }
    return parm && parm->getInstance() ? parm : nullptr;
}

py::object PYZ_Node::find(py::handle name)
{
    NOD_Node &node = get();
    PyObject *const kept = PyDict_GetItemWithError(myParms.ptr(), name.ptr());
    if (kept && reinterpret_cast<PYZ_Parm *>(PYZself<PYZ_Parm>(kept))->isThere()) {
        return py::reinterpret_borrow<py::object>(kept);
    }
    PyErr_Clear(); // of a name that can't be a key
    const std::string text = PYZfromText(name, "a name");
    const PYZ_Reading reading(nullptr);
    int component = PYZ_Parm::theWhole;
    const ZEL_Parm *const parm = findParm(text, component);
    if (!parm) {
        raiseUnknown(node, text);
    }
    const py::object made =
        py::cast(PYZ_Parm(myScene, node, KIT_StringHolder(parm->getTokenRef()), component, myPath));
    myParms[name] = made;
    return made;
}

bool PYZ_Node::has(py::handle name) const
{
    if (!PyUnicode_Check(name.ptr())) {
        return false;
    }
    const std::string text = PYZfromText(name, "a name");
    const PYZ_Reading reading(nullptr);
    int component = 0;
    const ZEL_Parm *const parm = findParm(text, component);
    return parm && hasValue(*parm);
}

int PYZ_Node::traverse(visitproc visit, void *arg) const
{
    Py_VISIT(myScene.ptr());
    Py_VISIT(myParms.ptr());
    return 0;
}

py::object PYZnode(const py::object &scene, NOD_Node *node)
{
    return node ? py::cast(PYZ_Node(scene, *node)) : py::none();
}

const PYZ_Node &PYZtoNode(py::handle value, const char *what)
{
    if (py::isinstance<PYZ_Node>(value)) {
        return value.cast<const PYZ_Node &>();
    }
    throw py::type_error(std::string(what) + " must be a zel.Node, not " +
                         Py_TYPE(value.ptr())->tp_name +
                         (PyUnicode_Check(value.ptr()) ? ": scene[path] is one" : ""));
}

std::string PYZpathOf(const NOD_Node &node)
{
    KIT_WorkBuffer path;
    return node.getFullPath(path);
}

void PYZdefineNode(py::module_ &module)
{
    py::class_<PYZ_Node> type(
        module, "Node", PYZcollected<PYZ_Node>(), py::is_final(),
        R"(A node of a scene: a mapping of the names of its parameters to zel.Parm.

A component of a vector has a name, too: node["ty"] is node["t"][1]. node["t"] = (1, 2, 3) sets the value.
Its names are those of what has a value; a button is node["press"] all the same.

>>> script = 'parm { name "size" type float default { 2 } } parm { name "t" type vector }'
>>> node = zel.Scene().add("box", zel.Interface.from_text(script, "box"))
>>> list(node), "ty" in node
(['size', 't'], True)
>>> node["size"].value
2.0
>>> node["t"] = (1, 2, 3)
>>> node.update(size=3, ty=5)
>>> node.as_dict()
{'size': 3.0, 't': (1.0, 5.0, 3.0)}
)");
    type.def("__repr__", nodeText);
    type.def("__eq__", [](const PYZ_Node &self, const py::object &other) {
        return py::isinstance<PYZ_Node>(other) && self.isSame(other.cast<const PYZ_Node &>());
    });
    type.def("__hash__",
             [](const PYZ_Node &self) { return std::hash<const void *>()(self.getIdentity()); });
    type.def("__reduce__", [](const PYZ_Node &self) {
        return py::make_tuple(
            py::module_::import("operator").attr("getitem"),
            py::make_tuple(self.getSceneObject(), PYZtext(PYZpathOf(self.get()))));
    });
    defineMapping(type);
    defineTree(type);
    defineEvents(type);
    defineFiles(type);
    // node[name] sits in loops: without pybind11's search of overloads. After "__getitem__", which sets it, too.
    reinterpret_cast<PyTypeObject *>(type.ptr())->tp_as_mapping->mp_subscript = getItem;
}
