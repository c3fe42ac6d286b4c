#include <NOD/NOD_UndoStack.h>

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/undo/NOD_UndoStepPrivate.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Float.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

namespace
{

/// Whether the library works on parameters that must exist until it is done.
bool isLibraryAtWork()
{
    return ZEL_Multi::KeepItems::isOpen() || TRK_Manager::isEvaluating() ||
           TRK_EventManager::isDelivering();
}

} // namespace

/// While it lives, nothing is recorded. Ends with what callbacks have done to the tree.
class NOD_UndoStack::Restoring
{
public:
    explicit Restoring(NOD_UndoStack &stack) : myStack(stack), myBatch(std::in_place, stack.myRoot)
    {
        myStack.myRestoringFlag = true;
    }
    ~Restoring()
    {
        myBatch.reset(); // what it tells isn't recorded either
        myStack.myRestoringFlag = false;
        if (std::exchange(myStack.myLostFlag, false)) {
            myStack.clear();
        }
        myStack.release();
    }
    Restoring(const Restoring &) = delete;
    Restoring &operator=(const Restoring &) = delete;

    using Way = void (NOD_UndoStep::*)(NOD_UndoStep::Told &);
    /// What changed before memory ran out is told, too: the next try doesn't find it changed.
    void run(NOD_UndoStep &step, Way way)
    {
        try {
            (step.*way)(myTold);
        } catch (...) {
            tell();
            throw;
        }
    }
    void tell() const
    {
        for (const auto &[node, changes] : myTold) {
            NOD_NodeState::tell(*node, changes);
        }
    }

private:
    NOD_UndoStack &myStack;
    std::optional<NOD_Batch> myBatch;
    NOD_UndoStep::Told myTold;
};

// ---------------------------------------------------------------------- //
// Life and limits
// ---------------------------------------------------------------------- //

NOD_UndoStack::NOD_UndoStack(NOD_Node &node, std::size_t most, std::int64_t mostBytes,
                             NOD_Scene *scene)
    : myRoot(*node.getRoot()), myScene(scene), myMost(most), myMostBytes(mostBytes)
{
    myRoot.myUndo = this;
}

NOD_UndoStack::~NOD_UndoStack()
{
    myRoot.myUndo = nullptr;
}

bool NOD_UndoStack::setLimits(std::size_t most, std::int64_t mostBytes)
{
    if (isInBlock() || myRestoringFlag) {
        return false;
    }
    myMost = most;
    myMostBytes = mostBytes;
    if (myMost == 0) {
        clear();
    }
    drop();
    return true;
}

void NOD_UndoStack::drop()
{
    while (!myDone.empty() &&
           (myDone.size() > myMost || (myBytes > myMostBytes && myDone.size() > 1))) {
        myBytes -= myDone.front()->bytes;
        forget(std::move(myDone.front()));
        myDone.pop_front();
        if (!myDone.empty()) {
            recount(*myDone.front()); // it may have shared what the dropped one was counted for
        }
    }
}

/// What a step takes differs with the nodes that it has.
void NOD_UndoStack::recount(NOD_UndoStep &step)
{
    myBytes -= step.bytes;
    step.bytes = step.getMemoryUsage();
    myBytes += step.bytes;
}

void NOD_UndoStack::clear()
{
    if (myRestoringFlag) {
        myLostFlag = true; // the step at work is one of them
        return;
    }
    for (auto &step : myDone) {
        forget(std::move(step));
    }
    for (auto &step : myUndone) {
        forget(std::move(step));
    }
    myDone.clear();
    myUndone.clear();
    myBytes = 0;
}

/// The library may be at work on one of its nodes.
void NOD_UndoStack::forget(std::unique_ptr<NOD_UndoStep> step) noexcept
{
    try {
        if (isLibraryAtWork()) {
            myForgotten.push_back(std::move(step));
        }
    } catch (const std::bad_alloc &) {
        static_cast<void>(step.release()); // rather never freed than too early
    }
}

void NOD_UndoStack::release()
{
    if (!isLibraryAtWork()) {
        myRemoved.clear();
        myForgotten.clear();
    }
}

NOD_UndoStack::Pause::Pause(NOD_UndoStack &stack) : myStack(stack)
{
    ++myStack.myPauses;
}

