/// \file NOD_Graph.h
/// What the parameters of a tree of nodes depend on: finds their references, keeps the edges while
/// parameters change, and pushes each change to whatever reads it.
///
/// Vocabulary: *reference* = ch("../light/tx") in an expression or in the backticks of a text, to a
///             component; or the path of a node in a text, to that node as a whole. *whole node* =
///             the graph node of all cookable parameters of a node.
/// Units:      parm indices as in ZEL_ParmList; times in seconds.
/// Ownership:  owns the whole nodes; the nodes of components belong to the parameters. Borrows the
///             tree. Either of the two may be destroyed first.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     none: a reference to nothing makes no edge, and errors of an expression that is
///             evaluated for its references are not reported.
/// Cost:       a tree without a graph pays a look at a pointer for each change. Only components that
///             refer to something, or are referred to, get a graph node.
///
/// Literal names are taken from all of an expression. Names that it computes are those that it read
/// when it was evaluated last: by `rebuild`, with a change of its own, or by `update`.
#pragma once

#include <LNK/LNK_MicroNode.h>
#include <NOD/NOD_API.h>
#include <TRK/TRK_ReferenceScope.h>
#include <TRK/TRK_Types.h>
#include <TRK/TRK_ValueSource.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <unordered_map>

class KIT_StringRef;
class NOD_Node;
class ZEL_Parm;
class ZEL_ParmMicroNode;

class NOD_API NOD_Graph : private TRK_ReferenceListener
{
public:
    /// Called for each graph node that a change makes dirty.
    using DirtyCallback = std::function<void(LNK_MicroNode &)>;

    /// For the whole tree of the node, which may have one graph at a time. No edges yet.
    explicit NOD_Graph(NOD_Node &node);
    ~NOD_Graph() override;

    NOD_Graph(const NOD_Graph &) = delete;
    NOD_Graph &operator=(const NOD_Graph &) = delete;

    void setDirtyCallback(DirtyCallback callback) { myDirtyCallback = std::move(callback); }
    /// Finds the references of all parameters again, as after nodes or channels were added or
    /// removed.
    void rebuild(double time);
    /// The same for one parameter; nothing is pushed.
    void rebuild(NOD_Node &node, int parmIndex, double time);
    /// Evaluates each dirty component, whose references are then those of that time, and makes it
    /// clean. Returns how many there were.
    int update(double time);
    /// Made on first request.
    LNK_MicroNode &getWholeNode(NOD_Node &node);

    /// The graph in the DOT language: components and whole nodes by their paths, in the order of the
    /// tree, those that have an edge. Dirty ones are filled, time dependent ones have
    /// a double edge.
    void writeDOT(std::ostream &os);

    // ------------------------------------------------------------------ //
    /// \name Notifications from the tree
    // ------------------------------------------------------------------ //
    ///@{
    /// Finds a parameter's references again and pushes the change; -1 does both for all parameters.
    void parmChanged(NOD_Node &node, TRK_CHANGE_TYPE type, int parmIndex);
    /// A text of the node refers to something.
    void referenceFound(NOD_Node &node, const TRK_Referrer &from, const KIT_StringRef &path,
                        const KIT_StringRef &name);
    /// A node is about to be destroyed.
    void nodeRemoved(const NOD_Node &node);
    /// The tree is about to be destroyed.
    void treeRemoved();
    ///@}

private:
    /// The component whose references are being found.
    struct Reader
    {
        NOD_Node *node = nullptr;
        ZEL_Parm *parm = nullptr;
        int component = 0;
    };

    void referenceRead(const TRK_Collection &collection, const KIT_StringRef &name) override;

    void rebuildParm(NOD_Node &node, int parmIndex, ZEL_Parm &parm, double time);
    static void clearReferences(ZEL_Parm &parm, int component);
    void findChannelReferences(const Reader &reader);
    void evaluate(const Reader &reader, double time);
    void addReference(const Reader &reader, NOD_Node &target, const KIT_StringRef &name);
    ZEL_ParmMicroNode *makeMicroNode(NOD_Node &node, ZEL_Parm &parm, int component);
    LNK_MicroNode *findWholeNode(const NOD_Node &node) const;

    NOD_Node *myRoot;
    DirtyCallback myDirtyCallback;
    Reader myReader;
    std::unordered_map<const NOD_Node *, std::unique_ptr<LNK_MicroNode>> myWholeNodes;
};
