/// \file ZELT_Stream.h
/// Parameter streams that a command line names.
///
/// Errors:     false after a message with the file.
#pragma once

#include <string>

class KIT_IStream;
class ZELT_Messages;
class ZEL_ParmList;
class ZEL_ParmStream;

/// All bytes of a file, "-" for standard input, that may be a stream.
bool ZELTreadStreamBytes(const std::string &file, std::string &bytes, ZELT_Messages &messages);
/// Takes them apart: one stream in either form, and nothing after it. The kinds of a text's entries are those of
/// the list's parameters, if there is one.
bool ZELTparseStream(const std::string &bytes, const std::string &file, ZEL_ParmList *list,
                     ZEL_ParmStream &stream, ZELT_Messages &messages);
