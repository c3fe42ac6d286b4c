// Which folders of the search path have presets, and which presets are saved in.

#include <ZEL/ZEL_PresetInfo.h>

#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_OpUtils.h>
#include <KIT/KIT_PathSearch.h>
#include <STO/STO_Info.h>
#include <ZEL/presets/ZEL_PresetFoldersPrivate.h>

#include <filesystem>
#include <set>
#include <system_error>

namespace
{

namespace fs = std::filesystem;

constexpr int theDataFiles = 0;
constexpr const char *thePresetsFolder = "presets";
constexpr const char *theIndexEnding = ".idx";

/// Whether it is part of the application itself.
bool isInstalled(const char *dir)
{
    const KIT_String installed = KIT_PathSearch::getInstallFolder();
    const bool ignoreCase = KIT_EnvControl::getInt(KIT_ENV_FOLD_PATH_CASE) != 0;
    return KIT_PathSearch::isBelow(dir, installed.nonNullStr(), ignoreCase);
}

KIT_StringArray findSaveDirs()
{
    const KIT_PathSearch &search = KIT_PathSearch::getInstance(theDataFiles);
    KIT_StringArray dirs;
    for (std::int64_t i = 0; i < search.getNumComponents(); ++i) {
        const KIT_String &dir = search.getComponent(i);
        if (STO_Info::canWriteDirectory(dir) && !isInstalled(dir)) {
            dirs.append(dir.c_str());
        }
    }
    return dirs;
}

/// Calls for each entry of a folder below each folder of the search path.
template <class Call>
void forEachEntry(const std::string &below, const Call &call)
{
    const KIT_PathSearch &search = KIT_PathSearch::getInstance(theDataFiles);
    for (std::int64_t i = 0; i < search.getNumComponents(); ++i) {
        std::error_code failure;
        fs::directory_iterator at(search.getComponent(i).toStdString() + "/" + below, failure);
        for (; !failure && at != fs::directory_iterator(); at.increment(failure)) {
            call(*at);
        }
    }
}

/// The name of the type of a preset file; "" for any other file.
std::string typeOf(const fs::directory_entry &entry)
{
    std::error_code failure;
    return entry.is_regular_file(failure) && entry.path().extension() == theIndexEnding
               ? KIT_OpUtils::decodeBytes(entry.path().stem().string())
               : "";
}

KIT_StringArray asArray(const std::set<std::string> &names)
{
    KIT_StringArray array;
    for (const std::string &name : names) {
        array.append(name.c_str());
    }
    return array;
}

} // namespace

std::string ZELpresetFolder(const char *dir)
{
    KIT_String folder(dir ? dir : "", true);
    folder.expandVariables();
    while (folder.length() > 1 && folder.lastChar() == '/') {
        folder.truncate(folder.length() - 1);
    }
    return folder.toStdString();
}

KIT_StringArray ZEL_PresetInfo::findTables()
{
    std::set<std::string> tables;
    forEachEntry(thePresetsFolder, [&](const fs::directory_entry &table) {
        const std::string name = table.path().filename().string();
        std::error_code failure;
        if (table.is_directory(failure) && findTypes(name.c_str()).entries() > 0) {
            tables.insert(name);
        }
    });
    return asArray(tables);
}

KIT_StringArray ZEL_PresetInfo::findTypes(const char *table)
{
    const std::string below = thePresetsFolder + std::string("/") + (table ? table : "");
    std::set<std::string> types;
    if (KIT_PathSearch::isPlainName(below.c_str())) {
        forEachEntry(below, [&](const fs::directory_entry &file) {
            const std::string type = typeOf(file);
            if (!type.empty()) {
                types.insert(type);
            }
        });
    }
    return asArray(types);
}

const KIT_StringArray &ZEL_PresetInfo::getValidSaveDirs()
{
    static const KIT_StringArray theDirs = findSaveDirs();
    return theDirs;
}

std::string ZEL_PresetInfo::explainSaveDir(const char *dir)
{
    const std::string folder = ZELpresetFolder(dir);
    if (getValidSaveDirs().find(folder.c_str()) >= 0) {
        return "";
    }
    const KIT_PathSearch &search = KIT_PathSearch::getInstance(theDataFiles);
    bool searchedFlag = false;
    for (std::int64_t i = 0; i < search.getNumComponents(); ++i) {
        searchedFlag |= search.getComponent(i) == folder.c_str();
    }
    std::error_code failure;
    return !searchedFlag                        ? "isn't in the search path"
           : !fs::exists(folder, failure)       ? "doesn't exist"
           : !fs::is_directory(folder, failure) ? "is no folder"
           : isInstalled(folder.c_str())        ? "is below the application's folder"
           : STO_Info::canWriteDirectory(folder.c_str())
               ? "couldn't be written when presets were first saved"
               : "can't be written";
}

KIT_StringArray ZEL_PresetInfo::explainSearchPath()
{
    const KIT_PathSearch &search = KIT_PathSearch::getInstance(theDataFiles);
    KIT_StringArray reasons;
    for (std::int64_t i = 0; i < search.getNumComponents(); ++i) {
        const std::string dir = search.getComponent(i).toStdString();
        const std::string why = explainSaveDir(dir.c_str());
        if (!why.empty()) {
            reasons.append((dir + ": " + why).c_str());
        }
    }
    if (search.getNumComponents() == 0) {
        reasons.append("the search path has no folder");
    }
    return reasons;
}
