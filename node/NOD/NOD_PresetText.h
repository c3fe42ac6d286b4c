/// \file NOD_PresetText.h
/// Presets of some of a node's parameters: saved, and applied.
///
/// Vocabulary: *only* = addresses (NOD_Address.h) of parameters, which may be patterns; none is everything. An
///             item of a block stands for the outermost block that it is in, with all of its items.
/// Threads:    the thread that changes the node, while nothing evaluates.
/// Errors:     false after an error in the report: an address of nothing or of another node, a preset that can't
///             be read as a whole. What is wrong in a preset is reported as by ZEL_PresetInfo.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_FileLoss.h>

#include <iosfwd>
#include <string>
#include <vector>

class NOD_Node;
class NOD_Report;

/// Whether a preset of these parameters has all that was loaded and set (NOD_ValueFile::checkCarried).
NOD_API bool NODcheckPreset(NOD_Node &node, const std::vector<std::string> &only,
                            const std::vector<NOD_FileLoss> &losses, const NOD_LossRule &rule,
                            NOD_Report &report);
/// Writes a preset of these parameters and of their channels; of everything, what ZEL_PresetInfo writes.
NOD_API bool NODsavePreset(NOD_Node &node, const std::vector<std::string> &only, std::ostream &os,
                           NOD_Report &report);
/// Gives these parameters what the preset at a path of ZEL_PresetInfo has for them; all others keep what they
/// have. One step of undo. A parameter that the preset doesn't have keeps what it has, too.
NOD_API bool NODapplyPreset(NOD_Node &node, const std::string &path,
                            const std::vector<std::string> &only, NOD_Report &report);
