/// \file NOD_WholeNodePrivate.h
/// The graph nodes that aren't components.
///
/// Ownership:  of a graph and of its conditions; they borrow the node.
/// Threads:    the one that changes the tree.
#pragma once

#include <LNK/LNK_MicroNode.h>
#include <NOD/NOD_Graph.h>

class NOD_Conditions;
class NOD_Node;

/// All cookable parameters of a node.
class NOD_Graph::WholeNode : public LNK_MicroNode
{
public:
    explicit WholeNode(NOD_Node &of) : node(of) {}

    NOD_Node &node;
};

/// A condition of a node, by its number: it reads, and is read by none.
class NOD_ConditionNode : public LNK_MicroNode
{
public:
    NOD_ConditionNode(NOD_Conditions &conditions, NOD_Node &node, int number)
        : myConditions(conditions), myNode(node), myNumber(number)
    {}

    /// It will be evaluated again.
    void becameDirty() override;

private:
    NOD_Conditions &myConditions;
    NOD_Node &myNode;
    int myNumber;
};
