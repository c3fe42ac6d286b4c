/// \file NOD_TemplatePathsPrivate.h
/// The literal paths of nodes that templates have: in conditions, menu scripts, callbacks, defaults. Not
/// installed.
///
/// Ownership:  what is found borrows from the templates.
/// Threads:    any, while nobody changes the templates.
/// Cost:       linear in the templates and their texts.
#pragma once

#include <string>
#include <vector>

class ZEL_Template;

struct NOD_TemplatePath
{
    std::string parm;  ///< the token of the parameter
    const char *place; ///< what has it: "disablewhen", "default" and so on
    std::string path;
};

/// Of an array up to its terminator, with those of blocks' items; null for none.
std::vector<NOD_TemplatePath> NODtemplatePaths(const ZEL_Template *templates);
/// The same of single ones.
std::vector<NOD_TemplatePath>
NODtemplatePaths(const std::vector<const ZEL_Template *> &descriptions);
