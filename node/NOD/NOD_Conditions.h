/// \file NOD_Conditions.h
/// Conditions at work: the enabled and visible states of a tree's parameters follow the values that their
/// conditions read.
///
/// Vocabulary: *condition* = a ZEL_Conditional that disables or hides a parameter or one tab of a set of
///             folders. *own* = said of what a parameter's condition decides, whatever its folder's say.
///             *governed* = said of a parameter with a condition of its own or of a folder or block
///             around it: the states of others stay the application's.
/// Units:      parm indices as in ZEL_ParmList; tabs are components of a set of folders.
/// Ownership:  borrows the graph and its tree; the graph may be destroyed first. Nodes whose templates and
///             names are the same share what is known of their conditions.
/// Threads:    the one that changes the tree; `statesOf` any.
/// Errors:     none: what fails in a condition compares as an empty text.
/// Cost:       a change costs the conditions that read it, and the parameters that they govern. One of a
///             node's structure costs all conditions of the node.
///
/// A parameter is disabled, or hidden, by its own condition or with the tab or block that it lies in; a tab
/// with its set of folders; a block's items with the block. Events 6 and 7 go out for what changes. A type
/// that is invisible counts as visible here: it says so itself. Only shownOf() puts both together.
///
/// A condition is evaluated after a change of what it reads: a parameter of its node, what that one's
/// expression reads in turn, or on the left of a comparison what an expression refers to, in any node.
/// With another time those are evaluated that read something time dependent. Values are those at the
/// evaluation time of the thread.
#pragma once

#include <NOD/NOD_API.h>
#include <ZEL/ZEL_ConditionalBase.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class NOD_ConditionPlan;
class NOD_Graph;
class NOD_Node;
class ZEL_Conditional;
class ZEL_Parm;
class ZEL_ParmList;

/// What conditions say of a parameter or tab.
struct NOD_ConditionState
{
    bool disabledFlag = false;
    bool hiddenFlag = false;
    bool noCookFlag = false; ///< its own condition alone
};

struct NOD_ParmState : NOD_ConditionState
{
    std::vector<NOD_ConditionState> tabs; ///< of a set of folders
};

/// One thing that disables or hides a parameter or tab, or keeps it from cooking.
struct NOD_API NOD_StateReason
{
    enum class By
    {
        CONDITION,    ///< that of `type`, which holds
        INVISIBLE,    ///< the type of the parameter
        INVISIBLE_TAB ///< the tab isn't among those to be shown
    };

    By by = By::CONDITION;
    ZEL_ConditionalType type = ZEL_CONDTYPE_HIDE;
    int parmIndex = -1; ///< whose it is: the parameter itself, or what it lies in
    int tab = -1;       ///< of a set of folders; -1 for all of it
    const ZEL_Conditional *condition = nullptr;

    /// As a script has it: `hidewhen { a == 1 }`, `hidewhentab { a == 1 }`, `invisible`, `invisibletab`.
    std::string asText() const;
};

/// What a person sees of a parameter or tab, and why, the nearest reason first.
struct NOD_ShownState : NOD_ConditionState
{
    std::vector<NOD_StateReason> reasons;
};

struct NOD_ShownParm : NOD_ShownState
{
    std::vector<NOD_ShownState> tabs; ///< of a set of folders
};

class NOD_API NOD_Conditions
{
public:
    /// For the whole tree of the graph, which may have one of these at a time. Sets all states.
    explicit NOD_Conditions(NOD_Graph &graph);
    ~NOD_Conditions();
    NOD_Conditions(const NOD_Conditions &) = delete;
    NOD_Conditions &operator=(const NOD_Conditions &) = delete;

    using Evaluated = std::function<void(const ZEL_Parm &)>;
    /// What the conditions of a list say, by parm index, evaluated now: what the states of a tree's node
    /// are, and of others would be. Calls after the conditions of each parameter.
    static std::vector<NOD_ParmState> statesOf(const ZEL_ParmList &parms,
                                               const Evaluated &evaluated = {});
    /// The same with what the interface itself hides, and the reasons: own ones, and those of all that a
    /// parameter lies in. They borrow the list.
    static std::vector<NOD_ShownParm> shownOf(const ZEL_ParmList &parms,
                                              const Evaluated &evaluated = {});
    /// The same as statesOf() for one parameter: evaluates its own conditions and those of what it lies in.
    static NOD_ParmState stateOf(const ZEL_ParmList &parms, int parmIndex);

    /// How many conditions have been evaluated since the beginning.
    std::uint64_t getNumEvaluated() const { return myNumEvaluated; }
    /// Evaluates every condition, as after sets that weren't to propagate.
    void evaluateAll();
    /// The evaluation time is another one.
    void timeChanged();

    // ------------------------------------------------------------------ //
    /// \name Notifications from the graph
    // ------------------------------------------------------------------ //
    ///@{
    bool hasConditions(NOD_Node &node) const { return find(node) != nullptr; }
    /// Whether the node has conditions, or any are still to be evaluated.
    bool isAtWork(NOD_Node &node) const { return !myQueue.empty() || hasConditions(node); }
    /// A change has reached the component.
    void changed(NOD_Node &node, int parmIndex, int component);
    void structureChanged(NOD_Node &node);
    void nodeRemoved(NOD_Node &node);
    void treeRemoved();
    /// The node's condition of that number is to be evaluated again, or all with expressions.
    void mark(NOD_Node &node, int number);
    void markExpressions(NOD_Node &node);
    /// Evaluates what is marked, at the end of a batch.
    void update();
    ///@}

private:
    struct NodeState;

    NodeState *find(NOD_Node &node) const;
    void queue(NOD_Node &node, NodeState &state);
    void mark(NOD_Node &node, NodeState &state, int number);
    void updateUnlessInBatch();
    void updateNode(NOD_Node &node);
    void replan(NOD_Node &node, NodeState &state);
    void evaluateMarked(NOD_Node &node, NodeState &state, std::vector<int> &parms);
    bool evaluate(NOD_Node &node, NodeState &state, int number);
    bool evaluateExpressions(NOD_Node &node, NodeState &state, int number, ZEL_Parm &parm);
    void setStates(NOD_Node &node, const std::vector<int> &parms);

    NOD_Graph *myGraph;
    std::unordered_map<const NOD_Node *, std::unique_ptr<NodeState>>
        myStates;                    ///< of nodes with conditions
    std::vector<NOD_Node *> myQueue; ///< nodes with marked conditions, null once removed
    std::size_t myNext = 0;          ///< in the queue
    std::map<std::uint64_t, NOD_Node *> myTimed; ///< nodes that read the time, by version
    std::uint64_t myNumEvaluated = 0;
    std::uint64_t myLastVersion = 0;
};
