/// \file PYZ_Gate.h
/// Who may use the library now: any number of threads that evaluate, or one that changes something.
///
/// Vocabulary: *reading* = evaluation, which may rest from the interpreter; *changing* = everything else that isn't done
///             at once: edits, files, scripts, whose readers are one for the process.
/// Threads:    all of it with the interpreter lock. Who has to wait lets go of it, and who waits for the lock may have
///             the gate: so nobody waits for each other. Who waits has its turn in the order of coming, readings that
///             follow each other together. Both nest on one thread, a reading in a changing too. Handlers of events and
///             what shows warnings are called while nobody has the gate, so that they may wait for other threads.
/// Errors:     zel.BusyError for a change by what a reading of the same thread runs, such as an expression in Python.
///             A signal's exception, as KeyboardInterrupt, ends the wait.
/// Cost:       without others a few words of memory that no other thread touches without the lock.
///
/// One scene of the process is current: whoever comes with another one makes that current first, once nobody reads.
#pragma once

#include "PYZ_Python.h"

#include <memory>

class NOD_Report;
class NOD_Scene;

class PYZ_Reading
{
public:
    /// Null: the scene doesn't matter.
    explicit PYZ_Reading(NOD_Scene *scene);
    ~PYZ_Reading();
    PYZ_Reading(const PYZ_Reading &) = delete;
    PYZ_Reading &operator=(const PYZ_Reading &) = delete;

    /// Waits while another thread changes something. Until the interpreter lock is let go of, which making an object
    /// of Python's may do, what can't run anything may be read without a scope.
    static void await();

    /// Counts a thread that works for a reading of another one as part of it. Without the interpreter lock.
    class Helper
    {
    public:
        Helper();
        ~Helper();
        Helper(const Helper &) = delete;
        Helper &operator=(const Helper &) = delete;
    };

private:
    bool myCountedFlag = false;
};

class PYZ_Changing
{
public:
    explicit PYZ_Changing(NOD_Scene *scene);
    ~PYZ_Changing();
    PYZ_Changing(const PYZ_Changing &) = delete;
    PYZ_Changing &operator=(const PYZ_Changing &) = delete;

    /// Calls the handlers of a list once the thread's outermost change is done, or now if it makes none: what is edited
    /// is never edited by a handler meanwhile. Of exceptions that leave them the first is raised then.
    static void callLater(const py::object &handlers, const py::tuple &arguments);
    /// In the outermost change calls the handlers that wait, and raises what one has raised. No edit may be open.
    void raiseKept() const;
    /// Whether this thread makes a change within another one.
    static bool isNested();
    /// Destroys the scene as soon as nobody is at work.
    static void bury(std::unique_ptr<NOD_Scene> scene) noexcept;

    /// Lets others pass while it lives, and then waits for its turn again: for code of the user's, which may wait for
    /// another thread. Does nothing within a nested change, or in none. No edit may be open.
    class Pause
    {
    public:
        Pause();
        ~Pause();
        Pause(const Pause &) = delete;
        Pause &operator=(const Pause &) = delete;

    private:
        bool myPausedFlag;
    };

private:
    struct AtOnce
    {};
    /// Nobody is at work; those that wait come after it.
    explicit PYZ_Changing(AtOnce);
    static void callAll() noexcept;
    static void showKept() noexcept;
    static void leave();
};
