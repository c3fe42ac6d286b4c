/// \file KIT_PathSearch.h
/// Paths as the application stores them, and the folders in which it searches its data files.
///
/// Vocabulary: *scene folder* = the folder of the scene's file; the variable $SCN. *component* =
///             one folder of the search path. *install folder* = the folder of the application
///             itself; the variable $VELMORA_ROOT. *plain name* = a relative path with "/" between
///             names, none of which is empty, "." or "..": it can't leave its base folder.
/// Units:      components from 0, the first searched first.
/// Ownership:  one search path for the process; owns its components.
/// Threads:    any. The environment and the components must not change at the same time.
/// Errors:     false, or no file, when nothing was done or found. No message.
/// Cost:       finding asks the file system once for each component.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringArray.h>

class KIT_WorkBuffer;

class KIT_API KIT_PathSearch
{
public:
    /// The search path of a kind of files. There is only one kind: 0, data files. It consists of
    /// the folders of $ZEL_PATH, separated by colons; by default of "." and the folder "zel" in the
    /// user's data folder ($XDG_DATA_HOME, else ~/.local/share).
    static KIT_PathSearch &getInstance(int kind);

    int64_t getNumComponents() const { return myComponents.entries(); }
    /// The index must be valid. Variables are expanded, trailing slashes removed.
    const KIT_String &getComponent(int64_t index) const { return myComponents[index]; }
    /// Replaces all components by those of a text, separated by colons; empty ones are ignored.
    void setComponents(const char *path);

    /// Appends every file of that plain name, in the order of the components. Returns how many.
    int64_t findAllFiles(const char *name, KIT_StringArray &files) const;
    static bool isPlainName(const char *name);

    /// The install folder without slashes at its end; "" when there is none.
    static KIT_String getInstallFolder();
    /// Whether a path is the folder, or is below it, judged by the text alone.
    static bool isBelow(const char *path, const char *folder, bool ignoreCase = false);

    /// Replaces the scene folder at the start of a path by "$SCN": with the folder "/a/b",
    /// "/a/b/tex.pic" becomes "$SCN/tex.pic" and "/a/bc" stays. Returns whether it did.
    static bool condenseScn(KIT_WorkBuffer &path);

private:
    KIT_PathSearch();

    KIT_StringArray myComponents;
};
