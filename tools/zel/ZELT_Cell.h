/// \file ZELT_Cell.h
/// The evaluated value of one component, and how it is printed.
///
/// Threads:    any, as the evaluation of the parameter.
#pragma once

#include "ZELT_Json.h"

#include <cstdint>
#include <string>
#include <variant>

class ZEL_Parm;

/// A float, an ordinal or a text; nothing without a value.
using ZELT_Cell = std::variant<std::monostate, double, std::int64_t, std::string>;

/// Texts are expanded.
ZELT_Cell ZELTevaluate(const ZEL_Parm &parm, int index, double time, int thread);

/// A number, a text in quotes, or `-`.
std::string ZELTcellText(const ZELT_Cell &cell);
/// A number, a text, or null.
ZELT_Json ZELTcellJson(const ZELT_Cell &cell);
