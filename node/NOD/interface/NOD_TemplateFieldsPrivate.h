/// \file NOD_TemplateFieldsPrivate.h
/// A template as texts, to tell what differs between two.
#pragma once

#include <map>
#include <string>

class ZEL_Conditional;
class ZEL_Default;
class ZEL_Template;

using NOD_TemplateFields = std::map<std::string, std::string>;

/// Each field by its name; those that are as in a new template may be missing. Items of blocks are
/// templates of their own.
NOD_TemplateFields NODgetTemplateFields(const ZEL_Template &from);

/// The default that a component has: the override, else the factory's; null without one.
const ZEL_Default *NODgetDefault(const ZEL_Template &from, int component);

/// All groups and comparisons; different conditions have different texts.
std::string NODconditionText(const ZEL_Conditional *condition);
