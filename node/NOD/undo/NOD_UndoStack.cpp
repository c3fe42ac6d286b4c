#include <NOD/NOD_UndoStack.h>

#include <new>
#include <utility>

void NOD_UndoStack::begin(const std::string &label)
{
    if (myDepth == 0) {
        myOpen.label = label;
        myOpen.before = NOD_NodeState(myNode);
    }
    ++myDepth;
}

bool NOD_UndoStack::end()
{
    if (myDepth == 0 || --myDepth > 0) {
        return false;
    }
    Entry entry = std::exchange(myOpen, Entry());
    entry.after = NOD_NodeState(myNode);
    if (entry.before.isSame(entry.after)) {
        return false;
    }
    NOD_NodeState::keepDifference(entry.before, entry.after);
    entry.bytes = std::int64_t(sizeof(entry) + entry.label.capacity()) +
                  entry.before.getMemoryUsage() + entry.after.getMemoryUsage();
    myUndone.clear();
    myDone.push_back(std::move(entry));
    std::int64_t bytes = getMemoryUsage();
    while (myDone.size() > myMost || (bytes > myMostBytes && myDone.size() > 1)) {
        bytes -= myDone.front().bytes;
        myDone.pop_front();
    }
    return true;
}

std::int64_t NOD_UndoStack::getMemoryUsage() const
{
    std::int64_t bytes = 0;
    for (const Entry &entry : myDone) {
        bytes += entry.bytes;
    }
    for (const Entry &entry : myUndone) {
        bytes += entry.bytes;
    }
    return bytes;
}

void NOD_UndoStack::endOrForget() noexcept
{
    try {
        end();
    } catch (const std::bad_alloc &) {
        // The other steps don't know how to take this edit back.
        clear();
    }
}

bool NOD_UndoStack::undo()
{
    if (myDepth > 0 || myDone.empty()) {
        return false;
    }
    // A step that can't be taken back stays where it is.
    myDone.back().before.restore(myNode);
    myUndone.push_back(std::move(myDone.back()));
    myDone.pop_back();
    return true;
}

bool NOD_UndoStack::redo()
{
    if (myDepth > 0 || myUndone.empty()) {
        return false;
    }
    myUndone.back().after.restore(myNode);
    myDone.push_back(std::move(myUndone.back()));
    myUndone.pop_back();
    return true;
}
