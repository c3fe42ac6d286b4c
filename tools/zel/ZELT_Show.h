/// \file ZELT_Show.h
/// Interfaces for people, as a tree of lines.
///
/// Threads:    immutable interfaces only; no menu script runs.
#pragma once

#include <string>
#include <vector>

class ZEL_Template;
struct NOD_DescribedParm;
struct NOD_Description;

/// The text dump of the type.
std::string ZELTtypeDump(const ZEL_Template &description);
/// One parameter on one line: token, label, type and whatever else it has.
std::string ZELTdescribeLine(const ZEL_Template &description);
/// All templates, indented by folders and blocks.
std::string ZELTdescribeTree(const ZEL_Template *templates);
/// The same of a whole interface, with what only its script says.
std::string ZELTdescribeTree(const NOD_Description &description);
/// Those of a node, below a line that says so; "" for none.
std::string ZELTdescribeSpares(const std::vector<NOD_DescribedParm> &spares);
