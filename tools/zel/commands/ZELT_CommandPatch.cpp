#include "ZELT_CommandLine.h"
#include "ZELT_Comparison.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Report.h>

namespace
{

struct Call
{
    std::string files[3]; ///< a script, the file and the patch, or the last two
    std::string out;
    bool reverse = false;
    bool allowLoss = false;
};

int patch(const Call &call, const ZELT_Options &, ZELT_Messages &messages)
{
    const bool scriptFlag = !call.files[2].empty();
    const std::string &name = call.files[scriptFlag ? 1 : 0];
    const std::string &patchName = call.files[scriptFlag ? 2 : 1];
    constexpr bool isExact = true;
    ZELT_Comparison reader(isExact);
    NOD_Document document;
    NOD_Difference difference;
    NOD_Report report;
    std::string text, input, bytes;
    ZELT_ScriptPtr script;
    if ((scriptFlag ? !(script = ZELTloadScript(call.files[0], messages))
                    : !ZELTfindScript(name, script, messages)) ||
        !ZELTreadBytes(name, input, messages) ||
        !reader.readOne(script, name, name, input, document, messages) ||
        !ZELTreadBytes(patchName, text, messages)) {
        return 1;
    }
    bool doneFlag = NODcheckLosses(document.getLosses(), ZELTlossRule(call.allowLoss), report) &&
                    difference.fromJson(text, patchName, report);
    if (doneFlag && call.reverse) {
        difference = difference.inverse();
    }
    std::unique_ptr<NOD_Record> made =
        doneFlag ? difference.apply(document.getTop(), report) : nullptr;
    doneFlag = made != nullptr;
    if (doneFlag) {
        document.setTop(std::move(made));
        doneFlag = document.write(bytes, report);
    }
    for (NOD_Message message : report.getMessages()) {
        message.file = message.file.empty() ? name : message.file;
        messages.add(message.severity, message.category, message.code, message.file, message.line,
                     message.subject + (message.subject.empty() ? "" : ": ") + message.text,
                     message.detail.get());
    }
    return doneFlag && ZELTwriteFile(call.out, bytes, messages) ? 0 : 1;
}

} // namespace

void ZELTaddPatch(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "patch", "Apply what `zel diff --patch` has printed to a file",
        "zel patch examples/light.ds examples/light.parms examples/night.json -o -", patch);
    command
        .addOption(
            "FILE", call.files[0],
            "The dialog script that IN has the values of; or, without PATCH, the file itself")
        .required();
    command
        .addOption(
            "IN", call.files[1],
            "A stream, channel file, preset, node or scene file, or a script; or, without PATCH, "
            "the patch")
        .required();
    command.addOption("PATCH", call.files[2], "What `zel diff --patch` has printed");
    command
        .addOption("-o,--out", call.out,
                   "The file to write, in the form of IN; - for standard output")
        .required();
    command.addFlag("--reverse", call.reverse, "Take the changes back");
    ZELTaddAllowLoss(command, call.allowLoss, "Write also where comments of the stream are lost");
}
