#include "ZELT_Commands.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"

#include <ZEL/ZEL_ParmList.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <unistd.h>

bool ZELTwriteFile(const std::string &file, const std::string &bytes, ZELT_Messages &messages)
{
    errno = 0;
    const std::string beside = file + "." + std::to_string(getpid()) + ".part";
    std::ofstream os(beside, std::ios::binary);
    os << bytes;
    os.close();
    if (!os || std::rename(beside.c_str(), file.c_str()) != 0) {
        messages.error(file, "can't be written: " + ZELTsystemError());
        std::remove(beside.c_str());
        return false;
    }
    return true;
}

int ZELTconvert(const ZELT_ConvertCall &call, const ZELT_Options &, ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Script> script = ZELT_Script::load(call.file, messages);
    if (!script) {
        return 1;
    }
    ZELT_Session session(*script);
    if (!ZELTtakeFault(call.from, session.loadValues(call.from), messages)) {
        return 1;
    }
    std::ostringstream os;
    session.getParms().save(os, call.form == "binary", call.compact);
    return ZELTwriteFile(call.to, os.str(), messages) ? 0 : 1;
}
