/// \file NOD_GraphDrawing.h
/// Pictures of graphs in the DOT language, laid out by the program `dot` of Graphviz.
///
/// Ownership:  none.
/// Threads:    any.
/// Errors:     a message in the report if the program isn't there or fails, with what it says.
/// Cost:       a process; it lays out some thousands of edges in seconds, and takes long for many more.
#pragma once

#include <NOD/NOD_API.h>

#include <string>

class NOD_Report;

/// False, and nothing set, if there is no picture.
NOD_API bool NODdrawGraph(const std::string &dot, std::string &svg, NOD_Report &report);
