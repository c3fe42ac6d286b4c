#include <KIT/KIT_Packet.h>

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Write.h>

#include <ostream>

static constexpr int64_t theHeaderSize = 8;

KIT_Packet::~KIT_Packet()
{
    endWrite();
    endRead();
}

// ------------------------------------------------------------------ //
// Writing

bool KIT_Packet::beginWrite(std::ostream &stream, int classId, int packetId)
{
    endWrite();
    const bool idsFit =
        classId >= 0 && classId <= UINT16_MAX && packetId >= INT16_MIN && packetId <= INT16_MAX;
    const std::streamoff start = stream.tellp();
    if (!idsFit || start < 0) {
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
    myPayloadStart = start + theHeaderSize;
    return true;
}

bool KIT_Packet::endWrite()
{
    if (!myOutput) {
        return false;
    }
    std::ostream &stream = *myOutput;
    myOutput = nullptr;

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

static bool refuse(KIT_IStream &stream, const char *reason)
{
    stream.seekg(stream.tellg() + stream.remaining());
    KITaddCommonError(KIT_COMMON_CUT_PACKET, reason);
    return false;
}

bool KIT_Packet::beginRead(KIT_IStream &stream, int &classId, int &packetId)
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

void KIT_Packet::endRead()
{
    if (!myInput) {
        return;
    }
    // Packets inside this one that were left open go with it.
    while (myInput->getLimitDepth() > myLimitDepth) {
        myInput->popLimit();
    }
    myInput->seekg(myPayloadEnd);
    myInput = nullptr;
}

// ------------------------------------------------------------------ //

int KITgetClassPacketID(const char *className)
{
    uint32_t hash = 2166136261u;
    for (const char *c = className ? className : ""; *c; ++c) {
        hash = (hash ^ static_cast<unsigned char>(*c)) * 16777619u;
    }
    const int id = static_cast<int>((hash >> 16) ^ (hash & 0xffffu));
    return id != 0 ? id : 1;
}
