/// \file ZEL_PresetFoldersPrivate.h
/// Folders of presets as the search path has them. Not installed.
#pragma once

#include <string>

/// The caller's folder in the form of the search path's components.
std::string ZELpresetFolder(const char *dir);
