/// \file SNK_PythonPrivate.h
/// Holding and releasing the interpreter, for the sources that are built with Python.
///
/// Threads:    any. No lock may be held while waiting for the interpreter.
#pragma once

#include <Python.h>

#include <SNK/SNK_PythonEnd.h>

/// Holds the interpreter while the object exists; starts it if needed. Holders nest.
class SNK_PythonHold
{
public:
    SNK_PythonHold();
    ~SNK_PythonHold();
    SNK_PythonHold(const SNK_PythonHold &) = delete;
    SNK_PythonHold &operator=(const SNK_PythonHold &) = delete;

    /// False if there is no interpreter; getError() says why.
    bool isHeld() const { return myError == nullptr; }
    const char *getError() const { return myError; }

    /// Raises KeyboardInterrupt on each thread that has one. With the interpreter held.
    static void interruptAll();

private:
    void link();
    void unlink();

    // The interpreter guards the list.
    static SNK_PythonHold *theNewest;
    SNK_PythonHold *myOlder = nullptr;
    SNK_PythonHold *myNewer = nullptr;
    unsigned long myThread = 0;
    const char *myError;
    PyGILState_STATE myState{};
};

/// Releases the interpreter to other threads while the object exists, for calls out of it.
class SNK_PythonRest
{
public:
    SNK_PythonRest() : myState(PyEval_SaveThread()) {}
    ~SNK_PythonRest()
    {
        SNKstayAtEnd([this] { PyEval_RestoreThread(myState); });
    }
    SNK_PythonRest(const SNK_PythonRest &) = delete;
    SNK_PythonRest &operator=(const SNK_PythonRest &) = delete;

private:
    PyThreadState *myState;
};

/// Creates the module `vmr`, a new reference; null with an exception set.
PyObject *SNKmakeModule();
