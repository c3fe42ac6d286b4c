#include "ZELT_CommandLine.h"
#include "ZELT_Comparison.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Merge.h>
#include <NOD/NOD_Report.h>

#include <algorithm>
#include <iostream>
#include <iterator>
#include <optional>
#include <unistd.h>

namespace
{

using Side = NOD_MergeSide;

struct Call
{
    std::string files[4]; ///< a script, or none, and the three
    std::string script;
    std::string path; ///< what the files are called where they come from
    std::string out;
    std::string report;
    std::vector<std::string> ours;
    std::vector<std::string> theirs;
    std::vector<std::string> base;
    bool interactive = false;
    bool noNotes = false;
    bool allowLoss = false;
};

struct Files
{
    ZELT_ScriptPtr interface; ///< null without a script
    std::string names[3];     ///< base, ours, theirs
    std::string bytes[3];
    NOD_Document documents[3];
};

bool readBytes(const Call &call, Files &files, ZELT_Messages &messages)
{
    const int first = call.files[3].empty() ? 0 : 1;
    bool goodFlag = true;
    for (int i = 0; i < 3; ++i) {
        files.names[i] = call.files[first + i];
        goodFlag = ZELTreadBytes(files.names[i], files.bytes[i], messages) && goodFlag;
    }
    return goodFlag;
}

/// One that is named is an error if it can't be had, whatever the files are.
bool readScript(const Call &call, Files &files, ZELT_Messages &messages)
{
    const std::string &given =
        call.script.empty() && !call.files[3].empty() ? call.files[0] : call.script;
    return given.empty() || (files.interface = ZELTloadScript(given, messages)) != nullptr;
}

/// For messages: Git gives its own files.
std::string nameOf(const Call &call, const Files &files, int i)
{
    return call.path.empty() ? files.names[i]
                             : std::string(NODmergeSideName(Side(i))) + " of " + call.path;
}

bool read(const Call &call, Files &files, ZELT_Messages &messages)
{
    const std::string &placed = call.path.empty() ? files.names[1] : call.path;
    if (!files.interface && !ZELTfindScript(placed, files.interface, messages)) {
        return false;
    }
    constexpr bool isExact = true;
    ZELT_Comparison reader(isExact);
    bool goodFlag = true;
    for (int i = 0; i < 3; ++i) {
        // What both sides have added began as nothing.
        const bool emptyFlag = i == 0 && files.bytes[i].empty();
        const std::string &file = call.path.empty() ? files.names[i] : call.path;
        goodFlag = (emptyFlag || reader.readOne(files.interface, nameOf(call, files, i), file,
                                                files.bytes[i], files.documents[i], messages)) &&
                   goodFlag;
    }
    const NOD_FileKind kind = files.documents[1].getKind();
    for (const int i : {0, 2}) {
        const NOD_FileKind other = files.documents[i].getKind();
        if (goodFlag && other != kind && (i != 0 || other != NOD_FileKind::NONE)) {
            messages.error(nameOf(call, files, i),
                           std::string("is ") + NOD_ValueFile::getKindName(other) +
                               ", which can't be merged with " + NOD_ValueFile::getKindName(kind));
            goodFlag = false;
        }
    }
    return goodFlag;
}

/// What a person at the terminal says; nothing at the end of the input.
std::optional<Side> ask(const NOD_Conflict &conflict)
{
    std::cerr << conflict.asText() << '\n';
    for (std::string answer;;) {
        std::cerr << "[o]urs, [t]heirs or [b]ase? " << std::flush;
        if (!std::getline(std::cin, answer)) {
            std::cerr << '\n';
            return std::nullopt;
        }
        for (const Side side : {Side::OURS, Side::THEIRS, Side::BASE}) {
            const std::string name = NODmergeSideName(side);
            if (answer == name || answer == name.substr(0, 1)) {
                return side;
            }
        }
    }
}

/// What the file tells of: those that nobody has decided.
NOD_Merge::Conflicts notesOf(const Call &call, const NOD_Merge &merge)
{
    NOD_Merge::Conflicts open;
    std::copy_if(merge.getConflicts().begin(), merge.getConflicts().end(), std::back_inserter(open),
                 [&](const NOD_Conflict &one) { return !one.isDecided && !call.noNotes; });
    return open;
}

/// Whether nothing of either side is lost, or it may be. What both began with is written nowhere.
bool isCarried(const Call &call, const Files &files, NOD_Report &report)
{
    bool goodFlag = true;
    for (const int i : {1, 2}) {
        goodFlag =
            NODcheckLosses(files.documents[i].getLosses(), ZELTlossRule(call.allowLoss), report) &&
            goodFlag;
    }
    return goodFlag;
}

void print(const Call &call, const ZELT_Options &options, const Files &files,
           const NOD_Merge &merge)
{
    std::ostream &os = call.out == "-" ? std::cerr : std::cout;
    const std::string &name = call.path.empty() ? files.names[1] : call.path;
    if (options.json) {
        os << merge.toJson();
        return;
    }
    for (const NOD_Conflict &conflict : merge.getConflicts()) {
        os << name << ": " << (conflict.isDecided ? "decided: " : "conflict: ") << conflict.asText()
           << '\n';
    }
}

int finish(const Call &call, const ZELT_Options &options, const Files &files,
           const NOD_Merge &merge, const std::string &bytes, ZELT_Messages &messages)
{
    print(call, options, files, merge);
    const bool goodFlag =
        (call.report.empty() || ZELTwriteFile(call.report, merge.toJson(), messages)) &&
        ZELTwriteFile(call.out, bytes, messages);
    return goodFlag && merge.getOpenCount() == 0 ? 0 : 1;
}

int merge(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    Files files;
    if (call.interactive && isatty(STDIN_FILENO) == 0) {
        messages.error("", "--interactive asks on a terminal, and standard input is none");
        return 1;
    }
    if (!readScript(call, files, messages) || !readBytes(call, files, messages)) {
        return 1;
    }
    NOD_Merge merge;
    if (const std::string *const one =
            NOD_Merge::withoutReading(files.bytes[0], files.bytes[1], files.bytes[2])) {
        return finish(call, options, files, merge, *one, messages);
    }
    if (!read(call, files, messages)) {
        return 1;
    }
    const std::pair<const std::vector<std::string> &, Side> policies[] = {
        {call.base, Side::BASE}, {call.theirs, Side::THEIRS}, {call.ours, Side::OURS}};
    for (const auto &[patterns, side] : policies) {
        for (const std::string &pattern : patterns) {
            merge.addPolicy(pattern, side);
        }
    }
    if (call.interactive) {
        merge.setChooser(ask);
    }
    NOD_Document &made = files.documents[1];
    std::unique_ptr<NOD_Record> top =
        merge.merge(files.documents[0].getTop(), made.getTop(), files.documents[2].getTop());
    made.setTop(std::move(top));
    std::string bytes;
    NOD_Report report;
    const bool writtenFlag =
        isCarried(call, files, report) && made.write(bytes, notesOf(call, merge), report);
    messages.add(report);
    return writtenFlag ? finish(call, options, files, merge, bytes, messages) : 1;
}

} // namespace

