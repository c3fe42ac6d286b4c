/// \file NOD_Graph.h
/// What the parameters of a tree of nodes depend on: finds their references, keeps the edges while
/// parameters and nodes come, change and go, and pushes each change to whatever reads it.
///
/// Vocabulary: *reference* = ch("../light/tx") in an expression or in the backticks of a text, to a
///             component; or the path of a node in a text, to that node as a whole. *reader* = a
///             component with references. *lost* = said of a reference whose target doesn't exist.
///             *whole node* = the graph node of all cookable parameters of a node. *batch* = the
///             changes within a NOD_Batch; a change outside of one is a batch of its own.
/// Units:      parm indices as in ZEL_ParmList; times in seconds.
/// Ownership:  owns the whole nodes; the nodes of components belong to the parameters. Borrows the
///             tree. Either of the two may be destroyed first.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     none: a lost reference makes no edge until its target appears, and errors of an expression
///             that is evaluated for its references are not reported. A change that finds no memory is
///             made up for by the next one, for the whole tree.
/// Cost:       a tree without a graph pays a look at a pointer for each change. Only components that
///             refer to something, or are referred to, get a graph node. A change costs what it reaches;
///             one of a node's structure (items, spare parameters, interface, aliases) its parameters.
///
/// Literal names are taken from all of an expression. Names that it computes are those that it read
/// when it was evaluated last: with a change of its own, when a target appears or leaves, by `rebuild`, or
/// by `update`.
///
/// What isn't told to anyone isn't seen: sets that are not to propagate, and channels or aliases that are
/// changed in their collection, until NOD_Node::linkChannels.
#pragma once

#include <LNK/LNK_MicroNode.h>
#include <NOD/NOD_API.h>
#include <TRK/TRK_ReferenceScope.h>
#include <TRK/TRK_Types.h>
#include <TRK/TRK_ValueSource.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class KIT_StringRef;
class NOD_ChangeWatcher;
class NOD_Conditions;
class NOD_LostReferences;
class NOD_Node;
class ZEL_Parm;
class ZEL_ParmMicroNode;
struct NOD_GraphReader;

class NOD_API NOD_Graph : private TRK_ReferenceListener
{
public:
    /// Called for each graph node that a change makes dirty: once in a batch, at its end, for each
    /// component and whole node that it reaches. It may change the tree, which is a batch of its own.
    using DirtyCallback = std::function<void(LNK_MicroNode &)>;

    /// For the whole tree of the node, which may have one graph at a time. No edges yet: what is there
    /// already is seen by `rebuild`, what comes later by itself.
    explicit NOD_Graph(NOD_Node &node);
    ~NOD_Graph() override;

    NOD_Graph(const NOD_Graph &) = delete;
    NOD_Graph &operator=(const NOD_Graph &) = delete;

    /// Told of each change that is told here, null for none. Borrowed.
    void setWatcher(NOD_ChangeWatcher *watcher) { myWatcher = watcher; }
    void setDirtyCallback(DirtyCallback callback) { myDirtyCallback = std::move(callback); }
    /// Finds the references of all parameters again; nothing is pushed.
    void rebuild(double time);
    /// The same for one parameter, or with -1 all of the node.
    void rebuild(NOD_Node &node, int parmIndex, double time);
    /// Evaluates each component that changes have made dirty, whose references are then those of that
    /// time, and makes it clean. Returns how many there were.
    int update(double time);
    /// Made on first request.
    LNK_MicroNode &getWholeNode(NOD_Node &node);

    /// The graph in the DOT language: components and whole nodes by their paths, in the order of the
    /// tree, those that have an edge. Dirty ones are filled, time dependent ones have
    /// a double edge.
    void writeDOT(std::ostream &os);
    /// Bytes of the graph nodes, edges and lost references.
    std::int64_t getMemoryUsage() const;

    // ------------------------------------------------------------------ //
    /// \name Cycles
    /// As paths in reading order, the first one again at the end: {"/a/tx", "/b/ty", "/a/tx"} says that
    /// /a/tx reads /b/ty, which reads /a/tx.
    // ------------------------------------------------------------------ //
    ///@{
    using Cycle = std::vector<std::string>;

    /// One of each set of components that all read each other: the shortest through the set's first
    /// component in the order of the tree, or one that reads itself. Linear.
    std::vector<Cycle> findCycles();
    /// The shortest through that component, as after a change of it; empty if it is in none. Costs what
    /// the component reads.
    Cycle findCycle(NOD_Node &node, int parmIndex, int component);
    /// Of a component or a whole node: "/a/tx", "/a". "" for others.
    static std::string pathOf(const LNK_MicroNode &node);
    /// "/a/tx -> /b/ty -> /a/tx"
    static std::string asText(const Cycle &cycle);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Batches   (opened by NOD_Batch)
    // ------------------------------------------------------------------ //
    ///@{
    void beginBatch() { ++myDepth; }
    void endBatch();
    /// Finds references and pushes what is pending, within a batch too.
    void settle();
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Notifications from the tree
    // ------------------------------------------------------------------ //
    ///@{
    /// Of a value: finds a parameter's references again and pushes the change; -1 does both for all
    /// parameters. Other types are ignored.
    void parmChanged(NOD_Node &node, TRK_CHANGE_TYPE type, int parmIndex);
    /// Whether a change of the parameter's value has nothing to do here: a number of its own that no
    /// reference and no condition reads, while nothing else is pending. May be false for some.
    bool isUnread(NOD_Node &node, const ZEL_Parm &parm) const;
    /// Such a change has been made.
    void unreadChanged(NOD_Node &node, const ZEL_Parm &parm);
    /// Parameters of the node have come, gone or moved.
    void structureChanged(NOD_Node &node);
    /// A block of the node is about to have more items, which `structureChanged` will tell.
    void itemAppears(NOD_Node &node) { markStructure(node); }
    /// Its channels or aliases have.
    void channelsChanged(NOD_Node &node);
    /// The parameter is about to be removed.
    void parmLeaves(NOD_Node &node, int parmIndex);
    /// All of the node's parameters are about to be replaced, or get other paths with those below it.
    void nodeLeaves(NOD_Node &node);
    void treeLeaves(NOD_Node &node);
    /// The node, or also those below it, are new at their paths.
    void nodeAppears(NOD_Node &node);
    void treeAppears(NOD_Node &node);
    /// The variable has another value for the node and those below it.
    void variableChanged(NOD_Node &node, const std::string &name);
    /// A text of the node refers to something.
    void referenceFound(NOD_Node &node, const TRK_Referrer &from, const KIT_StringRef &path,
                        const KIT_StringRef &name);
    /// A node is about to be destroyed.
    void nodeRemoved(NOD_Node &node);
    /// The tree is about to be destroyed.
    void treeRemoved();
    ///@}

private:
    friend class NOD_Conditions;

