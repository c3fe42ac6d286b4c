/// \file ZELT_File.h
/// Files that the tool writes.
#pragma once

#include <string>

class ZELT_Messages;

/// Writes a file as STO_Writer does, so that it is never incomplete; false after a message. A
/// link is followed; a pipe or device is written to as it is.
/// `-` is standard output, whose failure the program tells at its end.
bool ZELTwriteFile(const std::string &file, const std::string &bytes, ZELT_Messages &messages);
/// That of a file to be written, for paths that are relative to it.
std::string ZELTfolderOf(const std::string &file);
