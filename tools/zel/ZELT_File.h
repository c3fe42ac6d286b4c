/// \file ZELT_File.h
/// Files that the tool reads whole and writes.
///
/// Errors:     false after a message with the file.
#pragma once

#include <string>
#include <string_view>

class NOD_Report;
class ZELT_Messages;

/// What a long file is read for, by its start: a device has no end.
using ZELT_FileTest = bool (*)(std::string_view start);
inline bool ZELTcanBeAny(std::string_view)
{
    return true;
}
inline bool ZELTcanBeText(std::string_view start)
{
    return start.find('\0') == std::string_view::npos;
}

/// All bytes of standard input.
bool ZELTreadInput(std::string &bytes, NOD_Report &report);
/// All bytes of a file, without what stands behind a `?`; "-" for standard input.
bool ZELTreadBytes(const std::string &file, std::string &bytes, NOD_Report &report,
                   ZELT_FileTest test = ZELTcanBeAny);
bool ZELTreadBytes(const std::string &file, std::string &bytes, ZELT_Messages &messages,
                   ZELT_FileTest test = ZELTcanBeAny);

/// Writes a file as STO_Writer does, so that it is never incomplete. A link is followed; a pipe or device is written
/// to as it is. `-` is standard output, whose failure the program tells at its end.
bool ZELTwriteFile(const std::string &file, const std::string &bytes, ZELT_Messages &messages);
/// That of a file to be written, for paths that are relative to it.
std::string ZELTfolderOf(const std::string &file);
