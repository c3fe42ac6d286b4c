/// \file PYZ_Parm.h
/// `zel.Parm`: a parameter of a node by its name, or one of its components.
///
/// Vocabulary: *whole* = the parameter with all its components: what there is of each comes as a tuple if there are
///             several. *single* = one component, of several or the only one.
/// Ownership:  holds the scene and watches the node: a parameter that isn't there any more raises `zel.GoneError`, and
///             is found again under its name when there is one again.
/// Threads:    with the interpreter lock, of which long evaluations rest.
/// Cost:       of a plain number a comparison of counts, and the library's read.
#pragma once

#include "PYZ_Scene.h"

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_HandleAnchor.h>

#include <cstdint>
#include <string>

class NOD_Node;
class ZEL_Parm;

class PYZ_Parm
{
public:
    using PYZ_Class = void;

    static constexpr int theWhole = -1;

    /// The path is the node's, for messages once it is gone.
    PYZ_Parm(py::object scene, NOD_Node &node, const KIT_StringHolder &token, int component,
             const KIT_StringHolder &path);
    /// Another one of the same node.
    PYZ_Parm(const PYZ_Parm &of, const KIT_StringHolder &token, int component);
    PYZ_Parm(const PYZ_Parm &of, int component) : PYZ_Parm(of, of.myToken, component) {}

    ZEL_Parm &get() const;
    bool isThere() const;
    NOD_Node &getNode() const;
    const py::object &getSceneObject() const { return myScene; }
    PYZ_Scene &getScene() const { return *mySceneData; }
    NOD_Scene *getScenePtr() const { return &mySceneData->get(); }
    double getTime() const { return mySceneData->get().getTime(); }

    const KIT_StringHolder &getToken() const { return myToken; }
    int getComponent() const { return myComponent; }
    /// Of several components all, or not.
    bool isVector(const ZEL_Parm &parm) const;
    int getFirst() const { return myComponent < 0 ? 0 : myComponent; }
    int getEnd(const ZEL_Parm &parm) const;
    /// That of the single component; TypeError for several.
    int getSingle(const ZEL_Parm &parm, const char *what) const;
    /// "t", or "ty" of a component.
    std::string getName(const ZEL_Parm &parm) const;
    std::string getNameThen() const;
    std::string getPathThen() const { return std::string(myPath.view()); }
    bool isSame(const PYZ_Parm &other) const;
    std::size_t getHash() const;

    int traverse(visitproc visit, void *arg) const;

private:
    ZEL_Parm *find() const;
    [[noreturn]] void raiseNodeGone() const;

    py::object myScene;
    PYZ_Scene *mySceneData;
    ZEL_HandleAnchorPtr myAnchor;
    NOD_Node *myNode;
    KIT_StringHolder myToken;
    int myComponent;
    KIT_StringHolder myPath; ///< shared with all that the handle of the node has given
    mutable ZEL_Parm *myParm = nullptr;
    mutable std::uint32_t myCount = 0;
};

void PYZdefineParm(py::module_ &module);
