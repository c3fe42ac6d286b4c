#include "ZELT_CommandLine.h"
#include "ZELT_Comparison.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"

#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Report.h>

namespace
{

struct Call
{
    std::vector<std::string> files; ///< maybe a script; the file, and the patch
    std::string out;
    bool reverse = false;
};

int patch(const Call &call, const ZELT_Options &, ZELT_Messages &messages)
{
    const std::string script = call.files.size() > 2 ? call.files.front() : "";
    const std::string &name = *(call.files.end() - 2);
    constexpr bool isExact = true;
    ZELT_Comparison reader(isExact);
    NOD_Document document;
    NOD_Difference difference;
    NOD_Report report;
    std::string text, bytes;
    if (!reader.readOne(script, name, document, messages) ||
        !ZELTreadBytes(call.files.back(), text, messages)) {
        return 1;
    }
    bool doneFlag = difference.fromJson(text, call.files.back(), report);
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
                     message.subject + (message.subject.empty() ? "" : ": ") + message.text);
    }
    return doneFlag && ZELTwriteFile(call.out, bytes, messages) ? 0 : 1;
}

} // namespace

void ZELTaddPatch(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("patch", "Apply what `zel diff --patch` has printed to a file",
                 "zel patch examples/light.ds examples/light.parms dusk.json -o dusk.parms", patch);
    command
        .add_option(
            "FILES", call.files,
            "[SCRIPT] IN PATCH: a stream, channel file, node or scene file, and what is applied to it, "
            "and before them the script that a stream has the values of")
        ->required()
        ->expected(2, 3);
    command
        .add_option("-o,--out", call.out,
                    "The file to write, in the form of IN; - for standard output")
        ->required();
    command.add_flag("--reverse", call.reverse, "Take the changes back");
}
