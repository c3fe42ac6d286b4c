#include "PYZ_Python.h"

py::str PYZtext(std::string_view text)
{
    PyObject *const made =
        PyUnicode_DecodeUTF8(text.data(), Py_ssize_t(text.size()), "surrogateescape");
    if (!made) {
        throw py::error_already_set();
    }
    return py::reinterpret_steal<py::str>(made);
}

std::string PYZfromText(py::handle text, const char *what)
{
    if (!PyUnicode_Check(text.ptr())) {
        throw py::type_error(std::string(what) + " must be a str, not " +
                             Py_TYPE(text.ptr())->tp_name);
    }
    const py::object bytes = py::reinterpret_steal<py::object>(
        PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    if (!bytes) {
        throw py::error_already_set();
    }
    std::string result(PyBytes_AS_STRING(bytes.ptr()), std::size_t(PyBytes_GET_SIZE(bytes.ptr())));
    if (result.find('\0') != std::string::npos) {
        throw py::value_error(std::string(what) + " can't have a NUL in it");
    }
    return result;
}

std::string PYZfromPath(py::handle path)
{
    PyObject *bytes = nullptr;
    if (!PyUnicode_FSConverter(path.ptr(), &bytes)) {
        throw py::error_already_set();
    }
    const py::object kept = py::reinterpret_steal<py::object>(bytes);
    return std::string(PyBytes_AS_STRING(bytes), std::size_t(PyBytes_GET_SIZE(bytes)));
}

std::string PYZfromBytes(py::handle bytes, const char *what)
{
    if (!PyBytes_Check(bytes.ptr())) {
        throw py::type_error(std::string(what) + " must be bytes, not " +
                             Py_TYPE(bytes.ptr())->tp_name);
    }
    return std::string(PyBytes_AS_STRING(bytes.ptr()), std::size_t(PyBytes_GET_SIZE(bytes.ptr())));
}

std::string PYZfromTextOrBytes(py::handle text, const char *what)
{
    if (!PyBytes_Check(text.ptr()) && !PyUnicode_Check(text.ptr())) {
        throw py::type_error(std::string(what) + " must be a str or bytes, not " +
                             Py_TYPE(text.ptr())->tp_name);
    }
    return PyBytes_Check(text.ptr()) ? PYZfromBytes(text, what) : PYZfromText(text, what);
}

py::object PYZrecord(const char *name)
{
    return py::module_::import("zel.records").attr(name);
}

py::ssize_t PYZtoIndex(py::handle index, const char *what)
{
    if (!PyIndex_Check(index.ptr())) {
        throw py::type_error("the place of a " + std::string(what) + " must be an int, not " +
                             Py_TYPE(index.ptr())->tp_name);
    }
    const py::ssize_t number = PyNumber_AsSsize_t(index.ptr(), PyExc_IndexError);
    if (number == -1 && PyErr_Occurred()) {
        throw py::error_already_set();
    }
    return number;
}

int PYZplaceOf(py::handle index, int size, const char *what)
{
    const py::ssize_t number = PYZtoIndex(index, what);
    const py::ssize_t place = number < 0 ? number + size : number;
    if (place < 0 || place >= size) {
        throw py::index_error("no " + std::string(what) + ' ' + std::to_string(number) + " of " +
                              std::to_string(size));
    }
    return int(place);
}

std::vector<int> PYZplacesOf(py::handle index, int size, const char *what)
{
    if (!PySlice_Check(index.ptr())) {
        return {PYZplaceOf(index, size, what)};
    }
    py::ssize_t start = 0, stop = 0, step = 0;
    if (PySlice_Unpack(index.ptr(), &start, &stop, &step) < 0) {
        throw py::error_already_set();
    }
    const py::ssize_t length = PySlice_AdjustIndices(size, &start, &stop, step);
    std::vector<int> places;
    for (py::ssize_t i = 0; i < length; ++i) {
        places.push_back(int(start + i * step));
    }
    return places;
}
