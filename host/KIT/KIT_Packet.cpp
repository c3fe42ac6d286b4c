#include <KIT/KIT_Packet.h>

#include <KIT/KIT_Error.h>
#include <KIT/KIT_OByteStream.h>
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
        myPayloadStart = static_cast<std::streamoff>(myBytes->beginPacket(classId, packetId));
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
    myPayloadStart = start + theHeaderSize;
    return true;
}

bool KIT_Packet::completeHeader()
{
    std::ostream &stream = *myOutput;
    myOutput = nullptr;
    if (myBytes) {
        myBytes->endPacket(static_cast<size_t>(myPayloadStart));
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

bool KIT_Packet::refuse(KIT_IStream &stream, const char *reason)
{
    stream.seekg(stream.tellg() + stream.remaining());
    KITaddCommonError(KIT_COMMON_CUT_PACKET, reason);
    return false;
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
