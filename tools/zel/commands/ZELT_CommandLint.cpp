#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Json.h"
#include "ZELT_Lint.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Session.h"

#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Lint.h>
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
    bool goodFlag = false;
    int fixed = 0;
    std::vector<NOD_LintFinding> findings;
};

/// Judges one, and mends it where that was asked. `said` has what its reader told, and gets what no finding says.
Result lintOne(const ZELT_NodeInterface &one, const NOD_LintOptions &options, const Call &call,
               NOD_Report &said, ZELT_Messages &messages)
{
    Result result;
    NOD_Judgement judged = NODjudge(*one.script, options, said);
    said = std::move(judged.rest);
    result.goodFlag = judged.judgedFlag;
    result.findings = std::move(judged.findings);
    if (call.fix && result.goodFlag) {
        NOD_Report report;
        NOD_MendedScript mended = NODmendScript(one.script, one.name, options, report);
        messages.add(report);
        result.fixed = mended.fixed;
        result.findings = std::move(mended.findings);
        result.goodFlag =
            result.fixed == 0 || ZELTwriteFile(one.name, mended.script->getText(), messages);
    }
    return result;
}

/// A script, or what the nodes of a file are instances of, each once.
Result lintFile(const std::string &file, const Call &call, ZELT_Messages &messages)
{
    Result result;
    NOD_LintOptions options;
    const bool readFlag = ZELTreadLintFile(file, options, messages);
    if (!ZELTreadLintOptions(call.rules, options, messages) || !readFlag) {
        return result;
    }
    NOD_Report said;
    std::string unread;
    const std::vector<ZELT_NodeInterface> all =
        ZELT_Session::openInterfaces(file, messages, &said, &unread);
    if (call.fix && !all.empty() && !all[0].path.empty()) {
        messages.add(said);
        messages.error(file, "--fix needs a script: this one has nodes");
        return result;
    }
    if (!unread.empty()) {
        NOD_Judgement judged = NODjudgeSoundPart(unread, file, options, said);
        said = std::move(judged.rest);
        result.findings = std::move(judged.findings);
    }
    result.goodFlag = !all.empty();
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].first == i) {
            Result one = lintOne(all[i], options, call, said, messages);
            result.goodFlag = result.goodFlag && one.goodFlag;
            result.fixed += one.fixed;
            std::move(one.findings.begin(), one.findings.end(),
                      std::back_inserter(result.findings));
        }
    }
    messages.add(said);
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
    if (NOD_LintOptions checked; !ZELTreadLintOptions(call.rules, checked, messages)) {
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
    ZELTaddLintOptions(command, call.rules);
    command.addFlag("--fix", call.fix, "Make the edits that are safe, and write the scripts");
    const ZELT_Option list = command.addFlag("--list", call.list, "List the rules");
    files.excludes(list);
    command.needsOne("FILE", {files, list});
}
