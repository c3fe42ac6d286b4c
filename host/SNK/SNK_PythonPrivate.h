/// \file SNK_PythonPrivate.h
/// Holding and leaving the interpreter, for the sources that are built with Python.
///
/// Threads:    any. Waiting for the interpreter happens with no lock held.
#pragma once

#include <Python.h>

/// Holds the interpreter while it lives; starts it if need be. Holders nest.
class SNK_PythonHold
{
public:
    SNK_PythonHold();
    ~SNK_PythonHold();
    SNK_PythonHold(const SNK_PythonHold &) = delete;
    SNK_PythonHold &operator=(const SNK_PythonHold &) = delete;

    /// False: there is no interpreter, and getError() says why.
    bool isHeld() const { return myError == nullptr; }
    const char *getError() const { return myError; }

private:
    const char *myError;
    PyGILState_STATE myState{};
};

/// Lets other threads have the interpreter while it lives, for calls out of it.
class SNK_PythonRest
{
public:
    SNK_PythonRest() : myState(PyEval_SaveThread()) {}
    ~SNK_PythonRest() { PyEval_RestoreThread(myState); }
    SNK_PythonRest(const SNK_PythonRest &) = delete;
    SNK_PythonRest &operator=(const SNK_PythonRest &) = delete;

private:
    PyThreadState *myState;
};

/// Makes the module `vmr`, a new reference; null with an exception set.
PyObject *SNKmakeModule();
