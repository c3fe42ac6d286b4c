/// \file NOD_MigrationComponentsPrivate.h
/// What the components of a parameter are, for people and to be compared. Not installed.
///
/// Threads:    the thread that owns the node.
#pragma once

#include <string>
#include <vector>

class ZEL_Parm;

struct NOD_MigrationComponent
{
    std::string text;  ///< for people
    std::string body;  ///< all that is made of it; equal ones are the same
    std::string value; ///< what it evaluates to at the time
    bool failedFlag = false;
};
using NOD_MigrationComponents = std::vector<NOD_MigrationComponent>;

NOD_MigrationComponent NODcomponentOf(const ZEL_Parm &parm, int index, double time);
NOD_MigrationComponents NODcomponentsOf(const ZEL_Parm &parm, double time);
std::string NODtextOf(const NOD_MigrationComponents &components);
std::string NODvaluesOf(const NOD_MigrationComponents &components);
/// Base parameters, folders, buttons and labels have no value of anybody's.
bool NODhasValue(const ZEL_Parm &parm);
/// The place of a token in the menu; -1 if it has none.
int NODfindEntry(const ZEL_Parm &parm, const std::string &token);
/// A menu of these entries and no others.
bool NODhasFixedMenu(const ZEL_Parm &parm);
/// The text of a string without its quotes.
std::string NODrawText(const ZEL_Parm &parm, int index, double time);
