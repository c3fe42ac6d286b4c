/// \file NOD_LintWordsPrivate.h
/// Lists of rules as people write them.
#pragma once

#include <NOD/NOD_Lint.h>

#include <functional>
#include <string>
#include <string_view>

/// By code or name; null without one.
const NOD_LintRule *NODfindLintRule(std::string_view word);
/// The words between commas and blanks.
void NODforEachLintWord(std::string_view list,
                        const std::function<void(const std::string &)> &call);
