/// \file KIT_PathSearch.h
/// Paths as the application stores them, and the folders in which it looks for its data files.
///
/// Vocabulary: *scene folder* = where the scene's file lies; the variable $SCN. *component* = one
///             folder of the search path. *install folder* = where the application itself lies; the
///             variable $VELMORA_ROOT. *plain name* = a relative path with "/" between names, none
///             of which is empty, "." or "..": it can't leave the folder that it is put behind.
/// Units:      components from 0, the first searched first.
/// Ownership:  one search path for the process; owns its components.
/// Threads:    any. The environment and the components may not change at the same time.
/// Errors:     false, or no file, where nothing was done or found. No message.
/// Cost:       finding asks the file system once for each component.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringArray.h>

class KIT_WorkBuffer;

class KIT_API KIT_PathSearch
{
public:
    /// The search path of a kind of files. There is one for all: data files, 0. It starts with the
    /// folders of $ZEL_PATH, which stand between colons; without it they are "." and the folder
    /// "zel" in the user's data folder ($XDG_DATA_HOME, else ~/.local/share).
    static KIT_PathSearch &getInstance(int kind);

    int64_t getNumComponents() const { return myComponents.entries(); }
    /// The index must be valid. Variables are expanded, slashes at the end are off.
    const KIT_String &getComponent(int64_t index) const { return myComponents[index]; }
    /// Replaces all components by those of a text with colons between them; empty ones are left
    /// out.
    void setComponents(const char *path);

    /// Appends every file of that plain name, in the order of the components. How many there are.
    int64_t findAllFiles(const char *name, KIT_StringArray &files) const;
    static bool isPlainName(const char *name);

    /// The install folder without slashes at its end; "" when there is none.
    static KIT_String getInstallFolder();
    /// Whether a path is a folder, or lies below it, by its text alone.
    static bool isBelow(const char *path, const char *folder, bool ignoreCase = false);

    /// Puts "$SCN" in the place of the scene folder at the start of a path: with the folder "/a/b",
    /// "/a/b/tex.pic" becomes "$SCN/tex.pic" and "/a/bc" stays. Whether it did.
    static bool condenseScn(KIT_WorkBuffer &path);

private:
    KIT_PathSearch();

    KIT_StringArray myComponents;
};
