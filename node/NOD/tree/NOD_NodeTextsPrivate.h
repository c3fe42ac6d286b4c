/// \file NOD_NodeTextsPrivate.h
/// The texts of one node in which there are paths of others. Not installed.
///
/// Vocabulary: *kept section* = see NOD_Node::keepSections; *possible path* = a name of a node, or several
///             with "/", in a text whose form nobody knows here.
/// Ownership:  nothing is kept. With `variables`, those of which a path has a known one are left out
///             (TRK_NodePaths::forEach).
/// Threads:    the one that owns the node.
/// Cost:       linear in the texts.
#pragma once

#include <TRK/TRK_NodePaths.h>

#include <functional>
#include <string>
#include <utility>

class NOD_Node;
class TRK_Collection;
class ZEL_Parm;

struct NOD_NodeTexts
{
    using Call = TRK_NodePaths::Call;
    using Result = TRK_NodePaths::Result;
    using Section = std::pair<std::string, std::string>; ///< a kept one

    /// Of a parameter's texts.
    static TRK_NodePaths::Form formOf(const ZEL_Parm &parm);
    using Part = TRK_NodePaths::Part;

    /// Calls for each path in the expressions and texts of a parameter, in an order that only depends on
    /// them, and writes those that it replaces, without an event. Texts that have no expression have no
    /// references to parameters.
    static Result forEach(ZEL_Parm &parm, const TRK_Collection *variables, const Call &call,
                          Part part = Part::NODE);
    /// Whether the form of the section is known.
    static bool isReadable(const Section &section);
    /// The same in channels and values whose parameters are missing.
    static Result forEach(Section &section, const TRK_Collection *variables, const Call &call,
                          Part part = Part::NODE);
    /// Calls for each possible path to another node, as seen from a node.
    static void forEachPossible(const Section &section, NOD_Node &node,
                                const std::function<void(const std::string &path)> &call);
};
