/// \file ZELT_Lint.h
/// What commands that judge scripts share: the configuration file and how findings are shown.
///
/// Errors:     false after a message.
#pragma once

#include "ZELT_Json.h"

#include <NOD/NOD_Lint.h>

#include <string>
#include <vector>

class ZELT_Messages;

/// Adds what the file `.zel-lint` in the folder of a script says, if there is one.
bool ZELTreadLintFile(const std::string &script, NOD_LintOptions &options, ZELT_Messages &messages);

/// A line for each, on standard output.
void ZELTprintLint(const std::vector<NOD_LintFinding> &findings);
ZELT_Json ZELTlintJson(const std::vector<NOD_LintFinding> &findings);
