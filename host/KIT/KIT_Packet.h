/// \file KIT_Packet.h
/// The record layer of binary streams: packets with a class id, a packet id and a length.
///
/// Vocabulary: *class id* = which class wrote the packet; *packet id* = its meaning to that class;
///             *payload* = the bytes after the header. Payloads may themselves hold packets,
///             written and read by other KIT_Packet objects.
/// Units:      the header is int16 class id, int16 packet id, uint32 payload length in bytes, all
///             little endian: 8 bytes.
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
#include <KIT/KIT_IStream.h>

#include <cstddef>
#include <cstdint>
#include <ios>
#include <iosfwd>

class KIT_ByteBuffer;

class KIT_API KIT_Packet
{
public:
    /// Bytes of a header.
    static constexpr int64_t theHeaderSize = 8;

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
    bool beginRead(KIT_IStream &stream, int &classId, int &packetId)
    {
        endRead();
        if (stream.eof()) {
            return false;
        }
        if (stream.remaining() < theHeaderSize) {
            return refuse(stream, "header cut short");
        }
        uint16_t classWord = 0;
        int16_t packetWord = 0;
        uint32_t length = 0;
        stream.bread(classWord);
        stream.bread(packetWord);
        stream.bread(length);
        if (length > static_cast<uint64_t>(stream.remaining())) {
            return refuse(stream, "length beyond the data");
        }
        classId = classWord;
        packetId = packetWord;
        myInput = &stream;
        myPayloadEnd = stream.tellg() + length;
        myLimitDepth = stream.getLimitDepth();
        stream.pushLimit(myPayloadEnd);
        return true;
    }
    /// Moves the stream past the packet, however much of it was read.
    void endRead()
    {
        if (!myInput) {
            return;
        }
        // Also drops the limits of nested packets that were left open.
        while (myInput->getLimitDepth() > myLimitDepth) {
            myInput->popLimit();
        }
        myInput->seekg(myPayloadEnd);
        myInput = nullptr;
    }

private:
    bool completeHeader();
    static bool refuse(KIT_IStream &stream, const char *reason);

    std::ostream *myOutput = nullptr;
    KIT_ByteBuffer *myBytes = nullptr; // the output's buffer, when it is a KIT_OByteStream
    std::streamoff myPayloadStart = 0;
    KIT_IStream *myInput = nullptr;
    int64_t myPayloadEnd = 0;
    size_t myLimitDepth = 0;
};

/// The class id of a name: 1 to 65535, the same in every process.
KIT_API int KITgetClassPacketID(const char *className);
