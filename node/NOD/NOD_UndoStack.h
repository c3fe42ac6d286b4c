/// \file NOD_UndoStack.h
/// Undo and redo of a scene, or of a tree of nodes without one: each step knows what it changed, as it
/// was before and as it was after.
///
/// Vocabulary: *step* = what one undo takes back, with a label; *block* = edits that belong to a step:
///             blocks nest, and the outermost is the step; *to announce* = to say what is about to be
///             edited, so that its state before is kept; *to record* = to keep steps.
/// Units:      as many steps, and bytes, as the limits say; the oldest is dropped first. The last
///             step is kept whatever it takes. 0 steps: nothing is recorded.
/// Ownership:  owns what its steps remember, also the nodes that they took out of the tree: a node that
///             comes back is the same object, with its callbacks. Borrows the tree, which must outlive it.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     false where there is nothing to do. What a restore can't do is reported to the thread's
///             error manager as a load would. Out of memory throws std::bad_alloc; undo() and redo()
///             can be called again then. A block that ends without memory for its step forgets all
///             steps, since the others don't know how to take it back. An exception that passes a block ends it
///             as usual: what was done until then is a step.
/// Cost:       linear in what a step changed, of a channel in its keys; but steps share the keys that
///             stay, and remember those around a change. An edit that is announced costs the state of its
///             parameter before and, once for each step, after.
///
/// Editing calls of NOD_Scene, NOD_Node and NOD_Edit announce by themselves, and are a step of their own
/// outside of a block. What the library below is asked to do directly (ZEL_Parm, handles, channels) is
/// announced by hand:
///
///     {
///         NOD_Edit edit(scene, "Move light");
///         edit.change(light, "t");
///         light.getParms().setFloat(2.0, "t", 0, 0.0, true);
///     }
///     scene.getUndo().undo();
///
/// A change that isn't announced is in no step, unless what it changes is announced before or later in
/// the same block: until it is, the changed state counts as the one before. An undo or redo of a step
/// with the same parameter overwrites it, all others leave it. Each change event of such a change is
/// counted, so that an application's tests can find it: getUnannouncedCount().
///
/// Undo and redo restore the tree, parameters in the sense of NOD_NodeState.h (with what that names as
/// left alone), variables of nodes, frame rate and frame range, so that a saved scene has the same bytes. The
/// current time, presets in files, the scene's list of interfaces and what a callback keeps are no part
/// of it; nor is what follows reads: items whose count an expression determines, which come and go when the
/// count is read, and the value that is saved beside a pending one, which is that of the last read.
#pragma once

#include <NOD/NOD_API.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class NOD_Node;
class NOD_Scene;
class NOD_UndoStep;
class ZEL_Parm;

class NOD_API NOD_UndoStack
{
public:
    static constexpr std::size_t theUsualMost = 200;
    static constexpr std::int64_t theUsualBytes = std::int64_t(1) << 28;

    /// For the whole tree of the node, which may have one stack at a time; a scene makes its own.
    explicit NOD_UndoStack(NOD_Node &node, std::size_t most = theUsualMost,
                           std::int64_t mostBytes = theUsualBytes, NOD_Scene *scene = nullptr);
    ~NOD_UndoStack();
    NOD_UndoStack(const NOD_UndoStack &) = delete;
    NOD_UndoStack &operator=(const NOD_UndoStack &) = delete;

    /// Of the tree.
    NOD_Node &getRoot() const { return myRoot; }
    /// Drops what exceeds them; an open block counts when it ends. With 0 steps nothing is recorded, and
    /// all steps are forgotten; refused within a block.
    bool setLimits(std::size_t most, std::int64_t mostBytes);
    /// Whether the limits let anything be recorded.
    bool isOn() const { return myMost > 0; }

