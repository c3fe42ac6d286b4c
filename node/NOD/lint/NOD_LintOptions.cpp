#include <NOD/NOD_Lint.h>

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Report.h>
#include <NOD/lint/NOD_LintWordsPrivate.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <utility>

namespace
{

constexpr const char *theLevels[] = {"hint", "warning", "error"}; // as NOD_LintLevel

bool collect(std::string_view list, std::vector<const NOD_LintRule *> &rules, std::string &unknown)
{
    std::vector<const NOD_LintRule *> found;
    bool goodFlag = true;
    NODforEachLintWord(list, [&](const std::string &word) {
        const NOD_LintRule *const rule = NODfindLintRule(word);
        if (!rule && goodFlag) {
            unknown = word;
        }
        goodFlag = goodFlag && rule;
        found.push_back(rule);
    });
    if (goodFlag) {
        rules.insert(rules.end(), found.begin(), found.end());
    }
    return goodFlag;
}

bool has(const std::vector<const NOD_LintRule *> &rules, const NOD_LintRule &rule)
{
    return std::find(rules.begin(), rules.end(), &rule) != rules.end();
}

std::string trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    const std::size_t last = text.find_last_not_of(" \t\r");
    return first == std::string_view::npos ? "" : std::string(text.substr(first, last - first + 1));
}

} // namespace

const char *NODlintLevelWord(NOD_LintLevel level)
{
    return theLevels[int(level)];
}

bool NODreadLintLevel(const std::string &word, NOD_LintLevel &level)
{
    const auto found = std::find(std::begin(theLevels), std::end(theLevels), word);
    if (found != std::end(theLevels)) {
        level = NOD_LintLevel(found - std::begin(theLevels));
    }
    return found != std::end(theLevels);
}

const NOD_LintRule *NODfindLintRule(std::string_view word)
{
    const std::vector<NOD_LintRule> &rules = NODlintRules();
    const auto found = std::find_if(rules.begin(), rules.end(), [word](const NOD_LintRule &rule) {
        return word == rule.code || word == rule.name;
    });
    return found == rules.end() ? nullptr : &*found;
}

void NODforEachLintWord(std::string_view list, const std::function<void(const std::string &)> &call)
{
    constexpr std::string_view theSeparators = ", \t\r";
    for (std::size_t at = list.find_first_not_of(theSeparators); at != std::string_view::npos;) {
        const std::size_t end = std::min(list.find_first_of(theSeparators, at), list.size());
        call(std::string(list.substr(at, end - at)));
        at = list.find_first_not_of(theSeparators, end);
    }
}

bool NOD_LintOptions::disable(std::string_view rules, std::string &unknown)
{
    return collect(rules, myDisabled, unknown);
}

bool NOD_LintOptions::only(std::string_view rules, std::string &unknown)
{
    std::vector<const NOD_LintRule *> only;
    if (!collect(rules, only, unknown) || only.empty()) {
        return false;
    }
    myOnly = std::move(only);
    myOnlyFlag = true;
    return true;
}

bool NOD_LintOptions::isOn(const NOD_LintRule &rule) const
{
    return rule.level >= myLevel && !has(myDisabled, rule) && (!myOnlyFlag || has(myOnly, rule));
}

void NOD_LintOptions::readFile(std::string_view text, const std::string &file, NOD_Report &report)
{
    int line = 0;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::string_view row = text.substr(at, end - at);
        const std::size_t begin = at;
        at = end + 1;
        ++line;
        row = row.substr(0, row.find('#'));
        const std::size_t colon = row.find(':');
        const std::string word = trimmed(row.substr(0, colon));
        const std::string value =
            colon == std::string_view::npos ? "" : trimmed(row.substr(colon + 1));
        std::string fault;
        std::string unknown;
        NOD_LintLevel level = myLevel;
        if (trimmed(row).empty()) {
            continue;
        }
        if (word == "disable" || word == "only") {
            if (!(word == "disable" ? disable(value, unknown) : only(value, unknown))) {
                fault = unknown.empty() ? "only: names no rule" : "there is no rule " + unknown;
            }
        } else if (word == "level") {
            if (NODreadLintLevel(value, level)) {
                setLevel(level);
            } else {
                fault = "the level is hint, warning or error, not " + value;
            }
        } else {
            fault = "a line says disable:, only: or level:";
        }
        if (!fault.empty()) {
            report.add({KIT_ERROR_ABORT,
                        file,
                        line,
                        {},
                        fault,
                        {},
                        0,
                        KIT_MessageDetail::ofText(text, file, begin, end)});
        }
    }
}

bool NOD_LintOptions::readFolder(const std::string &script, NOD_Report &report)
{
    const std::string file = (std::filesystem::path(script).parent_path() / ".zel-lint").string();
    const auto fail = [&](const std::string &text) {
        report.add({KIT_ERROR_ABORT, file, 0, {}, text, {}, 0});
        return false;
    };
    std::error_code fault;
    if (!std::filesystem::exists(file, fault)) {
        return true;
    }
    if (!std::filesystem::is_regular_file(file, fault)) {
        return fail("is no file");
    }
    errno = 0;
    const KIT_IFStream is(file.c_str(), KIT_IStream::BINARY);
    if (!is.isReadable()) {
        return fail("can't be read: " + KITsystemReason());
    }
    const int before = report.getErrorCount();
    readFile(is.rest(), file, report);
    return report.getErrorCount() == before;
}
