#include <NOD/NOD_Lint.h>

#include <NOD/NOD_Report.h>
#include <NOD/lint/NOD_LintContextPrivate.h>
#include <NOD/lint/NOD_LintSilencePrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/interface/NOD_MessageCodesPrivate.h>
#include <NOD/interface/NOD_SoundPartPrivate.h>
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

/// A rule that says what a message says; others have the finding's own text.
struct SameMessage
{
    const char *category;
    int code;              ///< 0: any
    std::string_view text; ///< what it begins with
    NOD_LintCode rule;
};

constexpr const char *theDS = theKITScriptCategory;
constexpr const char *theNOD = theNODCategory;
constexpr const char *theTRK = "TRK"; // of expressions, after where they are

constexpr SameMessage theSame[] = {
    {theDS, NOD_SCRIPT_NO_TYPE, "", NOD_LintCode::Z201},
    {theDS, NOD_SCRIPT_SURPLUS_DEFAULTS, "", NOD_LintCode::Z205},
    {theDS, NOD_SCRIPT_SURPLUS_DEFAULTS, "", NOD_LintCode::Z204},
    {theDS, NOD_SCRIPT_DEFAULTS_BEFORE_TYPE, "", NOD_LintCode::Z204},
    {theDS, NOD_SCRIPT_NO_MEANING, "", NOD_LintCode::Z312},
    {theDS, NOD_SCRIPT_EMPTY_RANGE, "", NOD_LintCode::Z309},
    {theDS, NOD_SCRIPT_ITEM_MARKS, "", NOD_LintCode::Z105},
    {theDS, NOD_SCRIPT_REST, "", NOD_LintCode::Z501},
    {theNOD, NOD_DEFAULT_RANGE, "", NOD_LintCode::Z304},
    {theNOD, NOD_DEFAULT_WORD, "", NOD_LintCode::Z304},
    {theNOD, NOD_NO_OPERATOR, "", NOD_LintCode::Z402},
    {ZEL_ERROR_CATEGORY, ZEL_ERR_TEXT_NAME, "", NOD_LintCode::Z103},
    {theTRK, 0, "default: ", NOD_LintCode::Z301},
    {theTRK, 0, "default: ", NOD_LintCode::Z302},
    {theTRK, 0, "default: ", NOD_LintCode::Z306},
    {theTRK, 0, "menu: ", NOD_LintCode::Z409},
    {theTRK, 0, "hidewhen: ", NOD_LintCode::Z410},
    {theTRK, 0, "disablewhen: ", NOD_LintCode::Z410},
    {theTRK, 0, "nocookwhen: ", NOD_LintCode::Z410},
};

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/// Whether a finding of the same parameter or place says what a message says.
bool says(const NOD_LintFinding &finding, const NOD_Message &message)
{
    return startsWith(message.text, finding.message.text) ||
           std::any_of(std::begin(theSame), std::end(theSame), [&](const SameMessage &row) {
               return finding.rule == &NODlintRules()[std::size_t(row.rule)] &&
                      message.category == row.category &&
                      (row.code == 0 || message.code == row.code) &&
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

/// What no finding says.
NOD_Report withoutSaid(const NOD_Report &said, const Found &found)
{
    std::vector<const NOD_LintFinding *> all;
    for (const std::vector<NOD_LintFinding> *const some : {&found.told, &found.silenced}) {
        for (const NOD_LintFinding &one : *some) {
            all.push_back(&one);
        }
    }
    const Said told(all);
    NOD_Report rest;
    for (const NOD_Message &message : said.getMessages()) {
        if (!told.has(message)) {
            rest.add(message);
        }
    }
    return rest;
}

// ---------------------------------------------------------------------- //
// Scripts that can't be read
// ---------------------------------------------------------------------- //

/// How much of a script a rule depends on beside the statement that it objects to.
enum class Needs
{
    NOTHING,
    NAMES, ///< all parameters and files
    BLOCK  ///< all statements of the block
};

struct Needing
{
    NOD_LintCode rule;
    Needs needs;
};

/// Those of a rule that isn't here: the statements that decide what a parameter is.
constexpr Needing theNeeding[] = {
    {NOD_LintCode::Z201, Needs::NOTHING}, {NOD_LintCode::Z104, Needs::NAMES},
    {NOD_LintCode::Z105, Needs::NAMES},   {NOD_LintCode::Z107, Needs::BLOCK},
    {NOD_LintCode::Z307, Needs::BLOCK},   {NOD_LintCode::Z401, Needs::NAMES},
    {NOD_LintCode::Z313, Needs::NAMES},   {NOD_LintCode::Z501, Needs::NAMES},
    {NOD_LintCode::Z503, Needs::NAMES},
};

bool isCertain(const NOD_SoundPart &part, const NOD_LintFinding &finding)
{
    const auto row =
        std::find_if(std::begin(theNeeding), std::end(theNeeding), [&finding](const Needing &one) {
            return finding.rule == &NODlintRules()[std::size_t(one.rule)];
        });
    if (row == std::end(theNeeding)) {
        return part.isCertain(finding.message);
    }
    switch (row->needs) {
    case Needs::NAMES: return part.isCertain(finding.message) && !part.hasLostNames();
    case Needs::BLOCK: return part.isCertain(finding.message) && part.isWhole(finding.message);
    case Needs::NOTHING: break;
    }
    return finding.message.detail->place.offset >= 0;
}

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
    judged.rest = withoutSaid(said, found);
    judged.rest.append(own);
    judged.judgedFlag = judged.judgedFlag && !judged.rest.hasErrors();
    dropOff(found.told, options);
    judged.findings = std::move(found.told);
    return judged;
}

NOD_Judgement NODjudgeSoundPart(std::string_view text, const std::string &name,
                                const NOD_LintOptions &options, const NOD_Report &said,
                                NOD_Interface::Includes includes)
{
    NOD_SoundPart part(text, name, includes);
    const std::shared_ptr<const NOD_Interface> script = part.read(said);
    Found found;
    NOD_Report none; // what can't be judged was told
    if (script) {
        find(*script, found, none);
    }
    for (std::vector<NOD_LintFinding> *const some : {&found.told, &found.silenced}) {
        const auto end =
            std::remove_if(some->begin(), some->end(),
                           [&part](const NOD_LintFinding &one) { return !isCertain(part, one); });
        some->erase(end, some->end());
        for (NOD_LintFinding &one : *some) {
            part.restorePlaces(one.message);
        }
    }
    NOD_Judgement judged;
    judged.rest = withoutSaid(said, found);
    dropOff(found.told, options);
    judged.findings = std::move(found.told);
    return judged;
}
