/// \file NOD_GraphWalkPrivate.h
/// Walks over a tree's nodes and parameters, and their paths.
#pragma once

#include <KIT/KIT_StringRef.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Node.h>
#include <ZEL/ZEL_Parm.h>

#include <string>

/// The node, and all below it, parents first.
template <class Call>
void NODforEachNode(NOD_Node &node, const Call &call)
{
    call(node);
    for (const std::unique_ptr<NOD_Node> &child : node.getChildren()) {
        NODforEachNode(*child, call);
    }
}

/// The call may add and remove parameters.
template <class Call>
void NODforEachParm(NOD_Node &node, const Call &call)
{
    for (int i = 0; i < node.getParms().getEntries(); ++i) {
        if (ZEL_Parm *parm = node.getParms().getParmPtr(i)) {
            call(i, *parm);
        }
    }
}

inline std::string NODpathOf(const NOD_Node &node)
{
    KIT_WorkBuffer buffer;
    return node.getFullPath(buffer);
}

/// Of what has that name in the node.
inline std::string NODpathOf(const NOD_Node &node, const KIT_StringRef &name)
{
    const std::string path = NODpathOf(node);
    return (path == "/" ? path : path + "/") + name.nonNullStr();
}
