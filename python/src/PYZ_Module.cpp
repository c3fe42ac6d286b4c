// The module zel._zel: what the package zel is made of.
#include "PYZ_Arrays.h"
#include "PYZ_Compare.h"
#include "PYZ_Interface.h"
#include "PYZ_Keys.h"
#include "PYZ_Migration.h"
#include "PYZ_Node.h"
#include "PYZ_Parm.h"
#include "PYZ_Ramp.h"
#include "PYZ_Scene.h"
#include "PYZ_Script.h"

#include <SNK/SNK_Python.h>

PYBIND11_MODULE(_zel, module)
{
    // Docstrings begin with the signatures that people read; types are in the stubs.
    py::options options;
    options.disable_function_signatures();
    module.doc() = "The compiled part of zel.";
    module.attr("__version__") = PYZ_VERSION;
    py::register_local_exception_translator([](std::exception_ptr fault) {
        try {
            if (fault) {
                std::rethrow_exception(fault);
            }
        } catch (const py::cast_error &) {
            PyErr_SetString(PyExc_TypeError, "a value is of another type than is needed");
        }
    });
    // Messages name classes as people do: "zel.Scene".
    const py::object ownName = module.attr("__name__");
    module.attr("__name__") = "zel";
    PYZdefineInterface(module);
    PYZdefineScene(module);
    PYZdefineNode(module);
    PYZdefineParm(module);
    PYZdefineKeys(module);
    PYZdefineCompare(module);
    PYZdefineMigration(module);
    PYZdefineScript(module);
    PYZdefineArrays(module);
    PYZdefineRamp(module);
    module.def(
        "enable_python", SNKsetPythonEnabled, py::arg("on"),
        "enable_python(on)\n\nWhether menus and expressions in Python run in this process: for files of "
        "strangers they had better not.");
    module.attr("__name__") = ownName;
}
