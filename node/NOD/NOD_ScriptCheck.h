/// \file NOD_ScriptCheck.h
/// Reads a dialog script for its mistakes: all of them, where reading it ends at the first.
///
/// Vocabulary: *reader* = what every other operation reads scripts with (NOD_Interface).
/// Threads:    as making an interface.
/// Errors:     each mistake is a message with a detail, in the order of the script. What the reader says
///             comes with its own text and line; the detail has the place of the mistake, which may be
///             further up: a brace that is missing there, a text that is not closed.
/// Cost:       a script that the reader accepts is read once.
///
/// After a mistake reading goes on where the grammar is certain: with the next statement of the block, and
/// with the block in which indentation and keywords put it where a brace is missing or too many. So
/// mistakes that have nothing to do with each other are told each, and what follows from one isn't.
/// Of what is left without the faulty statements NODcheckDescription() is told too, as warnings, but for what may
/// follow from what is left out.
/// Of a script of more than four million tokens or 64 MB only the reader's messages are
/// told, with the places of the tokens where it noticed them.
#pragma once

#include <NOD/NOD_Interface.h>

#include <memory>
#include <string>
#include <string_view>

/// The interface if the reader accepts the script, else null. Messages are added to the report; of a
/// script that the reader accepts they are warnings.
NOD_API std::shared_ptr<const NOD_Interface>
NODcheckScriptFile(const std::string &path, NOD_Report &report,
                   NOD_Interface::Includes includes = NOD_Interface::Includes::ANY);
/// The same of a text, as NOD_Interface::fromText takes it.
NOD_API std::shared_ptr<const NOD_Interface>
NODcheckScript(std::string_view text, const std::string &name, NOD_Report &report,
               NOD_Interface::Includes includes = NOD_Interface::Includes::ANY);
/// What is wrong with what a script describes, though it can be read: its names, templates, menus and
/// expressions, each once, as warnings with the script's file.
NOD_API void NODcheckDescription(const NOD_Interface &script, const std::string &file,
                                 NOD_Report &report);
