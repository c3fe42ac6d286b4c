#include "PYZ_Script.h"

#include "PYZ_Files.h"
#include "PYZ_Interface.h"
#include "PYZ_Report.h"

#include <NOD/NOD_Lint.h>
#include <NOD/NOD_MessagePage.h>
#include <NOD/NOD_Presets.h>
#include <NOD/NOD_ScriptCheck.h>
#include <NOD/NOD_ScriptFormat.h>

namespace
{

/// Codes or names of rules with commas between.
std::string rulesOf(const py::object &rules)
{
    if (PyUnicode_Check(rules.ptr())) {
        return PYZfromText(rules, "rules");
    }
    std::string all;
    for (const py::handle rule : rules) {
        all += PYZfromText(rule, "a rule") + ',';
    }
    return all;
}

NOD_LintOptions lintOptions(const py::object &disable, const py::object &only,
                            const py::object &level)
{
    NOD_LintOptions options;
    std::string unknown;
    NOD_LintLevel chosen = NOD_LintLevel::HINT;
    if (!NODreadLintLevel(PYZfromText(level, "a level"), chosen)) {
        throw py::value_error("a level is \"hint\", \"warning\" or \"error\"");
    }
    options.setLevel(chosen);
    if (!options.disable(rulesOf(disable), unknown) ||
        (!only.is_none() && !options.only(rulesOf(only), unknown))) {
        throw py::value_error(unknown.empty() ? "only names no rule"
                                              : "there is no rule \"" + unknown + '"');
    }
    return options;
}

/// Of an interface, or of a script's path; what its readers said is a warning.
PYZ_InterfacePtr scriptOf(const py::object &script, const py::object &includes)
{
    if (py::isinstance<PYZ_Interface>(script)) {
        return PYZtoInterface(script);
    }
    const std::string path = PYZfromPath(script);
    const NOD_Interface::Includes allowed = PYZincludes(includes);
    return PYZchange(nullptr, "ScriptError", [&](NOD_Report &report) {
        return NOD_Interface::fromFile(path, report, allowed);
    });
}

py::list listFindings(const std::vector<NOD_LintFinding> &findings)
{
    const py::object type = PYZrecord("Finding");
    py::list result;
    for (const NOD_LintFinding &finding : findings) {
        result.append(type(finding.rule->code, finding.rule->name,
                           NODlintLevelWord(finding.rule->level), PYZmessage(finding.message),
                           finding.hasFix(), PYZtext(finding.asText())));
    }
    return result;
}

py::list lint(const py::object &script, const py::object &disable, const py::object &only,
              const py::object &level, const py::object &includes)
{
    const NOD_LintOptions options = lintOptions(disable, only, level);
    const NOD_Interface::Includes allowed = PYZincludes(includes);
    const bool madeFlag = py::isinstance<PYZ_Interface>(script);
    PYZ_InterfacePtr judged = madeFlag ? PYZtoInterface(script) : nullptr;
    const std::string path = madeFlag ? std::string() : PYZfromPath(script);
    NOD_Judgement judgement;
    NOD_Report said;
    const PYZ_Changing changing(nullptr);
    PYZgather(said, {}, [&](NOD_Report &report) {
        judged = madeFlag ? judged : NOD_Interface::fromFile(path, report, allowed);
        return true;
    });
    if (!judged) {
        PYZtell(said, "ScriptError", false);
    }
    PYZchange(nullptr, "ScriptError", [&](NOD_Report &) {
        judgement = NODjudge(*judged, options, said);
        return true;
    });
    PYZtell(judgement.rest, "ScriptError", judgement.judgedFlag);
    return listFindings(judgement.findings);
}

py::object mend(const py::object &script, const py::object &disable, const py::object &only,
                const py::object &level, const py::object &includes)
{
    const NOD_LintOptions options = lintOptions(disable, only, level);
    const PYZ_InterfacePtr judged = scriptOf(script, includes);
    NOD_MendedScript mended;
    PYZchange(nullptr, "ScriptError", [&](NOD_Report &report) {
        mended = NODmendScript(judged, judged->getFile(), options, report);
        return mended.script != nullptr;
    });
    return PYZrecord("Mended")(PYZ_Interface{mended.script}, mended.fixed,
                               listFindings(mended.findings));
}

py::tuple check(const py::object &path, const py::object &includes)
{
    const std::string file = PYZfromPath(path);
    const NOD_Interface::Includes allowed = PYZincludes(includes);
    NOD_Report report;
    const PYZ_Changing changing(nullptr);
    PYZgather(report, {}, [&](NOD_Report &) { return NODcheckScriptFile(file, report, allowed); });
    return PYZmessages(report);
}

py::object format(const py::object &text, const py::object &name, bool sort,
                  const py::object &includes)
{
    const std::string script = PYZfromTextOrBytes(text, "a script");
    const std::string shown = PYZfromText(name, "a name");
    const NOD_Interface::Includes allowed = PYZincludes(includes);
    DS_FormatOptions options;
    options.sort = sort;
    std::string result;
    PYZchange(nullptr, "ScriptError", [&](NOD_Report &report) {
        return NODformatScript(script, shown, options, result, report, allowed);
    });
    return PYZtext(result);
}

py::list explain(const py::object &code)
{
    const py::object type = PYZrecord("Help");
    py::list result;
    for (const NOD_MessageHelp &help : NODfindMessages(PYZfromText(code, "a code"))) {
        result.append(type(PYZtext(help.code), PYZtext(help.severity), PYZtext(help.sentence),
                           PYZtext(help.cause), PYZtext(help.remedy), PYZtext(help.example)));
    }
    return result;
}

// ---------------------------------------------------------------------- //
// Presets
// ---------------------------------------------------------------------- //

/// `zel.Presets`.
class Presets
{
public:
    using PYZ_Class = void;

