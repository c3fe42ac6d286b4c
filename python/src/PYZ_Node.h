/// \file PYZ_Node.h
/// `zel.Node`: a node of a scene, as a mapping of its parameters.
///
/// Ownership:  holds the scene, and watches the node: one that is gone raises `zel.GoneError`. A removed node is gone
///             until an undo brings it back.
/// Threads:    with the interpreter lock.
#pragma once

#include "PYZ_Scene.h"

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_HandleAnchor.h>

#include <string>

class NOD_Node;
class PYZ_Parm;
class ZEL_Parm;

class PYZ_Node
{
public:
    using PYZ_Class = void;

    PYZ_Node(py::object scene, NOD_Node &node);

    NOD_Node &get() const;
    bool isThere() const;
    const py::object &getSceneObject() const { return myScene; }
    PYZ_Scene &getScene() const { return *mySceneData; }
    /// The same node, there or not.
    bool isSame(const PYZ_Node &other) const
    {
        return myNode == other.myNode && myScene.is(other.myScene);
    }
    const void *getIdentity() const { return myNode; }
    std::string getFirstPath() const { return std::string(myPath.view()); }

    /// By a token, channel token or alias: the same object each time. KeyError with the nearest name.
    py::object find(py::handle name);
    /// Whether it is the name of something with a value.
    bool has(py::handle name) const;

    int traverse(visitproc visit, void *arg) const;

private:
    /// By a token, channel token or alias; null for what isn't a parameter.
    const ZEL_Parm *findParm(const std::string &name, int &component) const;

    py::object myScene;
    PYZ_Scene *mySceneData;
    ZEL_HandleAnchorPtr myAnchor;
    NOD_Node *myNode;
    KIT_StringHolder myPath; ///< when this was made, for messages
    py::dict myParms;        ///< by the name that was asked for
};

/// None for null.
py::object PYZnode(const py::object &scene, NOD_Node *node);
/// "/lights/key".
std::string PYZpathOf(const NOD_Node &node);
/// TypeError, with where to get one, for anything else; `what` is "a parent".
const PYZ_Node &PYZtoNode(py::handle value, const char *what);
void PYZdefineNode(py::module_ &module);
