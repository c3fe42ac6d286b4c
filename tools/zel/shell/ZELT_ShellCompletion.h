/// \file ZELT_ShellCompletion.h
/// What can stand where a line of the shell ends: commands, and what their usage names there.
///
/// Threads:    the shell's.
/// Errors:     nothing is completed where nothing is known.
///
/// The words of a usage are the rule: TOKEN, ADDRESS and PATTERN are parameters, NODE is a node, FILE a file, VALUE an
/// entry of the menu of the parameter before, and words in small letters are themselves. A new command needs
/// nothing more.
#pragma once

#include "ZELT_LineReader.h"

#include <string>

class ZELT_Shell;

ZELT_Completions ZELTcompleteLine(ZELT_Shell &shell, const std::string &text);
