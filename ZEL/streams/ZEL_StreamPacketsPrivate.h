/// \file ZEL_StreamPacketsPrivate.h
/// The packets of a stream's entry, taken apart and put together. Not installed.
///
/// Errors:     none is reported.
#pragma once

#include <ZEL/ZEL_StreamEntry.h>

class KIT_ByteBuffer;
class KIT_IStream;

/// Reads the packets of a parameter up to the end of the one around them. False if they aren't what the library
/// writes: the entry is then unfinished.
bool ZELreadStreamPackets(KIT_IStream &is, ZEL_StreamEntry &entry);
/// Appends them, of an entry that fits packets and isn't PACKETS.
void ZELappendStreamPackets(KIT_ByteBuffer &out, const ZEL_StreamEntry &entry);
