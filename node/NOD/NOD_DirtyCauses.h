/// \file NOD_DirtyCauses.h
/// Why a component of a scene is dirty: the changes that have reached it since it was clean last (NOD_Graph::update).
///
/// Ownership:  texts of their own.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     none.
/// Cost:       the dirty part of what it reads, and for each cause a look through the steps of undo.
#pragma once

#include <NOD/NOD_API.h>

#include <string>
#include <vector>

class NOD_Node;
class NOD_Scene;

struct NOD_API NOD_DirtyCause
{
    std::string address; ///< of a component, "/light/tx", or of a node as a whole
    /// Of the last step of undo that has changed it; "" for none: the change was no step, was forgotten, or is undone.
    std::string label;
};

/// The changed ones among what it reads, directly and on the way, or itself. None for one that is clean, and where all that
/// is dirty reads each other (NOD_Graph::findCycle).
NOD_API std::vector<NOD_DirtyCause> NODfindDirtyCauses(NOD_Scene &scene, NOD_Node &node,
                                                       int parmIndex, int component);
