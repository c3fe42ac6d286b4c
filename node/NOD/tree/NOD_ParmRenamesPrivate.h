/// \file NOD_ParmRenamesPrivate.h
/// References to parameters of a node by names that these no longer have: `ch("birthrate")` in the node,
/// `ch("../emitter/birthrate")` in others. Not installed.
///
/// Vocabulary: *name* = that of a parameter's component, as a reference has it.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     a text that can't be written with the new name stays as it is.
/// Cost:       in a scene, of the nodes with a path that enters the node; else of the tree.
///
/// Looked for is where TRK_NodePaths looks, in expressions and backticks. A path that leads to a node is none of a
/// parameter. Names that an expression computes aren't found.
#pragma once

#include <functional>
#include <string>
#include <unordered_map>

class NOD_Node;
class ZEL_Parm;

struct NOD_ParmRenames
{
    using Names = std::unordered_map<std::string, std::string>; ///< present ones by former ones
    /// Called for each parameter that is about to be changed.
    using Announce = std::function<void(NOD_Node &, ZEL_Parm &)>;

    /// In all of the tree, and in the sections that nodes without a type keep.
    static void rewrite(NOD_Node &target, const Names &names, const Announce &announce);
    /// In one parameter, read as one of `reader`; whether it has any.
    static bool rewrite(NOD_Node &reader, ZEL_Parm &parm, NOD_Node &target, const Names &names,
                        const Announce &announce = {});
};
