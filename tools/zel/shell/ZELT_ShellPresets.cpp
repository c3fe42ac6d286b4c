// Shell commands on presets: those that `zel preset` has for the table of nodes and the script's name.

#include "ZELT_Shell.h"

#include "ZELT_Format.h"
#include "ZELT_Preset.h"
#include "ZELT_Script.h"

#include <NOD/NOD_PresetText.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <iostream>
#include <sstream>

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

void writePreset(ZELT_Shell &shell, const ZELT_ShellWords &words, bool replaceFlag)
{
    NOD_Report report;
    std::ostringstream text;
    const bool madeFlag = NODsavePreset(shell.getNode(), {}, text, report);
    shell.tell(report);
    if (!madeFlag) {
        return;
    }
    using Existing = ZEL_PresetInfo::Existing;
    ZEL_PresetInfo presets = presetsOf(shell);
    const std::string folder = ZELTpresetFolder(words.size() > 3 ? words[3] : "");
    if (presets.savePresetTextToDir(text.str(), words[2].c_str(), folder.c_str(),
                                    replaceFlag ? Existing::REPLACE : Existing::REFUSE)) {
        std::cout << "saved " << ZELTpresetPath(presets, words[2], folder) << '\n';
    } else {
        shell.fail(
            "the preset isn't saved: " +
            ZELTpresetRefusal(presets, words[2], folder, replaceFlag ? "" : "preset replace"));
    }
}

void savePreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    constexpr bool replace = false;
    writePreset(shell, words, replace);
}

void replacePreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    constexpr bool replace = true;
    writePreset(shell, words, replace);
}

void deletePreset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZEL_PresetInfo presets = presetsOf(shell);
    const std::string folder = words.size() > 3 ? words[3] : "";
    const std::string path = ZELTpresetPath(presets, words[2], folder);
    if (presets.deletePresetFromDir(words[2].c_str(),
                                    words.size() > 3 ? folder.c_str() : nullptr)) {
        std::cout << "deleted " << path << '\n';
    } else if (path.empty()) {
        shell.fail("there is no preset " + ZELTquote(words[2]));
    } else {
        shell.fail(
            "the preset isn't deleted: " +
            ZELTpresetRemains(presets, words[2], ZELTpresetOrigin(presets, words[2], folder)));
    }
}

constexpr ZELT_ShellAction theActions[] = {
    {"list", 0, 0, listPresets},      {"load", 1, 1, loadPreset},     {"save", 1, 2, savePreset},
    {"replace", 1, 2, replacePreset}, {"delete", 1, 2, deletePreset},
};

void preset(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (!shell.runAction(theActions, words)) {
        shell.fail("usage: preset list | load NAME | save|replace|delete NAME [FOLDER]");
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"preset", "list|load|save|replace|delete [NAME] [FOLDER]", 1, 3, ZELT_SHELL_EDITS, preset},
};

} // namespace

const ZELT_ShellTable ZELTshellPresets(theCommands);
