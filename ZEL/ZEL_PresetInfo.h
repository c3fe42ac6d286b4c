/// \file ZEL_PresetInfo.h
/// The presets of one node type: found, listed, loaded, saved, deleted.
///
/// Vocabulary: *preset* = a saved set of a node's parameter values with a name; as text the lines
///             `#PSI_PRESET` and `version 2.0a`, then sections, each a keyword and its contents.
///             *preset file* = an index file (STO_IndexFile.h) of presets, which may exist in every
///             folder of the search path, as "presets/TABLE/TYPE.idx". *definition* = as in
///             KIT_OpUtils.h; its section "Presets" is an index file too. *save folder* = a folder
///             of the search path that is writable and isn't below the install folder.
/// Units:      preset indices from 0, in the bytewise order of their names.
/// Ownership:  owns names and paths. Borrows lists and streams for the call.
/// Threads:    one thread at a time; the static operations: any. Processes that save to the same
///             file at once wait for each other.
/// Errors:     false. Errors in a preset are reported in the category "ZEL" (15 to 17 for its
///             header), those in an index file in the category "STO". A folder that isn't a save
///             folder is refused without a message.
/// Cost:       the first query after setNeedsRefresh() reads all preset files; the others are a
///             binary search. A save reads and rewrites the whole file.
#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <ZEL/ZEL_API.h>

#include <iosfwd>
#include <string>
#include <unordered_set>
#include <vector>

class KIT_IStream;
class ZEL_Parm;
class ZEL_ParmList;

class ZEL_API ZEL_PresetInfo
{
public:
    /// The preset that an owner applies to a new node.
    static constexpr const char *theDefaultName = "Permanent Defaults";

    /// Removes slashes at the end of the table's name.
    ZEL_PresetInfo(const char *table, const char *opName);
    virtual ~ZEL_PresetInfo();
    ZEL_PresetInfo(const ZEL_PresetInfo &) = delete;
    ZEL_PresetInfo &operator=(const ZEL_PresetInfo &) = delete;

    // ------------------------------------------------------------------ //
    /// \name Queries   (an index out of range gives the empty string)
    // ------------------------------------------------------------------ //
    ///@{
    int getNumPresets();
    const KIT_String &getPresetName(int index);
    /// A path for loadPresetFile().
    const KIT_String &getPresetPath(int index);
    /// The preset file's name below a folder of the search path.
    const KIT_String &getPresetFile();
    /// The path of the presets inside the node type's definition.
    const KIT_String &getPresetSection();
    /// -1 if there is none of that name.
    int getPresetIndex(const char *name);
    /// The index of the preset "Permanent Defaults", or -1.
    int getDefaultPreset() { return getPresetIndex(theDefaultName); }
    /// Makes the next query read the preset files again.
    void setNeedsRefresh() { myNeedsRefresh = true; }
    /// Uses another preset file, given relative to a folder of the search path; null or "" restores
    /// the node type's.
    void setIndexFile(const char *file);

    /// The tables, and the node types of one, that have a preset file in the search path: sorted, each once.
    static KIT_StringArray findTables();
    static KIT_StringArray findTypes(const char *table);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Loading
    /// What was set before an error stays.
    // ------------------------------------------------------------------ //
    ///@{
    /// Reads the whole preset, header included, to the end of the stream. The list reads the
    /// sections "channels" and "values"; others are passed to its owner or, without one, skipped
    /// word by word.
    bool loadPreset(ZEL_ParmList *list, KIT_IStream &is);
    /// Reads the body of one section; true for a keyword that the list doesn't read.
    static bool loadPresetContents(ZEL_ParmList *list, const char *word, KIT_IStream &is);
    /// Reads a file with one preset, or a path from getPresetPath(). Variables are expanded, but
    /// not after a "?".
    bool loadPresetFile(ZEL_ParmList *list, const char *path);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Saving and deleting
    // ------------------------------------------------------------------ //
    ///@{
    /// Writes what the list's owner saves; without one the list's channels and values, as text.
    bool savePreset(ZEL_ParmList *list, std::ostream &os);
    /// Writes a preset of some of a list's parameters, in that order, and of their channels.
    static bool savePreset(const std::vector<const ZEL_Parm *> &parms, std::ostream &os);
    /// Saves to any file; the path is as for loadPresetFile().
    bool savePresetFile(ZEL_ParmList *list, const char *path);
    /// Saves into the preset file below a save folder, replacing the preset of that name and
    /// keeping the others. On failure the file doesn't change. Refused if the path has a variable,
    /// as in a table "$HOME": loading would expand it.
    bool savePresetToDir(ZEL_ParmList *list, const char *name, const char *dir);
    /// What to do with a preset that has the new name in the file.
    enum class Existing
    {
        REFUSE,
        REPLACE
    };
    /// The same with the text of a preset, which isn't looked into. `existing` holds, whatever other
    /// processes do at the same time.
    bool savePresetTextToDir(const std::string &text, const char *name, const char *dir,
                             Existing existing);
    /// Saves the preset of a name, wherever it was found, under another one.
    bool copyPresetToDir(const char *name, const char *newName, const char *dir, Existing existing);
    /// Renames in the preset file below a save folder or, with a null `dir`, in the file in which the
    /// preset was found.
    bool renamePresetInDir(const char *name, const char *newName, const char *dir,
                           Existing existing);
    /// Whether the preset file below a save folder has a preset of that name.
    bool hasPresetInDir(const char *name, const char *dir);
    /// Deletes from the preset file below a save folder or, with a null `dir`, from the file in
    /// which the preset was found. False, and nothing changed, if there is no such preset.
    bool deletePresetFromDir(const char *name, const char *dir);

    /// Expands variables and appends ".preset" if missing. An empty name stays empty.
    static void makeValidPresetFileName(KIT_String &name);
    /// The save folders at the time of the first call.
    static const KIT_StringArray &getValidSaveDirs();
    /// Why nothing is saved in a folder, as "doesn't exist"; "" for a save folder.
    static std::string explainSaveDir(const char *dir);
    /// `FOLDER: why` for each folder of the search path that is no save folder; a sentence if the
    /// search path has no folder at all.
    static KIT_StringArray explainSearchPath();
    ///@}

private:
    struct Preset
    {
        KIT_String name;
        KIT_String path;
    };

    void refresh();
    void findAllPresets();
    void addPresetsOf(const char *file, std::unordered_set<std::string> &names);
    const Preset *getPreset(int index);
    std::string findSaveFile(const char *dir) const;
    std::string findDeleteFile(const char *name, const char *dir);
    template <class Change>
    bool changeFile(const std::string &file, const Change &change);

    KIT_String myTable;
    KIT_String myOpName;
    KIT_String myPresetFile;
    KIT_String myPresetSection;
    std::vector<Preset> myPresets; // sorted by name
    bool myNeedsRefresh = true;
    KIT_String myIndexFile; // set by setIndexFile(), else unset
};
