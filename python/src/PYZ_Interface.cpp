#include "PYZ_Interface.h"

#include "PYZ_Files.h"
#include "PYZ_Report.h"
#include "PYZ_Scene.h"

#include <NOD/NOD_Description.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_ValueFile.h>

namespace
{

PYZ_InterfacePtr read(const py::object &path, const py::object &scripts)
{
    const std::string file = PYZfromPath(path);
    const NOD_Interface::Includes includes = PYZincludes(scripts);
    return PYZchange(nullptr, "ScriptError", [&](NOD_Report &report) {
        return NOD_Interface::fromFile(file, report, includes);
    });
}

PYZ_InterfacePtr readText(const py::object &text, const py::object &name, const py::object &scripts)
{
    const std::string bytes = PYZfromTextOrBytes(text, "a script");
    const std::string shown = PYZfromText(name, "a name");
    const NOD_Interface::Includes includes = PYZincludes(scripts);
    return PYZchange(nullptr, "ScriptError", [&](NOD_Report &report) {
        return NOD_Interface::fromText(bytes, shown, report, includes);
    });
}

py::object describe(const PYZ_Interface &self)
{
    std::string text;
    {
        const PYZ_Rest rest;
        text = NODdescriptionJson(NODdescribe(*self.interface));
    }
    return py::module_::import("json").attr("loads")(PYZtext(text));
}

/// Also of interfaces that are no script.
py::object scriptText(const PYZ_Interface &self)
{
    return PYZtext(self.interface->getText());
}

py::list listNames(const PYZ_Interface &self)
{
    py::list names;
    for (const std::string &name : self.interface->getParmNames()) {
        names.append(PYZtext(name));
    }
    return names;
}

std::string interfaceText(const PYZ_Interface &self)
{
    const int count = self.interface->getParmCount();
    return "<zel.Interface '" + self.interface->getTypeName() + "': " + std::to_string(count) +
           (count == 1 ? " parameter>" : " parameters>");
}

/// What a file that is no scene is for.
[[noreturn]] void refuse(const std::string &file, NOD_FileKind kind)
{
    std::string text = file + ": ";
    switch (kind) {
    case NOD_FileKind::SCRIPT:
        text += "is no scene; zel.Interface(path) reads a dialog script";
        break;
    case NOD_FileKind::NONE: text += "there is no such file, or it can't be read"; break;
    case NOD_FileKind::JSON: text += "is a JSON file, and no scene"; break;
    default:
        text += std::string("is ") + NOD_ValueFile::getKindName(kind) +
                ", and no scene; node.load(path) gives its values to a node";
    }
    PYZraise("SceneError", text);
}

py::object load(const py::object &path, const py::object &scripts, const py::object &strict)
{
    const std::string file = PYZfromPath(path);
    const NOD_LoadOptions options = PYZloadOptions(scripts);
    const NOD_FileKind kind = NOD_ValueFile::kindOf(file);
    py::object made = py::cast(std::make_unique<PYZ_Scene>());
    NOD_Scene &scene = PYZ_Scene::of(made).get();
    const PYZ_Faults faults = PYZfaultsOf(scripts, strict);
    if (kind == NOD_FileKind::NODE) {
        PYZchange(
            &scene, "SceneError",
            [&](NOD_Report &report) {
                NOD_Node *const node =
                    NOD_NodeFile::load(scene, scene.getRoot(), file, options, report);
                return node != nullptr;
            },
            {}, faults);
    } else if (kind == NOD_FileKind::SCENE) {
        PYZchange(
            &scene, "SceneError",
            [&](NOD_Report &report) { return NOD_SceneFile::load(scene, file, options, report); },
            {}, faults);
    } else {
        refuse(file, kind);
    }
    return made;
}

} // namespace

NOD_SaveOptions PYZsaveOptions(bool binary, bool changedOnly, bool selfContained)
{
    NOD_SaveOptions options;
    options.form = binary ? NOD_SaveOptions::Form::BINARY : NOD_SaveOptions::Form::TEXT;
    options.values = changedOnly ? NOD_SaveOptions::Values::CHANGED : NOD_SaveOptions::Values::ALL;
    options.interfaces = selfContained ? NOD_SaveOptions::Interfaces::AS_TEXTS
                                       : NOD_SaveOptions::Interfaces::AS_MADE;
    return options;
}

namespace
{

enum class Scripts
{
    ANYWHERE,
    IN_FOLDER,
    NONE
};

Scripts scriptsOf(py::handle word)
{
    if (PyBool_Check(word.ptr())) {
        return word.is(py::handle(Py_True)) ? Scripts::ANYWHERE : Scripts::NONE;
    }
    if (PyUnicode_Check(word.ptr()) && PYZfromText(word, "scripts") == "folder") {
        return Scripts::IN_FOLDER;
    }
    throw py::value_error("scripts is True, False or \"folder\"");
}

} // namespace

NOD_LoadOptions PYZloadOptions(py::handle scripts)
{
    NOD_LoadOptions options;
    switch (scriptsOf(scripts)) {
    case Scripts::ANYWHERE: options.scripts = NOD_LoadOptions::Scripts::ANYWHERE; break;
    case Scripts::IN_FOLDER: options.scripts = NOD_LoadOptions::Scripts::IN_FOLDER; break;
    case Scripts::NONE: options.scripts = NOD_LoadOptions::Scripts::NONE; break;
    }
    return options;
}

