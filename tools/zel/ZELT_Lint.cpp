#include "ZELT_Lint.h"

#include "ZELT_Command.h"
#include "ZELT_Format.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>

#include <iostream>

bool ZELTreadLintRules(const std::string &script, const ZELT_LintCall &call,
                       NOD_LintOptions &options, NOD_Report &report, ZELT_Messages &messages)
{
    const bool readFlag = options.readFolder(script, report);
    return ZELTreadLintOptions(call, options, messages) && readFlag;
}

std::string ZELTscriptFile(const ZELT_NodeInterface &one)
{
    return one.path.empty() || one.script->getFile().empty() ? one.name : one.script->getFile();
}

void ZELTprintLint(const std::vector<NOD_LintFinding> &findings)
{
    for (const NOD_LintFinding &finding : findings) {
        std::cout << ZELTprintable(finding.asText()) << '\n' << ZELTmessageNotes(finding.message);
    }
}

ZELT_Json ZELTlintJson(const std::vector<NOD_LintFinding> &findings)
{
    ZELT_Json array = ZELT_Json::array();
    for (const NOD_LintFinding &finding : findings) {
        ZELT_Json one;
        one["rule"] = finding.rule->code;
        one["name"] = finding.rule->name;
        one["level"] = NODlintLevelWord(finding.rule->level);
        one.update(ZELTmessageJson(finding.message));
        array.push_back(one);
    }
    return array;
}

namespace
{

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
    messages.wordError(word, "there is no rule " + word + KITdidYouMean(word, words));
    return false;
}

} // namespace

void ZELTaddLintOptions(ZELT_Command command, ZELT_LintCall &call)
{
    command.addList("--disable", call.disabled, "RULE,RULE: codes or names to leave out");
    command.addList("--only", call.only, "RULE,RULE: codes or names, and no others");
    command.addOption("--level", call.level, "The least that counts: hint, warning or error");
}

bool ZELTreadLintOptions(const ZELT_LintCall &call, NOD_LintOptions &options,
                         ZELT_Messages &messages)
{
    std::string unknown;
    if (!options.disable(joined(call.disabled), unknown) ||
        (!call.only.empty() && !options.only(joined(call.only), unknown))) {
        return failRule(unknown, messages);
    }
    NOD_LintLevel level = options.getLevel();
    if (!call.level.empty() && !NODreadLintLevel(call.level, level)) {
        messages.wordError(call.level, "the level is hint, warning or error, not " + call.level +
                                           KITdidYouMean(call.level, {"hint", "warning", "error"}));
        return false;
    }
    options.setLevel(level);
    return true;
}
