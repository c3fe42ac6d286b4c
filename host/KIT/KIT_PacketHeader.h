/// \file KIT_PacketHeader.h
/// The bytes of a packet's header, in both forms.
///
/// Plain:      uint16 class id, int16 packet id, uint32 payload length in bytes, little endian: 8
///             bytes. It says all about itself, so that its bytes may be moved anywhere where a
///             packet may begin: outside of packets and in plain ones.
/// Series:     a row of short packets, anywhere where a plain packet may begin. The marker is before
///             it, an empty packet of the id 0 is its last. Two markers aren't a series: the second
///             is the beginning of a plain header.
/// Short:      only in a series and in short packets. One byte: bits 0 to 3 the packet id (15: an
///             int16 follows), bits 4 to 6 the payload size, bit 7 whether the class id follows,
///             since it isn't the expected one. Then the class id: a byte with the number that was
///             given to the class, or 0 and a uint16. Then the packet id and the length, where the
///             first byte doesn't have them. The class that is expected is, in a short packet, that
///             of the packet before or, for the first, of the enclosing one; in a series, that of
///             all its packets, which the first has.
/// Escape:     two bytes, before a plain header among short ones.
/// Texts:      in a short packet the length has 7 bits in each byte, elsewhere 32 bits.
/// Threads:    any.

#pragma once

#include <BAS/BAS_API.h>
#include <BAS/BAS_Relaxed.h>

#include <cstddef>
#include <cstdint>

struct KIT_API KIT_PacketHeader
{
    static constexpr size_t thePlainSize = 8;
    static constexpr size_t theMostBytes = 16; ///< of either, with the marker or the escape
    /// As a plain header, of the class 0, which no name has. Where it is meant as one, another marker
    /// is before it.
    static constexpr uint32_t theMarker = 0x80000000u;
    static constexpr int theMarkerClass = 0;
    static constexpr int theMarkerPacket = INT16_MIN;

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
    /// The escape is a first byte with the class bit alone, and this in place of a class number.
    static constexpr uint8_t theEscapeNumber = 255;

    static constexpr uint8_t first(int packetId, Size size, bool withClass)
    {
        const int id = packetId >= 0 && packetId < theIdFollows ? packetId : theIdFollows;
        return static_cast<uint8_t>(id | size << 4 | (withClass ? theClassBit : 0));
    }
    /// Bytes that follow a header with this size, if it says how many.
    static constexpr uint32_t stored(Size size) { return theStoredBytes[size]; }
    /// Bytes of zero that a size stands for.
    static constexpr uint32_t zeros(Size size) { return theZeroBytes[size]; }

    /// Gives a class a number from 1 to 254, for all streams: numbers have no gaps, and none is given
    /// to another class. Other threads may read packets meanwhile.
    static void setClassNumber(int number, int classId);
    /// 0 for a class without one.
    static uint8_t classNumber(int classId);
    /// 0, which is no class, for a number that wasn't given.
    static uint16_t classOf(uint8_t number) { return BASload(theClasses[number]); }

private:
    static constexpr uint8_t theStoredBytes[] = {0, 0, 0, 0, 4, 8, 0, 0};
    static constexpr uint8_t theZeroBytes[] = {0, 1, 4, 12, 0, 0, 0, 0};
    static uint16_t theClasses[256]; // the ids by number, from 1 without gaps; the last is 0
};
