/// \file PYZ_Python.h
/// Python's interface as the module's sources use it, and texts on their way between the two.
///
/// Vocabulary: *interpreter lock* = CPython's: who has it may touch Python's objects.
/// Ownership:  as pybind11 has it; a `PyObject *` that a function returns is new.
/// Threads:    with the interpreter lock, unless a function says otherwise.
/// Errors:     py::error_already_set with the exception set.
///
/// The interpreter is the process's own: the module starts none and ends none.
#pragma once

#include <SNK/SNK_PythonEnd.h>
#include <pybind11/pybind11.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace py = pybind11;

namespace pybind11::detail
{

/// Of classes that have the name `PYZ_Class`. An object that `__new__` has made alone is none of them: pybind11 would
/// give it memory that nobody has filled.
template <class T>
class type_caster<T, std::void_t<typename T::PYZ_Class>> : public type_caster_base<T>
{
public:
    bool load(handle src, bool convert)
    {
        if (src && PyObject_TypeCheck(src.ptr(), this->typeinfo->type) &&
            !reinterpret_cast<instance *>(src.ptr())->get_value_and_holder().value_ptr()) {
            return false;
        }
        return type_caster_base<T>::load(src, convert);
    }
};

} // namespace pybind11::detail

/// Lets other threads have the interpreter while it lives.
class PYZ_Rest
{
public:
    PYZ_Rest() : myState(PyEval_SaveThread()) {}
    ~PYZ_Rest()
    {
        SNKstayAtEnd([this] { PyEval_RestoreThread(myState); });
    }
    PYZ_Rest(const PYZ_Rest &) = delete;
    PYZ_Rest &operator=(const PYZ_Rest &) = delete;

private:
    PyThreadState *myState;
};

/// Has the interpreter while it lives, on any thread, whether it has it already or not.
class PYZ_Hold
{
public:
    PYZ_Hold() : myState(SNKstayAtEnd(PyGILState_Ensure)) {}
    ~PYZ_Hold() { PyGILState_Release(myState); }
    PYZ_Hold(const PYZ_Hold &) = delete;
    PYZ_Hold &operator=(const PYZ_Hold &) = delete;

private:
    PyGILState_STATE myState;
};

/// Bytes that are no UTF-8 become lone surrogates, and these the bytes again, as in Python's file names.
py::str PYZtext(std::string_view text);
/// ValueError for a text with a NUL, which no name or value of the library can have; TypeError for what is no text.
std::string PYZfromText(py::handle text, const char *what);
/// The same of contents of a file, which may be bytes, too: any bytes then.
std::string PYZfromTextOrBytes(py::handle text, const char *what);
/// TypeError for what are no bytes.
std::string PYZfromBytes(py::handle bytes, const char *what);
/// The same of a path: a text, bytes or whatever os.fspath() takes.
std::string PYZfromPath(py::handle path);

/// A class of the records that the package returns.
py::object PYZrecord(const char *name);

/// TypeError for what is no integer; `what` is "key".
py::ssize_t PYZtoIndex(py::handle index, const char *what);
/// As Python counts: negative from the end. IndexError if there is none.
int PYZplaceOf(py::handle index, int size, const char *what);
/// The places that an index or a slice means.
std::vector<int> PYZplacesOf(py::handle index, int size, const char *what);

/// Of an object of a class of ours, which has one base and holds its C++ object in place; null before it is made.
template <class T>
T *PYZself(PyObject *object)
{
    auto *const instance = reinterpret_cast<py::detail::instance *>(object);
    return instance->simple_layout ? static_cast<T *>(instance->simple_value_holder[0]) : nullptr;
}

/// The same, with a TypeError for one that isn't made.
template <class T>
T &PYZmade(PyObject *object)
{
    if (T *const self = PYZself<T>(object)) {
        return *self;
    }
    throw py::type_error("nothing has made the object");
}

/// What a class needs so that the collector of cycles sees what its C++ object holds: `int traverse(visitproc visit, void *arg) const`
/// calls Py_VISIT of each.
template <class T>
py::custom_type_setup PYZcollected()
{
    return py::custom_type_setup([](PyHeapTypeObject *heap) {
        PyTypeObject &type = heap->ht_type;
        type.tp_flags |= Py_TPFLAGS_HAVE_GC;
        type.tp_traverse = [](PyObject *object, visitproc visit, void *arg) -> int {
            Py_VISIT(Py_TYPE(object));
            const T *const self = PYZself<T>(object);
            return self ? self->traverse(visit, arg) : 0;
        };
    });
}
