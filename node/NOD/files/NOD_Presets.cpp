#include <NOD/NOD_Presets.h>

#include <NOD/NOD_Report.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <STO/STO_Reader.h>

#include <utility>

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

std::string saveFolder(const std::string &folder)
{
    const KIT_StringArray &folders = ZEL_PresetInfo::getValidSaveDirs();
    return folder.empty() && !folders.isEmpty() ? folders[0].toStdString() : folder;
}

bool isSaveFolder(const std::string &folder)
{
    return ZEL_PresetInfo::explainSaveDir(folder.c_str()).empty();
}

} // namespace

NOD_Presets::NOD_Presets(const std::string &table, const std::string &opName, std::string offer)
    : myInfo(table.c_str(), opName.c_str()), myType(table + "/" + opName), myOffer(std::move(offer))
{}

// ---------------------------------------------------------------------- //
// Places
// ---------------------------------------------------------------------- //

/// For people.
std::string NOD_Presets::placed(const std::string &name) const
{
    return NODquoted(name) + " of " + myType;
}

std::string NOD_Presets::pathIn(const std::string &name, const std::string &folder)
{
    if (folder.empty()) {
        return myInfo.getPresetPath(myInfo.getPresetIndex(name.c_str())).toStdString();
    }
    KIT_String expanded(folder);
    expanded.expandVariables();
    std::string file = expanded.toStdString();
    while (!file.empty() && file.back() == '/') {
        file.pop_back();
    }
    file += '/' + myInfo.getPresetFile().toStdString();
    return STO_Reader::combineIndexFileSectionPath(file.c_str(), name.c_str()).toStdString();
}

/// The requested folder, else the one of the search path in which the preset is found; "" if it is in none.
std::string NOD_Presets::originOf(const std::string &name, const std::string &folder)
{
    if (!folder.empty()) {
        return folder;
    }
    const std::string path = pathIn(name, "");
    const std::size_t place = path.rfind("/" + myInfo.getPresetFile().toStdString() + "?");
    return place == std::string::npos ? "" : path.substr(0, place);
}

// ---------------------------------------------------------------------- //
// Reasons
// ---------------------------------------------------------------------- //

/// Why a folder takes no preset of that name.
std::string NOD_Presets::refusalOf(const std::string &name, const std::string &folder,
                                   Existing existing)
{
    if (name.empty()) {
        return "it needs a name";
    }
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
    if (existing == Existing::REFUSE && myInfo.hasPresetInDir(name.c_str(), folder.c_str())) {
        return folder + " has one of that name; " + myOffer + " replaces it";
    }
    return myInfo.getPresetFile().toStdString() + " can't be written in " + folder;
}

/// Why nothing in the folder can be changed under that name; "" if it isn't for lack of it.
std::string NOD_Presets::lackIn(const std::string &name, const std::string &folder)
{
    return folder.empty() ? "it is in no folder of the search path"
           : isSaveFolder(folder) && !myInfo.hasPresetInDir(name.c_str(), folder.c_str())
               ? "it isn't in " + folder
               : "";
}

/// What the library reports needs no second message.
bool NOD_Presets::attempt(const std::string &what, const std::string &folder,
                          const std::function<bool()> &change,
                          const std::function<std::string()> &reason, NOD_Report &report)
{
    const int before = report.getErrorCount();
    const std::string file =
        folder.empty() ? "" : folder + "/" + myInfo.getPresetFile().toStdString();
    NOD_Report found;
    bool good = false;
    {
        const NOD_ReportScope scope(found);
        good = change();
    }
    for (NOD_Message message : found.getMessages()) {
        const bool namedFlag = message.text.find(file) != std::string::npos;
        message.file = namedFlag ? message.file : file;
        report.add(std::move(message));
    }
    if (!good && report.getErrorCount() == before) {
        report.error("", what + ": " + reason());
    }
    return good;
}

// ---------------------------------------------------------------------- //
// Arranging
// ---------------------------------------------------------------------- //

std::string NOD_Presets::find(const std::string &name, NOD_Report &report)
{
    int index = -1;
    {
        const NOD_ReportScope scope(report);
        index = myInfo.getPresetIndex(name.c_str());
    }
    if (index < 0) {
        report.error("", "there is no preset " + placed(name));
    }
    return myInfo.getPresetPath(index).toStdString();
}

std::string NOD_Presets::save(const std::string &text, const std::string &name,
                              const std::string &folder, Existing existing, NOD_Report &report)
{
    const std::string to = saveFolder(folder);
    const bool saved = attempt(
        "the preset " + placed(name) + " isn't saved", to,
        [&] { return myInfo.savePresetTextToDir(text, name.c_str(), to.c_str(), existing); },
        [&] { return refusalOf(name, to, existing); }, report);
    return saved ? pathIn(name, to) : "";
}

std::string NOD_Presets::copy(const std::string &name, const std::string &newName,
                              const std::string &folder, Existing existing, NOD_Report &report)
{
    const std::string to = saveFolder(folder);
    const bool copied =
        !find(name, report).empty() &&
        attempt(
            "the preset " + placed(newName) + " isn't saved", to,
            [&] {
                return myInfo.copyPresetToDir(name.c_str(), newName.c_str(), to.c_str(), existing);
            },
            [&] { return refusalOf(newName, to, existing); }, report);
    return copied ? pathIn(newName, to) : "";
}

std::string NOD_Presets::rename(const std::string &name, const std::string &newName,
                                const std::string &folder, Existing existing, NOD_Report &report)
{
    if (find(name, report).empty()) {
        return "";
    }
    const std::string in = originOf(name, folder);
    const bool renamed = attempt(
        "the preset " + placed(name) + " isn't renamed", in,
        [&] {
            return myInfo.renamePresetInDir(name.c_str(), newName.c_str(), in.c_str(), existing);
        },
        [&] {
            const std::string lack = lackIn(name, in);
            return lack.empty() ? refusalOf(newName, in, existing) : lack;
        },
        report);
    return renamed ? pathIn(newName, in) : "";
}

std::string NOD_Presets::remove(const std::string &name, const std::string &folder,
                                NOD_Report &report)
{
    const std::string path = find(name, report);
    if (path.empty()) {
        return "";
    }
    const std::string in = originOf(name, folder);
    const std::string former = folder.empty() ? path : pathIn(name, folder);
    const bool removed = attempt(
        "the preset " + placed(name) + " isn't deleted", in,
        [&] { return myInfo.deletePresetFromDir(name.c_str(), in.c_str()); },
        [&] {
            const std::string lack = lackIn(name, in);
            return lack.empty() ? refusalOf(name, in, Existing::REPLACE) : lack;
        },
        report);
    return removed ? former : "";
}
