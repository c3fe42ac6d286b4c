/// \file ZELT_Lint.h
/// What commands that judge scripts share: their options, the configuration file and how findings are shown.
///
/// Errors:     false after a message.
#pragma once

#include "ZELT_Json.h"

#include <NOD/NOD_Lint.h>

#include <string>
#include <vector>

class ZELT_Command;
class ZELT_Messages;

/// Which rules a command line wants.
struct ZELT_LintCall
{
    std::vector<std::string> disabled;
    std::vector<std::string> only;
    std::string level;

    bool isEmpty() const { return disabled.empty() && only.empty() && level.empty(); }
};

/// Adds --disable, --only and --level.
void ZELTaddLintOptions(ZELT_Command command, ZELT_LintCall &call);
/// Adds what the command line says to what a configuration file said.
bool ZELTreadLintOptions(const ZELT_LintCall &call, NOD_LintOptions &options,
                         ZELT_Messages &messages);
/// Adds what the file `.zel-lint` in the folder of a script says, if there is one.
bool ZELTreadLintFile(const std::string &script, NOD_LintOptions &options, ZELT_Messages &messages);

/// A line for each, on standard output; with its source and related places where messages are full.
void ZELTprintLint(const std::vector<NOD_LintFinding> &findings);
ZELT_Json ZELTlintJson(const std::vector<NOD_LintFinding> &findings);
