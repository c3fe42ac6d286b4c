// Shell commands on presets: those that `zel preset` has for the table of nodes and the script's name.

#include "ZELT_Shell.h"

#include "ZELT_Format.h"

#include <NOD/NOD_PresetText.h>
#include <NOD/NOD_Presets.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <iostream>
#include <sstream>

namespace
{

NOD_Presets presetsOf(ZELT_Shell &shell)
{
    return {NOD_Node::thePresetTable, shell.getNode().getTypeName(), "preset replace"};
}

void listPresets(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    ZEL_PresetInfo presets(NOD_Node::thePresetTable, shell.getNode().getTypeName().c_str());
    for (int i = 0; i < presets.getNumPresets(); ++i) {
        std::cout << ZELTquote(presets.getPresetName(i).toStdString()) << '\n';
    }
}

void loadPreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    NOD_Report report;
    const std::string path = presetsOf(shell).find(words[2], report);
    shell.tell(report);
    report.clear(); // what is told of other files is no loss
    if (!path.empty()) {
        NODapplyPreset(shell.getNode(), path, {}, report);
        shell.getSession().growBlocks(shell.getTime());
        if (!report.isEmpty() && !report.hasErrors()) {
            report.add({KIT_ERROR_ABORT, path, 0, {}, "not all of it is carried", {}, 0});
        }
    }
    shell.tell(report);
}

/// What was done to which preset; no path after an error.
void finish(ZELT_Shell &shell, const char *done, const std::string &path, const NOD_Report &report)
{
    shell.tell(report);
    if (!path.empty()) {
        std::cout << done << ' ' << path << '\n';
    }
}

std::string folderOf(const ZELT_ShellWords &words)
{
    return words.size() > 3 ? words[3] : "";
}

void writePreset(ZELT_Shell &shell, const ZELT_ShellWords &words, NOD_Presets::Existing existing)
{
    NOD_Report report;
    std::ostringstream text;
    const bool madeFlag = NODcheckPreset(shell.getNode(), {}, {}, shell.getLossRule(), report) &&
                          NODsavePreset(shell.getNode(), {}, text, report);
    if (!shell.finish()) {
        return;
    }
    const std::string path =
        madeFlag ? presetsOf(shell).save(text.str(), words[2], folderOf(words), existing, report)
                 : "";
    finish(shell, "saved", path, report);
}

void savePreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    writePreset(shell, words, NOD_Presets::Existing::REFUSE);
}

void replacePreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    writePreset(shell, words, NOD_Presets::Existing::REPLACE);
}

void deletePreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    NOD_Report report;
    if (!shell.finish()) {
        return;
    }
    const std::string path = presetsOf(shell).remove(words[2], folderOf(words), report);
    finish(shell, "deleted", path, report);
}

constexpr ZELT_ShellAction theActions[] = {
    {"list", 0, 0, listPresets},      {"load", 1, 1, loadPreset},     {"save", 1, 2, savePreset},
    {"replace", 1, 2, replacePreset}, {"delete", 1, 2, deletePreset},
};

void preset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (!shell.runAction(theActions, words)) {
        shell.fail(
            "usage: preset list | load NAME | save|replace|delete NAME [FOLDER] [--allow-loss]");
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"preset", "list|load|save|replace|delete [NAME] [FOLDER] [--allow-loss]", 1, 3,
     ZELT_SHELL_EDITS | ZELT_SHELL_WRITES, preset},
};

} // namespace

const ZELT_ShellTable ZELTshellPresets(theCommands);
