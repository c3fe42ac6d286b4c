/// \file PYZ_Scene.h
/// `zel.Scene`: a scene, and what Python has attached to its nodes.
///
/// Vocabulary: *handler* = a callable that an event of a node calls.
/// Ownership:  owns the scene. Handlers belong to this object and not to the nodes, where the collector of cycles
///             wouldn't see them; nodes, parameters and keys hold this object.
/// Threads:    with the interpreter lock.
#pragma once

#include "PYZ_Gate.h"
#include "PYZ_Python.h"

#include <NOD/NOD_Scene.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_HandleAnchor.h>

#include <map>
#include <memory>

class NOD_Node;

class PYZ_Scene
{
public:
    using PYZ_Class = void;

    enum Event
    {
        CHANGE, ///< what a node's change callback is called for
        PRESS   ///< of a button
    };

    PYZ_Scene();
    ~PYZ_Scene();
    PYZ_Scene(const PYZ_Scene &) = delete;
    PYZ_Scene &operator=(const PYZ_Scene &) = delete;

    /// Of the Python object.
    static PYZ_Scene &of(const py::object &scene) { return scene.cast<PYZ_Scene &>(); }

    NOD_Scene &get() const { return *myScene; }
    NOD_Scene *operator->() const { return myScene.get(); }
    bool isInTree(const NOD_Node &node) const;

    void addHandler(NOD_Node &node, Event event, const py::object &handler);
    /// False if it isn't one of the node's.
    bool removeHandler(NOD_Node &node, Event event, const py::object &handler);

    int traverse(visitproc visit, void *arg) const;

private:
    struct Watch
    {
        ZEL_HandleAnchorPtr anchor; ///< of the node: another one may be where a former one was
        py::object handlers[2];     ///< lists
    };

    Watch *findWatch(NOD_Node &node);
    void call(NOD_Node &node, Event event, const py::tuple &arguments);

    std::unique_ptr<NOD_Scene> myScene;
    std::map<NOD_Node *, Watch> myWatches;
};

void PYZdefineScene(py::module_ &module);
