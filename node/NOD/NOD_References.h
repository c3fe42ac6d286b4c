/// \file NOD_References.h
/// The literal paths in expressions and texts of a tree, so that they keep meaning the same nodes when
/// the tree changes.
///
/// Vocabulary: *reference* = a path in the expression of a channel (`ch("../light/tx")`, Python's
///             `vmr.ch(...)` included), in the backticks of a text, or a word of a text that is a node's
///             path. *target* = the node that it leads to. *lost* = leading nowhere.
/// Ownership:  borrows the nodes.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Cost:       linear in the parameters of the nodes that it takes; only what changes is written.
///
/// A path stays absolute or relative as it was. Paths that an expression computes can't be followed,
/// nor those that menu scripts, conditions and other calls of Python contain.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <NOD/NOD_API.h>

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

class NOD_Node;
class ZEL_Parm;

class NOD_API NOD_References
{
public:
    /// A parameter whose references were rewritten.
    struct Change
    {
        NOD_Node *node;
        int parmIndex;
        int lost; ///< references that can't be written with the new names, such as one with a quote
    };

    /// Takes the references of a node and all below it, before the tree changes.
    explicit NOD_References(NOD_Node &root);
    /// The same of some nodes alone.
    explicit NOD_References(const std::vector<NOD_Node *> &nodes);
    /// What a path in a node leads to, null for nothing.
    using Resolve = std::function<NOD_Node *(NOD_Node &node, const std::string &path)>;
    /// The same where the paths were written for another tree: they lead to what `resolve` says.
    NOD_References(NOD_Node &root, Resolve resolve);
    NOD_References(const std::vector<NOD_Node *> &nodes, Resolve resolve);

    /// The node is about to be destroyed: what leads to it becomes lost, and what it has is forgotten.
    /// Returns how many references of others are lost by it.
    int forget(NOD_Node &node);
    /// References from and to nodes that were copied: those of a copy lead to the copies of their targets,
    /// where these were copied too. Copies by their originals.
    void copied(const std::unordered_map<NOD_Node *, NOD_Node *> &copies);
    /// Called for each parameter that is about to be changed, and for some that stay as they are.
    using Announce = std::function<void(NOD_Node &, ZEL_Parm &)>;
    /// Rewrites what leads elsewhere now, once the tree has changed. Returns the parameters that were
    /// changed.
    std::vector<Change> rewrite(const Announce &announce = {});

    /// What was taken of a node: the paths of each parameter, each once.
    using PathCall = std::function<void(const KIT_StringHolder &token, const std::string &path)>;
    void forEachPath(const NOD_Node &node, const PathCall &call) const;

private:
    struct Reference
    {
        std::string path;
        NOD_Node *target; ///< null: lost
    };
    using Paths = std::vector<Reference>;
    struct ParmPaths
    {
        KIT_StringHolder token;
        Paths paths;
    };
    using NodePaths = std::vector<ParmPaths>;

    void takeTree(NOD_Node &node);
    void take(NOD_Node &node);
    void takeParm(NOD_Node &node, ZEL_Parm &parm, Paths &paths);
    int countLost(NOD_Node &node, ZEL_Parm &parm, const Paths &former);
    void rewriteParm(NOD_Node &node, const ParmPaths &own, const Announce &announce,
                     std::vector<Change> &changes);

    Resolve myResolve;
    std::vector<NOD_Node *> myOrder; ///< of the nodes that have references
    std::unordered_map<const NOD_Node *, NodePaths> myPaths;
};
