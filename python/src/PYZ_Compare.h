/// \file PYZ_Compare.h
/// `zel.diff` and `zel.merge`: what differs between two states, and one of what two people made.
///
/// Vocabulary: *state* = a path, the bytes of a file, a scene, a node or an interface.
/// Errors:     zel.PatchError, and what reading a state raises.
#pragma once

#include "PYZ_Python.h"

void PYZdefineCompare(py::module_ &module);
