/// \file NOD_ChangeWatcherPrivate.h
/// What wants to know which parts of a scene have changed since it last looked.
///
/// Threads:    the thread that changes the scene.
/// Errors:     nothing may throw: what has changed can't be undone.
#pragma once

class NOD_Node;

class NOD_ChangeWatcher
{
public:
    virtual ~NOD_ChangeWatcher() = default;
    /// Values, channels or expressions of a parameter, or with -1 of any.
    virtual void parmChanged(NOD_Node &node, int parmIndex) noexcept = 0;
    /// Which parameters the node has, their names or channels.
    virtual void nodeChanged(NOD_Node &node) noexcept = 0;
    /// Nodes have come, gone, or changed names or places; or variables.
    virtual void treeChanged() noexcept = 0;
    /// A node is about to be destroyed.
    virtual void nodeRemoved(NOD_Node &node) noexcept = 0;
};
