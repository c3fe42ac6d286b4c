#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"
#include "ZELT_Stream.h"

#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmStream.h>

#include <sstream>
#include <vector>

namespace
{

struct Call
{
    std::vector<std::string> files; ///< a script in front of the others, as in earlier versions
    std::string script;
    std::string form; ///< "text" or "binary"
    bool compact = false;
};

constexpr int theWrongCall = 2;

void warn(const std::string &file, const char *text, ZELT_Messages &messages)
{
    messages.add(KIT_ERROR_WARNING, "", 0, file, 0, text);
}

int convert(const Call &call, const ZELT_Options &, ZELT_Messages &messages)
{
    const bool frontFlag = call.files.size() > 2;
    const std::string script = frontFlag ? call.files[0] : call.script;
    const std::string &from = call.files[frontFlag ? 1 : 0];
    const std::string &to = call.files.back();
    if ((frontFlag && !call.script.empty()) || (call.compact && script.empty())) {
        messages.error("", frontFlag ? "FILE and --script are both a script (see --help)"
                                     : "--compact needs the script that says what has no value "
                                       "(see --help)");
        return theWrongCall;
    }
    const std::unique_ptr<ZELT_Session> session =
        script.empty() ? nullptr : ZELT_Session::open(script, messages);
    ZEL_ParmList *const list = session ? &session->getParms() : nullptr;
    std::string bytes;
    ZEL_ParmStream stream;
    if ((!script.empty() && !session) || !ZELTreadStreamBytes(from, bytes, messages) ||
        !ZELTparseStream(bytes, from, list, stream, messages)) {
        return 1;
    }
    if (stream.hasComments()) {
        warn(from, "has comments, which a stream that is written has not", messages);
    }
    if (!stream.isWhole()) {
        warn(from, "ends before the stream does", messages);
    }
    if (call.compact) {
        stream.leaveOutValueless(*list);
    }
    std::ostringstream os;
    const bool binaryFlag = call.form == "binary" || call.compact;
    const bool written =
        stream.write(os, binaryFlag ? ZEL_ParmStream::Form::BINARY : ZEL_ParmStream::Form::TEXT);
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
    constexpr int theFewest = 2;
    constexpr int theMost = 3;
    command
        .add_option("IN OUT", call.files,
                    "A stream in either form and the one to write; - for standard input and output")
        ->required()
        ->expected(theFewest, theMost);
    command.add_option("--to", call.form, "text or binary")
        ->required()
        ->check(CLI::IsMember({"text", "binary"}));
    command.add_flag("--compact", call.compact,
                     "Binary, without what the script says has no value to keep");
    command.add_option("--script", call.script, "The dialog script of the parameters");
}
