#include "ZELT_Preset.h"

#include <KIT/KIT_String.h>
#include <STO/STO_Reader.h>
#include <ZEL/ZEL_PresetInfo.h>

std::string ZELTpresetFolder(const std::string &folder)
{
    const KIT_StringArray &folders = ZEL_PresetInfo::getValidSaveDirs();
    return folder.empty() && !folders.isEmpty() ? folders[0].toStdString() : folder;
}

std::string ZELTpresetPath(ZEL_PresetInfo &presets, const std::string &name,
                           const std::string &folder)
{
    if (folder.empty()) {
        return presets.getPresetPath(presets.getPresetIndex(name.c_str())).toStdString();
    }
    KIT_String expanded(folder);
    expanded.expandVariables();
    std::string file = expanded.toStdString();
    while (!file.empty() && file.back() == '/') {
        file.pop_back();
    }
    file += '/' + presets.getPresetFile().toStdString();
    return STO_Reader::combineIndexFileSectionPath(file.c_str(), name.c_str()).toStdString();
}
