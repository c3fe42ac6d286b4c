#include <KIT/KIT_ByteBuffer.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_Digits.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ostream>

KIT_ByteBuffer::~KIT_ByteBuffer()
{
    if (myData != myInline) {
        std::free(myData);
    }
}

bool KIT_ByteBuffer::grow(size_t length)
{
    const size_t used = size();
    const size_t capacity = static_cast<size_t>(myLimit - myData);
    const bool inlineFlag = myData == myInline;
    char *grown = nullptr;
    if (length < SIZE_MAX / 4 && capacity < SIZE_MAX / 4) {
        const size_t wanted = std::max(used + length, capacity * 2);
        grown = static_cast<char *>(std::realloc(inlineFlag ? nullptr : myData, wanted));
        if (grown) {
            myLimit = grown + wanted;
        }
    }
    if (!grown) {
        BASnoteFailedAllocation();
        myGoodFlag = false;
        return false;
    }
    if (inlineFlag) {
        std::memcpy(grown, myInline, used);
    }
    myData = grown;
    myEnd = grown + used;
    return true;
}

void KIT_ByteBuffer::appendDecimal(double value)
{
    if (char *at = room(KIT_Digits::theMostBytes)) {
        myEnd = KIT_Digits::write(at, value);
    }
}

void KIT_ByteBuffer::appendDecimal(uint32_t value)
{
    constexpr size_t theMostDigits = 10;
    if (char *at = room(theMostDigits)) {
        myEnd = std::to_chars(at, at + theMostDigits, value).ptr;
    }
}

namespace
{

/// How many of the first bytes are the same; eight at a time where there are so many.
size_t countShared(const char *left, const char *right, size_t most)
{
    size_t shared = 0;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    for (; shared + 8 <= most; shared += 8) {
        uint64_t a = 0;
        uint64_t b = 0;
        std::memcpy(&a, left + shared, sizeof(a));
        std::memcpy(&b, right + shared, sizeof(b));
        if (a != b) {
            return shared + static_cast<size_t>(__builtin_ctzll(a ^ b)) / 8;
        }
    }
#endif
    while (shared < most && left[shared] == right[shared]) {
        ++shared;
    }
    return shared;
}

} // namespace

void KIT_ByteBuffer::appendTextAfter(std::string_view text, std::string_view before)
{
    if (!isShort()) {
        appendText(text);
        return;
    }
    constexpr size_t theMostShared = 15;
    const size_t most = std::min({text.size(), before.size(), theMostShared});
    const size_t shared = countShared(text.data(), before.data(), most);
    text.remove_prefix(shared);
    const bool isLong = text.size() >= theLongTextAfter;
    append(static_cast<char>(shared << 4 | (isLong ? theLongTextAfter : text.size())));
    if (isLong) {
        appendText(text);
    } else {
        append(text);
    }
}

// ------------------------------------------------------------------ //
// Packets

void KIT_ByteBuffer::beginSeries()
{
    appendNumber(KIT_PacketHeader::theMarker);
    myForm.classId = 0;
    myForm.oneByteIds = KIT_PacketHeader::theIdFollows;
}

size_t KIT_ByteBuffer::appendLongHeader(int classId, int packetId, KIT_PacketHeader::Size size)
{
    if (!isShort()) {
        const uint32_t zeros = KIT_PacketHeader::zeros(size);
        const size_t begin =
            appendPlainHeader(classId, packetId, zeros + KIT_PacketHeader::stored(size));
        constexpr char theZeros[12] = {};
        append(std::string_view(theZeros, zeros));
        return begin;
    }
    myGoodFlag = myGoodFlag && classId == static_cast<uint16_t>(classId) &&
                 packetId == static_cast<int16_t>(packetId);
    char *at = room(KIT_PacketHeader::theMostBytes);
    if (!at) {
        return 0;
    }
    const size_t begin = KIT_ByteBuffer::size();
    const bool withClass = classId != myForm.classId;
    const uint8_t first = KIT_PacketHeader::first(packetId, size, withClass);
    *at++ = static_cast<char>(first);
    if (withClass) {
        const uint8_t number = KIT_PacketHeader::classNumber(classId);
        *at++ = static_cast<char>(number);
        at = number == 0 ? putNumber(at, static_cast<uint16_t>(classId)) : at;
        myForm.classId = static_cast<uint16_t>(classId);
    }
    if ((first & KIT_PacketHeader::theIdFollows) == KIT_PacketHeader::theIdFollows) {
        at = putNumber(at, static_cast<int16_t>(packetId));
    }
    myEnd = at;
    return begin;
}

