#include <KIT/KIT_Packet.h>

#include <KIT/KIT_Error.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_PacketHeader.h>
#include <KIT/KIT_Write.h>

#include <ostream>

// ------------------------------------------------------------------ //
// Writing

/// False for ids that don't fit.
bool KIT_Packet::attach(std::ostream &stream, int classId, int packetId)
{
    endWrite();
    if (classId != static_cast<uint16_t>(classId) || packetId != static_cast<int16_t>(packetId)) {
        stream.setstate(std::ios::failbit);
        return false;
    }
    myBytes = KIT_OByteStream::findBytes(stream);
    return true;
}

bool KIT_Packet::beginWriteShort(std::ostream &stream, int classId, int packetId)
{
    if (!attach(stream, classId, packetId)) {
        return false;
    }
    if (!myBytes || !myBytes->isShort()) {
        return beginWrite(stream, classId, packetId);
    }
    myOutput = &stream;
    myBegun = myBytes->beginPacket(classId, packetId);
    return true;
}

bool KIT_Packet::beginWrite(std::ostream &stream, int classId, int packetId)
{
    if (!attach(stream, classId, packetId)) {
        return false;
    }
    if (myBytes) {
        myOutput = &stream;
        myBegun = myBytes->beginPlainPacket(classId, packetId);
        return true;
    }
    const bool isLikeMarker = classId == KIT_PacketHeader::theMarkerClass &&
                              packetId == KIT_PacketHeader::theMarkerPacket;
    const std::streamoff start = stream.tellp();
    if (start < 0) {
        stream.setstate(std::ios::failbit);
        return false;
    }
    if (isLikeMarker) {
        KITwrite(stream, KIT_PacketHeader::theMarker);
    }
    KITwrite(stream, static_cast<uint16_t>(classId));
    KITwrite(stream, static_cast<int16_t>(packetId));
    KITwrite(stream, uint32_t(0));
    if (!stream.good()) {
        return false;
    }
    myOutput = &stream;
    myPayloadStart = start + std::streamoff(KIT_PacketHeader::thePlainSize) +
                     std::streamoff(isLikeMarker ? sizeof(KIT_PacketHeader::theMarker) : 0);
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

bool KIT_Packet::readPlain(KIT_IStream &stream, Header &header)
{
    uint32_t length = 0;
    if (stream.remaining() < int64_t(KIT_PacketHeader::thePlainSize)) {
        return false;
    }
    header.payload = KIT_IStream::PacketState();
    stream.bread(header.payload.classId);
    stream.bread(header.packetId);
    stream.bread(length);
    header.length = length;
    return true;
}

bool KIT_Packet::readShort(KIT_IStream &stream, Header &header)
{
    const int first = stream.get();
    uint16_t classId = stream.packets().classId;
    if ((first & KIT_PacketHeader::theClassBit) != 0) {
        const int number = stream.get();
        if (number < 0 || (number == 0 && !stream.bread(classId))) {
            return false;
        }
        if (number == KIT_PacketHeader::theEscapeNumber && first == KIT_PacketHeader::theClassBit) {
            return readPlain(stream, header);
        }
        if (number > 0) {
            classId = KIT_PacketHeader::classOf(static_cast<uint8_t>(number));
        }
    }
    header.packetId = static_cast<int16_t>(first & KIT_PacketHeader::theIdFollows);
    if (header.packetId == KIT_PacketHeader::theIdFollows && !stream.bread(header.packetId)) {
        return false;
    }
    const auto size = static_cast<KIT_PacketHeader::Size>((first >> 4) & 7);
    header.length = KIT_PacketHeader::stored(size);
    header.payload.isShort = true;
    header.payload.isNumber = header.length != 0;
    header.payload.classId = classId;
    header.payload.zeros = KIT_PacketHeader::zeros(size);
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

/// Where a plain packet may begin, and the last series doesn't go on: whether a packet of a series
/// begins. Moves past a marker.
bool KIT_Packet::findSeries(KIT_IStream &stream)
{
    constexpr int64_t theMarkerSize = sizeof(KIT_PacketHeader::theMarker);
    const auto isMarker = [](std::string_view bytes) {
        return bytes.size() >= size_t(theMarkerSize) &&
               KIT_ByteBuffer::numberAt<uint32_t>(bytes.data()) == KIT_PacketHeader::theMarker;
    };
    KIT_IStream::PacketSeries &series = stream.series();
    const int64_t at = stream.tellg();
    // A reader may have gone back to an earlier packet of it.
    if (series.begin >= 0 && at >= series.begin && at < series.next) {
        return true;
    }
    const std::string_view rest = stream.rest();
    if (!isMarker(rest)) {
        return false;
    }
    const int64_t begin = at + theMarkerSize;
    stream.seekg(begin);
    if (isMarker(rest.substr(theMarkerSize))) {
        return false;
    }
    if (series.begin != begin) {
        series = KIT_IStream::PacketSeries();
        series.begin = series.next = begin;
    }
    return true;
}

bool KIT_Packet::beginRead(KIT_IStream &stream, int &classId, int &packetId)
{
    endRead();
    if (stream.eof()) {
        return false;
    }
    const int64_t begin = stream.tellg();
    KIT_IStream::PacketState &state = stream.packets();
    KIT_IStream::PacketSeries &series = stream.series();
    bool isInSeries = false;
    if (!state.isShort) {
        const bool isNext = stream.tellg() == series.next && !series.isOver;
        isInSeries = isNext || findSeries(stream);
        state.classId = series.classId;
    }
    Header header;
    if (!(isInSeries || state.isShort ? !stream.eof() && readShort(stream, header)
                                      : readPlain(stream, header))) {
        return refuse(stream, begin, "header cut short");
    }
    if (header.length > static_cast<uint64_t>(stream.remaining())) {
        return refuse(stream, begin, "length beyond the data");
    }
    const int64_t end = stream.tellg() + static_cast<int64_t>(header.length);
    const size_t depth = stream.getLimitDepth();
    stream.pushLimit(end); // the last step that may fail
    const bool isShort = header.payload.isShort;
    classId = header.payload.classId;
    packetId = header.packetId;
    myInput = &stream;
    myPayloadEnd = end;
    myLimitDepth = depth;
    myIsShort = isShort;
    if (isShort) {
        state.classId = header.payload.classId;
    }
    myOuter = state;
    if (isInSeries && end > series.next) {
        series.next = end;
        series.classId = state.classId;
        series.isOver = isShort && header.packetId == 0 && header.isEmpty();
    }
    state = header.payload;
    if (!isShort) {
        myOuterSeries = series;
        series = KIT_IStream::PacketSeries();
    }
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
        stream.packets() = myOuter;
        if (!myIsShort) {
            stream.series() = myOuterSeries;
        }
    }
}

/// Of a packet that begins there.
bool KIT_Packet::refuse(KIT_IStream &stream, int64_t begin, const char *reason)
{
    stream.seekg(begin);
    KITaddCommonError(KIT_COMMON_CUT_PACKET, reason);
    stream.seekg(begin + stream.remaining());
    return false;
}

// ------------------------------------------------------------------ //
// Classes

uint16_t KIT_PacketHeader::theClasses[256] = {};

void KIT_PacketHeader::setClassNumber(int number, int classId)
{
    BASstore(theClasses[number & 0xff], static_cast<uint16_t>(classId));
}

uint8_t KIT_PacketHeader::classNumber(int classId)
{
    for (uint8_t number = 1; classOf(number) != 0; ++number) {
        if (classOf(number) == classId) {
            return number;
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