PYZ_Faults PYZfaultsOf(py::handle scripts, py::handle strict)
{
    const bool strictFlag =
        strict.is_none() ? scriptsOf(scripts) == Scripts::ANYWHERE : strict.cast<bool>();
    return strictFlag ? PYZ_Faults::RAISE : PYZ_Faults::WARN;
}

NOD_Interface::Includes PYZincludes(py::handle scripts)
{
    switch (scriptsOf(scripts)) {
    case Scripts::ANYWHERE: return NOD_Interface::Includes::ANY;
    case Scripts::IN_FOLDER: return NOD_Interface::Includes::CONFINED;
    case Scripts::NONE: break;
    }
    return NOD_Interface::Includes::NONE;
}

PYZ_InterfacePtr PYZtoInterface(py::handle value)
{
    if (py::isinstance<PYZ_Interface>(value)) {
        return value.cast<const PYZ_Interface &>().interface;
    }
    const bool pathFlag = PyUnicode_Check(value.ptr()) || PyBytes_Check(value.ptr()) ||
                          py::hasattr(value, "__fspath__");
    throw py::type_error(std::string("an interface must be a zel.Interface, not ") +
                         Py_TYPE(value.ptr())->tp_name +
                         (pathFlag ? ": zel.Interface(path) reads one" : ""));
}

PYZ_InterfacePtr PYZtoInterfaceOrNone(py::handle value)
{
    return value.is_none() ? nullptr : PYZtoInterface(value);
}

void PYZdefineInterface(py::module_ &module)
{
    py::class_<PYZ_Interface> type(module, "Interface", py::is_final(),
                                   R"(Interface(path, *, includes=True)

What the parameters of a node type are, read from a dialog script. Scripts that it includes may be anywhere
(True), in its folder and on the search path ("folder"), or nowhere (False). Iterating gives the names of the
parameters, in items of a block with a #.

>>> script = 'parm { name "size" type float } multiparm { name "rows" parm { name "w#" type float } }'
>>> list(zel.Interface.from_text(script, "box"))
['size', 'rows', 'w#']
)");
    type.def(py::init([](const py::object &path, const py::object &includes) {
                 return PYZ_Interface{read(path, includes)};
             }),
             py::arg("path"), py::kw_only(), py::arg("includes") = true);
    type.def_static(
        "from_text",
        [](const py::object &text, const py::object &name, const py::object &includes) {
            return PYZ_Interface{readText(text, name, includes)};
        },
        py::arg("text"), py::arg("name") = "script", py::kw_only(), py::arg("includes") = true,
        R"(from_text(text, name='script', *, includes=True) -> Interface

The same of a script's text, or of the contents of its braces. The name is shown in messages, and is the type
name of a script without a name.

>>> zel.Interface.from_text('parm { name "size" type float default { 2 } }', "box")
<zel.Interface 'box': 1 parameter>
)");
    type.def("__repr__", interfaceText);
    type.def("__len__", [](const PYZ_Interface &self) { return self.interface->getParmCount(); });
    type.def("__iter__", [](const PYZ_Interface &self) { return py::iter(listNames(self)); });
    type.def("__contains__", [](const PYZ_Interface &self, const py::object &name) {
        return PyUnicode_Check(name.ptr()) && listNames(self).contains(name);
    });
    type.def("__bool__", [](const PYZ_Interface &) { return true; });
    type.def("__eq__", [](const PYZ_Interface &self, const py::object &other) {
        return py::isinstance<PYZ_Interface>(other) &&
               self.interface == other.cast<const PYZ_Interface &>().interface;
    });
    type.def("__hash__", [](const PYZ_Interface &self) {
        return std::hash<const void *>()(self.interface.get());
    });
    type.def_property_readonly(
        "name", [](const PYZ_Interface &self) { return PYZtext(self.interface->getTypeName()); },
        "The name of the node type.");
    type.def_property_readonly(
        "label", [](const PYZ_Interface &self) { return PYZtext(self.interface->getLabel()); },
        "What people read of it.");
    type.def_property_readonly(
        "help", [](const PYZ_Interface &self) { return PYZtext(self.interface->getHelp()); },
        "The help text of the dialog.");
    type.def_property_readonly(
        "file", [](const PYZ_Interface &self) { return PYZtext(self.interface->getFile()); },
        "The file of the script, or its name in messages.");
    type.def_property_readonly("text", scriptText, "The text of the script.");
    type.def(
        "describe", describe,
        "describe() -> dict\n\nAll of it as data: the document of docs/interface.schema.json.");
    type.def("__reduce__", [](const py::object &self) {
        const NOD_Interface &interface = *self.cast<const PYZ_Interface &>().interface;
        return py::make_tuple(
            py::module_::import("zel._pickles").attr("interface"),
            py::make_tuple(py::bytes(interface.getText()), PYZtext(interface.getFile())));
    });
    type.def("__copy__", [](const py::object &self) { return self; });
    type.def("__deepcopy__", [](const py::object &self, const py::object &) { return self; });

    module.def("load", load, py::arg("path"), py::kw_only(), py::arg("scripts") = true,
               py::arg("strict") = py::none(),
               R"(load(path, *, scripts=True, strict=None) -> Scene

A scene from its file, or with the node of a node file. Interfaces are read from their scripts wherever those
are (True), only in the file's folder ("folder"), or not at all (False): for files of strangers, whose nodes
then are there without parameters and are saved as they were. Not `strict`: what can't be read is a warning,
as without scripts unless `strict` says so.
)");
}
