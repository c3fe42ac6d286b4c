/// \file ZEL_ValuePacketsPrivate.h
/// Packet ids of the binary forms of each kind of value. Stored: append only. Not installed.
///
/// Threads:    constant data.
#pragma once

/// Of an ordinal, a string and data; they share the ids of options.
enum ZEL_OptionPacket
{
#define ZEL_INSTANCE_OPTION(name, word, packet, floatPacket, row) OPTION_##name = packet,
#include <ZEL/ZEL_InstanceOptions.def>
#undef ZEL_INSTANCE_OPTION
};

/// Of a float, those of its options among them.
enum ZEL_FloatPacket
{
    FLOAT_END = 0,
    FLOAT_CHANNEL = 1,
    FLOAT_VALUE = 2,
    FLOAT_FLAGS = 3,
#define ZEL_INSTANCE_OPTION(name, word, packet, floatPacket, row) FLOAT_##name = floatPacket,
#include <ZEL/ZEL_InstanceOptions.def>
#undef ZEL_INSTANCE_OPTION
};

enum ZEL_OrdinalPacket
{
    ORDINAL_END = 0,
    ORDINAL_TOKEN = 1,
    ORDINAL_INTEGER = 2,
    ORDINAL_CHANNEL = 3
};

enum ZEL_StringPacket
{
    STRING_END = 0,
    STRING_VALUE = 1,
    STRING_CHANNEL = 2
};

enum ZEL_DataPacket
{
    DATA_END = 0,
    DATA_TYPE = 1,
    DATA_PAYLOAD = 2
};
