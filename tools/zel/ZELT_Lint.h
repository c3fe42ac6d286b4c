/// \file ZELT_Lint.h
/// What commands that judge scripts share: their options, the configuration file and how findings are shown.
///
/// Errors:     false after a message.
#pragma once

#include "ZELT_Json.h"

#include <NOD/NOD_Lint.h>

#include <string>
#include <vector>

class NOD_Report;
class ZELT_Command;
class ZELT_Messages;
struct ZELT_NodeInterface;

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
/// What the file `.zel-lint` in the folder of a script says, if there is one, and then the command line, whose words have
/// been looked at. False after an error in the report.
bool ZELTreadLintRules(const std::string &script, const ZELT_LintCall &call,
                       NOD_LintOptions &options, NOD_Report &report, ZELT_Messages &messages);
/// Where the script is that a file names, or that its node is of.
std::string ZELTscriptFile(const ZELT_NodeInterface &one);

/// A line for each, on standard output; with its source and related places where messages are full.
void ZELTprintLint(const std::vector<NOD_LintFinding> &findings);
ZELT_Json ZELTlintJson(const std::vector<NOD_LintFinding> &findings);
