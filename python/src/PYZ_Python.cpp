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
