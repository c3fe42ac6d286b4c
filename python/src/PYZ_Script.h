/// \file PYZ_Script.h
/// `zel.lint`, `zel.check`, `zel.format`, `zel.mend`: dialog scripts judged and laid out.
///
/// Errors:     zel.ScriptError for a script that can't be read.
#pragma once

#include "PYZ_Python.h"

void PYZdefineScript(py::module_ &module);
