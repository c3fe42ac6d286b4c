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
    // What was in the file and isn't in the node would be gone.
    if (shell.getSession().isPartlyLoaded(words[2])) {
        shell.fail(words[2] + ": not all of it was loaded: save to another file");
        return;
    }
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
        if (!report.isEmpty()) {
            shell.getSession().notePartlyLoaded(words[1]);
        }
        if (!report.isEmpty() && !report.hasErrors()) {
            report.add({KIT_ERROR_ABORT, words[1], 0, {}, "not all of it is carried", {}, 0});
        }
        const bool channelsFlag = file.getKind() == NOD_FileKind::CHANNELS;
        for (const std::string &name : channelsFlag
                                           ? NOD_ValueFile::findStrayChannels(shell.getNode())
                                           : std::vector<std::string>()) {
            report.warning("", "no parameter has the channel " + name);
        }
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