NOD_UndoStack::Pause::~Pause()
{
    --myStack.myPauses;
    myStack.clear();
    if (myStack.myOpen) {
        myStack.myOpen->forget();
    }
}

// ---------------------------------------------------------------------- //
// Blocks
// ---------------------------------------------------------------------- //

void NOD_UndoStack::begin(const std::string &label)
{
    if (!myRestoringFlag) {
        release();
    }
    if (myRestoringFlag || myMost == 0 || myPauses > 0) {
        ++myIgnoredDepth;
        return;
    }
    if (myDepth == 0) {
        myOpen = std::make_unique<NOD_UndoStep>(myRoot, myScene, label);
    }
    ++myDepth;
}

bool NOD_UndoStack::end()
{
    if (myIgnoredDepth > 0) {
        --myIgnoredDepth;
        return false;
    }
    if (myDepth == 0 || --myDepth > 0) {
        return false;
    }
    std::unique_ptr<NOD_UndoStep> step = std::move(myOpen);
    try {
        if (!step->close()) {
            return false;
        }
        append(std::move(step));
    } catch (...) {
        // The others don't know how to take this block back, nor who has its nodes.
        clear();
        throw;
    }
    return true;
}

/// One that is closed; what was undone is forgotten.
void NOD_UndoStack::append(std::unique_ptr<NOD_UndoStep> step)
{
    myDone.push_back(std::move(step));
    for (auto &undone : myUndone) {
        myBytes -= undone->bytes;
        forget(std::move(undone));
    }
    myUndone.clear();
    recount(*myDone.back());
    drop();
}

bool NOD_UndoStack::setNumber(NOD_Node &node, ZEL_Parm &parm, int component, double time,
                              double value)
{
    const bool busyFlag =
        isInBlock() || myIgnoredDepth > 0 || myPauses > 0 || myRestoringFlag || isLibraryAtWork();
    NOD_Graph *const graph = myRoot.myGraph;
    ZEL_Float *const numbers = busyFlag || !node.myWatchedFlag || node.myChangeCallback || !graph ||
                                       !graph->isUnread(node, parm)
                                   ? nullptr
                                   : NOD_NumberChange::numbersOf(parm);
    if (!numbers || component < 0 || component >= parm.getVectorSize() ||
        parm.getOverride(component) || parm.getLockedFlag(component) ||
        !parm.isEditable(time, component)) {
        return false;
    }
    release();
    const double before = numbers->getRawValue(component);
    if (std::memcmp(&before, &value, sizeof(value)) == 0) {
        return true;
    }
    if (myMost > 0) {
        append(std::make_unique<NOD_UndoStep>(
            myRoot, NOD_NumberChange{&node, KIT_StringHolder(parm.getTokenRef()), component, before,
                                     value}));
    }
    numbers->setRawValue(component, value);
    numbers->setDirtyFlags(component);
    numbers->clearSendExtra(); // which nobody waits for
    graph->unreadChanged(node, parm);
    return true;
}

void NOD_UndoStack::endOrForget() noexcept
{
    try {
        end();
    } catch (const std::bad_alloc &) {
        // All steps are forgotten.
    }
}

bool NOD_UndoStack::cancel()
{
    if (myRestoringFlag || myIgnoredDepth > 0 || myDepth != 1) {
        return false;
    }
    Restoring restoring(*this);
    restoring.run(*myOpen, &NOD_UndoStep::undo);
    // From here on there is no block; the step owns what it has added.
    const std::unique_ptr<NOD_UndoStep> step = std::move(myOpen);
    myDepth = 0;
    restoring.tell();
    return true;
}

void NOD_UndoStack::change(NOD_Node &node)
{
    NOD_NodeState *const state = isRecording() ? myOpen->stateOf(node) : nullptr;
    if (state) {
        state->addWhole(node);
    }
}

void NOD_UndoStack::change(NOD_Node &node, ZEL_Parm &parm)
{
    NOD_NodeState *const state = isRecording() ? myOpen->stateOf(node) : nullptr;
    if (state) {
        state->add(node, parm);
    }
}

bool NOD_UndoStack::change(NOD_Node &node, std::string_view name)
{
    const std::string text(name);
    const KIT_StringRef token(text.c_str());
    ZEL_Parm *parm = node.getParms().getParmPtr(token);
    parm = parm ? parm : node.getParms().getParmPtrFromChannel(token, nullptr);
    if (parm) {
        change(node, *parm);
    }
    return parm != nullptr;
}

