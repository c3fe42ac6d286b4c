/// \file NOD_Scene.h
/// A tree of nodes with what they share: variables, time, interfaces, dependencies.
///
/// Vocabulary: *frame* = the scene's unit of time for people; frame 1 is time 0. *frame range* = the
///             first and last frame that the scene is about. *current scene* = the one whose time and
///             nodes the process's expressions and Python code see.
/// Units:      times in seconds, frames from 1, frame rates in frames a second.
/// Ownership:  owns its nodes and the interfaces that were given to it. Pointers to a node end with the
///             node.
/// Threads:    evaluation of all nodes from any thread at once; every change of the scene belongs to
///             one thread, while no thread evaluates. One scene of a process is current at a time.
/// Errors:     look-ups return null; operations that can fail take a report.
/// Cost:       a change of the tree costs the nodes that it is about, those that refer to them, and a look at
///             each path that has a name like theirs; besides, the nodes whose texts or expressions have changed
///             since the last one, and the kept sections of nodes whose type is missing.
#pragma once

#include <KIT/KIT_StringRef.h>
#include <NOD/NOD_API.h>
#include <NOD/NOD_NodeSeed.h>
#include <NOD/NOD_SnapshotOptions.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

class NOD_ChangeWatcher;
class NOD_Conditions;
class NOD_Graph;
class NOD_Interface;
class NOD_MigrationMap;
class NOD_Node;
class NOD_NodeSource;
class NOD_ReferenceIndex;
class NOD_References;
class NOD_Report;
class NOD_Snapshot;
class NOD_UndoStack;

class NOD_API NOD_Scene
{
public:
    /// A root node "/" without parameters. Becomes the current scene if there is none.
    NOD_Scene();
    /// Destroys all nodes. No scene is current afterwards if this one was.
    ~NOD_Scene();
    NOD_Scene(const NOD_Scene &) = delete;
    NOD_Scene &operator=(const NOD_Scene &) = delete;

    // ------------------------------------------------------------------ //
    /// \name Nodes
    // ------------------------------------------------------------------ //
    ///@{
    NOD_Node &getRoot() { return *myRoot; }
    const NOD_Node &getRoot() const { return *myRoot; }
    /// By a path from the root, with or without the leading "/"; null if there is none.
    NOD_Node *find(const KIT_StringRef &path);
    /// A new node at a path whose parent exists. Null, with an error, if there is no such parent, the name
    /// is taken or none, or the interface is null, as after a fault in its script.
    NOD_Node *add(const std::string &path, std::shared_ptr<const NOD_Interface> description,
                  NOD_Report &report);
    /// One without parameters: `scene.add("/lights", nullptr, report)`.
    NOD_Node *add(const std::string &path, std::nullptr_t, NOD_Report &report);
    /// For nodes of the application's own classes, from now on: see NOD_NodeSeed.h.
    void setNodeMaker(NOD_NodeMaker maker);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Changing the tree
    /// References of all nodes keep leading to the nodes that they led to, by NOD_References; those that
    /// a removal or a copy leaves without a target stay as they are, and each that its place can't hold with
    /// the new names, or that belongs to an interface, is a warning that says why. False or null after an
    /// error in the report: nothing is changed then. The root can't be changed.
    // ------------------------------------------------------------------ //
    ///@{
    bool rename(NOD_Node &node, const std::string &name, NOD_Report &report);
    /// To the end of another parent's children, which may not be the node or below it.
    bool move(NOD_Node &node, NOD_Node &parent, NOD_Report &report);
    /// The same to a place among the children, which it may be one of: from 0, beyond the last one to the end.
    bool move(NOD_Node &node, NOD_Node &parent, std::size_t place, NOD_Report &report);
    /// A copy with its children, as the last child of `parent`. Copies refer to each other where their
    /// originals do, and to the originals' targets elsewhere.
    NOD_Node *copy(NOD_Node &node, NOD_Node &parent, const std::string &name, NOD_Report &report);
    /// With all below it. How many references of other nodes are lost by it is a warning. While a step
    /// can bring it back, it still exists, outside of the tree, and handles (ZEL_Handle.h) on it read and
    /// set it; once no step can, they are on no list.
    bool remove(NOD_Node &node, NOD_Report &report);
    /// A scene as a new one is: without nodes, variables and what the root has, the time as at the start.
    /// Interfaces stay.
    void clear();
    /// A copy of another scene, with its nodes, time, interfaces and maps. Nothing else stays; undo begins anew.
    void copyFrom(NOD_Scene &other);
    /// The name if the parent has no child of that name, else with the first number after it that makes
    /// it free: "light", "light1". For the thread that changes the scene.
    static std::string freeName(const NOD_Node &parent, const std::string &name);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Interfaces, by type name
    // ------------------------------------------------------------------ //
    ///@{
    /// The nodes of a saved scene find their descriptions here. One of the same type name is replaced;
    /// nodes made of it keep it. Null, as after a fault, is left out.
    void addInterface(std::shared_ptr<const NOD_Interface> description);
    /// Null if there is none.
    std::shared_ptr<const NOD_Interface> findInterface(const std::string &typeName) const;
    const std::map<std::string, std::shared_ptr<const NOD_Interface>> &getInterfaces() const
    {
        return myInterfaces;
    }
    /// Files with nodes of older versions of the type are brought up to the last one by the map, whose scripts are
    /// loaded, and nodes of the type are saved as of that one. Replaces the type's map; null removes it.
    void setMigrationMap(const std::string &typeName, std::shared_ptr<const NOD_MigrationMap> map);
    /// Null if there is none.
    std::shared_ptr<const NOD_MigrationMap> findMigrationMap(const std::string &typeName) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Time
    /// The process has one frame rate and one current time: they are the current scene's.
    // ------------------------------------------------------------------ //
    ///@{
    static constexpr double theUsualFrameRate = 24.0;
    static constexpr double theUsualFirstFrame = 1.0;
    static constexpr double theUsualLastFrame = 240.0;