size_t KIT_ByteBuffer::appendPlainHeader(int classId, int packetId, uint32_t length)
{
    using Header = KIT_PacketHeader;
    myGoodFlag = myGoodFlag && classId == static_cast<uint16_t>(classId) &&
                 packetId == static_cast<int16_t>(packetId);
    char *at = room(Header::theMostBytes);
    if (!at) {
        return 0;
    }
    const size_t begin = size();
    if (isShort()) {
        *at++ = static_cast<char>(Header::theClassBit);
        *at++ = static_cast<char>(Header::theEscapeNumber);
    } else if (classId == Header::theMarkerClass && packetId == Header::theMarkerPacket) {
        at = putNumber(at, Header::theMarker);
    }
    at = putNumber(at, static_cast<uint16_t>(classId));
    at = putNumber(at, static_cast<int16_t>(packetId));
    myEnd = putNumber(at, length);
    return begin;
}

KIT_ByteBuffer::Packet KIT_ByteBuffer::beginPlainPacket(int classId, int packetId)
{
    Packet packet;
    packet.header = appendPlainHeader(classId, packetId, 0);
    packet.plainPayload = myGoodFlag ? size() : 0;
    packet.after = myForm;
    myForm = Form();
    return packet;
}

/// A packet that is plain, empty or not short.
void KIT_ByteBuffer::finishPacket(const Packet &packet)
{
    // A header for which there was no memory has nothing to complete.
    const size_t payload = packet.payload + packet.plainPayload;
    if (!myGoodFlag || payload == 0 || payload > size()) {
        return;
    }
    const size_t length = size() - payload;
    if (packet.plainPayload != 0) {
        myGoodFlag = length <= UINT32_MAX;
        putNumber(myData + payload - sizeof(uint32_t), static_cast<uint32_t>(length));
    } else if (length == 0) {
        setSize(packet, KIT_PacketHeader::EMPTY);
        --myEnd;
    } else {
        widenLength(packet, length);
    }
}

void KIT_ByteBuffer::setSize(const Packet &packet, KIT_PacketHeader::Size size)
{
    constexpr unsigned theSizeBits = 0x70;
    const unsigned first = static_cast<unsigned char>(myData[packet.header]);
    myData[packet.header] = static_cast<char>((first & ~theSizeBits) | unsigned(size) << 4);
}

/// Makes room for a length that needs more than the byte that was left for it.
void KIT_ByteBuffer::widenLength(const Packet &packet, size_t length)
{
    char bytes[theMostLengthBytes];
    myGoodFlag = length <= UINT32_MAX;
    const size_t more = myGoodFlag ? static_cast<size_t>(putLength(bytes, length) - bytes) - 1 : 0;
    if (!myGoodFlag || !room(more)) {
        return;
    }
    setSize(packet, KIT_PacketHeader::LENGTH_N);
    char *const at = myData + packet.payload - 1;
    std::memmove(at + 1 + more, at + 1, length);
    std::memcpy(at, bytes, more + 1);
    myEnd += more;
}

void KIT_ByteBuffer::overwrite(size_t at, std::string_view bytes)
{
    if (at <= size() && bytes.size() <= size() - at && !bytes.empty()) {
        std::memcpy(myData + at, bytes.data(), bytes.size());
    }
}

void KIT_ByteBuffer::writeTo(std::ostream &stream) const
{
    if (size() > 0) {
        stream.write(myData, static_cast<std::streamsize>(size()));
    }
    if (!myGoodFlag) {
        stream.setstate(std::ios::failbit);
    }
}

void KIT_ByteBuffer::moveTo(std::ostream &stream)
{
    const Form form = myForm;
    writeTo(stream);
    clear();
    myForm = form;
}
