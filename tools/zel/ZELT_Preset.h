/// \file ZELT_Preset.h
/// The commands on presets.
///
/// Errors:     as ZELT_Commands.h.
#pragma once

#include "ZELT_Commands.h"

#include <string>

/// What all of them take, and what some do.
struct ZELT_PresetCall
{
    std::string table;
    std::string opName;
    std::string name;
    std::string file; ///< a dialog script
    ZELT_Inputs inputs;
    double time = 0.0;
    std::string folder; ///< one of the search path; "": the first that may be written
    std::string out;    ///< where the values go; "": standard output
};

class ZEL_PresetInfo;

/// The folder to save in: the one that is asked for, else the first that may be written, else "".
std::string ZELTpresetFolder(const std::string &folder);
/// The path of a preset in a folder; without one, where it is found, "" if it isn't.
std::string ZELTpresetPath(ZEL_PresetInfo &presets, const std::string &name,
                           const std::string &folder);

int ZELTpresetList(const ZELT_PresetCall &call, const ZELT_Options &options,
                   ZELT_Messages &messages);
int ZELTpresetShow(const ZELT_PresetCall &call, const ZELT_Options &options,
                   ZELT_Messages &messages);
int ZELTpresetApply(const ZELT_PresetCall &call, const ZELT_Options &options,
                    ZELT_Messages &messages);
int ZELTpresetSave(const ZELT_PresetCall &call, const ZELT_Options &options,
                   ZELT_Messages &messages);
int ZELTpresetDelete(const ZELT_PresetCall &call, const ZELT_Options &options,
                     ZELT_Messages &messages);
