#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Json.h"
#include "ZELT_Lint.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Script.h"

#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_Lint.h>
#include <NOD/NOD_Report.h>

#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

struct Call
{
    std::vector<std::string> files;
    std::vector<std::string> disabled;
    std::vector<std::string> only;
    std::string level;
    bool fix = false;
    bool list = false;
};

/// What came of one script.
struct Result
{
    bool goodFlag = false;
    int fixed = 0;
    std::vector<NOD_LintFinding> findings;
};

std::string joined(const std::vector<std::string> &words)
{
    std::string all;
    for (const std::string &word : words) {
        all += word + ",";
    }
    return all;
}

bool failRule(const std::string &word, ZELT_Messages &messages)
{
    if (word.empty()) {
        messages.error("", "--only names no rule");
        return false;
    }
    std::vector<std::string> words;
    for (const NOD_LintRule &rule : NODlintRules()) {
        words.emplace_back(word[0] == 'Z' ? rule.code : rule.name);
    }
    messages.error("", "there is no rule " + word + KITdidYouMean(word, words));
    return false;
}

/// What the command line says, after the configuration file.
bool addOptions(const Call &call, NOD_LintOptions &options, ZELT_Messages &messages)
{
    std::string unknown;
    if (!options.disable(joined(call.disabled), unknown) ||
        (!call.only.empty() && !options.only(joined(call.only), unknown))) {
        return failRule(unknown, messages);
    }
    NOD_LintLevel level = options.getLevel();
    if (!call.level.empty() && !NODreadLintLevel(call.level, level)) {
        messages.error("", "the level is hint, warning or error, not " + call.level +
                               KITdidYouMean(call.level, {"hint", "warning", "error"}));
        return false;
    }
    options.setLevel(level);
    return true;
}

/// Makes the edits until none is left; null, after a message, if a text could not be read any more.
ZELT_ScriptPtr mend(ZELT_ScriptPtr script, const std::string &file, const NOD_LintOptions &options,
                    Result &result, ZELT_Messages &messages)
{
    constexpr int theMostRounds = 100; // each makes one edit at least
    for (int round = 0; round < theMostRounds; ++round) {
        int applied = 0;
        const std::string text =
            NODapplyLintFixes(result.findings, file, script->getText(), applied);
        if (applied == 0) {
            break;
        }
        NOD_Report report;
        const ZELT_ScriptPtr mended = NOD_Interface::fromText(text, file, report);
        if (!mended) {
            messages.add(report);
            messages.error(file, "can't be read after its fixes, so none is made");
            return nullptr;
        }
        result.fixed += applied;
        script = mended;
        result.findings = NODlint(*script, options);
    }
    return script;
}

/// What the reader said, but for warnings where a rule says more.
void tellReading(const NOD_Report &report, const std::vector<NOD_LintFinding> &findings,
                 ZELT_Messages &messages)
{
    NOD_Report rest;
    std::set<std::pair<std::string, int>> said;
    for (const NOD_LintFinding &finding : findings) {
        said.emplace(finding.file, finding.line);
    }
    for (const NOD_Message &message : report.getMessages()) {
        const bool saidFlag = said.count({message.file, message.line}) > 0;
        if (!saidFlag || message.severity >= KIT_ERROR_ABORT) {
            rest.add(message);
        }
    }
    messages.add(rest);
}

void dropSilent(std::vector<NOD_LintFinding> &findings, const NOD_LintOptions &options)
{
    findings.erase(std::remove_if(findings.begin(), findings.end(),
                                  [&options](const NOD_LintFinding &finding) {
                                      return !options.isOn(*finding.rule);
                                  }),
                   findings.end());
}

Result lintFile(const std::string &file, const Call &call, ZELT_Messages &messages)
{
    Result result;
    NOD_LintOptions options;
    const bool readFlag = ZELTreadLintFile(file, options, messages);
    if (!addOptions(call, options, messages) || !readFlag) {
        return result;
    }
    NOD_Report report;
    ZELT_ScriptPtr script = ZELTloadScript(file, report);
    if (script) {
        NOD_LintOptions everything;
        result.findings = NODlint(*script, everything, &report);
    }
    tellReading(report, result.findings, messages);
    if (!script || report.hasErrors()) {
        return result;
    }
    dropSilent(result.findings, options);
    result.goodFlag = true;
    if (call.fix) {
        script = mend(script, file, options, result, messages);
        result.goodFlag =
            script && (result.fixed == 0 || ZELTwriteFile(file, script->getText(), messages));
    }
    return result;
}

