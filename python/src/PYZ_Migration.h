/// \file PYZ_Migration.h
/// `zel.migrate` and `zel.MigrationMap`: values of another version of a node type.
///
/// Errors:     zel.MapError.
#pragma once

#include "PYZ_Python.h"

void PYZdefineMigration(py::module_ &module);
