/// \file ZELT_Preset.h
/// Where presets are saved, and why one isn't.
#pragma once

#include <string>

class ZEL_PresetInfo;

/// The folder to save in: the requested one, else the first that may be written, else "".
std::string ZELTpresetFolder(const std::string &folder);
/// The path of a preset in a folder; without a folder, where it is found; "" if it isn't found.
std::string ZELTpresetPath(ZEL_PresetInfo &presets, const std::string &name,
                           const std::string &folder);
/// The requested folder, else the one of the search path in which the preset is found; "" if it is in none.
std::string ZELTpresetOrigin(ZEL_PresetInfo &presets, const std::string &name,
                             const std::string &folder);
/// Why a folder takes no preset of that name, for people. `hint` says how to replace the one that is there, "" if it
/// is to be replaced.
std::string ZELTpresetRefusal(ZEL_PresetInfo &presets, const std::string &name,
                              const std::string &folder, const std::string &hint);
/// Why no preset of that name was deleted from a folder.
std::string ZELTpresetRemains(ZEL_PresetInfo &presets, const std::string &name,
                              const std::string &folder);