void printRules(bool json)
{
    ZELT_Json array = ZELT_Json::array();
    for (const NOD_LintRule &rule : NODlintRules()) {
        const char *const level = NODlintLevelWord(rule.level);
        if (!json) {
            std::string name = rule.name;
            constexpr std::size_t theWidth = 24;
            name.resize(std::max(name.size(), theWidth), ' ');
            std::cout << rule.code << "  "
                      << std::string(level).append(7 - std::string(level).size(), ' ') << "  "
                      << (rule.fixFlag ? "fix" : "   ") << "  " << name << "  " << rule.sentence
                      << '\n';
            continue;
        }
        ZELT_Json one;
        one["code"] = rule.code;
        one["name"] = rule.name;
        one["level"] = level;
        one["fix"] = rule.fixFlag;
        one["sentence"] = rule.sentence;
        one["example"] = rule.example;
        one["mended"] = rule.mended;
        array.push_back(one);
    }
    if (json) {
        ZELTprintJson(array);
    }
}

void printEnd(const Call &call, int findings, int fixable, int fixed, int failed)
{
    const auto number = [](int count, const char *one) {
        return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
    };
    std::cout << number(int(call.files.size()), "script") << ": ";
    std::cout << (findings ? number(findings, "finding") : "no findings");
    if (fixed) {
        std::cout << ", " << fixed << " fixed";
    }
    if (fixable && !call.fix) {
        std::cout << ", " << fixable << " to fix by --fix";
    }
    if (failed) {
        std::cout << ", " << number(failed, "script") << " not judged";
    }
    std::cout << '\n';
}

int lint(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    if (call.list) {
        printRules(options.json);
        return 0;
    }
    if (NOD_LintOptions checked; !addOptions(call, checked, messages)) {
        return 1;
    }
    if (call.fix && std::count(call.files.begin(), call.files.end(), "-")) {
        messages.error("-", "--fix needs a file that it can write");
        return 1;
    }
    ZELT_Json results = ZELT_Json::array();
    ZELT_Progress progress("linting", std::int64_t(call.files.size()));
    int failed = 0;
    int findings = 0;
    int fixable = 0;
    int fixed = 0;
    for (const std::string &file : call.files) {
        const Result result = lintFile(file, call, messages);
        failed += !result.goodFlag;
        findings += int(result.findings.size());
        fixed += result.fixed;
        for (const NOD_LintFinding &finding : result.findings) {
            fixable += finding.fix && finding.fix->file == file;
        }
        if (options.json) {
            ZELT_Json one;
            one["file"] = file;
            one["ok"] = result.goodFlag;
            one["fixed"] = result.fixed;
            one["findings"] = ZELTlintJson(result.findings);
            results.push_back(one);
        } else {
            ZELTprintLint(result.findings);
        }
        progress.advance();
    }
    if (options.json) {
        ZELTprintJson(results);
    } else {
        printEnd(call, findings, fixable, fixed, failed);
    }
    return failed == 0 && findings == 0 ? 0 : 1;
}

} // namespace

void ZELTaddLint(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("lint", "Judge dialog scripts: what in them can't have been meant",
                 "zel lint examples/*.ds --level warning", lint);
    const ZELT_Option files = command.addOption("FILE", call.files, "Dialog scripts");
    command.addList("--disable", call.disabled, "RULE,RULE: codes or names to leave out");
    command.addList("--only", call.only, "RULE,RULE: codes or names, and no others");
    command.addOption("--level", call.level, "The least that counts: hint, warning or error");
    command.addFlag("--fix", call.fix, "Make the edits that are safe, and write the scripts");
    const ZELT_Option list = command.addFlag("--list", call.list, "List the rules");
    files.excludes(list);
    command.needsOne("FILE", {files, list});
}
