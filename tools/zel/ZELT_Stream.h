/// \file ZELT_Stream.h
/// Parameter streams that a command line names.
///
/// Errors:     false after a message with the file.
#pragma once

#include <string>

class ZELT_Messages;
class ZEL_ParmList;
class ZEL_ParmStream;

/// Takes the bytes of a file apart: one stream in either form, and nothing after it. The kinds of a text's entries are those of
/// the list's parameters, if there is one.
bool ZELTparseStream(const std::string &bytes, const std::string &file, ZEL_ParmList *list,
                     ZEL_ParmStream &stream, ZELT_Messages &messages);