void ZELTaddMerge(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("merge", "Join what two people made of one file",
                 "zel merge examples/light.ds examples/light.parms examples/light_night.parms "
                 "examples/light.parms -o -",
                 merge);
    command
        .addOption("FILE", call.files[0],
                   "The dialog script that the three have the values of; or, without THEIRS, the "
                   "file that both began with")
        .required();
    command.addOption("A", call.files[1], "The file that both began with; or, without THEIRS, ours")
        .required();
    command.addOption("B", call.files[2], "Ours; or, without THEIRS, theirs").required();
    command.addOption("THEIRS", call.files[3], "Theirs");
    command
        .addOption("-o,--out", call.out,
                   "The file to write, in the form of ours; - for standard output")
        .required();
    command.addOption("--script", call.script,
                      "The dialog script, where it isn't an argument; else .zelscripts says it");
    command.addOption("--path", call.path,
                      "What the file is called: for messages, and to find its script");
    command.addOption("--report", call.report, "A file for the conflicts, as JSON");
    command.addList("--ours", call.ours, "Where both differ, ours stands if the path fits");
    command.addList("--theirs", call.theirs,
                    "Theirs stands if the path fits, unless --ours fits, too");
    command.addList("--base", call.base,
                    "What both began with stands if the path fits, unless another one fits");
    command.addFlag("--interactive", call.interactive, "Ask about each conflict");
    command.addFlag("--no-notes", call.noNotes,
                    "Write no comments about conflicts in front of entries");
    ZELTaddAllowLoss(command, call.allowLoss, "Write also where comments of a stream are lost");
}
