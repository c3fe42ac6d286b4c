/// \file ZELT_Preset.h
/// Where presets are saved.
#pragma once

#include <string>

class ZEL_PresetInfo;

/// The folder to save in: the requested one, else the first that may be written, else "".
std::string ZELTpresetFolder(const std::string &folder);
/// The path of a preset in a folder; without a folder, where it is found; "" if it isn't found.
std::string ZELTpresetPath(ZEL_PresetInfo &presets, const std::string &name,
                           const std::string &folder);
