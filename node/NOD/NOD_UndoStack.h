/// \file NOD_UndoStack.h
/// Undo and redo for one node, on snapshots: a step remembers the node before and after an edit.
///
/// Vocabulary: *step* = what one undo takes back, however many changes an edit consists of; steps
///             nest, and only the outermost counts.
/// Units:      as many steps, and bytes, as the stack was made for; the oldest is dropped first. The
///             last step is kept whatever it takes.
/// Ownership:  owns what its steps remember, borrows the node, which must outlive it.
/// Threads:    the thread that owns the node.
/// Errors:     false where there is nothing to do. NOD_NodeState.h lists what is left alone. Out of
///             memory throws std::bad_alloc; undo() and redo() can be called again then.
/// Cost:       a step takes two states of the node, and keeps of them what differs.
///
///     NOD_UndoStack undo(node);
///     {
///         const NOD_UndoStack::Step step(undo, "move");
///         node.getParms().setFloat(2.0, "t", 0, 0.0, true);
///     }
///     undo.undo();
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_NodeState.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

class NOD_Node;

class NOD_API NOD_UndoStack
{
public:
    static constexpr std::size_t theUsualMost = 200;
    static constexpr std::int64_t theUsualBytes = std::int64_t(1) << 28;

    explicit NOD_UndoStack(NOD_Node &node, std::size_t most = theUsualMost,
                           std::int64_t mostBytes = theUsualBytes)
        : myNode(node), myMost(most), myMostBytes(mostBytes)
    {}
    NOD_UndoStack(const NOD_UndoStack &) = delete;
    NOD_UndoStack &operator=(const NOD_UndoStack &) = delete;

    void begin(const std::string &label);
    /// False if nothing has changed since: then there is no step, and what could be redone still
    /// can. Also for an inner step, and without a begin.
    bool end();

    /// The same for a destructor: without memory for the step all steps are forgotten.
    void endOrForget() noexcept;

    /// A step for the length of a scope.
    class Step
    {
    public:
        Step(NOD_UndoStack &stack, const std::string &label) : myStack(stack)
        {
            myStack.begin(label);
        }
        ~Step() { myStack.endOrForget(); }
        Step(const Step &) = delete;
        Step &operator=(const Step &) = delete;

    private:
        NOD_UndoStack &myStack;
    };

    /// False without a step to take back or to do again, and within a step.
    bool undo();
    bool redo();
    /// Forgets all steps but one that is open: after a change that they don't know how to take back.
    void clear()
    {
        myDone.clear();
        myUndone.clear();
    }
    /// Bytes of all steps, those that can be done again included.
    std::int64_t getMemoryUsage() const;
    std::size_t getUndoCount() const { return myDone.size(); }
    std::size_t getRedoCount() const { return myUndone.size(); }
    /// The label of the step that comes next; "" without one.
    std::string getUndoLabel() const { return myDone.empty() ? "" : myDone.back().label; }
    std::string getRedoLabel() const { return myUndone.empty() ? "" : myUndone.back().label; }

private:
    struct Entry
    {
        std::string label;
        NOD_NodeState before;
        NOD_NodeState after;
        std::int64_t bytes = 0;
    };

    NOD_Node &myNode;
    std::size_t myMost;
    std::int64_t myMostBytes;
    std::deque<Entry> myDone;    ///< what undo takes back, the next one last
    std::vector<Entry> myUndone; ///< what redo does again, the next one last
    Entry myOpen;
    int myDepth = 0;
};
