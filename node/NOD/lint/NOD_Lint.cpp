#include <NOD/NOD_Lint.h>

#include <NOD/NOD_Report.h>
#include <NOD/lint/NOD_LintContextPrivate.h>
#include <NOD/lint/NOD_LintSilencePrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/interface/NOD_ScriptShapePrivate.h>
#include <ZEL/ZEL_ParmTypes.h>

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
struct Fix
{
    bool usualFlag;
    const char *changes;
};
constexpr Fix NO_FIX = {false, ""};
constexpr Fix FIX(const char *changes)
{
    return {true, changes};
}
constexpr Fix SOME_FIX(const char *changes)
{
    return {false, changes};
}

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
        const KIT_MessagePlace &place = one.message.detail->place;
        return std::make_tuple(numbers.at(place.file), place.offset,
                               std::string_view(one.rule->code));
    };
    std::stable_sort(findings.begin(), findings.end(),
                     [&keyOf](const NOD_LintFinding &a, const NOD_LintFinding &b) {
                         return keyOf(a) < keyOf(b);
                     });
    // A file that is included twice is judged once.
    const auto sameFlag = [&keyOf](const NOD_LintFinding &a, const NOD_LintFinding &b) {
        return keyOf(a) == keyOf(b) && a.message.text == b.message.text;
    };
    findings.erase(std::unique(findings.begin(), findings.end(), sameFlag), findings.end());
}

} // namespace

