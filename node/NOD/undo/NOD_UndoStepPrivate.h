/// \file NOD_UndoStepPrivate.h
/// One step of undo: where nodes were and are, what parameters were and are. Not installed.
///
/// Vocabulary: *fresh* = a node that the step has added: nothing of it is kept, as it goes and comes
///             back as a whole; *outside* = no part of the tree now.
/// Ownership:  owns the nodes that it has taken out of the tree.
/// Threads:    the thread that changes the tree.
/// Errors:     out of memory throws std::bad_alloc; undo and redo go on where they stopped when they are
///             called again.
#pragma once

#include <NOD/NOD_NodeState.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

class NOD_Node;
class NOD_Scene;
class ZEL_Float;
class ZEL_Parm;

/// Where a node is; without a parent it is outside. A friend of the node.
struct NOD_TreePlace
{
    static NOD_TreePlace of(const NOD_Node &node);

    NOD_Node *parent = nullptr;
    std::size_t place = 0; ///< among the parent's children
    std::string name;
};

/// All that a step has changed if it has set one number.
struct NOD_NumberChange
{
    /// Where the numbers of the parameter are; null for another kind, or one that isn't saved.
    static ZEL_Float *numbersOf(ZEL_Parm &parm);
    /// One of the two numbers, whatever the component has become.
    void restore(double NOD_NumberChange::*number, NOD_NodeState::Changes &changes) const;

    NOD_Node *node;
    KIT_StringHolder token;
    int component;
    double before;
    double after;
};

class NOD_UndoStep
{
public:
    /// A closed one.
    explicit NOD_UndoStep(NOD_Node &root, NOD_NumberChange number);
    explicit NOD_UndoStep(NOD_Node &root, NOD_Scene *scene, std::string text);
    ~NOD_UndoStep();

    // ------------------------------------------------------------------ //
    /// \name While it is open
    // ------------------------------------------------------------------ //
    ///@{
    /// What the step knows of the node so far; null for a fresh one.
    NOD_NodeState *stateOf(NOD_Node &node);
    bool isFresh(const NOD_Node &node) const { return myFresh.count(&node) != 0; }
    /// Null if it knows nothing.
    const NOD_NodeState *findState(const NOD_Node &node) const;
    void addNode(NOD_Node &node);
    void moveNode(NOD_Node &node, NOD_TreePlace to);
    /// One that has left the tree: moveNode() came before.
    void own(std::unique_ptr<NOD_Node> node) { myOutside[node.get()] = std::move(node); }
    void reserveOwner(NOD_Node &node) { myOutside[&node]; }
    void takeSettings();
    /// As if it had just begun.
    void forget();
    /// Takes what is now. False if nothing differs.
    bool close();
    ///@}

    // ------------------------------------------------------------------ //
    /// \name When it is closed, or to cancel it
    // ------------------------------------------------------------------ //
    ///@{
    using Told = std::vector<std::pair<NOD_Node *, NOD_NodeState::Changes>>;
    /// Without events of parameters: those are to be told.
    void undo(Told &told);
    void redo(Told &told);
    ///@}

    /// Whether it has changed the parameter, or added or moved its node.
    bool hasChanged(const NOD_Node &node, const ZEL_Parm &parm) const;
    std::int64_t getMemoryUsage() const;
    std::string getLabel() const;
    std::int64_t bytes = 0; ///< when it was asked last

private:
    struct TreeChange
    {
        NOD_Node *node;
        NOD_TreePlace from;
        NOD_TreePlace to;
    };
    struct NodeChange
    {
        NOD_Node *node;
        NOD_NodeState before;
        NOD_NodeState after;
    };
    struct Settings
    {
        double frameRate;
        double firstFrame;
        double lastFrame;
        bool operator==(const Settings &other) const
        {
            return frameRate == other.frameRate && firstFrame == other.firstFrame &&
                   lastFrame == other.lastFrame;
        }
    };

    Settings settingsNow() const;
    void put(NOD_Node &node, const NOD_TreePlace &to);
    bool isInTree(const NOD_Node &node) const;
    void restoreNumber(double NOD_NumberChange::*number, Told &told) const;
    void restore(NOD_NodeState NodeChange::*state, const std::optional<Settings> &settings,
                 Told &told) const;

    NOD_Node &myRoot;
    NOD_Scene *myScene;
    std::string myLabel;
    std::optional<NOD_NumberChange> myNumber;
    std::vector<TreeChange> myTree;
    std::size_t myApplied = 0; ///< how many of them the tree has
    std::vector<NodeChange> myNodes;
    std::unordered_map<const NOD_Node *, std::size_t> myPlaces; ///< in there, while open
    std::unordered_set<const NOD_Node *> myFresh;               ///< while open
    std::unordered_map<const NOD_Node *, std::unique_ptr<NOD_Node>> myOutside;
    std::optional<Settings> myBefore;
    std::optional<Settings> myAfter;
};
