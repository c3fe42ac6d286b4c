/// \file NOD_Batch.h
/// A scope in which changes of a tree of nodes are collected: what they reach is told once, at its end.
///
/// Vocabulary: *push* = making dirty what reads a change, and evaluating the conditions that read it.
/// Ownership:  lives on the C++ stack; scopes nest, and the outermost one pushes. The graph must outlive
///             it.
/// Threads:    the one that changes the tree.
/// Errors:     without memory at its end the push is made up for at the next change.
#pragma once

#include <NOD/NOD_API.h>

class NOD_Graph;
class NOD_Node;
class NOD_Scene;

class NOD_API NOD_Batch
{
public:
    explicit NOD_Batch(NOD_Scene &scene);
    /// Of the node's tree; does nothing for a tree without a graph.
    explicit NOD_Batch(NOD_Node &node);
    /// Null: does nothing.
    explicit NOD_Batch(NOD_Graph *graph);
    ~NOD_Batch();
    NOD_Batch(const NOD_Batch &) = delete;
    NOD_Batch &operator=(const NOD_Batch &) = delete;

private:
    NOD_Graph *myGraph;
};
