/// \file NOD_Drag.h
/// An edit that goes on while the user drags: all edits until its end become one step.
///
///     drag = std::make_unique<NOD_Drag>(scene, "Move light");     // the button goes down
///     NOD_Edit(scene, "Move light").set(light, "tx", x);          // it moves, as often as it likes
///     drag->cancel();                                             // Escape: as it was, and no step
///     drag.reset();                                               // it goes up: a step, if anything changed
///
/// Vocabulary: as NOD_UndoStack.h.
/// Ownership:  borrows the scene.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     as NOD_Edit.h.
/// Cost:       the state of each parameter is taken once before and once after the drag, however often it
///             is edited.
///
/// While one is open, every edit of the scene belongs to it, and there is no undo. Within an open block
/// it belongs to that, and can't be cancelled. It is no batch of the graph: what reads an edit hears of it
/// while the drag goes on.
#pragma once

#include <NOD/NOD_API.h>

#include <string>

class NOD_Scene;
class NOD_UndoStack;

class NOD_API NOD_Drag
{
public:
    NOD_Drag(NOD_Scene &scene, const std::string &label);
    NOD_Drag(NOD_UndoStack &stack, const std::string &label);
    /// Ends it, unless it is over.
    ~NOD_Drag();
    NOD_Drag(const NOD_Drag &) = delete;
    NOD_Drag &operator=(const NOD_Drag &) = delete;

    /// Takes back what was changed: the drag is over and leaves no step. False, with nothing done, within
    /// an open block or with one open in it.
    bool cancel();

private:
    NOD_UndoStack *myStack; ///< null: it is over
};
