/// \file NOD_NodeState.h
/// All that a user has made of a node at one moment, or of some of its parameters, to be restored.
///
/// Vocabulary: *whole* = a state of the node: its interface, spare parameters, variables, channels and
///             all parameters; *partial* = one of some parameters, each with the items below it.
/// Ownership:  owns everything, and shares the interface and what spare parameters borrow; may outlive
///             the node that it was taken of. What a plain template array, or a description of a spare
///             parameter without an owner, points to is borrowed.
/// Threads:    taken and restored on the thread that owns the node.
/// Errors:     what a restore can't do is reported to the thread's error manager as a load would. Out
///             of memory throws std::bad_alloc; a restore can be called again then.
/// Cost:       linear in the node, of a partial one in the parameters it has. Taking one reads the
///             counts of blocks, so that their items are there.
///
/// A restored node is saved to the same bytes as when the state was taken, where parameters are saved in
/// an order of their own: parameters of a list that come back come back at its end. What isn't saved isn't
/// restored: overrides, selection, enabled and visible states, values of parameters whose tag says that
/// they aren't saved. Left as they are: the text of a label that was changed, which all nodes of the
/// interface share, and that a mask of automatic scope or selection has been set at all, so that it is
/// saved although it is the description's.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <NOD/NOD_API.h>

#include <cstdint>
#include <memory>
#include <vector>

class NOD_Node;
class ZEL_Parm;

class NOD_API NOD_NodeState
{
public:
    /// A parameter that a restore has changed.
    struct Change
    {
        KIT_StringHolder token;
        bool lockFlag;    ///< whether its locks are others
        bool channelFlag; ///< whether keys, expressions or pending values are
    };
    using Changes = std::vector<Change>;

    /// Of nothing.
    NOD_NodeState();
    /// Takes the whole node.
    explicit NOD_NodeState(NOD_Node &node);
    ~NOD_NodeState();
    NOD_NodeState(NOD_NodeState &&other) noexcept;
    NOD_NodeState &operator=(NOD_NodeState &&other) noexcept;

    // ------------------------------------------------------------------ //
    /// \name Taking more of a node   (what it has stays as it was)
    // ------------------------------------------------------------------ //
    ///@{
    void add(NOD_Node &node, ZEL_Parm &parm);
    /// Variables, and sections that are kept (NOD_Node::keepSections).
    void addTexts(const NOD_Node &node);
    void addWhole(NOD_Node &node);
    /// Whether the parameter's state at that moment is known, also that it didn't exist.
    bool covers(const ZEL_Parm &parm) const;
    bool isWhole() const;
    /// What the node is now, as far as this state covers it.
    NOD_NodeState present(NOD_Node &node) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Restoring
    // ------------------------------------------------------------------ //
    ///@{
    /// With change events for each parameter, as after a load.
    void restore(NOD_Node &node) const;
    /// Without events. Adds the parameters that differed.
    void restoreSilently(NOD_Node &node, Changes &changes) const;
    /// Sends the events. What a handler does to the node is allowed.
    static void tell(NOD_Node &node, const Changes &changes);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Comparing
    // ------------------------------------------------------------------ //
    ///@{
    bool isSame(const NOD_NodeState &other) const;
    /// Cuts two states of one node, of the same parts, down to what differs. False if nothing does.
    static bool keepDifference(NOD_NodeState &before, NOD_NodeState &after);
    std::int64_t getMemoryUsage() const;
    ///@}

private:
    struct Contents;
    std::unique_ptr<Contents> myContents;
};
