#include "PYZ_Gate.h"

#include "PYZ_Report.h"

#include <NOD/NOD_Scene.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <vector>

namespace
{

/// Handlers that wait for the end of a change, a list and a tuple.
struct Call
{
    PyObject *handlers;
    PyObject *arguments;
};

/// Of the process; never destroyed, since other threads may still be there when it ends.
struct State
{
    unsigned long changer = 0; ///< a thread's number; 0 for none
    int changes = 0;           ///< that it has nested
    int readings = 0;          ///< of all threads
    std::list<bool> queue;     ///< of all that wait, whether they are to change something
    std::mutex mutex;
    std::condition_variable left;
    std::vector<std::unique_ptr<NOD_Scene>> buried;
    std::deque<Call> calls;
    bool callingFlag = false;
    int answers = 0;        ///< calls that handlers have brought about
    PyObject *kept[3] = {}; ///< type, value and traceback of an exception
};

State &state()
{
    static State *const theState = new State;
    return *theState;
}

thread_local int theReadings = 0; ///< of this thread

void wakeOthers()
{
    if (!state().queue.empty()) {
        state().left.notify_all();
    }
}

/// A place among those that wait, from the first wait on. Who comes later doesn't pass it, so that no thread is kept
/// out by others that change or read one thing after the other.
class Place
{
public:
    explicit Place(bool changingFlag) : myChangingFlag(changingFlag) {}
    ~Place() { leave(); }
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;

    bool isFirst() const { return state().queue.empty() || state().queue.begin() == myPlace; }
    bool isBehindChange() const
    {
        const std::list<bool> &queue = state().queue;
        return std::find(queue.begin(), std::list<bool>::const_iterator(myPlace), true) != myPlace;
    }
    /// Waits with the interpreter free until another thread may have left.
    void wait()
    {
        State &gate = state();
        if (myPlace == gate.queue.end()) {
            myPlace = gate.queue.insert(gate.queue.end(), myChangingFlag);
        }
        {
            const PYZ_Rest rest;
            std::unique_lock<std::mutex> lock(gate.mutex);
            gate.left.wait_for(lock, std::chrono::milliseconds(2));
        }
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
    }
    void leave()
    {
        if (myPlace != state().queue.end()) {
            state().queue.erase(myPlace);
            myPlace = state().queue.end();
            wakeOthers();
        }
    }

private:
    bool myChangingFlag;
    std::list<bool>::iterator myPlace = state().queue.end();
};

} // namespace

// ---------------------------------------------------------------------- //
// Reading
// ---------------------------------------------------------------------- //

PYZ_Reading::PYZ_Reading(NOD_Scene *scene)
{
    State &gate = state();
    if (gate.changer == PyThread_get_thread_ident()) {
        return;
    }
    Place place(false);
    bool madeFlag = false; // current, for which it has waited: it is this one's turn
    while (theReadings == 0) {
        if (gate.changer != 0 || (!madeFlag && place.isBehindChange())) {
            place.wait();
        } else if (scene && !scene->isCurrent()) {
            place.leave();
            const PYZ_Changing changing(scene);
            madeFlag = true;
        } else {
            break;
        }
    }
    ++theReadings;
    ++gate.readings;
    myCountedFlag = true;
}

PYZ_Reading::~PYZ_Reading()
{
    if (myCountedFlag) {
        --theReadings;
        --state().readings;
        wakeOthers();
    }
}

void PYZ_Reading::await()
{
    const State &gate = state();
    Place place(false);
    while (gate.changer != 0 && gate.changer != PyThread_get_thread_ident()) {
        place.wait();
    }
}

PYZ_Reading::Helper::Helper()
{
    ++theReadings;
}

PYZ_Reading::Helper::~Helper()
{
    --theReadings;
}

// ---------------------------------------------------------------------- //
// Changing
// ---------------------------------------------------------------------- //

PYZ_Changing::PYZ_Changing(NOD_Scene *scene)
{
    State &gate = state();
    const unsigned long self = PyThread_get_thread_ident();
    if (gate.changer != self) {
        if (theReadings > 0) {
            PYZraise("BusyError",
                     "nothing can be changed while this thread evaluates: an expression "
                     "can read values, not set them");
        }
        Place place(true);
        while (gate.changer != 0 || gate.readings > 0 || !place.isFirst()) {
            place.wait();
        }
        gate.changer = self;
    }
    ++gate.changes;
    if (scene && !scene->isCurrent()) {
        try {
            scene->makeCurrent();
        } catch (...) {
            leave();
            throw;
        }
    }
}

