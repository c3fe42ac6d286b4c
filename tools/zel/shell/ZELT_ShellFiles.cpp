// Shell commands on files with values.

#include "ZELT_Shell.h"

#include "ZELT_File.h"

#include "ZELT_Messages.h"

#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>

#include <optional>
#include <sstream>
#include <string>

namespace
{

/// The node that the word there names, else the session's; null, with a message, for none with values.
NOD_Node *findNode(ZELT_Shell &shell, const ZELT_ShellWords &words, std::size_t place)
{
    NOD_Node &base = shell.getNode();
    NOD_Node *const node = place < words.size() ? base.findNode(words[place].c_str()) : &base;
    if (!node) {
        shell.fail("there is no node " + words[place]);
    } else if (!node->getParent()) {
        shell.fail("the root of a scene has no values: say which node, as in " + words[0] +
                   " ... /PATH");
        return nullptr;
    }
    return node;
}

/// What was in the file and isn't in what is written there would be gone.
bool isKept(ZELT_Shell &shell, const std::string &file, NOD_Report &report)
{
    NOD_LossRule rule = shell.getLossRule();
    rule.offer += ", or to another file";
    return NODcheckLosses(shell.getSession().getLossesOf(file), rule, report);
}

/// The bytes of the file; false after a message.
bool write(ZELT_Shell &shell, const ZELT_ShellWords &words, std::ostream &os, NOD_Report &report)
{
    if (words[1] == "scene" && words.size() == 3) {
        return isKept(shell, words[2], report) &&
               shell.getSession().saveScene(os, words[2], std::nullopt, report);
    }
    NOD_ValueFile::Form form = NOD_ValueFile::Form::TEXT;
    if (!NOD_ValueFile::findForm(words[1], form)) {
        shell.fail("the form is text, binary, compact, channels or node, or scene for all nodes");
        return false;
    }
    NOD_Node *const node = findNode(shell, words, 3);
    return node && isKept(shell, words[2], report) &&
           NOD_ValueFile::checkCarried(*node, form, {}, shell.getLossRule(), report) &&
           NOD_ValueFile::save(shell.getSession().getScene(), *node, form, os,
                               ZELTfolderOf(words[2]), report);
}

void save(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    std::ostringstream os;
    NOD_Report report;
    const bool savedFlag = write(shell, words, os, report);
    if (words[2] == "-" && savedFlag) {
        shell.getMessages().add(report); // not between the lines of the file
    } else {
        shell.tell(report);
    }
    if (savedFlag && shell.finish() && !ZELTwriteFile(words[2], os.str(), shell.getMessages())) {
        shell.fail(words[2] + " isn't written");
    }
}

void load(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    NOD_Node *const node = findNode(shell, words, 2);
    std::vector<NOD_ValueFile> files(1);
    NOD_Report report;
    if (node && files[0].read(words[1], report)) {
        std::vector<NOD_FileLoss> losses;
        NOD_ValueFile::applyAll(files, *node, losses, report);
        shell.getSession().growBlocks(shell.getTime());
        if (!report.isEmpty() && !report.hasErrors()) {
            report.add({KIT_ERROR_ABORT, words[1], 0, {}, "not all of it is carried", {}, 0});
        }
        NODcheckLosses(losses, {true, ""}, report);
        shell.getSession().addLosses(losses);
        const bool channelsFlag = files[0].getKind() == NOD_FileKind::CHANNELS;
        for (const std::string &name :
             channelsFlag ? NOD_ValueFile::findStrayChannels(*node) : std::vector<std::string>()) {
            report.warning("", "no parameter has the channel " + name);
        }
    }
    shell.tell(report);
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"save", "text|binary|compact|channels|node|scene FILE [NODE] [--allow-loss]", 2, 3,
     ZELT_SHELL_WRITES, save},
    {"load", "FILE [NODE]", 1, 2, ZELT_SHELL_EDITS, load},
    {"channels", "FILE [NODE]", 1, 2, ZELT_SHELL_EDITS, load},
};

} // namespace

const ZELT_ShellTable ZELTshellFiles(theCommands);
