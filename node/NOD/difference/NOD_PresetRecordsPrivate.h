/// \file NOD_PresetRecordsPrivate.h
/// A preset, or a file of them, as records, and back. Not installed.
///
/// Threads:    one thread at a time.
/// Errors:     to the report. What the library doesn't write, but for other blanks, is a record of its text.
#pragma once

#include <NOD/difference/NOD_NodeRecordsPrivate.h>

#include <string>

class NOD_Report;

// Sections of what isn't taken apart; stored in patches.
constexpr const char *theWholePreset = "preset";
constexpr const char *theWholePresets = "presets";

/// Adds the channels and parameters of one preset.
void NODreadPreset(const std::string &text, NOD_NodeRecords &nodes, NOD_Record &contents);
bool NODwritePreset(const NOD_Record &contents, NOD_NodeRecords &nodes, std::string &text,
                    NOD_Report &report);
/// Adds each preset of a file. False, with an error, for a damaged file.
bool NODreadPresets(const std::string &bytes, const std::string &name, NOD_NodeRecords &nodes,
                    NOD_Record &top, NOD_Report &report);
bool NODwritePresets(const NOD_Record &top, NOD_NodeRecords &nodes, std::string &bytes,
                     NOD_Report &report);