PYZ_Changing::PYZ_Changing(AtOnce)
{
    state().changer = PyThread_get_thread_ident();
    ++state().changes;
}

PYZ_Changing::~PYZ_Changing()
{
    State &gate = state();
    if (gate.changes == 1) {
        if (!gate.calls.empty()) {
            // An exception is on its way.
            PyObject *type = nullptr, *value = nullptr, *trace = nullptr;
            PyErr_Fetch(&type, &value, &trace);
            callAll();
            PyErr_Restore(type, value, trace);
        }
        std::vector<std::unique_ptr<NOD_Scene>> buried;
        buried.swap(gate.buried);
        buried.clear();
        if (gate.kept[0]) {
            // Another exception is on its way: this one is shown.
            PyObject *type = nullptr, *value = nullptr, *trace = nullptr;
            PyErr_Fetch(&type, &value, &trace);
            PyErr_Restore(gate.kept[0], gate.kept[1], gate.kept[2]);
            gate.kept[0] = gate.kept[1] = gate.kept[2] = nullptr;
            PyErr_WriteUnraisable(Py_None);
            PyErr_Restore(type, value, trace);
        }
    }
    leave();
}

void PYZ_Changing::leave()
{
    State &gate = state();
    if (--gate.changes == 0) {
        gate.changer = 0;
        wakeOthers();
    }
}

void PYZ_Changing::keepException()
{
    State &gate = state();
    if (gate.kept[0] || gate.changes == 0) {
        PyErr_WriteUnraisable(Py_None);
    } else {
        PyErr_Fetch(&gate.kept[0], &gate.kept[1], &gate.kept[2]);
    }
}

void PYZ_Changing::callLater(const py::object &handlers, const py::tuple &arguments)
{
    // So many in answer to handlers are handlers that call each other without an end.
    constexpr int theMostAnswers = 20000;
    State &gate = state();
    if (gate.callingFlag && ++gate.answers > theMostAnswers) {
        if (gate.answers == theMostAnswers + 1) {
            PyErr_SetString(PyExc_RecursionError,
                            "handlers of events change what they are called for");
            keepException();
        }
        return;
    }
    gate.calls.push_back({handlers.inc_ref().ptr(), arguments.inc_ref().ptr()});
    if (gate.changes == 0) {
        callAll();
    }
}

void PYZ_Changing::callAll() noexcept
{
    State &gate = state();
    if (gate.callingFlag) {
        return;
    }
    gate.callingFlag = true;
    gate.answers = 0;
    while (!gate.calls.empty()) {
        const Call call = gate.calls.front();
        gate.calls.pop_front();
        // A copy: a handler may be the last one that is called.
        PyObject *const handlers = PySequence_List(call.handlers);
        for (py::ssize_t i = 0; handlers && i < PyList_GET_SIZE(handlers); ++i) {
            PyObject *const handler = PyList_GET_ITEM(handlers, i);
            PyObject *const result = PyObject_CallObject(handler, call.arguments);
            if (!result) {
                keepException();
            }
            Py_XDECREF(result);
        }
        Py_XDECREF(handlers);
        Py_DECREF(call.handlers);
        Py_DECREF(call.arguments);
    }
    gate.callingFlag = false;
}

void PYZ_Changing::raiseKept() const
{
    State &gate = state();
    if (gate.changes == 1) {
        callAll();
    }
    if (gate.changes == 1 && gate.kept[0]) {
        PyErr_Restore(gate.kept[0], gate.kept[1], gate.kept[2]);
        gate.kept[0] = gate.kept[1] = gate.kept[2] = nullptr;
        throw py::error_already_set();
    }
}

void PYZ_Changing::bury(std::unique_ptr<NOD_Scene> scene) noexcept
{
    State &gate = state();
    gate.buried.push_back(std::move(scene));
    if (gate.changer == 0 && gate.readings == 0) {
        const PYZ_Changing changing{AtOnce()};
    }
}
