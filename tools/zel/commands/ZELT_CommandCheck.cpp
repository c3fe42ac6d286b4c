#include "ZELT_CommandLine.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Lint.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <NOD/NOD_MenuFileCheck.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptCheck.h>

#include <iostream>
#include <utility>

namespace
{

struct Call
{
    std::vector<std::string> files;
    bool strict = false;
    ZELT_LintCall rules;
};

/// Which rules judge is asked of those who judge.
bool isStrict(const Call &call)
{
    return call.strict || !call.rules.isEmpty();
}

/// What came of one interface.
struct Result
{
    std::string name;
    ZELT_ScriptPtr script = nullptr; ///< null if it can't be read
    bool goodFlag = false;
    std::vector<NOD_LintFinding> findings = {};
    std::string as = {}; ///< the node that its interface was told of; "" if this is the first
    int rows = -1;       ///< of a menu's file
};

/// `said` has what its reader told, and gets what is to be told besides findings.
Result checkOne(const ZELT_NodeInterface &one, const NOD_LintOptions *rules, NOD_Report &said)
{
    Result result{one.name, one.script};
    NODcheckDescription(*one.script, one.name, said);
    const int before = said.getErrorCount();
    if (rules) {
        NOD_Judgement judged = NODjudge(*one.script, *rules, said);
        result.findings = std::move(judged.findings);
        said = std::move(judged.rest);
    }
    result.goodFlag = result.findings.empty() && said.getErrorCount() <= before;
    return result;
}

/// A file with the rows of a menu.
Result checkMenu(const std::string &file, ZELT_Messages &messages)
{
    NOD_Report report;
    Result result{file};
    result.rows = NODcheckMenuFile(file, report);
    result.goodFlag = !report.hasErrors();
    messages.add(report);
    return result;
}

/// The script of a file, or what each of its nodes is an instance of.
std::vector<Result> checkFile(const std::string &file, const Call &call, ZELT_Messages &messages)
{
    if (NODisMenuFile(file)) {
        return {checkMenu(file, messages)};
    }
    NOD_Report said;
    NOD_Report rules;
    std::string unread;
    const std::vector<ZELT_NodeInterface> all =
        ZELT_Session::openInterfaces(file, messages, &said, &unread);
    // By the rules of a script's own folder.
    const auto readRules = [&](const std::string &script, NOD_LintOptions &options) {
        return isStrict(call) && ZELTreadLintRules(script, call.rules, options, rules, messages);
    };
    std::vector<Result> results;
    for (std::size_t i = 0; i < all.size(); ++i) {
        NOD_LintOptions options;
        if (all[i].first != i) {
            results.push_back(results[all[i].first]);
            results.back().name = all[i].name;
            results.back().as = all[all[i].first].path;
            results.back().findings.clear();
            continue;
        }
        const bool rulesFlag = readRules(ZELTscriptFile(all[i]), options);
        results.push_back(checkOne(all[i], rulesFlag ? &options : nullptr, said));
        results.back().goodFlag = results.back().goodFlag && (rulesFlag || !isStrict(call));
    }
    if (all.empty()) {
        results.push_back({file});
    }
    NOD_LintOptions options;
    if (all.empty() && readRules(file, options) && !unread.empty()) {
        NOD_Judgement judged = NODjudgeSoundPart(unread, file, options, said);
        results.back().findings = std::move(judged.findings);
        said = std::move(judged.rest);
    }
    messages.add(rules);
    messages.add(said);
    return results;
}

void print(const Result &result)
{
    if (!result.script && (result.rows < 0 || !result.goodFlag)) {
        std::cout << result.name << ": failed\n";
        ZELTprintLint(result.findings);
        return;
    }
    if (!result.script) {
        std::cout << result.name << ": ok, " << ZELTcounted(result.rows, "row") << '\n';
        return;
    }
    if (!result.as.empty()) {
        std::cout << result.name << ": as " << result.as << '\n';
        return;
    }
    const std::size_t count = result.findings.size();
    std::cout << result.name << ": "
              << (result.goodFlag ? "ok"
                  : count == 0    ? "not judged"
                                  : ZELTcounted(std::int64_t(count), "finding"))
              << ", " << ZELTcounted(result.script->getParmCount(), "parameter") << '\n';
    ZELTprintLint(result.findings);
}

ZELT_Json asJson(const Result &result, bool strict)
{
    ZELT_Json one;
    one["file"] = result.name;
    one["ok"] = result.goodFlag;
    one["parameters"] = result.script ? ZELT_Json(result.script->getParmCount()) : ZELT_Json();
    if (!result.as.empty()) {
        one["as"] = result.as;
    }
    if (result.rows >= 0) {
        one["rows"] = result.rows;
    }
    if (strict) {
        one["findings"] = ZELTlintJson(result.findings);
    }
    return one;
}

int check(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    if (NOD_LintOptions rules; !ZELTreadLintOptions(call.rules, rules, messages)) {
        return 1;
    }
    ZELT_Json results = ZELT_Json::array();
    ZELT_Progress progress("checking", std::int64_t(call.files.size()));
    bool good = true;
    for (const std::string &file : call.files) {
        for (const Result &result : checkFile(file, call, messages)) {
            good = good && result.goodFlag;
            if (options.json) {
                results.push_back(asJson(result, isStrict(call)));
            } else {
                print(result);
            }
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
    command.addOption("FILE", call.files, "Dialog scripts, node and scene files, or files of menus")
        .required();
    command.addFlag("--strict", call.strict, "Judge them as zel lint does, too");
    ZELTaddLintOptions(command, call.rules);
}
