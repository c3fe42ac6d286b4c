#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Lint.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Session.h"

#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Lint.h>
#include <NOD/NOD_MenuFileCheck.h>
#include <NOD/NOD_Report.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace
{

struct Call
{
    std::vector<std::string> files;
    ZELT_LintCall rules;
    bool fix = false;
    bool list = false;
};

/// What came of one file.
struct Result
{
    bool goodFlag = false; ///< all of it was judged
    int scripts = 0;       ///< that it has, each once
    int failed = 0;        ///< those that weren't judged
    int menus = 0;         ///< 1 for a file of one
    int faulty = 0;        ///< 1 for one with errors
    int fixed = 0;
    std::vector<NOD_LintFinding> findings;
};

/// Judges one, and mends it where that was asked. `said` has what its reader told, and gets what no finding says.
bool lintOne(const ZELT_NodeInterface &one, const NOD_LintOptions &options, const Call &call,
             NOD_Report &said, Result &result, ZELT_Messages &messages)
{
    NOD_Judgement judged = NODjudge(*one.script, options, said);
    said = std::move(judged.rest);
    bool goodFlag = judged.judgedFlag;
    if (call.fix && goodFlag) {
        NOD_Report report;
        NOD_MendedScript mended = NODmendScript(one.script, one.name, options, report);
        messages.add(report);
        result.fixed += mended.fixed;
        judged.findings = std::move(mended.findings);
        goodFlag = mended.fixed == 0 || ZELTwriteFile(one.name, mended.script->getText(), messages);
    }
    std::move(judged.findings.begin(), judged.findings.end(), std::back_inserter(result.findings));
    return goodFlag;
}

/// Of a script that can't be read what is sound.
void lintUnread(const std::string &file, const std::string &text, const Call &call,
                NOD_Report &said, Result &result, ZELT_Messages &messages)
{
    NOD_LintOptions options;
    NOD_Report rules;
    const bool rulesFlag = ZELTreadLintRules(file, call.rules, options, rules, messages);
    messages.add(rules);
    if (rulesFlag && !text.empty()) {
        NOD_Judgement judged = NODjudgeSoundPart(text, file, options, said);
        said = std::move(judged.rest);
        result.findings = std::move(judged.findings);
    }
}

/// A script, or what the nodes of a file are instances of, each once and by the rules of its own folder.
Result lintScripts(const std::string &file, const Call &call, ZELT_Messages &messages)
{
    Result result;
    NOD_Report said;
    std::string unread;
    const std::vector<ZELT_NodeInterface> all =
        ZELT_Session::openInterfaces(file, messages, &said, &unread);
    if (call.fix && !all.empty() && !all[0].path.empty()) {
        messages.add(said);
        messages.error(file, "--fix needs a script: this one has nodes");
        result.scripts = result.failed = 1;
        return result;
    }
    if (all.empty()) {
        result.scripts = result.failed = 1;
        lintUnread(file, unread, call, said, result, messages);
    }
    NOD_Report rules;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].first == i) {
            NOD_LintOptions options;
            const bool rulesFlag =
                ZELTreadLintRules(ZELTscriptFile(all[i]), call.rules, options, rules, messages);
            ++result.scripts;
            result.failed += !(rulesFlag && lintOne(all[i], options, call, said, result, messages));
        }
    }
    result.goodFlag = result.failed == 0;
    messages.add(rules);
    messages.add(said);
    return result;
}

Result lintFile(const std::string &file, const Call &call, ZELT_Messages &messages)
{
    if (!NODisMenuFile(file)) {
        return lintScripts(file, call, messages);
    }
    Result result;
    NOD_Report report;
    result.menus = 1;
    NODcheckMenuFile(file, report);
    result.goodFlag = !report.hasErrors();
    result.faulty = !result.goodFlag;
    messages.add(report);
    return result;
}

bool isFixable(const NOD_LintFinding &finding, const std::string &file)
{
    return finding.hasFix() && finding.message.detail->fixes[0].edits[0].place.file == file;
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

void printEnd(const Call &call, const Result &all, int fixable)
{
    if (all.scripts > 0 || all.menus == 0) {
        std::cout << ZELTcounted(all.scripts, "script") << (all.menus > 0 ? ", " : "");
    }
    if (all.menus > 0) {
        std::cout << ZELTcounted(all.menus, "menu");
    }
    const auto findings = std::int64_t(all.findings.size());
    std::cout << ": " << (findings > 0 ? ZELTcounted(findings, "finding") : "no findings");
    if (all.fixed > 0) {
        std::cout << ", " << all.fixed << " fixed";
    }
    if (fixable > 0 && !call.fix) {
        std::cout << ", " << fixable << " to fix by --fix";
    }
    if (all.failed > 0) {
        std::cout << ", " << ZELTcounted(all.failed, "script") << " not judged";
    }
    if (all.faulty > 0) {
        std::cout << ", " << ZELTcounted(all.faulty, "menu") << " with errors";
    }
    std::cout << '\n';
}

int lint(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    if (call.list) {
        printRules(options.json);
        return 0;
    }
    if (NOD_LintOptions checked; !ZELTreadLintOptions(call.rules, checked, messages)) {
        return 1;
    }
    if (call.fix && std::count(call.files.begin(), call.files.end(), "-")) {
        messages.error("-", "--fix needs a file that it can write");
        return 1;
    }
    ZELT_Json results = ZELT_Json::array();
    ZELT_Progress progress("linting", std::int64_t(call.files.size()));
    Result all;
    all.goodFlag = true;
    int fixable = 0;
    for (const std::string &file : call.files) {
        const Result result = lintFile(file, call, messages);
        all.goodFlag = all.goodFlag && result.goodFlag;
        all.scripts += result.scripts;
        all.failed += result.failed;
        all.menus += result.menus;
        all.faulty += result.faulty;
        all.fixed += result.fixed;
        all.findings.insert(all.findings.end(), result.findings.begin(), result.findings.end());
        for (const NOD_LintFinding &finding : result.findings) {
            fixable += result.goodFlag && isFixable(finding, file);
        }
        if (options.json) {
            ZELT_Json one;
            one["file"] = file;
            one["ok"] = result.goodFlag && result.findings.empty();
            one["judged"] = result.goodFlag;
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
        printEnd(call, all, fixable);
    }
    return all.goodFlag && all.findings.empty() ? 0 : 1;
}

} // namespace

void ZELTaddLint(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("lint", "Judge dialog scripts: what in them can't have been meant",
                 "zel lint examples/*.ds --level warning", lint);
    const ZELT_Option files = command.addOption(
        "FILE", call.files, "Dialog scripts, node and scene files, or files of menus");
    ZELTaddLintOptions(command, call.rules);
    command.addFlag("--fix", call.fix, "Make the edits that are safe, and write the scripts");
    const ZELT_Option list = command.addFlag("--list", call.list, "List the rules");
    files.excludes(list);
    command.needsOne("FILE", {files, list});
}
