#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"

#include <DS/DS_Creator.h>
#include <DS/DS_ScriptReader.h>

#include <iostream>
#include <sstream>

namespace
{

struct Call
{
    std::string file;
};

int rewrite(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    DS_ScriptReader reader(call.file.c_str());
    if (!ZELTparseScript(call.file, reader.getPage(), messages)) {
        return 1;
    }
    std::ostringstream script;
    DS_Creator creator(reader, "zel rewrite");
    creator.prepareToWriteOutput();
    creator.openOutput(script);
    creator.writeOutput();
    creator.closeOutput();
    for (const KIT_String &loss : reader.getLosses()) {
        messages.add(KIT_ERROR_WARNING, theKITCommonCategory, KIT_COMMON_BAD_SCRIPT, call.file, 0,
                     loss.toStdString());
    }
    if (options.json) {
        ZELT_Json document;
        document["file"] = call.file;
        document["script"] = script.str();
        ZELTprintJson(document);
    } else {
        std::cout << script.str();
    }
    return 0;
}

} // namespace

void ZELTaddRewrite(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("rewrite", "Write a script anew, as the library writes scripts",
                 "zel rewrite examples/light.ds", rewrite);
    command.add_option("FILE", call.file, "A dialog script")->required();
}
