#include "ZELT_Preset.h"

#include <KIT/KIT_String.h>
#include <STO/STO_Reader.h>
#include <ZEL/ZEL_PresetInfo.h>

namespace
{

std::string joined(const KIT_StringArray &texts)
{
    std::string line;
    for (const KIT_String &text : texts) {
        line += (line.empty() ? "" : ", ") + text.toStdString();
    }
    return line;
}

} // namespace

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

std::string ZELTpresetOrigin(ZEL_PresetInfo &presets, const std::string &name,
                             const std::string &folder)
{
    if (!folder.empty()) {
        return folder;
    }
    const std::string path = ZELTpresetPath(presets, name, "");
    const std::size_t place = path.rfind("/" + presets.getPresetFile().toStdString() + "?");
    return place == std::string::npos ? "" : path.substr(0, place);
}

std::string ZELTpresetRefusal(ZEL_PresetInfo &presets, const std::string &name,
                              const std::string &folder, const std::string &hint)
{
    if (folder.empty()) {
        return "no folder of the search path takes presets: " +
               joined(ZEL_PresetInfo::explainSearchPath());
    }
    const KIT_StringArray &folders = ZEL_PresetInfo::getValidSaveDirs();
    const std::string why = ZEL_PresetInfo::explainSaveDir(folder.c_str());
    if (!why.empty()) {
        return folder + " " + why +
               "; presets are saved in: " + (folders.isEmpty() ? "no folder" : joined(folders));
    }
    if (!hint.empty() && presets.hasPresetInDir(name.c_str(), folder.c_str())) {
        return folder + " has one of that name; " + hint + " replaces it";
    }
    return presets.getPresetFile().toStdString() + " can't be written in " + folder;
}

std::string ZELTpresetRemains(ZEL_PresetInfo &presets, const std::string &name,
                              const std::string &folder)
{
    return folder.empty() ? "it is in no folder of the search path"
           : ZEL_PresetInfo::explainSaveDir(folder.c_str()).empty()
               ? "it isn't in " + folder
               : ZELTpresetRefusal(presets, name, folder, "");
}
