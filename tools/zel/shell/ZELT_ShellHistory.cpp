// Shell commands on snapshots and undo.

#include "ZELT_Shell.h"

#include <iostream>
#include <utility>

namespace
{

void snapshot(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (words.size() > 1) {
        NOD_NodeState state(shell.getNode());
        if (!shell.finish()) {
            return;
        }
        for (const std::string &name : shell.getSnapshots().put(words[1], std::move(state))) {
            std::cout << "dropped " << name << '\n';
        }
        return;
    }
    for (const std::string &name : shell.getSnapshots().getNames()) {
        std::cout << name << '\n';
    }
}

void restore(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (const NOD_NodeState *const state = shell.getSnapshots().find(words[1])) {
        state->restore(shell.getNode());
    } else {
        shell.fail("there is no snapshot " + words[1]);
    }
}

using Way = bool (NOD_UndoStack::*)();

/// Of a step that was stopped half way the other way does again all of it.
void go(ZELT_Shell &shell, const std::string &label, Way way, Way back, const char *name)
{
    NOD_UndoStack &stack = shell.getUndo();
    if (!(stack.*way)()) {
        shell.fail(std::string("there is nothing to ") + name);
    } else if (shell.wasStopped()) {
        (stack.*back)();
        static_cast<void>(shell.wasStopped()); // once more: what is done again is whole
        shell.fail("interrupted: nothing is changed");
    } else {
        static_cast<void>(shell.finish());
        std::cout << label << '\n';
    }
}

void undo(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    go(shell, shell.getUndo().getUndoLabel(), &NOD_UndoStack::undo, &NOD_UndoStack::redo, "undo");
}

void redo(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    go(shell, shell.getUndo().getRedoLabel(), &NOD_UndoStack::redo, &NOD_UndoStack::undo, "redo");
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"snapshot", "[NAME]", 0, 1, ZELT_SHELL_PLAIN, snapshot},
    {"restore", "NAME", 1, 1, ZELT_SHELL_EDITS, restore},
    {"undo", "", 0, 0, ZELT_SHELL_PLAIN, undo},
    {"redo", "", 0, 0, ZELT_SHELL_PLAIN, redo},
};

} // namespace

const ZELT_ShellTable ZELTshellHistory(theCommands);
