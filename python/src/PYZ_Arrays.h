/// \file PYZ_Arrays.h
/// Many numbers at once: `Node.sample`, `Scene.sample`, `Parm.set_keys`.
///
/// Units:      rows are times, columns components. Frames, or times in seconds.
/// Threads:    sampling rests from the interpreter and works on all cores.
/// Errors:     zel.EvaluationError for the first number that can't be evaluated.
#pragma once

#include "PYZ_Python.h"

/// After the classes that it adds to.
void PYZdefineArrays(py::module_ &module);
