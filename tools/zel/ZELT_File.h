/// \file ZELT_File.h
/// Files that the tool writes.
#pragma once

#include <string>

class ZELT_Messages;

/// Writes a file as STO_Writer does, so that it is never incomplete; false after a message. A
/// link is followed; a pipe or device is written to as it is.
bool ZELTwriteFile(const std::string &file, const std::string &bytes, ZELT_Messages &messages);
