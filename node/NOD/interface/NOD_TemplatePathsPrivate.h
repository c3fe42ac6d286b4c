/// \file NOD_TemplatePathsPrivate.h
/// The literal paths of nodes that templates have: in conditions, menu scripts, callbacks, defaults. Not
/// installed.
///
/// Ownership:  what is found has texts of its own.
/// Threads:    any, while nobody changes the templates.
/// Cost:       linear in the templates and their texts.
#pragma once

#include <NOD/NOD_Interface.h>

#include <vector>

class ZEL_Template;

/// Of an array up to its terminator, with those of blocks' items; null for none.
std::vector<NOD_Interface::NodePath> NODtemplatePaths(const ZEL_Template *templates);
/// The same of single ones.
std::vector<NOD_Interface::NodePath>
NODtemplatePaths(const std::vector<const ZEL_Template *> &descriptions);
