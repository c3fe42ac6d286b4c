#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Lint.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

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

/// What came of one script.
struct Result
{
    ZELT_ScriptPtr script; ///< null if it can't be read
    bool goodFlag = false;
    std::vector<NOD_LintFinding> findings;
};

Result checkFile(const std::string &file, const Call &call, ZELT_Messages &messages)
{
    Result result;
    NOD_Report said;
    const bool strict = isStrict(call);
    const int before = messages.getErrorCount();
    NOD_LintOptions options;
    const bool optionsFlag = !strict || (ZELTreadLintFile(file, options, messages) &&
                                         ZELTreadLintOptions(call.rules, options, messages));
    result.script = ZELT_Session::openInterface(file, messages, &said);
    if (result.script) {
        NODcheckDescription(*result.script, file, said);
    }
    if (strict && optionsFlag) {
        NOD_Judgement judged = ZELTjudge(file, "", result.script.get(), options, said);
        result.findings = std::move(judged.findings);
        said = std::move(judged.rest);
    }
    messages.add(said);
    result.goodFlag =
        result.script && result.findings.empty() && messages.getErrorCount() == before;
    return result;
}

void print(const std::string &file, const Result &result)
{
    if (!result.script) {
        std::cout << file << ": failed\n";
        ZELTprintLint(result.findings);
        return;
    }
    const std::size_t count = result.findings.size();
    std::cout << file << ": "
              << (result.goodFlag ? "ok"
                  : count == 0    ? "not judged"
                                  : std::to_string(count) + (count == 1 ? " finding" : " findings"))
              << ", " << result.script->getParmCount() << " parameters\n";
    ZELTprintLint(result.findings);
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
        const Result result = checkFile(file, call, messages);
        good = good && result.goodFlag;
        if (options.json) {
            ZELT_Json one;
            one["file"] = file;
            one["ok"] = result.goodFlag;
            one["parameters"] =
                result.script ? ZELT_Json(result.script->getParmCount()) : ZELT_Json();
            if (isStrict(call)) {
                one["findings"] = ZELTlintJson(result.findings);
            }
            results.push_back(one);
        } else {
            print(file, result);
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
    ZELTaddLintOptions(command, call.rules);
}
