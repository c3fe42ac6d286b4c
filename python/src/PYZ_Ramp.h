/// \file PYZ_Ramp.h
/// `zel.Ramp`: a ramp as it is at a time, evaluated and drawn; and pictures of channels.
///
/// Ownership:  a copy, which outlives the parameter.
/// Errors:     TypeError for a parameter that is no ramp.
#pragma once

#include "PYZ_Python.h"

void PYZdefineRamp(py::module_ &module);
