/// \file PYZ_Files.h
/// How files are read and written, from the arguments that Python gives.
///
/// Errors:     ValueError for a word that is none.
#pragma once

#include "PYZ_Report.h"

#include <NOD/NOD_FileOptions.h>
#include <NOD/NOD_Interface.h>

NOD_SaveOptions PYZsaveOptions(bool binary, bool changedOnly, bool selfContained);
/// True, False or "folder".
NOD_LoadOptions PYZloadOptions(py::handle scripts);
/// `strict` may be None: only where all scripts are read.
PYZ_Faults PYZfaultsOf(py::handle scripts, py::handle strict);
/// The same words for what a script may include.
NOD_Interface::Includes PYZincludes(py::handle scripts);
