/// \file NOD_NodeState.h
/// All that a user has made of a node at one moment: values, channels and aliases, to be restored.
///
/// Vocabulary: *partial* = a state that was cut down to the parameters that an edit changed.
/// Ownership:  owns everything; may outlive the node it was taken of.
/// Threads:    taken and restored on the thread that owns the node.
/// Errors:     what a restore can't do is reported to the thread's error manager as a load would.
/// Cost:       linear in the node, a partial one in the parameters it has.
///
/// Spare parameters that were added later stay. Overrides are left alone, and so is what a stream
/// doesn't restore either: flags, labels and colours that were given to a parameter.
#pragma once

#include <NOD/NOD_API.h>
#include <ZEL/ZEL_UndoData.h>

#include <cstdint>
#include <string>

class NOD_Node;

class NOD_API NOD_NodeState
{
public:
    NOD_NodeState() = default;
    /// Takes the state.
    explicit NOD_NodeState(NOD_Node &node);

    /// Puts the node into the state, with change events for each parameter.
    void restore(NOD_Node &node) const;
    /// Whether two whole states are the same. False for partial ones.
    bool isSame(const NOD_NodeState &other) const;
    std::int64_t getMemoryUsage() const;
    /// Cuts two whole states of one node down to what differs, where both have the same parameters
    /// and channels.
    static void keepDifference(NOD_NodeState &before, NOD_NodeState &after);

private:
    void cutDown(ZEL_UndoDataArray values);

    bool myWholeFlag = false;
    ZEL_UndoDataArray myValues;
    std::string myText; ///< the values once more, to be compared
    std::string myChannels;
    std::string myAliases;
};
