// Shell commands on streams and channel files.

#include "ZELT_Shell.h"

#include "ZELT_File.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_ErrorManager.h>
#include <ZEL/ZEL_ParmList.h>

#include <iostream>
#include <sstream>

namespace
{

/// False if something is left out, of which the thread's error manager then has the messages.
bool saveWhole(const ZEL_ParmList &parms, const std::string &form, std::ostream &os)
{
    // A save stops at an error that is still in the error manager.
    KIT_ErrorManager::Scope errors(BASgetSTID());
    parms.save(os, form != "text", form == "compact");
    const bool wholeFlag = errors.getManager().getSeverity() < KIT_ERROR_ABORT;
    errors.getOuterManager().stealErrors(errors.getManager());
    return wholeFlag;
}

void save(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (words[1] != "text" && words[1] != "binary" && words[1] != "compact") {
        shell.fail("the form is text, binary or compact");
        return;
    }
    std::ostringstream os;
    if (!saveWhole(shell.getParms(), words[1], os)) {
        shell.fail("the " + words[1] + " form doesn't hold all values");
        return;
    }
    if (words[2] == "-") {
        std::cout << os.str();
    } else if (!ZELTwriteFile(words[2], os.str(), shell.getMessages())) {
        shell.fail(words[2] + " isn't written");
    }
}

void load(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    shell.settle(shell.getSession().loadValues(words[1]), words[1]);
}

void channels(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    shell.settle(shell.getSession().loadChannels(words[1]), words[1]);
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"save", "text|binary|compact FILE", 2, 2, ZELT_SHELL_PLAIN, save},
    {"load", "FILE", 1, 1, ZELT_SHELL_EDITS, load},
    {"channels", "FILE", 1, 1, ZELT_SHELL_EDITS, channels},
};

} // namespace

const ZELT_ShellTable ZELTshellFiles(theCommands);