    /// Whose references are being found.
    struct Reader
    {
        NOD_Node *node = nullptr;
        ZEL_Parm *parm = nullptr;      ///< null: a condition
        int component = 0;             ///< of a condition its number
        LNK_MicroNode *sink = nullptr; ///< of a condition
    };
    /// What a batch has to do for a node.
    struct Pending
    {
        NOD_Node *node = nullptr;   ///< null: it has been removed
        bool allFlag = false;       ///< find the references of all parameters
        bool fullFlag = false;      ///< too many changes to keep the parameters of each
        bool pushAllFlag = false;   ///< they all count as changed
        bool pushWholeFlag = false; ///< the node as a whole does
        bool namesFlag = false;     ///< what was lost may be there
        /// Parameters to find the references of, by token, and a bit for each component to push.
        std::map<std::string, std::uint32_t> parms;
    };
    class Hub;
    class Reading;
    class WholeNode;
    class CycleSearch;
    struct Variables;

    void referenceRead(const TRK_Collection &collection, const KIT_StringRef &name) override;
    void pathLost(const TRK_Collection &collection, const KIT_StringRef &path) override;

    Pending &pendingOf(NOD_Node &node);
    void mark(NOD_Node &node, const std::string &token, std::uint32_t bits);
    void noteTree();
    void markStructure(NOD_Node &node);
    void markReader(const NOD_GraphReader &reader);
    void markReadersOf(const LNK_MicroNode &node);
    void markReadersOf(ZEL_Parm &parm);
    void markReadersOf(NOD_Node &node);
    void markReadersOf(const Variables &variables, NOD_Node &node);
    void markWatchers(const NOD_Node &node);
    template <class Call>
    auto orBroken(const Call &call);
    template <class Call>
    void mend(const Call &call);
    void flushUnlessInBatch();
    void flush();
    void markLost();
    void markVariables();
    void markAppeared();
    void findReferences(const std::vector<Pending> &pending, double time);
    void collectChanged(const std::vector<Pending> &pending, Hub &hub);
    void collectChanged(NOD_Node &node, int parmIndex, ZEL_Parm &parm, std::uint32_t bits,
                        Hub &hub);
    void push(Hub &hub);

    void rebuildAll(double time);
    void rebuildParm(NOD_Node &node, int parmIndex, ZEL_Parm &parm, double time);
    void clearReferences(ZEL_Parm &parm, int component);
    bool findTextReferences(const Reader &reader);
    bool findChannelReferences(const Reader &reader);
    void findLiteralReferences(const Reader &reader, const char *expression);
    void evaluate(const Reader &reader, double time);
    void addReference(const Reader &reader, NOD_Node &target, const KIT_StringRef &name);
    NOD_Node *follow(const Reader &reader, NOD_Node &from, const KIT_StringRef &path);
    static NOD_GraphReader idOf(const Reader &reader);
    ZEL_ParmMicroNode *makeMicroNode(NOD_Node &node, ZEL_Parm &parm, int component);
    LNK_MicroNode *findWholeNode(const NOD_Node &node) const;
    void noteDirty(NOD_Node &node);
    int updateDirty(double time);
    int updateNode(NOD_Node &node, double time);

    NOD_Node *myRoot;
    NOD_Conditions *myConditions = nullptr; ///< sets itself
    NOD_ChangeWatcher *myWatcher = nullptr;
    DirtyCallback myDirtyCallback;
    Reader myReader;
    int myDepth = 0;           ///< of batches
    bool myBrokenFlag = false; ///< a change was lost for want of memory
    std::vector<Pending> myPending;
    std::unordered_map<const NOD_Node *, std::size_t> myPendingPlaces;
    std::map<NOD_Node *, std::set<std::string>> myVariables; ///< that have changed in a batch
    std::unique_ptr<NOD_LostReferences> myLost;
    std::unordered_set<const LNK_MicroNode *> mySelfReaders; ///< an edge can't lead to its own node
    std::unordered_map<const NOD_Node *, std::unique_ptr<WholeNode>> myWholeNodes;
    std::vector<NOD_Node *> myDirtyNodes; ///< those with dirty components, null once removed
    std::unordered_map<const NOD_Node *, std::size_t> myDirtyPlaces;
};
