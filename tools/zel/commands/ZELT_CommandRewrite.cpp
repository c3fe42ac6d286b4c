#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <DS/DS_Creator.h>
#include <DS/DS_ScriptReader.h>
#include <NOD/NOD_InterfaceDifference.h>
#include <NOD/NOD_Report.h>

#include <iostream>
#include <iterator>
#include <set>
#include <sstream>

namespace
{

struct Call
{
    std::string file;
    std::string stamp; ///< "": the time
    bool allowLossFlag = false;
};

/// What the writer has no words for, by what it says itself and by what its script is read back as.
bool tellLosses(const Call &call, const DS_ScriptReader &reader, const std::string &source,
                const std::string &script, ZELT_Messages &messages)
{
    std::set<std::string> told;
    for (const KIT_String &loss : reader.getLosses()) {
        const std::string text = loss.toStdString();
        told.insert(text.substr(0, text.rfind(": ")));
        messages.add(KIT_ERROR_ABORT, theKITCommonCategory, KIT_COMMON_BAD_SCRIPT, call.file, 0,
                     text);
    }
    NOD_Report report;
    const auto before = call.file == "-" ? NOD_Interface::fromText(source, call.file, report)
                                         : NOD_Interface::fromFile(call.file, report);
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
    return !messages.hasErrors();
}

int rewrite(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    DS_ScriptReader reader(call.file.c_str());
    std::string source;
    if (call.file == "-") {
        source.assign(std::istreambuf_iterator<char>(std::cin), {});
    }
    if (!(call.file == "-" ? ZELTparseScriptText(source, call.file, reader.getPage(), messages)
                           : ZELTparseScript(call.file, reader.getPage(), messages))) {
        return 1;
    }
    std::ostringstream script;
    DS_Creator creator(reader, "zel rewrite");
    creator.setStamp(call.stamp.empty() ? nullptr : call.stamp.c_str());
    creator.prepareToWriteOutput();
    creator.openOutput(script);
    creator.writeOutput();
    creator.closeOutput();
    const bool wholeFlag = tellLosses(call, reader, source, script.str(), messages);
    if (!wholeFlag && !options.out.empty() && options.out != "-" && !call.allowLossFlag) {
        // The file may be the one that was read.
        messages.error(options.out, std::string("not all of it is carried; ") + theZELTLossOffer);
        return 1;
    }
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
    command.addOption("FILE", call.file, "A dialog script").required();
    line.addOutput(command);
    ZELTaddAllowLoss(command, call.allowLossFlag,
                     "Write to a file also where the script isn't carried whole");
    command.addOption("--stamp", call.stamp, "A text for the comment, in place of the time");
}
