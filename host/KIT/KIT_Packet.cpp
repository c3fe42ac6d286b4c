#include <KIT/KIT_Packet.h>

#include <KIT/KIT_Error.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_PacketHeader.h>
#include <KIT/KIT_Write.h>

#include <ostream>

// ------------------------------------------------------------------ //
// Writing

bool KIT_Packet::beginWrite(std::ostream &stream, int classId, int packetId)
{
    endWrite();
    const bool idsFit =
        classId >= 0 && classId <= UINT16_MAX && packetId >= INT16_MIN && packetId <= INT16_MAX;
    if (!idsFit) {
        stream.setstate(std::ios::failbit);
        return false;
    }
    myBytes = KIT_OByteStream::findBytes(stream);
    if (myBytes) {
        myOutput = &stream;
        myBegun = myBytes->beginPacket(classId, packetId);
        return true;
    }
    const std::streamoff start = stream.tellp();
    if (start < 0) {
        stream.setstate(std::ios::failbit);
        return false;
    }
    KITwrite(stream, static_cast<uint16_t>(classId));
    KITwrite(stream, static_cast<int16_t>(packetId));
    KITwrite(stream, uint32_t(0));
    if (!stream.good()) {
        return false;
    }
    myOutput = &stream;
    myPayloadStart = start + std::streamoff(KIT_PacketHeader::theWideSize);
    return true;
}

bool KIT_Packet::completeHeader()
{
    std::ostream &stream = *myOutput;
    myOutput = nullptr;
    if (myBytes) {
        myBytes->endPacket(myBegun);
        if (!myBytes->isGood()) {
            stream.setstate(std::ios::failbit);
        }
        return stream.good();
    }
    const std::streamoff end = stream.tellp();
    const std::streamoff length = end - myPayloadStart;
    if (end < 0 || length < 0 || length > static_cast<std::streamoff>(UINT32_MAX)) {
        stream.setstate(std::ios::failbit);
        return false;
    }
    stream.seekp(myPayloadStart - static_cast<std::streamoff>(sizeof(uint32_t)));
    KITwrite(stream, static_cast<uint32_t>(length));
    stream.seekp(end);
    return stream.good();
}

// ------------------------------------------------------------------ //
// Reading

bool KIT_Packet::readWide(KIT_IStream &stream, Header &header)
{
    uint32_t length = 0;
    header.zeros = 0;
    if (stream.remaining() < int64_t(KIT_PacketHeader::theWideSize)) {
        return false;
    }
    stream.bread(header.classId);
    stream.bread(header.packetId);
    stream.bread(length);
    header.length = length;
    return true;
}

bool KIT_Packet::readShort(KIT_IStream &stream, Header &header)
{
    const int first = stream.get();
    header.classId = stream.packets().classId;
    if ((first & KIT_PacketHeader::theClassBit) != 0) {
        const int number = stream.get();
        if (number < 0 || (number == 0 && !stream.bread(header.classId))) {
            return false;
        }
        if (number > 0) {
            header.classId = KIT_PacketHeader::classOf(static_cast<uint8_t>(number));
        }
    }
    header.packetId = static_cast<int16_t>(first & KIT_PacketHeader::theIdFollows);
    if (header.packetId == KIT_PacketHeader::theIdFollows && !stream.bread(header.packetId)) {
        return false;
    }
    const auto size = static_cast<KIT_PacketHeader::Size>((first >> 4) & 7);
    header.zeros = KIT_PacketHeader::zeros(size);
    header.length = size == KIT_PacketHeader::BYTES_4   ? 4
                    : size == KIT_PacketHeader::BYTES_8 ? 8
                                                        : 0;
    if (size == KIT_PacketHeader::LENGTH_N) {
        return stream.readLength(header.length);
    }
    if (size == KIT_PacketHeader::LENGTH_1) {
        const int length = stream.get();
        header.length = static_cast<uint64_t>(length);
        return length >= 0;
    }
    return true;
}

/// Outside of packets: whether a short series begins here or goes on. True for a short one.
bool KIT_Packet::findForm(KIT_IStream &stream)
{
    KIT_IStream::PacketState &state = stream.packets();
    if (state.isShort && state.next == stream.tellg()) {
        return true;
    }
    uint32_t word = 0;
    const int64_t at = stream.tellg();
    state.classId = 0;
    state.isShort = stream.remaining() >= int64_t(sizeof(word)) && stream.bread(word) &&
                    word == KIT_PacketHeader::theMarker;
    if (!state.isShort) {
        stream.seekg(at);
    }
    return state.isShort;
}

bool KIT_Packet::beginRead(KIT_IStream &stream, int &classId, int &packetId)
{
    endRead();
    if (stream.eof()) {
        return false;
    }
    KIT_IStream::PacketState &state = stream.packets();
    const bool isShort = state.isInside ? state.isShort : findForm(stream);
    Header header = {};
    if (stream.eof() || !(isShort ? readShort(stream, header) : readWide(stream, header))) {
        return refuse(stream, "header cut short");
    }
    if (header.length > static_cast<uint64_t>(stream.remaining())) {
        return refuse(stream, "length beyond the data");
    }
    classId = header.classId;
    packetId = header.packetId;
    myInput = &stream;
    myPayloadEnd = stream.tellg() + static_cast<int64_t>(header.length);
    myLimitDepth = stream.getLimitDepth();
    myEndsSeries = packetId == 0 && header.length + header.zeros == 0;
    state.classId = header.classId;
    myOuter = state;
    state.isInside = true;
    state.isShort = isShort;
    state.zeros = header.zeros;
    stream.pushLimit(myPayloadEnd);
    return true;
}

void KIT_Packet::leave()
{
    KIT_IStream &stream = *myInput;
    myInput = nullptr;
    const bool isOpen = stream.getLimitDepth() > myLimitDepth;
    // Also drops the limits of nested packets that were left open.
    while (stream.getLimitDepth() > myLimitDepth) {
        stream.popLimit();
    }
    stream.seekg(myPayloadEnd);
    if (isOpen) {
        KIT_IStream::PacketState &state = stream.packets();
        state = myOuter;
        if (!state.isInside) {
            state.isShort = state.isShort && !myEndsSeries;
            state.next = myPayloadEnd;
        }
    }
}

bool KIT_Packet::refuse(KIT_IStream &stream, const char *reason)
{
    stream.seekg(stream.tellg() + stream.remaining());
    KITaddCommonError(KIT_COMMON_CUT_PACKET, reason);
    return false;
}

// ------------------------------------------------------------------ //
// Classes

uint16_t KIT_PacketHeader::theClasses[256] = {};

void KIT_PacketHeader::setClassNumber(int number, int classId)
{
    theClasses[number & 0xff] = static_cast<uint16_t>(classId);
}

uint8_t KIT_PacketHeader::classNumber(int classId)
{
    for (int number = 1; theClasses[number] != 0; ++number) {
        if (theClasses[number] == classId) {
            return static_cast<uint8_t>(number);
        }
    }
    return 0;
}

int KITgetClassPacketID(const char *className)
{
    uint32_t hash = 2166136261u;
    for (const char *c = className ? className : ""; *c; ++c) {
        hash = (hash ^ static_cast<unsigned char>(*c)) * 16777619u;
    }
    const int id = static_cast<int>((hash >> 16) ^ (hash & 0xffffu));
    return id != 0 ? id : 1;
}
