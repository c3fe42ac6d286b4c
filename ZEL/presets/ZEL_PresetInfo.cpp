#include <ZEL/ZEL_PresetInfo.h>

#include <BAS/BAS_Character.h>
#include <BAS/BAS_LostText.h>
#include <KIT/KIT_Directory.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_OpUtils.h>
#include <KIT/KIT_PathSearch.h>
#include <KIT/KIT_Write.h>
#include <STO/STO_FileLock.h>
#include <STO/STO_IndexFile.h>
#include <STO/STO_Info.h>
#include <STO/STO_Reader.h>
#include <STO/STO_Writer.h>
#include <ZEL/presets/ZEL_PresetFoldersPrivate.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <system_error>

namespace
{

const KIT_String theEmptyString("");
constexpr int theDataFiles = 0;
constexpr const char *theSaveLabel = "Preset Save";

KIT_String withoutSlashes(KIT_String text)
{
    while (text.lastChar() == '/') {
        text.truncate(text.length() - 1);
    }
    return text;
}

/// Whether reading the path expands a variable, now or where it is set.
bool hasVariable(const std::string &path)
{
    std::size_t at = path.find('$');
    while (at != std::string::npos && path[at + 1] != '{' && !BASisWordChar(path[at + 1])) {
        at = path.find('$', at + 1);
    }
    return at != std::string::npos;
}

bool isSaveDir(const std::string &dir)
{
    return ZEL_PresetInfo::getValidSaveDirs().find(dir.c_str()) >= 0;
}

/// Reports the system's reason and returns false.
bool failWriting(const std::string &file)
{
    const int why = errno;
    const std::string text = file + ": " + std::generic_category().message(why);
    KITaddError(theSTOCategory, STO_FILE_UNWRITABLE, text.c_str());
    return false;
}

/// Replaces an index file with these sections; the caller holds the lock. `lost` detects a section
/// that was read or changed without memory for its name: it would be missing from the file.
bool writeIndex(STO_IndexFile &index, const std::string &file, const STO_FileLock &lock,
                const BAS_LostText &lost)
{
    lost.check();
    KIT_ByteBuffer bytes;
    bytes.room(static_cast<std::size_t>(index.guessStreamSize()));
    KIT_OByteStream memory(bytes);
    index.write(memory);
    index.release();
    STO_Writer writer(file.c_str(), &lock);
    std::ostream *const os = writer.getStream();
    if (!os) {
        return failWriting(file);
    }
    bytes.writeTo(*os);
    return writer.close() || KITcheckOutStream(*os, theSaveLabel, nullptr);
}

} // namespace

ZEL_PresetInfo::ZEL_PresetInfo(const char *table, const char *opName)
    : myTable(withoutSlashes(KIT_String(table ? table : "", true))),
      myOpName(opName ? opName : "", true)
{}

ZEL_PresetInfo::~ZEL_PresetInfo() = default;

// ---------------------------------------------------------------------- //
// Listing
// ---------------------------------------------------------------------- //

void ZEL_PresetInfo::refresh()
{
    if (!myNeedsRefresh) {
        return;
    }
    const BAS_LostText lost;
    KIT_String opFile(myOpName);
    KIT_OpUtils::ensureValidOpBasedFileName(opFile);
    myPresetFile = "presets/" + myTable.toStdString() + "/" + opFile.toStdString() + ".idx";
    if (myIndexFile.isstring()) {
        myPresetFile = myIndexFile;
    }
    const KIT_String op = KIT_OpUtils::combineTableAndOpName(myTable, myOpName);
    myPresetSection =
        KIT_OpUtils::combineOpIndexFileSectionPath(KIT_OpUtils::theDefinitionPrefix, op, "Presets");
    myPresets.clear();
    findAllPresets();
    lost.check();
    myNeedsRefresh = false;
}

void ZEL_PresetInfo::findAllPresets()
{
    KIT_StringArray files;
    KIT_PathSearch::getInstance(theDataFiles).findAllFiles(myPresetFile, files);
    files.append(myPresetSection.c_str());
    std::unordered_set<std::string> names;
    for (const KIT_String &file : files) {
        addPresetsOf(file, names);
    }
    std::sort(myPresets.begin(), myPresets.end(),
              [](const Preset &a, const Preset &b) { return a.name.view() < b.name.view(); });
}

void ZEL_PresetInfo::addPresetsOf(const char *file, std::unordered_set<std::string> &names)
{
    STO_IndexFile index;
    index.open(file);
    for (std::int64_t i = 0; i < index.getNumSections(); ++i) {
        const KIT_String &name = index.getSectionName(i);
        if (names.insert(name.toStdString()).second) {
            myPresets.push_back({name, STO_Reader::combineIndexFileSectionPath(file, name)});
        }
    }
}

const ZEL_PresetInfo::Preset *ZEL_PresetInfo::getPreset(int index)
{
    refresh();
    const auto place = static_cast<std::size_t>(index);
    return index >= 0 && place < myPresets.size() ? &myPresets[place] : nullptr;
}

int ZEL_PresetInfo::getNumPresets()
{
    refresh();
    return static_cast<int>(myPresets.size());
}

const KIT_String &ZEL_PresetInfo::getPresetName(int index)
{
    const Preset *const preset = getPreset(index);
    return preset ? preset->name : theEmptyString;
}

const KIT_String &ZEL_PresetInfo::getPresetPath(int index)
{
    const Preset *const preset = getPreset(index);
    return preset ? preset->path : theEmptyString;
}

const KIT_String &ZEL_PresetInfo::getPresetFile()
{
    refresh();
    return myPresetFile;
}

