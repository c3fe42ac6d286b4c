#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptRewrite.h>
#include <NOD/NOD_ValueFile.h>

#include <iostream>
#include <optional>

namespace
{

struct Call
{
    std::string file;
    std::string stamp; ///< "": the time
    bool allowLossFlag = false;
};

int rewrite(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const NOD_RewriteOptions how{"zel rewrite", call.stamp};
    NOD_Report report;
    std::string text;
    const bool inputFlag = call.file == "-";
    const bool otherFlag =
        inputFlag ? !ZELTreadInput(text, report) ||
                        NOD_ValueFile::isOther(text, call.file, NOD_FileKind::SCRIPT, report)
                  : NOD_ValueFile::isOtherFile(call.file, NOD_FileKind::SCRIPT, report);
    const std::optional<NOD_RewrittenScript> script =
        otherFlag   ? std::nullopt
        : inputFlag ? NODrewriteScript(text, call.file, how, report)
                    : NODrewriteScriptFile(call.file, how, report);
    messages.add(report);
    if (!script) {
        return 1;
    }
    messages.add(script->losses);
    const bool wholeFlag = !messages.hasErrors();
    if (!wholeFlag && !options.out.empty() && options.out != "-" && !call.allowLossFlag) {
        // The file may be the one that was read.
        messages.error(options.out, std::string("not all of it is carried; ") + theZELTLossOffer);
        return 1;
    }
    if (options.json) {
        ZELT_Json document;
        document["file"] = call.file;
        document["script"] = script->text;
        ZELTprintJson(document);
    } else {
        std::cout << script->text;
    }
    return messages.hasErrors() ? 1 : 0;
}

} // namespace

void ZELTaddRewrite(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("rewrite", "Write a script anew, as the library writes scripts",
                 "zel rewrite examples/light.ds --stamp first", rewrite);
    command.addOption("FILE", call.file, "A dialog script").required();
    line.addOutput(command);
    ZELTaddAllowLoss(command, call.allowLossFlag,
                     "Write to a file also where the script isn't carried whole");
    command.addOption("--stamp", call.stamp, "A text for the comment, in place of the time");
}
