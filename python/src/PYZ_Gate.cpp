#include "PYZ_Gate.h"

#include "PYZ_Report.h"

#include <NOD/NOD_Scene.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace
{

/// Handlers that wait for the end of a change, a list and a tuple.
struct Call
{
    PyObject *handlers;
    PyObject *arguments;
};

/// An exception: its type, value and traceback, or nulls.
struct Exception
{
    void fetch() { PyErr_Fetch(&type, &value, &trace); }
    void restore() { PyErr_Restore(type, value, trace); }

    PyObject *type = nullptr;
    PyObject *value = nullptr;
    PyObject *trace = nullptr;
};

/// What a thread has yet to call, and what has come of it.
struct Calls
{
    std::deque<Call> waiting;
    bool callingFlag = false;
    int answers = 0; ///< calls that handlers have brought about
    Exception kept;  ///< the first that has left a handler

    void keep()
    {
        if (kept.type) {
            PyErr_WriteUnraisable(Py_None);
        } else {
            kept.fetch();
        }
    }
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
    std::unordered_map<unsigned long, Calls> calls; ///< by the thread's number
};

State &state()
{
    static State *const theState = new State;
    return *theState;
}

thread_local int theReadings = 0; ///< of this thread

bool isChanger()
{
    return state().changer == PyThread_get_thread_ident();
}

/// Ends what the thread had to call, and gives the exception that has come of it. None while it still calls.
Exception takeKept()
{
    State &gate = state();
    const auto found = gate.calls.find(PyThread_get_thread_ident());
    if (found == gate.calls.end() || found->second.callingFlag) {
        return {};
    }
    const Exception kept = found->second.kept;
    gate.calls.erase(found);
    return kept;
}

/// Then the other threads stay where they are.
bool isEnding()
{
#if PY_VERSION_HEX >= 0x030D0000
    return Py_IsFinalizing() != 0;
#else
    return _Py_IsFinalizing() != 0;
#endif
}

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
    bool isTurnToChange() const
    {
        return state().changer == 0 && state().readings == 0 && isFirst();
    }
    bool isBehindChange() const
    {
        const std::list<bool> &queue = state().queue;
        return std::find(queue.begin(), std::list<bool>::const_iterator(myPlace), true) != myPlace;
    }
    /// Waits with the interpreter free until another thread may have left.
    void wait()
    {
        waitForAll();
        if (isEnding()) {
            PyErr_SetString(PyExc_RuntimeError,
                            "the interpreter ends while another thread is at work");
            throw py::error_already_set();
        }
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
    }
    /// The same where no signal may end it.
    void waitForAll()
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
    if (isChanger()) {
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
    while (gate.changer != 0 && !isChanger()) {
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
    if (!isChanger()) {
        if (theReadings > 0) {
            PYZraise("BusyError",
                     "nothing can be changed while this thread evaluates: an expression "
                     "can read values, not set them");
        }
        Place place(true);
        while (!place.isTurnToChange()) {
            place.wait();
        }
        gate.changer = PyThread_get_thread_ident();
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
            Exception onItsWay;
            onItsWay.fetch();
            callAll();
            showKept();
            onItsWay.restore();
        }
        std::vector<std::unique_ptr<NOD_Scene>> buried;
        buried.swap(gate.buried);
        buried.clear();
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

bool PYZ_Changing::isNested()
{
    return isChanger() && state().changes > 1;
}

PYZ_Changing::Pause::Pause() : myPausedFlag(isChanger() && state().changes == 1)
{
    if (myPausedFlag) {
        leave();
    }
}

PYZ_Changing::Pause::~Pause()
{
    if (myPausedFlag) {
        Place place(true);
        while (!place.isTurnToChange() && !isEnding()) {
            place.waitForAll();
        }
        state().changer = PyThread_get_thread_ident();
        state().changes = 1;
    }
}

// ---------------------------------------------------------------------- //
// Handlers
// ---------------------------------------------------------------------- //

void PYZ_Changing::callLater(const py::object &handlers, const py::tuple &arguments)
{
    // So many in answer to handlers are handlers that call each other without an end.
    constexpr int theMostAnswers = 20000;
    Calls &calls = state().calls[PyThread_get_thread_ident()];
    if (calls.callingFlag && ++calls.answers > theMostAnswers) {
        if (calls.answers == theMostAnswers + 1) {
            PyErr_SetString(PyExc_RecursionError,
                            "handlers of events change what they are called for");
            calls.keep();
        }
        return;
    }
    calls.waiting.push_back({handlers.inc_ref().ptr(), arguments.inc_ref().ptr()});
    if (!isChanger()) {
        callAll();
        showKept();
    }
}

void PYZ_Changing::callAll() noexcept
{
    const auto found = state().calls.find(PyThread_get_thread_ident());
    if (found == state().calls.end() || found->second.callingFlag) {
        return;
    }
    Calls &calls = found->second;
    calls.callingFlag = true;
    const Pause pause;
    while (!calls.waiting.empty()) {
        const Call call = calls.waiting.front();
        calls.waiting.pop_front();
        // A copy: a handler may be the last one that is called.
        PyObject *const handlers = PySequence_List(call.handlers);
        for (py::ssize_t i = 0; handlers && i < PyList_GET_SIZE(handlers); ++i) {
            PyObject *const handler = PyList_GET_ITEM(handlers, i);
            PyObject *const result =
                SNKstayAtEnd([&] { return PyObject_CallObject(handler, call.arguments); });
            if (!result) {
                calls.keep();
            }
            Py_XDECREF(result);
        }
        Py_XDECREF(handlers);
        Py_DECREF(call.handlers);
        Py_DECREF(call.arguments);
    }
    calls.callingFlag = false;
}

/// Where nobody can catch it.
void PYZ_Changing::showKept() noexcept
{
    Exception kept = takeKept();
    if (kept.type) {
        kept.restore();
        PyErr_WriteUnraisable(Py_None);
    }
}

void PYZ_Changing::raiseKept() const
{
    if (state().changes != 1 || state().calls.empty()) {
        return;
    }
    callAll();
    Exception kept = takeKept();
    if (kept.type) {
        kept.restore();
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
