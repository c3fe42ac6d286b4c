#include "ZELX_UndoStack.h"

#include <utility>

void ZELX_UndoStack::begin(const std::string &label)
{
    if (myDepth++ == 0) {
        myOpen.label = label;
        myOpen.before = ZELX_NodeState(myNode);
    }
}

bool ZELX_UndoStack::end()
{
    if (myDepth == 0 || --myDepth > 0) {
        return false;
    }
    Entry entry = std::exchange(myOpen, Entry());
    entry.after = ZELX_NodeState(myNode);
    if (entry.before.isSame(entry.after)) {
        return false;
    }
    ZELX_NodeState::keepDifference(entry.before, entry.after);
    myUndone.clear();
    myDone.push_back(std::move(entry));
    while (myDone.size() > myMost) {
        myDone.pop_front();
    }
    return true;
}

bool ZELX_UndoStack::undo()
{
    if (myDepth > 0 || myDone.empty()) {
        return false;
    }
    myUndone.push_back(std::move(myDone.back()));
    myDone.pop_back();
    myUndone.back().before.restore(myNode);
    return true;
}

bool ZELX_UndoStack::redo()
{
    if (myDepth > 0 || myUndone.empty()) {
        return false;
    }
    myDone.push_back(std::move(myUndone.back()));
    myUndone.pop_back();
    myDone.back().after.restore(myNode);
    return true;
}