// ---------------------------------------------------------------------- //
// What the tree announces
// ---------------------------------------------------------------------- //

void NOD_UndoStack::nodeAdded(NOD_Node &node)
{
    if (myRestoringFlag) {
        myLostFlag = true;
    } else if (isRecording()) {
        myOpen->addNode(node);
    }
}

void NOD_UndoStack::nodeMoves(NOD_Node &node, NOD_Node *parent, std::size_t place,
                              const std::string &name)
{
    if (!parent) {
        myRemoved.reserve(myRemoved.size() + 1);
    }
    if (myRestoringFlag) {
        myLostFlag = true;
    } else if (isRecording()) {
        NOD_TreePlace to;
        to.parent = parent;
        to.name = name;
        to.place = place;
        myOpen->moveNode(node, std::move(to));
    }
}

void NOD_UndoStack::nodeRemoved(std::unique_ptr<NOD_Node> node)
{
    if (isRecording()) {
        myOpen->own(std::move(node));
    } else if (myRestoringFlag || isLibraryAtWork()) {
        // It may have changes that are still to be told, or be the one whose change is being told.
        myRemoved.push_back(std::move(node));
    }
}

void NOD_UndoStack::textsChange(NOD_Node &node)
{
    NOD_NodeState *const state = isRecording() ? myOpen->stateOf(node) : nullptr;
    if (state) {
        state->addTexts(node);
    }
}

void NOD_UndoStack::settingsChange()
{
    if (isRecording()) {
        myOpen->takeSettings();
    }
}

void NOD_UndoStack::parmChanged(NOD_Node &node, int parmIndex)
{
    if (myRestoringFlag || myMost == 0 || myPauses > 0) {
        return;
    }
    const ZEL_Parm *const parm = node.getParms().getParmPtr(parmIndex);
    if (myOpen) {
        const NOD_NodeState *const state = myOpen->findState(node);
        if (myOpen->isFresh(node) || (state && (parm ? state->covers(*parm) : state->isWhole()))) {
            return;
        }
    }
    if (myUnannouncedCount++ == 0) {
        myFirstUnannounced = NODpathOf(node, parm ? parm->getToken() : "");
    }
}

void NOD_UndoStack::resetUnannounced()
{
    myUnannouncedCount = 0;
    myFirstUnannounced.clear();
}

// ---------------------------------------------------------------------- //
// Steps
// ---------------------------------------------------------------------- //

bool NOD_UndoStack::undo()
{
    if (isInBlock() || myRestoringFlag || myDone.empty() || isLibraryAtWork()) {
        return false;
    }
    if (myUndone.size() == myUndone.capacity()) {
        myUndone.reserve(2 * myUndone.size() + 1);
    }
    // A step that can't be taken back stays where it is.
    NOD_UndoStep &step = *myDone.back();
    Restoring restoring(*this);
    restoring.run(step, &NOD_UndoStep::undo);
    recount(step);
    myUndone.push_back(std::move(myDone.back()));
    myDone.pop_back();
    restoring.tell();
    return true;
}

bool NOD_UndoStack::redo()
{
    if (isInBlock() || myRestoringFlag || myUndone.empty() || isLibraryAtWork()) {
        return false;
    }
    NOD_UndoStep &step = *myUndone.back();
    Restoring restoring(*this);
    restoring.run(step, &NOD_UndoStep::redo);
    recount(step);
    myDone.push_back(std::move(myUndone.back()));
    myUndone.pop_back();
    restoring.tell();
    drop(); // limits may have been set meanwhile
    return true;
}

std::string NOD_UndoStack::getUndoLabel(std::size_t later) const
{
    return later < myDone.size() ? myDone[myDone.size() - 1 - later]->getLabel() : "";
}

std::optional<std::string> NOD_UndoStack::findLabel(const NOD_Node &node,
                                                    const ZEL_Parm &parm) const
{
    const auto found = std::find_if(myDone.rbegin(), myDone.rend(),
                                    [&](const auto &step) { return step->hasChanged(node, parm); });
    return found != myDone.rend() ? std::optional((*found)->getLabel()) : std::nullopt;
}

std::string NOD_UndoStack::getRedoLabel(std::size_t later) const
{
    return later < myUndone.size() ? myUndone[myUndone.size() - 1 - later]->getLabel() : "";
}
