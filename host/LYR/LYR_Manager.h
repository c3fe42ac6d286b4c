/// \file LYR_Manager.h
/// The takes of the process: the master take, the current one, and the modes of editing them.
///
/// Vocabulary: *master take* = the root, named "Main", which holds every value; *current take* = the
///             one that edits apply to, initially the master take; *data id* = an address that
///             identifies a parameter.
/// Ownership:  owns the tree of takes.
/// Threads:    main thread.
/// Cost:       getters are one load; finding a definition is one hash look-up.

#pragma once

#include <BAS/BAS_API.h>
#include <LYR/LYR_Take.h>

class KIT_API LYR_Manager
{
public:
    LYR_Manager();

    /// The process's manager; never null.
    static LYR_Manager *getCurrentManager();

    LYR_Take *getMasterTake() { return &myMaster; }
    const LYR_Take *getMasterTake() const { return &myMaster; }
    LYR_Take *getCurrentTake() const { return myCurrent; }
    /// Null selects the master take; a take of another tree is refused with false.
    bool setCurrentTake(LYR_Take *take);
    /// Destroys a take and all below it. The master take is refused with false. The parent of a
    /// destroyed current take becomes the current one.
    bool removeTake(LYR_Take *take);

    /// The manager's own flag: edits override the protection by takes. Initially off.
    bool getOverrideFlag() const { return myOverrideFlag; }
    void setOverrideFlag(bool flag) { myOverrideFlag = flag; }
    /// Whether an edited parameter is included in the current take automatically. Initially off.
    bool getAutoIncludeFlag() const { return myAutoIncludeFlag; }
    void setAutoIncludeFlag(bool flag) { myAutoIncludeFlag = flag; }
    /// The same for parameters of locked assets. Initially off.
    bool getAutoIncludeLockedAssetsFlag() const { return myAutoIncludeLockedAssetsFlag; }
    void setAutoIncludeLockedAssetsFlag(bool flag) { myAutoIncludeLockedAssetsFlag = flag; }

    /// The current take if it holds a definition of the parameter, else null.
    LYR_Take *findDefinition(const void *dataId) const;
    /// Adds a definition to a take; null means the current one.
    void addDefinition(const void *dataId, LYR_Take *take = nullptr);
    /// Removes the parameter's definitions from all takes.
    void removeDefinitions(const void *dataId);

private:
    LYR_Take myMaster;
    LYR_Take *myCurrent;
    bool myOverrideFlag = false;
    bool myAutoIncludeFlag = false;
    bool myAutoIncludeLockedAssetsFlag = false;
};
