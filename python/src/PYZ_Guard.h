/// \file PYZ_Guard.h
/// For slots that CPython calls itself, without pybind11 between: exceptions of C++ become Python's.
#pragma once

#include "PYZ_Python.h"

#include <new>

/// False, with the exception set, if the call has thrown.
template <class Call>
bool PYZcatch(const Call &call)
{
    try {
        call();
        return true;
    } catch (py::error_already_set &error) {
        error.restore();
    } catch (const py::builtin_exception &error) {
        error.set_error();
    } catch (const std::bad_alloc &) {
        PyErr_NoMemory();
    } catch (const std::exception &error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    }
    return false;
}

/// A new object; null if the call has thrown.
template <class Call>
PyObject *PYZguard(const Call &call)
{
    PyObject *result = nullptr;
    return PYZcatch([&] { result = call(); }) ? result : nullptr;
}

/// 0; -1 if the call has thrown.
template <class Call>
int PYZguardSet(const Call &call)
{
    return PYZcatch(call) ? 0 : -1;
}