    /// Makes this the scene whose time and nodes expressions and Python code see.
    void makeCurrent();
    bool isCurrent() const;
    double getFrameRate() const { return myFrameRate; }
    /// Refused, with false, unless above 0 and finite. Keys stay at their times in seconds.
    bool setFrameRate(double framesPerSecond);
    double getFirstFrame() const { return myFirstFrame; }
    double getLastFrame() const { return myLastFrame; }
    /// Refused, with false, if the last is before the first or either isn't finite.
    bool setFrameRange(double first, double last);
    double getTime() const { return myTime; }
    double getFrame() const { return timeToFrame(myTime); }
    void setTime(double seconds);
    void setFrame(double frame) { setTime(frameToTime(frame)); }
    double timeToFrame(double seconds) const { return seconds * myFrameRate + 1.0; }
    double frameToTime(double frame) const { return (frame - 1.0) / myFrameRate; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name What watches the nodes
    // ------------------------------------------------------------------ //
    ///@{
    /// The edges between components, and changes on their way to what reads them.
    NOD_Graph &getGraph() { return *myGraph; }
    /// The enabled and visible states of all parameters.
    NOD_Conditions &getConditions() { return *myConditions; }
    /// Each operation of the scene, its nodes and NOD_Edit is a step, or part of an open block.
    NOD_UndoStack &getUndo() { return *myUndo; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name What threads read while the scene is edited   (see NOD_Snapshot.h)
    // ------------------------------------------------------------------ //
    ///@{
    /// As it is now. It shares with the last one, which the scene keeps, what hasn't changed.
    std::shared_ptr<const NOD_Snapshot> snapshot(const NOD_SnapshotOptions &options = {});
    struct Value
    {
        NOD_Node *node;
        int parm; ///< index
        int component;
    };
    /// Components whose value at one time isn't certainly that at another one: what a change of the frame has to
    /// tell, instead of everything that is animated. Foreign values are among them. Takes a snapshot.
    std::vector<Value> changedBetween(double from, double to);
    ///@}

private:
    void applyTime() const;
    bool isChangeable(NOD_Node &node, NOD_Report &report) const;
    NOD_Node *addAny(const std::string &path, std::shared_ptr<const NOD_Interface> description,
                     NOD_Report &report);
    void settle(NOD_References &references, NOD_Report &report);

    std::map<std::string, std::shared_ptr<const NOD_Interface>> myInterfaces;
    std::map<std::string, std::shared_ptr<const NOD_MigrationMap>> myMaps; ///< by type name
    double myFrameRate = theUsualFrameRate;
    double myFirstFrame = theUsualFirstFrame;
    double myLastFrame = theUsualLastFrame;
    double myTime = 0.0;
    // The order matters: the destructor ends those that watch the nodes before them.
    std::unique_ptr<NOD_NodeSource> mySource;
    std::unique_ptr<NOD_Node> myRoot;
    std::unique_ptr<NOD_ReferenceIndex> myReferences;
    std::unique_ptr<NOD_Graph> myGraph;
    std::unique_ptr<NOD_Conditions> myConditions;
    std::unique_ptr<NOD_UndoStack> myUndo;
    std::unique_ptr<NOD_ChangeWatcher> mySnapshots; ///< null: none has been taken
};
