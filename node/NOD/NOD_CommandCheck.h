/// \file NOD_CommandCheck.h
/// Reads a file of dialog commands, and tells its mistakes: those of every command, where reading one ends at the first.
///
/// Threads:    as making an interface.
/// Errors:     each mistake is a message with a detail, in the order of the file, as NODcheckScript tells those of a
///             script. False if there is an error; without one, only what DS_CommandList doesn't report itself is
///             told.
/// Cost:       that of reading the file once for each command, but without the others.
///
/// After a command that can't be read it goes on at the next one: after its brace, or where `command` or a brace
/// begins a line no further in than the command does. A command has the macros in front of it; a file with other
/// directives isn't told of, so that its reader's messages are all there are. Comments aren't looked into for either, so
/// who has a reader's verdict asks it first, and this for the rest of the mistakes.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Interface.h>

#include <memory>
#include <string>
#include <string_view>

class DS_CommandList;
class NOD_Report;

/// Never null; the report has errors for what could not be read: with the check's messages for the reader's, if it finds
/// mistakes too.
NOD_API std::unique_ptr<DS_CommandList>
NODreadCommands(std::string_view text, const std::string &name, NOD_Report &report,
                NOD_Interface::Includes includes = NOD_Interface::Includes::ANY);
NOD_API bool NODcheckCommands(std::string_view text, const std::string &name, NOD_Report &report);
