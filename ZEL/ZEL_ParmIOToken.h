/// \file ZEL_ParmIOToken.h
/// The words and packet ids of a parameter's option block.
///
/// Vocabulary: *option block* = the bracketed head of a saved parameter, such as
///             `[ 0\tlocks=1 ]`; the binary form has one packet for each option.
/// Threads:    constant data.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstddef>

/// Stored: append only.
enum ZEL_ParmIOToken : int
{
    ZEL_IO_TAB = 0,
    ZEL_IO_BLANK = 1,
    ZEL_IO_OPEN = 2,
    ZEL_IO_CLOSE = 3,
    ZEL_IO_LOCKS = 4,
    ZEL_IO_AUTOSCOPE = 5,
    ZEL_IO_BYPASS = 6,
    ZEL_IO_LABEL = 7,
    ZEL_IO_COLOR = 8,
    ZEL_IO_AUTOSELECT = 9,
    ZEL_IO_TOKEN_COUNT
};

/// The word, never null; "" outside the table.
ZEL_API const char *getPacketIOToken(ZEL_ParmIOToken token);
ZEL_API std::size_t getPacketIOTokenLen(ZEL_ParmIOToken token);
/// The packet id of the option's binary form, -1 for what is punctuation only.
ZEL_API int getPacketIOBinaryId(ZEL_ParmIOToken token);
/// Equal in length, then in bytes; `text` needs no terminator.
ZEL_API bool comparePacketIOToken(ZEL_ParmIOToken token, const char *text, std::size_t length);