    Presets(const py::object &type, const py::object &table)
        : myType(PYZfromText(type, "a type")), myTable(PYZfromText(table, "a table")),
          myPresets(myTable, myType, "replace=True"), myInfo(myTable.c_str(), myType.c_str())
    {}

    py::list names()
    {
        const PYZ_Changing changing(nullptr);
        py::list result;
        myInfo.setNeedsRefresh();
        for (int i = 0; i < myInfo.getNumPresets(); ++i) {
            result.append(PYZtext(myInfo.getPresetName(i).nonNullStr()));
        }
        return result;
    }
    /// One of the operations that arrange; the path of the preset that it is about.
    template <class Work>
    py::str arrange(const Work &work)
    {
        std::string path;
        PYZchange(nullptr, "PresetError", [&](NOD_Report &report) {
            path = work(myPresets, report);
            return !path.empty();
        });
        return PYZtext(path);
    }
    const std::string &type() const { return myType; }
    const std::string &table() const { return myTable; }

private:
    std::string myType;
    std::string myTable;
    NOD_Presets myPresets;
    ZEL_PresetInfo myInfo;
};

NOD_Presets::Existing existing(bool replace)
{
    return replace ? NOD_Presets::Existing::REPLACE : NOD_Presets::Existing::REFUSE;
}

using Renaming = std::string (NOD_Presets::*)(const std::string &, const std::string &,
                                              const std::string &, NOD_Presets::Existing,
                                              NOD_Report &);

/// Of what gives a preset another name, or its copy.
auto renaming(Renaming work)
{
    return [work](Presets &self, const py::object &name, const py::object &newName,
                  const py::object &folder, bool replace) {
        const std::string from = PYZfromText(name, "a preset's name");
        const std::string to = PYZfromText(newName, "a preset's name");
        const std::string where = PYZfromPath(folder);
        return self.arrange([&](NOD_Presets &presets, NOD_Report &report) {
            return (presets.*work)(from, to, where, existing(replace), report);
        });
    };
}

void definePresets(py::module_ &module)
{
    py::class_<Presets> type(module, "Presets", py::is_final(), R"(Presets(type, table='Node')

The presets of a node type on the search path, by name: iterating gives the names. Folders are those of the
search path; '' is the first that takes presets, or the one in which a preset is found.

>>> "Night" in zel.Presets("no_such_type")
False
)");
    type.def(py::init<const py::object &, const py::object &>(), py::arg("type"),
             py::arg("table") = "Node");
    type.def("__iter__", [](Presets &self) { return py::iter(self.names()); });
    type.def("__len__", [](Presets &self) { return self.names().size(); });
    type.def("__bool__", [](const Presets &) { return true; });
    type.def("__contains__",
             [](Presets &self, const py::object &name) { return self.names().contains(name); });
    type.def("__repr__",
             [](const Presets &self) { return "<zel.Presets of '" + self.type() + "'>"; });
    type.def("__reduce__", [](const py::object &self) {
        const Presets &presets = self.cast<const Presets &>();
        return py::make_tuple(py::type::of(self),
                              py::make_tuple(PYZtext(presets.type()), PYZtext(presets.table())));
    });
    type.def(
        "find",
        [](Presets &self, const py::object &name) {
            const std::string text = PYZfromText(name, "a preset's name");
            return self.arrange([&](NOD_Presets &presets, NOD_Report &report) {
                return presets.find(text, report);
            });
        },
        py::arg("name"),
        "find(name) -> str\n\nThe preset's path, which Node.load() and Node.load_preset() take.");
    type.def(
        "save",
        [](Presets &self, const py::object &text, const py::object &name, const py::object &folder,
           bool replace) {
            const std::string bytes = PYZfromBytes(text, "a preset");
            const std::string shown = PYZfromText(name, "a preset's name");
            const std::string where = PYZfromPath(folder);
            return self.arrange([&](NOD_Presets &presets, NOD_Report &report) {
                return presets.save(bytes, shown, where, existing(replace), report);
            });
        },
        py::arg("text"), py::arg("name"), py::kw_only(), py::arg("folder") = "",
        py::arg("replace") = false,
        "save(text, name, *, folder='', replace=False) -> str\n\nThe bytes of a preset, as Node.preset_text() has "
        "them.");
    type.def("copy", renaming(&NOD_Presets::copy), py::arg("name"), py::arg("new_name"),
             py::kw_only(), py::arg("folder") = "", py::arg("replace") = false,
             "copy(name, new_name, *, folder='', replace=False) -> str");
    type.def("rename", renaming(&NOD_Presets::rename), py::arg("name"), py::arg("new_name"),
             py::kw_only(), py::arg("folder") = "", py::arg("replace") = false,
             "rename(name, new_name, *, folder='', replace=False) -> str");
    type.def(
        "remove",
        [](Presets &self, const py::object &name, const py::object &folder) {
            const std::string text = PYZfromText(name, "a preset's name"),
                              where = PYZfromPath(folder);
            return self.arrange([&](NOD_Presets &presets, NOD_Report &report) {
                return presets.remove(text, where, report);
            });
        },
        py::arg("name"), py::kw_only(), py::arg("folder") = "",
        "remove(name, *, folder='') -> str");
}

} // namespace

