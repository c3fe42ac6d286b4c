// Shell commands on presets: those that `zel preset` has for the table of nodes and the script's name.

#include "ZELT_Shell.h"

#include "ZELT_Format.h"
#include "ZELT_Preset.h"
#include "ZELT_Script.h"

#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <iostream>

namespace
{

ZEL_PresetInfo presetsOf(ZELT_Shell &shell)
{
    return {NOD_Node::thePresetTable, shell.getNode().getTypeName().c_str()};
}

void listPresets(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    ZEL_PresetInfo presets = presetsOf(shell);
    for (int i = 0; i < presets.getNumPresets(); ++i) {
        std::cout << ZELTquote(presets.getPresetName(i).toStdString()) << '\n';
    }
}

void loadPreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZEL_PresetInfo presets = presetsOf(shell);
    const int index = presets.getPresetIndex(words[2].c_str());
    if (index < 0) {
        shell.fail("there is no preset " + ZELTquote(words[2]));
        return;
    }
    if (!shell.getNode().loadPresetFile(presets.getPresetPath(index))) {
        shell.fail("the preset isn't loaded as a whole");
    }
    shell.getSession().growBlocks(shell.getTime());
}

void savePreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZEL_PresetInfo presets = presetsOf(shell);
    const std::string folder = ZELTpresetFolder(words.size() > 3 ? words[3] : "");
    if (presets.savePresetToDir(&shell.getParms(), words[2].c_str(), folder.c_str())) {
        std::cout << "saved " << ZELTpresetPath(presets, words[2], folder) << '\n';
    } else {
        shell.fail("the preset isn't saved in " + ZELTquote(folder));
    }
}

void deletePreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZEL_PresetInfo presets = presetsOf(shell);
    const std::string folder = words.size() > 3 ? words[3] : "";
    const std::string path = ZELTpresetPath(presets, words[2], folder);
    if (presets.deletePresetFromDir(words[2].c_str(),
                                    words.size() > 3 ? folder.c_str() : nullptr)) {
        std::cout << "deleted " << path << '\n';
    } else {
        shell.fail("the preset isn't deleted");
    }
}

constexpr ZELT_ShellAction theActions[] = {
    {"list", 0, 0, listPresets},
    {"load", 1, 1, loadPreset},
    {"save", 1, 2, savePreset},
    {"delete", 1, 2, deletePreset},
};

void preset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (!shell.runAction(theActions, words)) {
        shell.fail("usage: preset list | load NAME | save|delete NAME [FOLDER]");
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"preset", "list|load|save|delete [NAME] [FOLDER]", 1, 3, ZELT_SHELL_EDITS, preset},
};

} // namespace

const ZELT_ShellTable ZELTshellPresets(theCommands);
