#include "ZELT_CommandLine.h"
#include "ZELT_Comparison.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"

#include <NOD/NOD_Report.h>

#include <iostream>

namespace
{

struct Call
{
    std::string file;
    std::string script;
};

int cat(const Call &call, const ZELT_Options &, ZELT_Messages &messages)
{
    std::string bytes;
    ZELT_ScriptPtr script;
    if (!ZELTreadBytes(call.file, bytes, messages) ||
        (!call.script.empty() && !(script = ZELTloadScript(call.script, messages)))) {
        return 1;
    }
    if (!NOD_ValueFile::isBinary(bytes)) {
        std::cout << bytes;
        return 0;
    }
    NOD_Report report;
    if (!script && !ZELTfindScript(call.file, script, messages)) {
        return 1;
    }
    constexpr bool isExact = true;
    constexpr bool isBinary = false;
    ZELT_Comparison reader(isExact);
    NOD_Document document;
    std::string text;
    const bool goodFlag = reader.readOne(script, call.file, call.file, bytes, document, messages) &&
                          document.write(text, isBinary, report);
    messages.add(report);
    std::cout << text;
    return goodFlag ? 0 : 1;
}

} // namespace

void ZELTaddCat(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("cat", "Print a binary stream, channel file or scene as text, and a text as it is",
                 "zel cat examples/light.parms", cat);
    command
        .addOption("FILE", call.file,
                   "A stream, channel file, node or scene file; - for standard input")
        .required();
    command.addOption("--script", call.script,
                      "The dialog script that it has the values of; else .zelscripts says it");
}
