#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"

#include <DS/DS_Creator.h>
#include <DS/DS_ScriptReader.h>
#include <NOD/NOD_InterfaceDifference.h>
#include <NOD/NOD_Report.h>

#include <iostream>
#include <set>
#include <sstream>

namespace
{

struct Call
{
    std::string file;
    std::string stamp; ///< "": the time
};

/// What the writer has no words for, by what it says itself and by what its script is read back as.
void tellLosses(const Call &call, const DS_ScriptReader &reader, const std::string &script,
                ZELT_Messages &messages)
{
    std::set<std::string> told;
    for (const KIT_String &loss : reader.getLosses()) {
        const std::string text = loss.toStdString();
        told.insert(text.substr(0, text.rfind(": ")));
        messages.add(KIT_ERROR_ABORT, theKITCommonCategory, KIT_COMMON_BAD_SCRIPT, call.file, 0,
                     text);
    }
    NOD_Report report;
    const auto before = NOD_Interface::fromFile(call.file, report);
    const auto after = NOD_Interface::fromText(script, call.file, report);
    NOD_Report differences;
    if (before && after) {
        NODcompareInterfaces(*before, *after, differences);
    }
    for (NOD_Message message : differences.getMessages()) {
        if (told.count(message.subject) == 0) {
            message.file = call.file;
            report.add(std::move(message));
        }
    }
    messages.add(report);
}

int rewrite(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    DS_ScriptReader reader(call.file.c_str());
    if (!ZELTparseScript(call.file, reader.getPage(), messages)) {
        return 1;
    }
    std::ostringstream script;
    DS_Creator creator(reader, "zel rewrite");
    creator.setStamp(call.stamp.empty() ? nullptr : call.stamp.c_str());
    creator.prepareToWriteOutput();
    creator.openOutput(script);
    creator.writeOutput();
    creator.closeOutput();
    tellLosses(call, reader, script.str(), messages);
    if (options.json) {
        ZELT_Json document;
        document["file"] = call.file;
        document["script"] = script.str();
        ZELTprintJson(document);
    } else {
        std::cout << script.str();
    }
    return messages.hasErrors() ? 1 : 0;
}

} // namespace

void ZELTaddRewrite(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("rewrite", "Write a script anew, as the library writes scripts",
                 "zel rewrite examples/light.ds --stamp first", rewrite);
    command.add_option("FILE", call.file, "A dialog script")->required();
    command.add_option("--stamp", call.stamp, "A text for the comment, in place of the time");
}
