/// \file ZEL_ParmIOToken.h
/// The keywords and packet ids of a parameter's option block.
///
/// Vocabulary: *option block* = the bracketed head of a saved parameter, such as
///             `[ 0\tlocks=1 ]`; the binary form has one packet for each option.
/// Threads:    constant data.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstddef>

/// The keywords in the order of the table. Stored: append only.
enum ZEL_ParmIOToken : int
{
    ZEL_IO_TAB = 0,   ///< a tab, between the keywords
    ZEL_IO_BLANK = 1, ///< a blank
    ZEL_IO_OPEN = 2,  ///< "["
    ZEL_IO_CLOSE = 3, ///< "]"
// The options, from ZEL_IO_LOCKS = 4.
#define ZEL_INSTANCE_OPTION(name, word, packet, floatPacket, row) ZEL_IO_##name,
#include <ZEL/ZEL_InstanceOptions.def>
#undef ZEL_INSTANCE_OPTION
    ZEL_IO_TOKEN_COUNT ///< how many there are
};

/// The keyword, never null; "" outside the table.
ZEL_API const char *getPacketIOToken(ZEL_ParmIOToken token);
/// The length of the keyword.
ZEL_API std::size_t getPacketIOTokenLen(ZEL_ParmIOToken token);
/// The packet id of the option's binary form, -1 for punctuation.
ZEL_API int getPacketIOBinaryId(ZEL_ParmIOToken token);
/// Whether `text` of `length` bytes, not necessarily terminated, equals the keyword.
ZEL_API bool comparePacketIOToken(ZEL_ParmIOToken token, const char *text, std::size_t length);
