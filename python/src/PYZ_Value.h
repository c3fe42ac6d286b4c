/// \file PYZ_Value.h
/// Values of components on their way between the library and Python.
///
/// Vocabulary: *kind* = what Python has for it: float, int, bool of a toggle, str, and a dict of a dictionary.
/// Threads:    with the interpreter lock; evaluations that may take long rest from it.
/// Errors:     zel.EvaluationError for a read whose expression fails, TypeError and ValueError for what is no value of the
///             kind, zel.EditError for what is refused.
#pragma once

#include "PYZ_Python.h"

#include <TRK/TRK_Types.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

class NOD_Edit;
class NOD_Node;
class NOD_Scene;
class PYZ_Parm;
class ZEL_Parm;

enum class PYZ_Kind
{
    NONE,
    FLOAT,
    INTEGER,
    TOGGLE,
    TEXT,
    DICT
};

PYZ_Kind PYZkindOf(const ZEL_Parm &parm);
/// "float" and so on.
const char *PYZkindWord(PYZ_Kind kind);

/// A float, an integer, a text, or nothing; of a dictionary the text is its JSON.
using PYZ_Cell = std::variant<std::monostate, double, std::int64_t, std::string>;

py::object PYZfromCell(const PYZ_Cell &cell, PYZ_Kind kind);
/// The word of a menu's entry stands for its number, where the parameter has one.
PYZ_Cell PYZtoCell(py::handle value, const ZEL_Parm &parm, const std::string &name);
/// A finite one; `what` is "a time".
double PYZtoNumber(py::handle value, std::string_view what);
/// "native" or "python".
TRK_ExprLanguage PYZtoLanguage(py::handle word);
const char *PYZlanguageWord(TRK_ExprLanguage language);
/// A time, or a frame, of which one or none is given; without them the scene's.
double PYZtimeOf(const NOD_Scene &scene, py::handle time, py::handle frame);

/// How texts are read.
enum class PYZ_Texts
{
    EXPANDED,
    RAW ///< with their variables
};

/// Of one component, or a tuple of all.
py::object PYZread(const PYZ_Parm &handle, double time, PYZ_Texts texts = PYZ_Texts::EXPANDED);
py::object PYZreadDefault(const PYZ_Parm &handle);
void PYZwrite(const PYZ_Parm &handle, py::handle value, double time);
/// Why it can't be edited; "" if it can.
std::string PYZrefusal(const ZEL_Parm &parm, int index, double time, const std::string &name);
