/// \file KIT_Packet.h
/// The record layer of binary streams: packets with a class id, a packet id and a length.
///
/// Vocabulary: *class id* = which class wrote the packet; *packet id* = its meaning to that class;
///             *payload* = the bytes after the header. Payloads may themselves hold packets,
///             written and read by other KIT_Packet objects.
/// Units:      the header's bytes are in KIT_PacketHeader.h: short for what is composed in memory,
///             else 8 bytes. Both are read; where a stream's packets begin, they tell which it is.
/// Ownership:  borrows the stream between begin and end. The destructor ends an open packet.
/// Threads:    one thread at a time.
/// Errors:     writing returns false and sets the stream's fail state on a stream that cannot seek,
///             for an id outside 16 bits, or for a payload of 4 GB. Reading returns false at the
///             end of the data or of the enclosing packet; for a truncated header or a length
///             beyond the data it also adds a common error (severity 4) and leaves the stream at
///             its limit.
/// Cost:       one seek back for each packet written (none to a KIT_OByteStream); none for reading.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_IStream.h>

#include <cstddef>
#include <cstdint>
#include <ios>
#include <iosfwd>

class KIT_API KIT_Packet
{
public:
    KIT_Packet() = default;
    ~KIT_Packet()
    {
        endWrite();
        endRead();
    }
    KIT_Packet(const KIT_Packet &) = delete;
    KIT_Packet &operator=(const KIT_Packet &) = delete;

    /// Writes the header. The payload is whatever is written to the stream until endWrite().
    bool beginWrite(std::ostream &stream, int classId, int packetId);
    /// Puts the payload's length into the header. False without an open packet, or when the stream
    /// has failed.
    bool endWrite() { return myOutput && completeHeader(); }

    /// Reads a header; until endRead() the stream ends where the payload ends. The class id is
    /// returned as 0 to 65535, the packet id as -32768 to 32767.
    bool beginRead(KIT_IStream &stream, int &classId, int &packetId);
    /// Moves the stream past the packet, however much of it was read.
    void endRead()
    {
        if (myInput) {
            leave();
        }
    }

private:
    struct Header
    {
        uint16_t classId;
        int16_t packetId;
        uint64_t length; // in the data
        uint32_t zeros;  // after it
    };
    static bool readWide(KIT_IStream &stream, Header &header);
    static bool readShort(KIT_IStream &stream, Header &header);
    static bool findForm(KIT_IStream &stream);
    bool completeHeader();
    void leave();
    static bool refuse(KIT_IStream &stream, const char *reason);

    std::ostream *myOutput = nullptr;
    KIT_ByteBuffer *myBytes = nullptr; // the output's buffer, when it is a KIT_OByteStream
    KIT_ByteBuffer::Packet myBegun;
    std::streamoff myPayloadStart = 0;
    KIT_IStream *myInput = nullptr;
    int64_t myPayloadEnd = 0;
    size_t myLimitDepth = 0;
    KIT_IStream::PacketState myOuter; // restored after the packet
    bool myEndsSeries = false;
};

/// The class id of a name: 1 to 65535, the same in every process.
KIT_API int KITgetClassPacketID(const char *className);
