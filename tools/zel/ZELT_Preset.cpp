#include "ZELT_Preset.h"

#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"

#include <KIT/KIT_String.h>
#include <STO/STO_Reader.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <cerrno>
#include <iostream>
#include <sstream>

namespace
{

/// Where a preset is, for people.
std::string placeOf(const ZELT_PresetCall &call)
{
    return ZELTquote(call.name) + " of " + call.table + "/" + call.opName;
}

int fail(const std::string &text, ZELT_Messages &messages)
{
    messages.takeErrors("");
    messages.error("", text);
    return 1;
}

/// -1 after a message if there is no such preset.
int findPreset(ZEL_PresetInfo &presets, const ZELT_PresetCall &call, ZELT_Messages &messages)
{
    const int index = presets.getPresetIndex(call.name.c_str());
    if (index < 0) {
        fail("there is no preset " + placeOf(call), messages);
    }
    return index;
}

/// The folders that presets may be saved in, for a message.
std::string folderNames()
{
    std::string names;
    for (const KIT_String &dir : ZEL_PresetInfo::getValidSaveDirs()) {
        names += (names.empty() ? "" : ", ") + dir.toStdString();
    }
    return names.empty() ? "none of the search path" : names;
}

/// What was done to which preset, for people in one line.
void printDone(const char *done, const std::string &name, const std::string &path,
               const ZELT_Options &options)
{
    if (options.json) {
        ZELT_Json json;
        json["name"] = name;
        json["path"] = path;
        ZELTprintJson(json);
    } else {
        std::cout << done << ' ' << path << '\n';
    }
}

std::string savedValues(ZELT_Session &session)
{
    constexpr bool binary = false;
    constexpr bool compact = false;
    std::ostringstream os;
    session.getParms().save(os, binary, compact);
    return os.str();
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

int ZELTpresetList(const ZELT_PresetCall &call, const ZELT_Options &options,
                   ZELT_Messages &messages)
{
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    ZELT_Json json = ZELT_Json::array();
    std::vector<std::vector<std::string>> rows = {{"preset", "path"}};
    for (int i = 0; i < presets.getNumPresets(); ++i) {
        const std::string name = presets.getPresetName(i).toStdString();
        const std::string path = presets.getPresetPath(i).toStdString();
        rows.push_back({ZELTquote(name), path});
        ZELT_Json one;
        one["name"] = name;
        one["path"] = path;
        json.push_back(one);
    }
    if (options.json) {
        ZELTprintJson(json);
    } else {
        std::cout << ZELTtable(rows);
    }
    messages.takeErrors("");
    return messages.hasErrors() ? 1 : 0;
}

int ZELTpresetShow(const ZELT_PresetCall &call, const ZELT_Options &options,
                   ZELT_Messages &messages)
{
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    const int index = findPreset(presets, call, messages);
    if (index < 0) {
        return 1;
    }
    const std::string path = presets.getPresetPath(index).toStdString();
    std::string text;
    if (!STO_Reader::readBytes(path.c_str(), text)) {
        return fail(path + " can't be read", messages);
    }
    if (options.json) {
        ZELT_Json json;
        json["name"] = call.name;
        json["path"] = path;
        json["text"] = text;
        ZELTprintJson(json);
    } else {
        std::cout << text;
    }
    messages.takeErrors("");
    return 0;
}

int ZELTpresetApply(const ZELT_PresetCall &call, const ZELT_Options &options,
                    ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Script> script = ZELT_Script::load(call.file, messages);
    if (!script) {
        return 1;
    }
    ZELT_Session session(*script);
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    const int index = findPreset(presets, call, messages);
    if (index < 0 || !ZELTapplyInputs(session, call.inputs, call.time, messages)) {
        return 1;
    }
    const KIT_String path = presets.getPresetPath(index);
    if (!presets.loadPresetFile(&session.getParms(), path)) {
        return fail("the preset " + placeOf(call) + " isn't loaded as a whole", messages);
    }
    messages.takeErrors(path.toStdString());
    session.growBlocks(call.time);
    const std::string values = savedValues(session);
    if (!call.out.empty()) {
        return ZELTwriteFile(call.out, values, messages) ? 0 : 1;
    }
    if (options.json) {
        ZELT_Json json;
        json["values"] = values;
        ZELTprintJson(json);
    } else {
        std::cout << values;
    }
    return 0;
}

int ZELTpresetSave(const ZELT_PresetCall &call, const ZELT_Options &options,
                   ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Script> script = ZELT_Script::load(call.file, messages);
    if (!script) {
        return 1;
    }
    ZELT_Session session(*script);
    if (!ZELTapplyInputs(session, call.inputs, call.time, messages)) {
        return 1;
    }
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    const std::string folder = ZELTpresetFolder(call.folder);
    if (!presets.savePresetToDir(&session.getParms(), call.name.c_str(), folder.c_str())) {
        return fail("the preset " + placeOf(call) + " isn't saved in " + ZELTquote(folder) +
                        "; presets are saved in: " + folderNames(),
                    messages);
    }
    messages.takeErrors("");
    printDone("saved", call.name, ZELTpresetPath(presets, call.name, folder), options);
    return 0;
}

int ZELTpresetDelete(const ZELT_PresetCall &call, const ZELT_Options &options,
                     ZELT_Messages &messages)
{
    ZEL_PresetInfo presets(call.table.c_str(), call.opName.c_str());
    const char *const folder = call.folder.empty() ? nullptr : call.folder.c_str();
    const std::string path = ZELTpresetPath(presets, call.name, call.folder);
    if (!presets.deletePresetFromDir(call.name.c_str(), folder)) {
        return fail("the preset " + placeOf(call) +
                        " isn't deleted; presets are deleted in: " + folderNames(),
                    messages);
    }
    messages.takeErrors("");
    printDone("deleted", call.name, path, options);
    return 0;
}
