#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Session.h"

#include <ZEL/ZEL_ParmList.h>

#include <sstream>

namespace
{

struct Call
{
    std::string file;
    std::string from;
    std::string to;
    std::string form; ///< "text" or "binary"
    bool compact = false;
};

int convert(const Call &call, const ZELT_Options &, ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.file, messages);
    if (!session || !ZELTtakeFault(call.from, session->loadValues(call.from), messages)) {
        return 1;
    }
    std::ostringstream os;
    session->getParms().save(os, call.form == "binary", call.compact);
    if (!ZELTtakeFault(call.to, "", messages)) {
        return 1;
    }
    return ZELTwriteFile(call.to, os.str(), messages) ? 0 : 1;
}

} // namespace

void ZELTaddConvert(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "convert", "Write a parameter stream in the other form",
        "zel convert examples/light.ds examples/light.parms light.bparms --to binary", convert);
    command.add_option("FILE", call.file, "A dialog script")->required();
    command.add_option("IN", call.from, "A stream in either form")->required();
    command.add_option("OUT", call.to, "The stream to write")->required();
    command.add_option("--to", call.form, "text or binary")
        ->required()
        ->check(CLI::IsMember({"text", "binary"}));
    command.add_flag("--compact", call.compact, "Binary, without what has no value to keep");
}
