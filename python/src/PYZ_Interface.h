/// \file PYZ_Interface.h
/// `zel.Interface`: what the parameters of a node type are.
///
/// Ownership:  shares the interface, which is immutable.
#pragma once

#include "PYZ_Python.h"

#include <NOD/NOD_Interface.h>

#include <memory>

using PYZ_InterfacePtr = std::shared_ptr<const NOD_Interface>;

struct PYZ_Interface
{
    using PYZ_Class = void;

    PYZ_InterfacePtr interface; ///< never null
};

/// TypeError, with what makes one, for anything else.
PYZ_InterfacePtr PYZtoInterface(py::handle value);
/// Null for None.
PYZ_InterfacePtr PYZtoInterfaceOrNone(py::handle value);
void PYZdefineInterface(py::module_ &module);
