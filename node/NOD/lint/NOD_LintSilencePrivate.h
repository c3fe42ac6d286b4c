/// \file NOD_LintSilencePrivate.h
/// The comments of a script that silence rules.
///
/// Ownership:  copies.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>

class NOD_LintContext;
struct NOD_LintFinding;
struct NOD_LintRule;

class NOD_LintSilence
{
public:
    /// Adds a finding for each comment that can't be understood.
    explicit NOD_LintSilence(NOD_LintContext &context);

    bool has(const NOD_LintFinding &finding) const;

private:
    std::map<std::pair<std::string, int>, std::set<const NOD_LintRule *>> myLines;
    std::map<std::string, std::set<const NOD_LintRule *>> myFiles;
};
