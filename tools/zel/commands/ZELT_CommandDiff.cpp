#include "ZELT_Comparison.h"

#include "ZELT_CommandLine.h"
#include "ZELT_Messages.h"
#include "ZELT_Terminal.h"

#include <NOD/NOD_DifferenceText.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptVerdict.h>

#include <iostream>

namespace
{

struct Call
{
    std::string files[3]; ///< a script and the two, or the two
    std::string path;     ///< what the two are called where they come from
    std::vector<std::string> tolerances;
    bool exact = false;
    bool patch = false;
    bool stat = false;
};

/// What each mark is painted with; the number of a terminal's colour.
int colorOf(char mark)
{
    return mark == '+' ? 32 : mark == '-' ? 31 : mark == '>' ? 36 : mark == '~' ? 33 : 1;
}

void print(const std::vector<NOD_DifferenceLine> &lines)
{
    for (const NOD_DifferenceLine &line : lines) {
        ZELT_Terminal::printColored(std::cout, line.text, colorOf(line.mark));
        std::cout << '\n';
    }
}

/// How the values that people have set fare.
void printVerdicts(const ZELT_Comparison &comparison, const NOD_Difference &difference,
                   ZELT_Messages &messages)
{
    NOD_Report report;
    const auto entries = NODscriptVerdicts(comparison.getLeftScript(), comparison.getRightScript(),
                                           difference, report);
    messages.add(report);
    if (!entries.empty()) {
        std::cout << "values that were set:\n";
    }
    for (const NOD_Migration::Entry &entry : entries) {
        std::cout << "  " << NOD_Migration::getFateName(entry.fate) << ' ' << entry.token
                  << (entry.newToken.empty() || entry.newToken == entry.token
                          ? ""
                          : " as " + entry.newToken)
                  << (entry.reason.empty() ? "" : ": " + entry.reason) << '\n';
    }
}

int diff(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    NOD_CompareOptions how;
    NOD_Report report;
    how.isExact = call.exact || call.patch;
    for (const std::string &text : call.tolerances) {
        how.tolerances.emplace_back();
        NOD_Tolerance::parse(text, how.tolerances.back(), report);
    }
    messages.add(report);
    ZELT_Comparison comparison(how.isExact);
    const bool scriptFlag = !call.files[2].empty();
    if (report.hasErrors() ||
        !comparison.read(scriptFlag ? call.files[0] : "", call.files[scriptFlag ? 1 : 0],
                         call.files[scriptFlag ? 2 : 1], call.path, messages)) {
        return 1;
    }
    const NOD_Difference difference =
        NOD_Difference::between(comparison.getLeft().getTop(), comparison.getRight().getTop(), how);
    if (options.json || call.patch) {
        std::cout << difference.toJson();
    } else if (call.stat) {
        print(NODdifferenceStat(difference));
    } else {
        print(NODdifferenceLines(difference, &comparison.getRight().getTop()));
        if (comparison.isOfScripts() && !difference.isEmpty()) {
            printVerdicts(comparison, difference, messages);
        }
    }
    return difference.isEmpty() ? 0 : 1;
}

} // namespace

void ZELTaddDiff(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "diff",
        "Tell what differs between two streams, channel files, presets, nodes, scenes or scripts",
        "zel diff examples/light.ds examples/light.parms examples/light_night.parms", diff);
    command
        .addOption(
            "FILE", call.files[0],
            "The dialog script that A and B have the values of; or, without B, the first of the two")
        .required();
    command
        .addOption(
            "A", call.files[1],
            "A stream, channel file, preset, node or scene file, or a script; - for standard input")
        .required();
    command.addOption("B", call.files[2], "Another one");
    command.addOption(
        "--path", call.path,
        "What the two are called where they come from: to find their script, or what they include");
    const ZELT_Option tolerance = command.addList(
        "--tolerance", call.tolerances,
        "How far numbers may be apart: 0.001, 0.1% or 4ulp, with PATTERN= in front for some");
    command.addFlag(
        "--exact", call.exact,
        "Tell all that a saved file has, the order of entries too, not only what it means");
    const ZELT_Option patch =
        command.addFlag("--patch", call.patch, "Print a patch for `zel patch`: JSON, exact")
            .excludes(tolerance);
    command.addFlag("--stat", call.stat, "Print how many edits there are, and where")
        .excludes(patch);
    line.addOutput(command);
}
