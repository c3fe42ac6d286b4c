// The shell's presets: those that `zel preset` has for the table of nodes and the script's name.

#include "ZELT_ShellCommands.h"

#include "ZELT_Format.h"
#include "ZELT_Preset.h"
#include "ZELT_Script.h"

#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <iostream>

using std::cout;

void ZELT_ShellCommands::preset(const Words &words)
{
    struct Action
    {
        const char *name;
        std::size_t least; ///< words behind it
        std::size_t most;
        void (ZELT_ShellCommands::*call)(ZEL_PresetInfo &presets, const Words &words);
    };
    static const Action actions[] = {
        {"list", 0, 0, &ZELT_ShellCommands::listPresets},
        {"load", 1, 1, &ZELT_ShellCommands::loadPreset},
        {"save", 1, 2, &ZELT_ShellCommands::savePreset},
        {"delete", 1, 2, &ZELT_ShellCommands::deletePreset},
    };
    for (const Action &action : actions) {
        const std::size_t given = words.size() - 2;
        if (words[1] == action.name && given >= action.least && given <= action.most) {
            ZEL_PresetInfo presets(ZELX_Node::thePresetTable, myScript->getName().c_str());
            (this->*action.call)(presets, words);
            return;
        }
    }
    fail("usage: preset list | load NAME | save|delete NAME [FOLDER]");
}

void ZELT_ShellCommands::listPresets(ZEL_PresetInfo &presets, const Words &)
{
    for (int i = 0; i < presets.getNumPresets(); ++i) {
        cout << ZELTquote(presets.getPresetName(i).toStdString()) << '\n';
    }
}

void ZELT_ShellCommands::loadPreset(ZEL_PresetInfo &presets, const Words &words)
{
    const int index = presets.getPresetIndex(words[2].c_str());
    if (index < 0) {
        fail("there is no preset " + ZELTquote(words[2]));
        return;
    }
    if (!presets.loadPresetFile(&mySession.getParms(), presets.getPresetPath(index))) {
        fail("the preset isn't loaded as a whole");
    }
    mySession.growBlocks(myTime);
}

void ZELT_ShellCommands::savePreset(ZEL_PresetInfo &presets, const Words &words)
{
    const std::string folder = ZELTpresetFolder(words.size() > 3 ? words[3] : "");
    if (presets.savePresetToDir(&mySession.getParms(), words[2].c_str(), folder.c_str())) {
        cout << "saved " << ZELTpresetPath(presets, words[2], folder) << '\n';
    } else {
        fail("the preset isn't saved in " + ZELTquote(folder));
    }
}

void ZELT_ShellCommands::deletePreset(ZEL_PresetInfo &presets, const Words &words)
{
    const std::string folder = words.size() > 3 ? words[3] : "";
    const std::string path = ZELTpresetPath(presets, words[2], folder);
    if (presets.deletePresetFromDir(words[2].c_str(),
                                    words.size() > 3 ? folder.c_str() : nullptr)) {
        cout << "deleted " << path << '\n';
    } else {
        fail("the preset isn't deleted");
    }
}
