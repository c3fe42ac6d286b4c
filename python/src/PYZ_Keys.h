/// \file PYZ_Keys.h
/// `zel.Keys`: the keys of one component as a sequence, in the order of their times.
///
/// Units:      seconds; slopes in values a second; a handle's length in seconds.
/// Ownership:  a parameter's handle.
/// Errors:     as PYZ_Parm.h. Edits are one step of undo each.
#pragma once

#include "PYZ_Parm.h"

#include <vector>

/// Of a single component.
py::object PYZkeys(const PYZ_Parm &handle);
void PYZsetKeys(const PYZ_Parm &handle, py::handle keys);
/// ValueError if two keys would be one.
void PYZcheckTimes(std::vector<double> times);
void PYZdefineKeys(py::module_ &module);
