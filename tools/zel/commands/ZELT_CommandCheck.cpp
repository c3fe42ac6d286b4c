#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Lint.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/NOD_InterfaceCheck.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_ParmTypes.h>

#include <iostream>
#include <utility>

namespace
{

struct Call
{
    std::vector<std::string> files;
    bool strict = false;
};

/// Tells what is wrong with what a script describes, though it can be read.
void tellFaults(const NOD_Interface &script, const std::string &file, ZELT_Messages &messages)
{
    NOD_Report faults;
    NODcheckNames(script, faults);
    NODcheckInterface(script.getTemplates(), faults);
    NODcheckMenuScripts(script.getTemplates(), faults);
    NODcheckExpressions(script, faults);
    NOD_Report report;
    for (NOD_Message message : faults.getMessages()) {
        if (message.category == ZEL_ERROR_CATEGORY && message.code == ZEL_ERR_TEXT_NAME &&
            message.line == 0) {
            continue; // told with its line
        }
        message.file = message.file.empty() ? file : message.file;
        report.add(std::move(message));
    }
    messages.add(report);
}

int check(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZELT_Json results = ZELT_Json::array();
    ZELT_Progress progress("checking", std::int64_t(call.files.size()));
    bool good = true;
    for (const std::string &file : call.files) {
        ZELT_ScriptPtr script =
            ZELT_Session::openInterface(file, messages, ZELT_Session::Reading::ALL_MISTAKES);
        good = good && script;
        if (script) {
            tellFaults(*script, file, messages);
        }
        std::vector<NOD_LintFinding> findings;
        if (script && call.strict) {
            NOD_LintOptions judged;
            good = ZELTreadLintFile(file, judged, messages) && good;
            NOD_Report report;
            findings = NODlint(*script, judged, &report);
            messages.add(report);
            good = good && findings.empty() && !report.hasErrors();
        }
        if (options.json) {
            ZELT_Json result;
            result["file"] = file;
            result["ok"] = script != nullptr;
            result["parameters"] = script ? ZELT_Json(script->getParmCount()) : ZELT_Json();
            if (call.strict) {
                result["findings"] = ZELTlintJson(findings);
            }
            results.push_back(result);
        } else if (script) {
            std::cout << file << ": ok, " << script->getParmCount() << " parameters\n";
            ZELTprintLint(findings);
        } else {
            std::cout << file << ": failed\n";
        }
        progress.advance();
    }
    if (options.json) {
        ZELTprintJson(results);
    }
    return good ? 0 : 1;
}

} // namespace

void ZELTaddCheck(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add("check", "Parse dialog scripts and tell every message",
                                          "zel check examples/*.ds", check);
    command.addOption("FILE", call.files, "Dialog scripts, or node and scene files").required();
    command.addFlag("--strict", call.strict, "Judge them as zel lint does, too");
}
