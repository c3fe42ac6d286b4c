#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"

#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptFormat.h>
#include <NOD/NOD_UnifiedDifference.h>
#include <NOD/NOD_ValueFile.h>

#include <iostream>

namespace
{

struct Call
{
    std::vector<std::string> files;
    std::string out; ///< "": the file itself
    DS_FormatOptions layout;
    bool check = false;
    bool diff = false;
};

struct Result
{
    bool done = false; ///< it could be read, and written where that was asked
    bool changed = false;
    std::string text;
    std::string difference;
};

Result formatOne(const Call &call, const std::string &file, bool json, ZELT_Messages &messages)
{
    Result result;
    std::string text;
    NOD_Report report;
    const bool readFlag = ZELTreadBytes(file, text, messages, ZELTcanBeText) &&
                          !NOD_ValueFile::isOther(text, file, NOD_FileKind::SCRIPT, report) &&
                          NODformatScript(text, file, call.layout, result.text, report);
    messages.add(report);
    if (!readFlag) {
        return result;
    }
    result.changed = result.text != text;
    if (call.diff) {
        result.difference = NODunifiedDifference(text, result.text, file, file);
    }
    const std::string &to = call.out.empty() ? file : call.out;
    const bool writeFlag = !call.check && !call.diff && (result.changed || to != file || to == "-");
    result.done = !writeFlag || (to == "-" && json) || ZELTwriteFile(to, result.text, messages);
    return result;
}

int format(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    if (!call.out.empty() && call.files.size() > 1) {
        messages.error(call.out,
                       "takes the text of one script, not of " + std::to_string(call.files.size()));
        return 1;
    }
    ZELT_Json results = ZELT_Json::array();
    ZELT_Progress progress("formatting", std::int64_t(call.files.size()));
    bool good = true;
    for (const std::string &file : call.files) {
        const Result result = formatOne(call, file, options.json, messages);
        good = good && result.done && !(call.check && result.changed);
        if (options.json) {
            ZELT_Json one;
            one["file"] = file;
            one["ok"] = result.done;
            one["changed"] = result.changed;
            if (call.diff) {
                one["difference"] = result.difference;
            } else if (result.done && !call.check && (call.out.empty() ? file : call.out) == "-") {
                one["script"] = result.text;
            }
            results.push_back(one);
        } else if (call.diff) {
            std::cout << result.difference;
        } else if (call.check && result.changed) {
            std::cout << file << '\n';
        }
        progress.advance();
    }
    if (options.json) {
        ZELTprintJson(results);
    }
    return good ? 0 : 1;
}

} // namespace

void ZELTaddFormat(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("format", "Lay dialog scripts out anew: blanks and line ends alone change",
                 "zel format --check --diff examples/*.ds", format);
    command
        .addOption(
            "FILE", call.files,
            "Dialog scripts, each written in its place; - is standard input, written to standard output")
        .required();
    command.addFlag(
        "--check", call.check,
        "Write nothing; print the names of those that would change, and exit with 1 if there are any");
    command.addFlag("--diff", call.diff,
                    "Write nothing; print what would change, as patch reads it");
    command.addFlag("--sort", call.layout.sort,
                    "Put keywords in the language's order, where the order means nothing");
    command.addOption("-o,--out", call.out,
                      "Another file to write the one script to, or - for standard output");
}
