/// \file ZEL_PresetInfo.h
/// The presets of one node type: found, listed, loaded, saved, deleted.
///
/// Vocabulary: *preset* = a saved set of a node's parameter values with a name; as text the lines
///             `#PSI_PRESET` and `version 2.0a`, then sections, each a word and what belongs to it.
///             *preset file* = an index file (STO_IndexFile.h) of presets, which can stand in every
///             folder of the search path, as "presets/TABLE/TYPE.idx". *definition* = as in
///             KIT_OpUtils.h; its section "Presets" is an index file too. *save folder* = a folder
///             of the search path that may be written and isn't below the install folder.
/// Units:      preset indices from 0, in the bytewise order of their names.
/// Ownership:  owns names and paths. Borrows lists and streams for the call.
/// Threads:    one thread at a time; the static operations: any. Processes that save to one file at
///             once wait for each other.
/// Errors:     false. Faults of a preset are errors of the category "ZEL" (15 to 17 of its header),
///             those of an index file messages of the category "STO". A folder that isn't a save
///             folder is refused without a message.
/// Cost:       the first query after setNeedsRefresh() reads all preset files; the others are a
///             binary search. A save reads and writes its file whole.
#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <ZEL/ZEL_API.h>

#include <iosfwd>
#include <string>
#include <unordered_set>
#include <vector>

class KIT_IStream;
class ZEL_ParmList;

class ZEL_API ZEL_PresetInfo
{
public:
    /// The preset that an owner applies to a node that was just made.
    static constexpr const char *theDefaultName = "Permanent Defaults";

    /// Slashes at the end of the table's name are taken off.
    ZEL_PresetInfo(const char *table, const char *opName);
    virtual ~ZEL_PresetInfo();
    ZEL_PresetInfo(const ZEL_PresetInfo &) = delete;
    ZEL_PresetInfo &operator=(const ZEL_PresetInfo &) = delete;

    // ------------------------------------------------------------------ //
    /// \name What there is   (an index that is out of range gives the empty string)
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
    /// The next query looks again.
    void setNeedsRefresh() { myNeedsRefresh = true; }
    /// Another preset file, named as it stands below a folder of the search path; null or "" goes
    /// back to the node type's.
    void setIndexFile(const char *file);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Loading
    /// What was set before a fault stays.
    // ------------------------------------------------------------------ //
    ///@{
    /// The whole preset, header included, to the end of the stream. Its sections "channels" and
    /// "values" are the list's; others are offered to its owner or, without one, skipped word by
    /// word.
    bool loadPreset(ZEL_ParmList *list, KIT_IStream &is);
    /// The body of one section; true for a word that isn't one of the list's.
    static bool loadPresetContents(ZEL_ParmList *list, const char *word, KIT_IStream &is);
    /// A file with one preset, or a path that getPresetPath() gives. Variables are expanded, but
    /// not behind a "?".
    bool loadPresetFile(ZEL_ParmList *list, const char *path);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Saving and deleting
    // ------------------------------------------------------------------ //
    ///@{
    /// What the list's owner saves; without one its channels and values, as text.
    bool savePreset(ZEL_ParmList *list, std::ostream &os);
    /// Anywhere; the path is as for loadPresetFile().
    bool savePresetFile(ZEL_ParmList *list, const char *path);
    /// Into the preset file below a save folder, where it replaces the preset of that name and
    /// keeps the others. If that fails the file stays as it was.
    bool savePresetToDir(ZEL_ParmList *list, const char *name, const char *dir);
    /// From the preset file below a save folder; with a null `dir` from where the preset was found.
    /// False, and nothing changed, if there is no preset of that name.
    bool deletePresetFromDir(const char *name, const char *dir);

    /// Expands variables and sees to the ending ".preset". An empty name stays.
    static void makeValidPresetFileName(KIT_String &name);
    /// The save folders as they were when this was first asked for.
    static const KIT_StringArray &getValidSaveDirs();
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

    KIT_String myTable;
    KIT_String myOpName;
    KIT_String myPresetFile;
    KIT_String myPresetSection;
    std::vector<Preset> myPresets; // sorted by name
    bool myNeedsRefresh = true;
    KIT_String myIndexFile; // given by setIndexFile(), else unset
};