    // ------------------------------------------------------------------ //
    /// \name Blocks   (NOD_Edit and NOD_Drag call these)
    // ------------------------------------------------------------------ //
    ///@{
    void begin(const std::string &label);
    /// False if nothing has changed since: then there is no step, and what could be redone still can. Also
    /// for an inner block, and without a begin.
    bool end();
    /// The same for a destructor: without memory for the step all steps are forgotten.
    void endOrForget() noexcept;
    /// Takes back what the block has changed and ends it: no step, and what could be redone still can.
    /// False, with nothing done, for an inner block, and without a begin. Unlike undo() also from within a
    /// change callback.
    bool cancel();
    /// Announces within a block; nothing outside of one.
    void change(NOD_Node &node);
    void change(NOD_Node &node, ZEL_Parm &parm);
    /// By a parameter's token, or a component's channel token or alias. False if there is none.
    bool change(NOD_Node &node, std::string_view name);
    /// Sets a component's number as a step of its own, "Set t", or without one where the limits let nothing be
    /// recorded: what a block with ZEL_Parm::setValue would do, at a fraction of its cost. False, with nothing
    /// done, where more is to do than that: within a block, for what isn't a float of its own that can be
    /// edited, and where a callback, a reference or a condition follows the parameter.
    bool setNumber(NOD_Node &node, ZEL_Parm &parm, int component, double time, double value);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Steps
    // ------------------------------------------------------------------ //
    ///@{
    /// False without a step to take back or to do again, within a block, and while the library evaluates
    /// or calls a handler.
    bool undo();
    bool redo();
    /// Forgets all steps but one that is open: after a change that they don't know how to take back.
    void clear();
    /// Bytes of all steps, those that can be done again included.
    std::int64_t getMemoryUsage() const { return myBytes; }
    std::size_t getUndoCount() const { return myDone.size(); }
    std::size_t getRedoCount() const { return myUndone.size(); }
    /// The label of the step that comes next, or so many steps later; "" without one.
    std::string getUndoLabel(std::size_t later = 0) const;
    std::string getRedoLabel(std::size_t later = 0) const;
    /// Of the last step that has changed the parameter, or added or moved its node; nothing for none.
    std::optional<std::string> findLabel(const NOD_Node &node, const ZEL_Parm &parm) const;
    bool isInBlock() const { return myDepth > 0; }
    /// Whether an undo, redo or cancel is at work: edits of a change callback aren't recorded then, and
    /// one that changes the tree forgets all steps.
    bool isRestoring() const { return myRestoringFlag; }
    ///@}

    /// While one exists nothing is recorded, and when it ends all steps are forgotten, what an open block has
    /// so far too: for changes that aren't the user's, such as the load of a scene.
    class NOD_API Pause
    {
    public:
        explicit Pause(NOD_UndoStack &stack);
        ~Pause();
        Pause(const Pause &) = delete;
        Pause &operator=(const Pause &) = delete;

    private:
        NOD_UndoStack &myStack;
    };

    // ------------------------------------------------------------------ //
    /// \name Changes that nobody announced
    // ------------------------------------------------------------------ //
    ///@{
    std::int64_t getUnannouncedCount() const { return myUnannouncedCount; }
    /// The node's path and the parameter's token, of the first one: "/light/t".
    const std::string &getFirstUnannounced() const { return myFirstUnannounced; }
    /// Counts from 0 again.
    void resetUnannounced();
    ///@}

private:
    friend class NOD_Node;
    friend class NOD_Scene;

    class Restoring;

    bool isRecording() const { return myDepth > 0 && !myRestoringFlag && myPauses == 0; }
    /// Of the tree and the scene, before it happens.
    void nodeAdded(NOD_Node &node);
    void nodeMoves(NOD_Node &node, NOD_Node *parent, std::size_t place, const std::string &name);
    void nodeRemoved(std::unique_ptr<NOD_Node> node);
    void textsChange(NOD_Node &node);
    void settingsChange();
    void parmChanged(NOD_Node &node, int parmIndex);

    void append(std::unique_ptr<NOD_UndoStep> step);
    void drop();
    void forget(std::unique_ptr<NOD_UndoStep> step) noexcept;
    /// What was kept while the library was at work.
    void release();
    void recount(NOD_UndoStep &step);

    NOD_Node &myRoot;
    NOD_Scene *myScene;
    std::size_t myMost;
    std::int64_t myMostBytes;
    std::int64_t myBytes = 0;
    std::deque<std::unique_ptr<NOD_UndoStep>> myDone; ///< what undo takes back, the next one last
    std::vector<std::unique_ptr<NOD_UndoStep>>
        myUndone; ///< what redo does again, the next one last
    std::unique_ptr<NOD_UndoStep> myOpen;
    int myDepth = 0;
    int myIgnoredDepth = 0; ///< of blocks that aren't recorded
    int myPauses = 0;
    bool myRestoringFlag = false;
    bool myLostFlag = false; ///< while restoring: something has changed the tree
    // By a callback: kept until the library is done with them.
    std::vector<std::unique_ptr<NOD_Node>> myRemoved;
    std::vector<std::unique_ptr<NOD_UndoStep>> myForgotten;
    std::int64_t myUnannouncedCount = 0;
    std::string myFirstUnannounced;
};