const KIT_String &ZEL_PresetInfo::getPresetSection()
{
    refresh();
    return myPresetSection;
}

int ZEL_PresetInfo::getPresetIndex(const char *name)
{
    refresh();
    const std::string_view wanted(name ? name : "");
    const auto found = std::lower_bound(
        myPresets.begin(), myPresets.end(), wanted,
        [](const Preset &preset, std::string_view text) { return preset.name.view() < text; });
    if (found == myPresets.end() || found->name.view() != wanted) {
        return -1;
    }
    return static_cast<int>(found - myPresets.begin());
}

void ZEL_PresetInfo::setIndexFile(const char *file)
{
    myIndexFile = KIT_String(file, true);
    myNeedsRefresh = true;
}

// ---------------------------------------------------------------------- //
// Saving into folders and deleting
// ---------------------------------------------------------------------- //

/// The preset file below a save folder; "" for any other folder, and when links or the file's name
/// lead outside of it, or its name has variables.
std::string ZEL_PresetInfo::findSaveFile(const char *dir) const
{
    const std::string folder = ZELpresetFolder(dir);
    const std::string file = folder + "/" + myPresetFile.toStdString();
    if (!isSaveDir(folder) || !KIT_PathSearch::isPlainName(myPresetFile) ||
        myPresetFile.findChar('?') || hasVariable(file)) {
        return "";
    }
    return STO_Info::leadsBelow(file.c_str(), folder.c_str()) ? file : "";
}

/// Reads the index file, changes it and writes it back; nothing is written if the change is false.
template <class Change>
bool ZEL_PresetInfo::changeFile(const std::string &file, const Change &change)
{
    const STO_FileLock lock(file.c_str());
    if (!lock.isHeld()) {
        return failWriting(file);
    }
    const BAS_LostText lost;
    STO_IndexFile index;
    index.open(file.c_str());
    if (!change(index) || !index.canWrite() || !writeIndex(index, file, lock, lost)) {
        return false;
    }
    myNeedsRefresh = true;
    return true;
}

bool ZEL_PresetInfo::savePresetToDir(ZEL_ParmList *list, const char *name, const char *dir)
{
    refresh();
    const std::string file = findSaveFile(dir);
    if (file.empty() || !name || !*name || !KITcreateDirectoryForFile(file.c_str())) {
        return false;
    }
    // Before the lock: the owner's save may itself save presets.
    std::ostringstream os;
    return savePreset(list, os) &&
           changeFile(file, [&](STO_IndexFile &index) { return index.addSection(name, os.str()); });
}

bool ZEL_PresetInfo::savePresetTextToDir(const std::string &text, const char *name, const char *dir,
                                         Existing existing)
{
    refresh();
    const std::string file = findSaveFile(dir);
    return !file.empty() && name && *name && KITcreateDirectoryForFile(file.c_str()) &&
           changeFile(file, [&](STO_IndexFile &index) {
               return (existing == Existing::REPLACE || index.findSection(name) < 0) &&
                      index.addSection(name, text);
           });
}

bool ZEL_PresetInfo::copyPresetToDir(const char *name, const char *newName, const char *dir,
                                     Existing existing)
{
    const int index = getPresetIndex(name);
    std::string text;
    return index >= 0 && STO_Reader::readBytes(getPresetPath(index), text) &&
           savePresetTextToDir(text, newName, dir, existing);
}

bool ZEL_PresetInfo::renamePresetInDir(const char *name, const char *newName, const char *dir,
                                       Existing existing)
{
    refresh();
    const std::string file = findDeleteFile(name, dir);
    return !file.empty() && name && newName && *newName &&
           changeFile(file, [&](STO_IndexFile &index) {
               const std::int64_t from = index.findSection(name);
               if (from < 0 || index.findSection(newName) == from ||
                   (existing == Existing::REFUSE && index.findSection(newName) >= 0)) {
                   return false;
               }
               const std::string text = index.getSectionText(from);
               return index.removeSection(name) && index.addSection(newName, text);
           });
}

bool ZEL_PresetInfo::hasPresetInDir(const char *name, const char *dir)
{
    refresh();
    const std::string file = findSaveFile(dir);
    STO_IndexFile index;
    return !file.empty() && name && index.open(file.c_str()) && index.findSection(name) >= 0;
}

/// The file from which to remove a preset; "" when none may be changed.
std::string ZEL_PresetInfo::findDeleteFile(const char *name, const char *dir)
{
    if (dir) {
        return findSaveFile(dir);
    }
    KIT_String file;
    KIT_String section;
    STO_Reader::splitIndexFileSectionPath(getPresetPath(getPresetIndex(name)), file, section);
    const std::string found = file.toStdString();
    const std::size_t tail = myPresetFile.length() + 1;
    if (KIT_OpUtils::isDefinitionPath(file) || found.size() < tail) {
        return "";
    }
    // A preset that was found in no save folder isn't deleted, just as when that folder is named.
    return findSaveFile(found.substr(0, found.size() - tail).c_str());
}

bool ZEL_PresetInfo::deletePresetFromDir(const char *name, const char *dir)
{
    refresh();
    const std::string file = findDeleteFile(name, dir);
    return !file.empty() &&
           changeFile(file, [&](STO_IndexFile &index) { return index.removeSection(name); });
}

void ZEL_PresetInfo::makeValidPresetFileName(KIT_String &name)
{
    name.expandVariables();
    if (name.isEmpty() || name.endsWith(".preset")) {
        return;
    }
    name += name.lastChar() == '.' ? "preset" : ".preset";
}
