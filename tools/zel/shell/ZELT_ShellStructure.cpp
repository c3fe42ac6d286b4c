// Shell commands that change which parameters there are: spare ones, and a new script.

#include "ZELT_Shell.h"

#include "ZELT_Format.h"
#include "ZELT_Script.h"

#include <NOD/NOD_Migration.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <iostream>

namespace
{

void listSpares(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    const ZEL_ParmList &parms = shell.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        if (parm.isSpareParm() && !parm.getMultiParmOwner()) {
            std::cout << parm.getToken() << '\n';
        }
    }
}

void addSpares(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    const std::string &source = words[2];
    const bool textFlag = source.find('{') != std::string::npos;
    ZELT_ScriptPtr script = textFlag ? ZELTloadScriptText(source, "spare", shell.getMessages())
                                     : ZELTloadScript(source, shell.getMessages());
    if (!script) {
        shell.fail((textFlag ? "the text" : source) + " adds nothing");
        return;
    }
    for (const ZEL_Template *at = script->getTemplates(); !at->isTerminator(); ++at) {
        if (shell.getNode().addSpareParm(script, at->getToken())) {
            std::cout << "added " << at->getToken() << '\n';
        } else {
            shell.fail(std::string("there is a parameter ") + at->getToken());
        }
    }
    shell.getSession().growBlocks(shell.getTime());
}

void removeSpare(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (!shell.getNode().removeSpareParm(words[2].c_str())) {
        shell.fail("there is no spare parameter " + words[2]);
    }
}

constexpr const char *theSpareUsage = "list | add FILE|TEXT | remove TOKEN";

constexpr ZELT_ShellAction theSpareActions[] = {
    {"list", 0, 0, listSpares},
    {"add", 1, 1, addSpares},
    {"remove", 1, 1, removeSpare},
};

void spare(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (!shell.runAction(theSpareActions, words)) {
        shell.fail(std::string("usage: spare ") + theSpareUsage);
    }
}

void adopt(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZELT_ScriptPtr script = ZELTloadScript(words[1], shell.getMessages());
    if (!script) {
        shell.fail(words[1] + " isn't adopted");
        return;
    }
    NOD_Migration migration;
    NOD_Report report;
    migration.run(shell.getNode(), script, shell.getTime(), report);
    shell.tell(report);
    shell.getSession().growBlocks(shell.getTime());
    for (const NOD_Migration::Entry &entry : migration.getEntries()) {
        std::cout << ZELTprintable(entry.asText()) << '\n';
    }
    if (migration.hasLoss()) {
        shell.fail("not all of it is carried: undo brings it back");
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"spare", theSpareUsage, 1, 2, ZELT_SHELL_EDITS, spare},
    {"adopt", "FILE", 1, 1, ZELT_SHELL_EDITS, adopt},
};

} // namespace

const ZELT_ShellTable ZELTshellStructure(theCommands);
