/// \file NOD_FileLoss.h
/// What a file that was read has, and what is written in its place has not.
///
/// Ownership:  owns its texts.
/// Threads:    any; pure functions.
/// Errors:     to the report, with the file.
#pragma once

#include <NOD/NOD_API.h>

#include <string>
#include <vector>

class NOD_Report;

/// In front of a conflict, in a comment that tells of it.
inline constexpr const char *theNODConflictMark = "conflict: ";

struct NOD_API NOD_FileLoss
{
    std::string file;
    std::string comment =
        {}; ///< the first one that is lost, with its mark; "": values that weren't taken
};

/// What a person can do about losses.
struct NOD_API NOD_LossRule
{
    bool isAllowed = false;
    std::string offer = {}; ///< what an error ends in: how they are allowed; "" for nothing
};

/// The first comment that a person wrote and the first that tells of a conflict, if there are any.
NOD_API std::vector<NOD_FileLoss> NODcommentLosses(const std::vector<std::string> &comments,
                                                   const std::string &file);
/// Those of a file of values or nodes, of any kind: no form keeps them. With the name of a preset or the path of a node
/// those in its sections alone. What can't be read is left to whoever reads it.
NOD_API std::vector<NOD_FileLoss> NODfindComments(const std::string &bytes, const std::string &file,
                                                  const std::string &part = {});
/// Those of a preset, node or scene file between its sections alone.
NOD_API std::vector<NOD_FileLoss> NODfindFrameComments(const std::string &bytes,
                                                       const std::string &file);
/// Whether none of them needs a person's word: else false, with an error each. A warning each: comments where losses are
/// allowed, and always those of conflicts, so that a file can be changed that a merge has written.
NOD_API bool NODcheckLosses(const std::vector<NOD_FileLoss> &losses, const NOD_LossRule &rule,
                            NOD_Report &report);
