/// \file Packets.h
/// Packets of binary streams, for tests that write their own.
#pragma once

#include <KIT/KIT_Packet.h>
#include <KIT/KIT_Write.h>

#include <sstream>
#include <string>

inline std::string packetOf(const char *className, int id, const std::string &payload = "")
{
    std::ostringstream os;
    KIT_Packet writer;
    writer.beginWrite(os, KITgetClassPacketID(className), id);
    os << payload;
    writer.endWrite();
    return os.str();
}

template <class Number>
std::string bytesOf(Number value)
{
    std::ostringstream os;
    KITwrite(os, value);
    return os.str();
}
