/// \file NOD_FilesPrivate.h
/// What scene and node files share: whole files in and out. Not installed.
///
/// Threads:    the thread that owns the scene.
/// Errors:     to the report, with the system's reason.
#pragma once

#include <NOD/NOD_FileOptions.h>
#include <NOD/NOD_ValueFile.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

class NOD_Report;

/// Runs what writes to the stream. False, with an error, if the stream fails or throws.
bool NODwriteTo(std::ostream &os, const std::string &name, NOD_Report &report,
                const std::function<void()> &write);
/// Replaces a file, all at once, by what `write` writes with the options of the file's folder.
bool NODwriteFile(const std::string &path, const NOD_SaveOptions &options, NOD_Report &report,
                  const std::function<bool(std::ostream &, const NOD_SaveOptions &)> &write);
/// `canBe` is as for KIT_IFStream: what can't be such a file isn't read.
bool NODreadFile(const std::string &path, std::string &bytes, NOD_Report &report,
                 bool (*canBe)(std::string_view start));
bool NODreadStream(std::istream &is, const std::string &name, std::string &bytes,
                   NOD_Report &report);
/// What no stream, channel file or preset holds of the parameters that count, or of all: a warning each where losses are
/// allowed, else an error.
void NODtellUnheld(NOD_Node &node, const NOD_ParmTest &counts, const NOD_LossRule &rule,
                   NOD_Report &report);
/// The options with the file's folder, unless they have one.
NOD_LoadOptions NODplaced(const NOD_LoadOptions &options, const std::string &path);
