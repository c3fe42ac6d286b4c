#include <NOD/NOD_Lint.h>

#include <NOD/NOD_Report.h>
#include <NOD/lint/NOD_LintContextPrivate.h>
#include <NOD/lint/NOD_LintSilencePrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_ErrorManager.h>

#include <algorithm>
#include <iterator>
#include <tuple>
#include <unordered_map>

namespace
{

// Names of the columns of NOD_LintRules.def.
constexpr NOD_LintLevel HINT = NOD_LintLevel::HINT;
constexpr NOD_LintLevel WARNING = NOD_LintLevel::WARNING;
constexpr NOD_LintLevel ERROR = NOD_LintLevel::ERROR;
constexpr bool FIX = true;
constexpr bool NO_FIX = false;

constexpr void (*theSubjects[])(NOD_LintContext &) = {
    NODlintNames, NODlintKeywords,   NODlintValues, NODlintRamps,
    NODlintMenus, NODlintConditions, NODlintFiles,
};

/// By file, in the order in which they are read, then by place.
void sortFindings(std::vector<NOD_LintFinding> &findings, const NOD_LintTokens &tokens)
{
    std::unordered_map<std::string_view, std::size_t> numbers;
    for (const NOD_LintTokens::File &file : tokens.getFiles()) {
        numbers.try_emplace(file.name, numbers.size());
    }
    const auto keyOf = [&numbers](const NOD_LintFinding &one) {
        return std::make_tuple(numbers.at(one.file), one.line, one.column,
                               std::string_view(one.rule->code));
    };
    std::stable_sort(findings.begin(), findings.end(),
                     [&keyOf](const NOD_LintFinding &a, const NOD_LintFinding &b) {
                         return keyOf(a) < keyOf(b);
                     });
    // A file that is included twice is judged once.
    const auto sameFlag = [&keyOf](const NOD_LintFinding &a, const NOD_LintFinding &b) {
        return keyOf(a) == keyOf(b) && a.text == b.text;
    };
    findings.erase(std::unique(findings.begin(), findings.end(), sameFlag), findings.end());
}

} // namespace

const std::vector<NOD_LintRule> &NODlintRules()
{
    static const std::vector<NOD_LintRule> theRules = {
#define NOD_LINT_RULE(code, name, level, fix, sentence, example, mended)                           \
    {#code, name, level, fix, sentence, example, mended},
#include <NOD/lint/NOD_LintRules.def>
    };
    return theRules;
}

std::string NOD_LintFinding::asText() const
{
    std::string out = file;
    if (line > 0) {
        out += ":" + std::to_string(line) + (column > 0 ? ":" + std::to_string(column) : "");
    }
    out += std::string(": ") + NODlintLevelWord(rule->level) + ": ";
    out += (parm.empty() ? "" : parm + ": ") + text;
    out += nearest.empty() ? "" : "; did you mean " + nearest + "?";
    return out + " [" + rule->code + " " + rule->name + "]";
}

std::vector<NOD_LintFinding> NODlint(const NOD_Interface &script, const NOD_LintOptions &options,
                                     NOD_Report *report)
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    const NOD_LintScript read(script, options.getIncludes());
    const bool cutFlag = read.getTokens().isCut();
    if (cutFlag || read.getEnd() < 0) {
        const std::string limit = std::to_string(NOD_LintTokens::theMost);
        if (report) {
            report->error(script.getFile(),
                          cutFlag ? "isn't judged: it has more words than the limit of " + limit
                                  : "isn't judged: it is no whole script, or has changed");
        }
        return {};
    }
    NOD_LintContext context(read);
    for (const auto subject : theSubjects) {
        subject(context);
    }
    const NOD_LintSilence silence(context);
    std::vector<NOD_LintFinding> findings = context.take();
    findings.erase(std::remove_if(findings.begin(), findings.end(),
                                  [&](const NOD_LintFinding &one) {
                                      return !options.isOn(*one.rule) || silence.has(one);
                                  }),
                   findings.end());
    sortFindings(findings, read.getTokens());
    return findings;
}

std::string NODapplyLintFixes(const std::vector<NOD_LintFinding> &findings, const std::string &file,
                              std::string_view text, int &applied)
{
    std::vector<const NOD_LintEdit *> edits;
    for (const NOD_LintFinding &finding : findings) {
        if (finding.fix && finding.fix->file == file && finding.fix->begin <= finding.fix->end &&
            finding.fix->end <= text.size()) {
            edits.push_back(&*finding.fix);
        }
    }
    std::stable_sort(edits.begin(), edits.end(), [](const NOD_LintEdit *a, const NOD_LintEdit *b) {
        return a->begin < b->begin;
    });
    std::string out;
    std::size_t at = 0;
    applied = 0;
    for (const NOD_LintEdit *edit : edits) {
        if (edit->begin < at) {
            continue;
        }
        out += text.substr(at, edit->begin - at);
        out += edit->replacement;
        at = edit->end;
        ++applied;
    }
    return out += text.substr(at);
}
