#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"
#include "ZELT_Stream.h"

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_FileLoss.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmStream.h>

#include <optional>
#include <sstream>
#include <vector>

namespace
{

struct Call
{
    std::string in;
    std::vector<std::string> out; ///< of two, they are after a script: as in earlier versions
    std::string named;            ///< that of `-o`
    std::string script;
    std::string form; ///< "text" or "binary"
    bool compact = false;
    bool allowLoss = false;
};

constexpr int theWrongCall = 2;

void warn(const std::string &file, const char *text, ZELT_Messages &messages)
{
    messages.add(KIT_ERROR_WARNING, "", 0, file, 0, text);
}

int convert(const Call &given, const ZELT_Options &, ZELT_Messages &messages)
{
    Call call = given;
    if (!call.named.empty()) {
        call.out.push_back(call.named);
    }
    const bool frontFlag = call.out.size() > 1;
    const std::string &script = frontFlag ? call.in : call.script;
    const std::string &from = frontFlag ? call.out[0] : call.in;
    const std::string to = call.out.empty() ? "" : call.out.back();
    const char *const wrong = call.out.empty() ? "OUT is required"
                              : call.out.size() > 2
                                  ? "there are more files than a script, IN and OUT"
                              : frontFlag && !call.script.empty()
                                  ? "the file in front of IN and --script are both a script"
                              : call.compact && script.empty()
                                  ? "--compact needs the script, which says what has no value"
                                  : nullptr;
    if (wrong) {
        messages.error("", std::string(wrong) + " (see --help)");
        return theWrongCall;
    }
    const std::unique_ptr<ZELT_Session> session =
        script.empty() ? nullptr : ZELT_Session::open(script, messages);
    ZEL_ParmList *const list = session ? &session->getParms() : nullptr;
    std::string bytes;
    ZEL_ParmStream stream;
    std::optional<NOD_Batch> batch; // the items that the stream's names make are followed once
    if (session) {
        batch.emplace(session->getNode());
    }
    if ((!script.empty() && !session) ||
        !ZELTreadBytes(from, bytes, messages, ZEL_ParmList::canBeStream) ||
        !ZELTparseStream(bytes, from, list, stream, messages)) {
        return 1;
    }
    NOD_Report report;
    const bool carriedFlag = NODcheckLosses(NODcommentLosses(stream.getComments(), from),
                                            ZELTlossRule(call.allowLoss), report);
    messages.add(report);
    if (!carriedFlag) {
        return 1;
    }
    if (!stream.isWhole()) {
        warn(from, "ends before the stream does", messages);
    }
    if (call.compact) {
        stream.leaveOutValueless(*list);
    }
    std::ostringstream os;
    const bool binaryFlag = call.form == "binary" || call.compact;
    const bool written = stream.write(os, binaryFlag ? ZEL_ParmStream::Form::BINARY
                                                     : ZEL_ParmStream::Form::MARKED_TEXT);
    if (!ZELTtakeFault(from, written ? "" : "can't be converted", messages)) {
        return 1;
    }
    return ZELTwriteFile(to, os.str(), messages) ? 0 : 1;
}

} // namespace

void ZELTaddConvert(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("convert", "Write a parameter stream in the other form",
                 "zel convert examples/light.parms light.bparms --to binary "
                 "--script examples/light.ds",
                 convert);
    command.nameArgumentsOnce(); // the present form has one file there
    command.addOption("IN", call.in, "A stream in either form; - for standard input").required();
    command.addOption(
        "OUT", call.out,
        "The stream to write; - for standard output. With a script in front: FILE IN OUT");
    command.addOption("-o,--out", call.named, "The same, in place of OUT");
    command.addOption("--to", call.form, "text or binary").required().oneOf({"text", "binary"});
    command.addFlag("--compact", call.compact,
                    "Binary, without what the script says has no value to keep");
    ZELTaddAllowLoss(command, call.allowLoss, "Write also where comments of the stream are lost");
    command.addOption("--script", call.script, "The dialog script of the parameters");
}
