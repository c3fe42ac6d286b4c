/// \file NOD_References.h
/// The literal paths in expressions and texts of a tree, so that they keep meaning the same nodes when
/// the tree changes.
///
/// Vocabulary: *reference* = a path of a node (TRK_NodePaths.h): in the expression of a channel
///             (`ch("../light/tx")`, Python's `vmr.ch(...)` and `vmr.node(...)` included), in the
///             backticks of a text, or a text or word of one that is a node's path; also in the text of
///             a key. *target* = the node that it leads to. *lost* = leading elsewhere or nowhere.
/// Ownership:  borrows the nodes.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Cost:       linear in the parameters of the nodes that it takes; only what changes is written.
///
/// A path stays absolute or relative as it was, and is written as its place needs it: with escapes in
/// quotes, behind a backslash in a text that would expand it, in Python with another prefix. Lost, and
/// told, is what can't be written: a path with a blank in a text that has other words too, one that isn't
/// UTF-8 as the text of a key in Python, one with quotes or a backslash in the braces of f'{...}', and what
/// would make an expression too long.
///
/// Values and channels of a node whose type is missing (NOD_Node::keepSections) are rewritten as those
/// of others. Told where they lead elsewhere, but not rewritten, are paths in
/// - its other sections, and binary values: what looks like the path of a node may be another text;
/// - an interface: conditions, menu scripts, callbacks, defaults, "oprelative". It belongs to all nodes of
///   the type, whose relative paths may mean different nodes;
/// - the descriptions of spare parameters: other ones would rebuild the node's, and pointers to them would
///   end when any node gets another name.
///
/// Not followed are paths that an expression computes, also from a variable that is known; the name of a child
/// or ".." as a text, which may be any other text, but for parameters of nodes' paths (ZEL_TYPEX_NODE_PATH,
/// ZEL_TYPEX_NODE_PATHS); and words that the name of another node has become part of.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <NOD/NOD_API.h>

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

class NOD_Node;
class NOD_ReferenceIndex;
class ZEL_Parm;

class NOD_API NOD_References
{
public:
    /// A parameter or another place whose references were rewritten, or are lost.
    struct Change
    {
        NOD_Node *node;
        int parmIndex;     ///< -1: a place that isn't a parameter's value
        int lost;          ///< references that couldn't be written
        std::string parm;  ///< of such a place, the parameter's token; may be ""
        std::string place; ///< what it is: "the disablewhen of the interface"
        std::string why;   ///< the last one is lost
    };

    /// Takes the references of a node and all below it, before the tree changes.
    explicit NOD_References(NOD_Node &root);
    /// The same of some nodes alone.
    explicit NOD_References(const std::vector<NOD_Node *> &nodes);
    /// What a path in a node leads to, null for nothing.
    using Resolve = std::function<NOD_Node *(NOD_Node &node, const std::string &path)>;
    /// The same where the paths were written for another tree: they lead to what `resolve` says. What can't
    /// be rewritten isn't looked at.
    NOD_References(NOD_Node &root, Resolve resolve);

    /// The node is about to be destroyed: what leads to it becomes lost, and what it has is forgotten.
    /// Returns how many references of others are lost by it.
    int forget(NOD_Node &node);
    /// References from and to nodes that were copied: those of a copy lead to the copies of their targets,
    /// where these were copied too. Copies by their originals.
    void copied(const std::unordered_map<NOD_Node *, NOD_Node *> &copies);
    /// Called for each parameter that is about to be changed.
    using Announce = std::function<void(NOD_Node &, ZEL_Parm &)>;
    /// Rewrites what leads elsewhere now, once the tree has changed. Returns what was changed or is lost.
    std::vector<Change> rewrite(const Announce &announce = {});

    /// What has a path: a parameter's token, "" for another place. Whether it is one that leads somewhere:
    /// then no part of it is asked for.
    using PathCall = std::function<bool(const KIT_StringHolder &token, const std::string &path)>;
    /// Calls for all that may be a literal path in parameters and in kept sections of a known form.
    static void forEachPath(NOD_Node &node, const PathCall &call);

private:
    friend class NOD_ReferenceIndex;

    struct Reference
    {
        std::string path;
        NOD_Node *target; ///< null: lost
    };
    using Paths = std::vector<Reference>;
    /// One that isn't rewritten.
    struct Mention
    {
        NOD_Node *node;
        std::string parm;
        std::string place;
        Reference reference;
    };

    NOD_References();

    void take(NOD_Node &node);
    void takeMentions(NOD_Node &node);
    /// As forEachPath(), in interface and spare descriptions, which aren't rewritten.
    static void forEachMention(NOD_Node &node,
                               const std::function<void(const std::string &path)> &call);
    void rewriteNode(NOD_Node &node, const Paths &paths, const Announce &announce,
                     std::vector<Change> &changes);
    void tellMentions(std::vector<Change> &changes);

    Resolve myResolve;
    bool myTellsFlag;
    std::vector<NOD_Node *> myOrder;               ///< of the nodes that have references
    std::unordered_map<NOD_Node *, Paths> myPaths; ///< sorted
    std::vector<Mention> myMentions;
};
