// The shell's snapshots and its undo.

#include "ZELT_ShellCommands.h"

#include <iostream>

using std::cout;

void ZELT_ShellCommands::snapshot(const Words &words)
{
    if (words.size() > 1) {
        mySnapshots[words[1]] = ZELX_NodeState(mySession.getNode());
        return;
    }
    for (const auto &[name, state] : mySnapshots) {
        cout << name << '\n';
    }
}

void ZELT_ShellCommands::restore(const Words &words)
{
    const auto found = mySnapshots.find(words[1]);
    if (found == mySnapshots.end()) {
        fail("there is no snapshot " + words[1]);
    } else {
        found->second.restore(mySession.getNode());
    }
}

void ZELT_ShellCommands::undo(const Words &)
{
    const std::string label = myUndo.getUndoLabel();
    if (myUndo.undo()) {
        cout << label << '\n';
    } else {
        fail("there is nothing to undo");
    }
}

void ZELT_ShellCommands::redo(const Words &)
{
    const std::string label = myUndo.getRedoLabel();
    if (myUndo.redo()) {
        cout << label << '\n';
    } else {
        fail("there is nothing to redo");
    }
}
