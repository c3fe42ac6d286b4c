/// \file NOD_ParmRenamesPrivate.h
/// References to parameters of nodes by names that these no longer have: `ch("birthrate")` in the node,
/// `ch("../emitter/birthrate")` in others. Not installed.
///
/// Vocabulary: *name* = that of a parameter's component, as a reference has it; *target* = a node whose parameters have
///             other names now.
/// Ownership:  borrows the targets.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     a text that can't be written with the new name stays as it is.
/// Cost:       of one target in a scene, of the nodes with a path that enters it; of several, and without a scene, one
///             pass over the tree, whatever their number.
///
/// Looked for is where TRK_NodePaths looks, in expressions and backticks. A path that leads to a node is none of a
/// parameter. Names that an expression computes aren't found.
#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>

class NOD_Node;
class ZEL_Parm;

class NOD_ParmRenames
{
public:
    using Names = std::unordered_map<std::string, std::string>; ///< present ones by former ones
    /// Called for each parameter that is about to be changed.
    using Announce = std::function<void(NOD_Node &, ZEL_Parm &)>;

    /// After those that it has: what these have given is renamed once more.
    void add(NOD_Node &target, const Names &names);
    bool isEmpty() const { return myNames.empty(); }

    /// In all of the tree, and in the sections that nodes without a type keep.
    void rewrite(const Announce &announce) const;
    /// In the targets, as far as it is about themselves.
    void rewriteOwn(const Announce &announce) const;
    /// In all of the tree, but for what is about the node itself.
    void rewriteOthers(const Announce &announce) const;
    /// In one parameter, read as one of `reader`; whether it has any.
    bool rewrite(NOD_Node &reader, ZEL_Parm &parm) const;

private:
    enum class Which
    {
        ALL,
        OWN,
        OTHERS
    };

    bool rename(NOD_Node &reader, std::string &reference, Which which) const;
    template <class Place>
    bool rewriteIn(const Place &place, NOD_Node &reader, Which which,
                   const std::function<void()> &announce) const;
    bool rewriteIn(NOD_Node &reader, ZEL_Parm &parm, Which which, const Announce &announce) const;
    void rewriteIn(NOD_Node &reader, Which which, const Announce &announce) const;
    void rewriteKept(NOD_Node &reader, Which which) const;

    std::unordered_map<NOD_Node *, Names> myNames;
    std::unordered_set<std::string> myFormer; ///< the former ones of all targets
};