void PYZdefineScript(py::module_ &module)
{
    definePresets(module);
    module.def(
        "lint", lint, py::arg("script"), py::kw_only(), py::arg("disable") = "",
        py::arg("only") = py::none(), py::arg("level") = "hint", py::arg("includes") = true,
        R"(lint(script, *, disable=(), only=None, level='hint', includes=True) -> list of Finding

What in a script that can be read can't have been meant: see docs/lint.md. A path, or an interface. Of a path,
scripts that it includes may be where zel.Interface() says.

>>> script = zel.Interface.from_text('{ name a label "A" parm { name "x" type float } }', "a.ds")
>>> [finding.code for finding in zel.lint(script)]
['Z107']
)");
    module.def(
        "mend", mend, py::arg("script"), py::kw_only(), py::arg("disable") = "",
        py::arg("only") = py::none(), py::arg("level") = "hint", py::arg("includes") = true,
        "mend(script, *, disable=(), only=None, level='hint', includes=True) -> Mended\n\nThe script after the fixes of "
        "what "
        "lint() finds, of which only one edit can be meant. Nothing is written.");
    module.def(
        "check", check, py::arg("path"), py::kw_only(), py::arg("includes") = true,
        "check(path, *, includes=True) -> tuple of Message\n\nAll mistakes of a script, where reading it ends at the first.");
    module.def("format", format, py::arg("text"), py::arg("name") = "script", py::kw_only(),
               py::arg("sort") = false, py::arg("includes") = true,
               R"(format(text, name='script', *, sort=False, includes=True) -> str

A script laid out anew; with `sort` its keywords in the order of the language.

>>> print(zel.format('parm { name "x" type float }').expandtabs(4), end="")
parm {
    name    "x"
    type    float
}
)");
    module.def(
        "explain", explain, py::arg("code"),
        "explain(code) -> list of Help\n\nWhat there is to say of a message: \"ZEL 5\", \"Z101\", or all of a "
        "category.");
}
