#include "ZELT_Lint.h"

#include "ZELT_File.h"
#include "ZELT_Format.h"
#include "ZELT_Messages.h"

#include <KIT/KIT_Error.h>
#include <NOD/NOD_Report.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

bool ZELTreadLintFile(const std::string &script, NOD_LintOptions &options, ZELT_Messages &messages)
{
    const std::string file = (std::filesystem::path(script).parent_path() / ".zel-lint").string();
    std::error_code fault;
    if (!std::filesystem::exists(file, fault)) {
        return true;
    }
    if (!std::filesystem::is_regular_file(file, fault)) {
        messages.error(file, "is no file");
        return false;
    }
    errno = 0;
    std::ifstream is(file, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(is), {});
    if (!is.is_open() || is.bad()) {
        messages.error(file, "can't be read: " + KITsystemReason());
        return false;
    }
    NOD_Report report;
    options.readFile(text, file, report);
    messages.add(report);
    return !report.hasErrors();
}

void ZELTprintLint(const std::vector<NOD_LintFinding> &findings)
{
    for (const NOD_LintFinding &finding : findings) {
        std::cout << ZELTprintable(finding.asText()) << '\n';
    }
}

ZELT_Json ZELTlintJson(const std::vector<NOD_LintFinding> &findings)
{
    ZELT_Json array = ZELT_Json::array();
    for (const NOD_LintFinding &finding : findings) {
        ZELT_Json one;
        one["code"] = finding.rule->code;
        one["name"] = finding.rule->name;
        one["level"] = NODlintLevelWord(finding.rule->level);
        one["file"] = finding.file;
        one["line"] = finding.line > 0 ? ZELT_Json(finding.line) : ZELT_Json();
        one["column"] = finding.column > 0 ? ZELT_Json(finding.column) : ZELT_Json();
        one["parameter"] = finding.parm.empty() ? ZELT_Json() : ZELT_Json(finding.parm);
        one["text"] = finding.text;
        one["nearest"] = finding.nearest.empty() ? ZELT_Json() : ZELT_Json(finding.nearest);
        one["fix"] = nullptr;
        if (finding.fix) {
            ZELT_Json fix;
            fix["file"] = finding.fix->file;
            fix["begin"] = finding.fix->begin;
            fix["end"] = finding.fix->end;
            fix["replacement"] = finding.fix->replacement;
            one["fix"] = fix;
        }
        array.push_back(one);
    }
    return array;
}
