/// \file ZEL_PacketClassPrivate.h
/// The classes that write packets, and their numbers in short headers. Not installed.
///
/// Threads:    any.
#pragma once

#include <cstdint>

/// Stored: a number keeps its class, in all versions.
enum ZEL_PacketClass : std::uint8_t
{
    ZEL_PACKETS_OF_LIST = 1,
    ZEL_PACKETS_OF_FLOAT,
    ZEL_PACKETS_OF_ORDINAL,
    ZEL_PACKETS_OF_STRING,
    ZEL_PACKETS_OF_DATA,
    ZEL_NUM_PACKET_CLASSES
};

/// The class id.
int ZELpacketClassId(ZEL_PacketClass number);
