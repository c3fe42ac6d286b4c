// Shell commands on files with values.

#include "ZELT_Shell.h"

#include "ZELT_File.h"
#include "ZELT_Messages.h"

#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>

#include <sstream>
#include <string>

namespace
{

void save(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    NOD_ValueFile::Form form = NOD_ValueFile::Form::TEXT;
    if (!NOD_ValueFile::findForm(words[1], form)) {
        shell.fail("the form is text, binary, compact, channels or node");
        return;
    }
    std::ostringstream os;
    NOD_Report report;
    const bool savedFlag = NOD_ValueFile::save(shell.getSession().getScene(), shell.getNode(), form,
                                               os, ZELTfolderOf(words[2]), report);
    if (words[2] == "-" && savedFlag) {
        shell.getMessages().add(report); // not between the lines of the file
    } else {
        shell.tell(report);
    }
    if (savedFlag && !ZELTwriteFile(words[2], os.str(), shell.getMessages())) {
        shell.fail(words[2] + " isn't written");
    }
}

void load(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    NOD_ValueFile file;
    NOD_Report report;
    if (file.read(words[1], report)) {
        file.apply(shell.getNode(), report);
        shell.getSession().growBlocks(shell.getTime());
    }
    shell.tell(report);
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"save", "text|binary|compact|channels|node FILE", 2, 2, ZELT_SHELL_PLAIN, save},
    {"load", "FILE", 1, 1, ZELT_SHELL_EDITS, load},
    {"channels", "FILE", 1, 1, ZELT_SHELL_EDITS, load},
};

} // namespace

const ZELT_ShellTable ZELTshellFiles(theCommands);
