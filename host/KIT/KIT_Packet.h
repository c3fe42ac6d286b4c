/// \file KIT_Packet.h
/// The record layer of binary streams: packets with a class id, a packet id and a length.
///
/// Vocabulary: *class id* = which class wrote the packet; *packet id* = its meaning to that class;
///             *payload* = the bytes after the header. Payloads may themselves hold packets,
///             written and read by other KIT_Packet objects.
/// Units:      the header's bytes are in KIT_PacketHeader.h. What beginWrite() writes is plain: it may
///             be composed anywhere and copied, be read from a stream over these bytes alone, and be
///             sought at any time. Both forms are read; where packets begin, they tell which it is.
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
    /// The same, but the packet is short where a series is composed. Then all that is written until
    /// endWrite() must be meant for that: texts by KITwriteShortText(), and no bytes composed apart
    /// that have packets or texts.
    bool beginWriteShort(std::ostream &stream, int classId, int packetId);
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
        KIT_IStream::PacketState payload; ///< the state in the packet, with its class
        int16_t packetId;
        uint64_t length; ///< in the data
        bool isEmpty() const { return length + payload.zeros == 0; }
    };
    static bool readPlain(KIT_IStream &stream, Header &header);
    static bool readShort(KIT_IStream &stream, Header &header);
    static bool findSeries(KIT_IStream &stream);
    bool attach(std::ostream &stream, int classId, int packetId);
    bool completeHeader();
    void leave();
    static bool refuse(KIT_IStream &stream, int64_t begin, const char *reason);

    std::ostream *myOutput = nullptr;
    KIT_ByteBuffer *myBytes = nullptr; // the output's buffer, when it is a KIT_OByteStream
    KIT_ByteBuffer::Packet myBegun;
    std::streamoff myPayloadStart = 0;
    KIT_IStream *myInput = nullptr;
    int64_t myPayloadEnd = 0;
    size_t myLimitDepth = 0;
    KIT_IStream::PacketState myOuter;        // restored after the packet
    KIT_IStream::PacketSeries myOuterSeries; // the same, for a plain one
    bool myIsShort = false;
};

/// The class id of a name: 1 to 65535, the same in every process.
KIT_API int KITgetClassPacketID(const char *className);
