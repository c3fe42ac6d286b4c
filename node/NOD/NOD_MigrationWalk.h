/// \file NOD_MigrationWalk.h
/// Takes a node from one version of its type to another, version by version, by the steps of a map.
///
/// Vocabulary: *stage* = what became of each value from a version to the next, up or down.
/// Units:      versions by their places in the map, from 0; time in seconds.
/// Ownership:  owns its stages; borrows the map while it runs.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     false, with nothing done, after an error in the report: a step with a name that a version hasn't, or
///             one that can't be undone on the way down. Where the tree records no undo, as while a scene is loaded,
///             the node stays at the version that it came to, and says so.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Migration.h>

#include <memory>
#include <string>
#include <vector>

class NOD_Interface;
class NOD_MigrationMap;
class NOD_Node;
class NOD_ParmRenames;
class NOD_Report;

class NOD_API NOD_MigrationWalk
{
public:
    struct Stage
    {
        std::string from;
        std::string to;
        NOD_Migration::Entries entries;
        NOD_Migration::Names renames;
    };

    /// With it what can't be undone on the way down is left out, with a warning.
    void setAllowLoss(bool allow) { myAllowLossFlag = allow; }
    /// As NOD_Migration::setRenames().
    void setRenames(NOD_ParmRenames *renames) { myRenames = renames; }
    /// From the version that the node is of, as one step of undo; the node says then which one it is
    /// (NOD_Node::getTypeVersion). The map's scripts are loaded, those of the versions
    /// on the way at least. With `last` the node gets that interface in place of the last version's.
    bool run(NOD_Node &node, const NOD_MigrationMap &map, int from, int to, double time,
             NOD_Report &report, const std::shared_ptr<const NOD_Interface> &last = nullptr);

    const std::vector<Stage> &getStages() const { return myStages; }
    /// In all stages.
    int count(NOD_Migration::Fate fate) const;
    /// Whether a value that was set is lost or changed in any of them.
    bool hasLoss() const { return myLossFlag; }

private:
    bool plan(const NOD_MigrationMap &map, int from, int to, NOD_Report &report);

    NOD_ParmRenames *myRenames = nullptr;
    bool myAllowLossFlag = false;
    bool myLossFlag = false;
    std::vector<Stage> myStages;
    std::vector<std::vector<NOD_MigrationStep>> mySteps; ///< of each stage
};