const std::vector<NOD_LintRule> &NODlintRules()
{
    static const std::vector<NOD_LintRule> theRules = {
#define NOD_LINT_RULE(code, name, level, fix, sentence, example, mended)                           \
    {#code, name, level, (fix).usualFlag, (fix).changes, sentence, example, mended},
#include <NOD/lint/NOD_LintRules.def>
    };
    return theRules;
}

std::string NOD_LintFinding::asText() const
{
    const KIT_MessageDetail none;
    const KIT_MessageDetail &detail = message.detail ? *message.detail : none;
    std::string out = message.file;
    if (message.line > 0) {
        out += ":" + std::to_string(message.line) +
               (detail.place.column > 0 ? ":" + std::to_string(detail.place.column) : "");
    }
    out += std::string(": ") + NODlintLevelWord(rule->level) + ": ";
    out += (message.subject.empty() ? "" : message.subject + ": ") + message.text;
    out += detail.expected.empty() ? "" : "; did you mean " + detail.expected[0] + "?";
    return out + " [" + rule->code + " " + rule->name + "]";
}

bool NOD_LintFinding::hasFix() const
{
    return message.detail && !message.detail->fixes.empty();
}

namespace
{

/// What the rules object to, the silenced ones last.
struct Found
{
    std::vector<NOD_LintFinding> told;
    std::vector<NOD_LintFinding> silenced; ///< by comments of the script
};

/// False, after an error, for a script that can't be judged.
bool find(const NOD_Interface &script, Found &found, NOD_Report &report)
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    const NOD_LintScript read(script);
    const bool cutFlag = read.getTokens().isCut();
    if (cutFlag || read.getEnd() < 0) {
        const std::string limit = std::to_string(NOD_LintTokens::theMost);
        report.error(script.getFile(),
                     cutFlag ? "isn't judged: it has more words than the limit of " + limit
                             : "isn't judged: it is no whole script, or has changed");
        return false;
    }
    NOD_LintContext context(read);
    for (const auto subject : theSubjects) {
        subject(context);
    }
    const NOD_LintSilence silence(context);
    found.told = context.take();
    const auto silent =
        std::stable_partition(found.told.begin(), found.told.end(),
                              [&](const NOD_LintFinding &one) { return !silence.has(one); });
    std::move(silent, found.told.end(), std::back_inserter(found.silenced));
    found.told.erase(silent, found.told.end());
    sortFindings(found.told, read.getTokens());
    return true;
}

void dropOff(std::vector<NOD_LintFinding> &findings, const NOD_LintOptions &options)
{
    findings.erase(
        std::remove_if(findings.begin(), findings.end(),
                       [&options](const NOD_LintFinding &one) { return !options.isOn(*one.rule); }),
        findings.end());
}

// ---------------------------------------------------------------------- //
// What is said twice
// ---------------------------------------------------------------------- //

/// The rules that say what a warning says whose text begins like this; others have the finding's own text.
struct Warning
{
    std::string_view text;
    NOD_LintCode code;
};

constexpr Warning theWarnings[] = {
    {"Unknown parameter type", NOD_LintCode::Z201},
    {"Too many defaults specified", NOD_LintCode::Z205},
    {"Too many defaults specified", NOD_LintCode::Z204},
    {"Warning defaults must be specified after type", NOD_LintCode::Z204},
    {"Invalid range specification", NOD_LintCode::Z309},
    {"incorrect number of #s", NOD_LintCode::Z105},
    {theNODScriptRest, NOD_LintCode::Z501},
    {"the default ", NOD_LintCode::Z304},
    {"default: ", NOD_LintCode::Z301},
    {"default: ", NOD_LintCode::Z302},
    {"default: ", NOD_LintCode::Z306},
    {"menu: ", NOD_LintCode::Z409},
    {"hidewhen: ", NOD_LintCode::Z402},
    {"disablewhen: ", NOD_LintCode::Z402},
    {"nocookwhen: ", NOD_LintCode::Z402},
    {"hidewhen: ", NOD_LintCode::Z410},
    {"disablewhen: ", NOD_LintCode::Z410},
    {"nocookwhen: ", NOD_LintCode::Z410},
};

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/// Whether a finding of the same parameter or place says what a warning says.
bool says(const NOD_LintFinding &finding, const NOD_Message &message)
{
    const NOD_Message &own = finding.message;
    if (startsWith(message.text, own.text)) {
        return true;
    }
    if (message.category == ZEL_ERROR_CATEGORY && message.code == ZEL_ERR_TEXT_NAME) {
        return finding.rule == &NODlintRules()[std::size_t(NOD_LintCode::Z103)];
    }
    return std::any_of(std::begin(theWarnings), std::end(theWarnings), [&](const Warning &row) {
        return finding.rule == &NODlintRules()[std::size_t(row.code)] &&
               startsWith(message.text, row.text);
    });
}

/// Findings by parameter, and by line.
class Said
{
public:
    explicit Said(const std::vector<const NOD_LintFinding *> &findings)
    {
        for (const NOD_LintFinding *const one : findings) {
            myPlaces.emplace(keyOf(one->message), one);
            mySubjects.emplace(one->message.subject, one);
        }
    }

    bool has(const NOD_Message &message) const
    {
        if (message.severity >= KIT_ERROR_ABORT) {
            return false;
        }
        const auto saysIt = [&](const auto &row) { return says(*row.second, message); };
        const std::string &subject =
            message.subject.empty() && message.detail ? message.detail->subject : message.subject;
        const auto named = mySubjects.equal_range(subject);
        const auto scripts = mySubjects.equal_range(""); // of the script as a whole
        const auto placed = myPlaces.equal_range(keyOf(message));
        return std::any_of(named.first, named.second, saysIt) ||
               std::any_of(scripts.first, scripts.second, saysIt) ||
               (message.line > 0 && std::any_of(placed.first, placed.second, saysIt));
    }

private:
    static std::string keyOf(const NOD_Message &message)
    {
        return message.file + ":" + std::to_string(message.line);
    }

    std::unordered_multimap<std::string, const NOD_LintFinding *> mySubjects;
    std::unordered_multimap<std::string, const NOD_LintFinding *> myPlaces;
};

} // namespace

std::vector<NOD_LintFinding> NODlint(const NOD_Interface &script, const NOD_LintOptions &options,
                                     NOD_Report *report)
{
    Found found;
    NOD_Report own;
    find(script, found, report ? *report : own);
    dropOff(found.told, options);
    return std::move(found.told);
}

NOD_Judgement NODjudge(const NOD_Interface &script, const NOD_LintOptions &options,
                       const NOD_Report &said)
{
    NOD_Judgement judged;
    Found found;
    NOD_Report own;
    judged.judgedFlag = find(script, found, own);
    std::vector<const NOD_LintFinding *> all;
    for (const std::vector<NOD_LintFinding> *const some : {&found.told, &found.silenced}) {
        for (const NOD_LintFinding &one : *some) {
            all.push_back(&one);
        }
    }
    const Said told(all);
    for (const NOD_Message &message : said.getMessages()) {
        if (!told.has(message)) {
            judged.rest.add(message);
        }
    }
    judged.rest.append(own);
    judged.judgedFlag = judged.judgedFlag && !judged.rest.hasErrors();
    dropOff(found.told, options);
    judged.findings = std::move(found.told);
    return judged;
}
