#include "ZELT_CommandLine.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"
#include "ZELT_Show.h"

#include <NOD/NOD_Description.h>

#include <iostream>

namespace
{

struct Call
{
    std::string file;
};

int show(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const ZELT_ScriptPtr script = ZELT_Session::openInterface(call.file, messages);
    if (!script) {
        return 1;
    }
    if (options.json) {
        std::cout << NODdescriptionJson(NODdescribe(*script));
    } else {
        std::cout << ZELTdescribeTree(NODdescribe(*script));
    }
    return 0;
}

} // namespace

void ZELTaddShow(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add("show", "Show the interface that a script describes",
                                          "zel show --json examples/light.ds", show);
    command.addOption("FILE", call.file, "A dialog script, or a node or scene file").required();
    line.addOutput(command);
}
