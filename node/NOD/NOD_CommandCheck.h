/// \file NOD_CommandCheck.h
/// Reads a file of dialog commands for its mistakes: those of every command, where reading one ends at the first.
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

#include <string>
#include <string_view>

class NOD_Report;

NOD_API bool NODcheckCommands(std::string_view text, const std::string &name, NOD_Report &report);
