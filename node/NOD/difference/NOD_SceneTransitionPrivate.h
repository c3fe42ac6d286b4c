/// \file NOD_SceneTransitionPrivate.h
/// Brings a scene to the state of another one by edits, in one step of undo. Not installed.
///
/// Vocabulary: *pair* = a node of the scene and the one of the wanted scene that it becomes.
/// Ownership:  borrows both scenes.
/// Threads:    the thread that changes them, while nothing evaluates. Change callbacks may not change the tree meanwhile.
/// Errors:     false, after an error in the report, with the scene as it was; without undo what was done until then stays.
/// Cost:       a look at each node, and the edits of those that differ.
///
/// Paired nodes stay the same objects, with their callbacks and the handles on them, wherever they go. Nodes without a
/// partner are removed, or made. The current time and the list of interfaces become the wanted ones, too, but belong to
/// no step.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class NOD_Node;
class NOD_Report;
class NOD_Scene;

class NOD_SceneTransition
{
public:
    /// The roots are a pair.
    NOD_SceneTransition(NOD_Scene &scene, NOD_Scene &wanted, NOD_Report &report);

    void pair(NOD_Node &node, NOD_Node &wanted);
    bool run();

private:
    bool arrange(NOD_Node &wantedParent, NOD_Node &parent);
    NOD_Node *make(NOD_Node &wanted, NOD_Node &parent);
    bool bring(NOD_Node &node, const NOD_Node &wanted, NOD_Node &parent);
    bool makeWay(NOD_Node &parent, const NOD_Node &self, const NOD_Node &wanted);
    bool removeOthers();
    bool order(NOD_Node &wantedParent);
    bool giveContents(NOD_Node &wanted);
    void setRest();

    NOD_Scene &myScene;
    NOD_Scene &myWanted;
    NOD_Report &myReport;
    std::unordered_map<const NOD_Node *, NOD_Node *> myNodes; ///< by those of the wanted scene
    std::unordered_set<const NOD_Node *> myKept;
    std::vector<NOD_Node *> myFormer; ///< all nodes that there were, parents first
};
