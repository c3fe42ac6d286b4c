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

void undo(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    const std::string label = shell.getUndo().getUndoLabel();
    if (shell.getUndo().undo()) {
        std::cout << label << '\n';
    } else {
        shell.fail("there is nothing to undo");
    }
}

void redo(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    const std::string label = shell.getUndo().getRedoLabel();
    if (shell.getUndo().redo()) {
        std::cout << label << '\n';
    } else {
        shell.fail("there is nothing to redo");
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"snapshot", "[NAME]", 0, 1, ZELT_SHELL_FINISHES, snapshot},
    {"restore", "NAME", 1, 1, ZELT_SHELL_EDITS | ZELT_SHELL_FINISHES, restore},
    {"undo", "", 0, 0, ZELT_SHELL_FINISHES, undo},
    {"redo", "", 0, 0, ZELT_SHELL_FINISHES, redo},
};

} // namespace

const ZELT_ShellTable ZELTshellHistory(theCommands);
