/// \file ZELT_Script.h
/// Dialog scripts and migration maps that a command line names, with what is said of them on standard error.
///
/// Ownership:  whoever makes lists of an interface keeps it.
/// Errors:     null, or false, at the first error; everything that is reported is a message with its
///             file and line.
#pragma once

#include <NOD/NOD_Interface.h>

#include <memory>
#include <string>

class NOD_MigrationMap;
class NOD_Report;
class ZELT_Messages;

using ZELT_ScriptPtr = std::shared_ptr<const NOD_Interface>;

/// "-" is standard input.
ZELT_ScriptPtr ZELTloadScript(const std::string &file, ZELT_Messages &messages);
/// The same, with what is said in a report of the caller's.
ZELT_ScriptPtr ZELTloadScript(const std::string &file, NOD_Report &report);
/// As ZELTloadScript for a text: a script, or the contents of a script's braces.
ZELT_ScriptPtr ZELTloadScriptText(const std::string &text, const std::string &name,
                                  ZELT_Messages &messages);
/// False, with what is wrong: of a file of another kind just that.
bool ZELTreadMap(NOD_MigrationMap &map, const std::string &file, NOD_Report &report);
