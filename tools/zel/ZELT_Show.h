/// \file ZELT_Show.h
/// Templates for people, as a tree, and for programs, as JSON.
///
/// Threads:    immutable templates only; no menu script runs.
#pragma once

#include "ZELT_Json.h"

#include <string>

class ZEL_Template;

/// The dialog script's keyword for the type; "custom" if it has none.
std::string ZELTtypeWord(const ZEL_Template &description);
/// The text dump of the type.
std::string ZELTtypeDump(const ZEL_Template &description);
/// One parameter on one line: token, label, type and whatever else it has.
std::string ZELTdescribeLine(const ZEL_Template &description);
/// All templates, indented by folders and blocks.
std::string ZELTdescribeTree(const ZEL_Template *templates);
/// One object for each template, in order.
ZELT_Json ZELTdescribeJson(const ZEL_Template *templates);
