/// \file ZELT_Command.h
/// Dialog commands of a file: listed, shown as a form, and lines turned into settings and back.
///
/// Threads:    one thread at a time.
/// Errors:     as ZELT_Commands.h.
#pragma once

#include "ZELT_Commands.h"

#include <string>

struct ZELT_CommandCall
{
    std::string file;
    std::string line; ///< empty: the list; one word: that command's form; more: a command line
};
int ZELTcommand(const ZELT_CommandCall &call, const ZELT_Options &options, ZELT_Messages &messages);
