/// \file KIT_PacketHeader.h
/// The bytes of a packet's header, in both forms.
///
/// Wide:       int16 class id, int16 packet id, uint32 payload length in bytes, little endian: 8
///             bytes. Streams of earlier versions, and packets on a stream that isn't composed in
///             memory, have it.
/// Short:      one byte: bits 0 to 3 the packet id (15: an int16 follows), bits 4 to 6 the payload
///             size, bit 7 whether the class id differs from that of the packet before in the series
///             or, for the first, of the enclosing packet. Then, if it does, the class id: a byte
///             with the number that was given to the class, or 0 and a uint16. Then the packet id
///             and the length, where the first byte doesn't have them.
/// Series:     packets that aren't inside another one. A series of short packets begins with the
///             marker and ends with an empty packet of the id 0. A packet has the form of the one
///             that encloses it.
/// Threads:    class numbers are given before threads start; all else any thread.

#pragma once

#include <BAS/BAS_API.h>

#include <cstddef>
#include <cstdint>

struct KIT_API KIT_PacketHeader
{
    static constexpr size_t theWideSize = 8;
    static constexpr size_t theMostBytes = 16; ///< of a short one and the marker
    /// No class has the id 0, so no wide header begins like that.
    static constexpr uint32_t theMarker = 0x80000000u;

    /// The size codes of a short header.
    enum Size : uint8_t
    {
        EMPTY,
        ZERO_1, ///< an empty text, not stored
        ZERO_4, ///< a number that is 0, not stored
        ZERO_12,
        BYTES_4,
        BYTES_8,
        LENGTH_1, ///< a byte with the length follows
        LENGTH_N, ///< a length as of a text follows
    };
    static constexpr int theIdFollows = 15;
    static constexpr uint8_t theClassBit = 0x80;

    static constexpr uint8_t first(int packetId, Size size, bool withClass)
    {
        const int id = packetId >= 0 && packetId < theIdFollows ? packetId : theIdFollows;
        return static_cast<uint8_t>(id | size << 4 | (withClass ? theClassBit : 0));
    }
    /// Bytes of zero that a size stands for.
    static constexpr uint32_t zeros(Size size)
    {
        return size == ZERO_1 ? 1 : size == ZERO_4 ? 4 : size == ZERO_12 ? 12 : 0;
    }

    /// Gives a class a number from 1 to 254, for all streams: numbers have no gaps, and none is given
    /// again.
    static void setClassNumber(int number, int classId);
    /// 0 for a class without one.
    static uint8_t classNumber(int classId);
    /// 0, which is no class, for a number that wasn't given.
    static uint16_t classOf(uint8_t number) { return theClasses[number]; }

private:
    static uint16_t theClasses[256]; // the ids by number, from 1 without gaps; the last is 0
};
