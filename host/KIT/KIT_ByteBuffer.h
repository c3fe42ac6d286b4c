/// \file KIT_ByteBuffer.h
/// A growing byte buffer in which text entries and packets are composed before they are written to
/// a stream in one piece.
///
/// Vocabulary: *packet*, *payload*, *class id*, *packet id* = as in KIT_Packet.h, which reads them;
///             *plain*, *short*, *series* = as in KIT_PacketHeader.h. *room* = bytes after the end
///             that may be written directly.
/// Units:      bytes; numbers are little endian.
/// Ownership:  owns its bytes. Pointers into them last until the next change.
/// Threads:    one thread at a time; meant for the stack.
/// Errors:     nothing throws. When memory is exhausted, an id does not fit 16 bits or a payload
///             reaches 4 GB, the buffer is no longer good until the next clear(), and writeTo()
///             sets the stream's fail state.
/// Cost:       no heap for the first 1,000 bytes, doubling from there; a packet's length is filled
///             in without seeking, and a short one's payload of 256 bytes or more is moved once.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_PacketHeader.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string_view>
#include <type_traits>

class KIT_API KIT_ByteBuffer
{
public:
    /// Bytes inside the object.
    static constexpr size_t theInlineSize = 1000;

    KIT_ByteBuffer() noexcept : myData(myInline), myEnd(myInline), myLimit(myInline + theInlineSize)
    {}
    ~KIT_ByteBuffer();
    KIT_ByteBuffer(const KIT_ByteBuffer &) = delete;
    KIT_ByteBuffer &operator=(const KIT_ByteBuffer &) = delete;

    // ---------------------------------------------------------------- //
    /// \name Reading
    // ---------------------------------------------------------------- //
    const char *data() const { return myData; }
    size_t size() const { return static_cast<size_t>(myEnd - myData); }
    std::string_view view() const { return std::string_view(myData, size()); }
    bool isGood() const { return myGoodFlag; }
    /// Writes all bytes; sets the stream's fail state when the buffer is not good.
    void writeTo(std::ostream &stream) const;
    /// The same, and empties the buffer. A series goes on; no packet may be open.
    void moveTo(std::ostream &stream);

    // ---------------------------------------------------------------- //
    /// \name Bytes and numbers
    // ---------------------------------------------------------------- //
    /// As new, but the memory is kept.
    void clear()
    {
        myEnd = myData;
        myGoodFlag = true;
        myForm = Form();
    }
    /// The end of the bytes, with that much room after it; null when memory is exhausted.
    char *room(size_t length)
    {
        return length <= static_cast<size_t>(myLimit - myEnd) || grow(length) ? myEnd : nullptr;
    }
    /// Sets the end after bytes were written into the room.
    void setEnd(char *end) { myEnd = end; }

    void append(char c)
    {
        if (char *at = room(1)) {
            *at = c;
            ++myEnd;
        }
    }
    /// The bytes must not be this buffer's own. Inlined everywhere: of a literal only stores are left.
    __attribute__((always_inline)) void append(std::string_view bytes)
    {
        char *at = room(bytes.size());
        if (at && !bytes.empty()) {
            std::memcpy(at, bytes.data(), bytes.size());
            myEnd += bytes.size();
        }
    }
    template <class T>
    void appendNumber(T value)
    {
        static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, bool>);
        if (char *at = room(sizeof(T))) {
            myEnd = putNumber(at, value);
        }
    }
    /// As append(), in the syntax of streams, for code that writes to either.
    KIT_ByteBuffer &operator<<(char c)
    {
        append(c);
        return *this;
    }
    __attribute__((always_inline)) KIT_ByteBuffer &operator<<(std::string_view text)
    {
        append(text);
        return *this;
    }
    /// The decimal text of a number, the same in every locale.
    void appendDecimal(double value);
    void appendDecimal(uint32_t value);
    /// A length and the bytes, as KIT_IStream::readText() reads them from where they stand: so a text
    /// that is composed apart must not be moved into a short packet.
    void appendText(std::string_view text)
    {
        const size_t length = text.size() < UINT32_MAX ? text.size() : UINT32_MAX;
        if (char *at = room(theMostLengthBytes + length)) {
            at = isShort() ? putLength(at, length) : putNumber(at, static_cast<uint32_t>(length));
            myEnd = static_cast<char *>(std::memcpy(at, text.data(), length)) + length;
        }
    }
    /// A text that may begin like the one before; KIT_IStream::readTextAfter() reads it. In a short
    /// packet one byte has how many bytes are shared, up to 15, in its upper half, and how many
    /// follow in its lower; theLongTextAfter there means that a length follows.
    void appendTextAfter(std::string_view text, std::string_view before);
    static constexpr unsigned theLongTextAfter = 15;
    /// Replaces bytes in the middle; does nothing unless they lie inside.
    void overwrite(size_t at, std::string_view bytes);

    // ---------------------------------------------------------------- //
    /// \name Into the room   (returns the end of what was written; nothing is checked)
    // ---------------------------------------------------------------- //
    template <class T>
    static char *putNumber(char *at, T value)
    {
        std::memcpy(at, &value, sizeof(T));
        swapForFile(at, sizeof(T));
        return at + sizeof(T);
    }
    /// The bytes that putNumber() wrote.
    template <class T>
    static T numberAt(const char *at)
    {
        char bytes[sizeof(T)];
        std::memcpy(bytes, at, sizeof(T));
        swapForFile(bytes, sizeof(T));
        T value;
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }
    /// The form of KIT_IStream::readLength().
    static char *putLength(char *at, uint64_t length)
    {
        for (; length > 0x7f; length >>= 7) {
            *at++ = static_cast<char>(length | 0x80);
        }
        *at++ = static_cast<char>(length);
        return at;
    }
    static constexpr size_t theMostLengthBytes = 5;

    // ---------------------------------------------------------------- //
    /// \name Packets   (short in a series and in short packets, else plain)
    // ---------------------------------------------------------------- //
    /// Which packets come next.
    struct Form
    {
        uint16_t classId = 0;    ///< of short ones: the class whose id a header needn't have
        uint16_t oneByteIds = 0; ///< packet ids below it take one byte with the size; 0: plain ones
    };
    /// A packet that was begun.
    struct Packet
    {
        size_t header = 0;  ///< where its own header begins
        size_t payload = 0; ///< 0 for a plain one, and if there was no memory
        size_t plainPayload = 0;
        Form after; ///< what comes after it
    };
    /// From here to endSeries() packets are short; those of the series itself are of one class, and
    /// the last is an empty one with the id 0. Not in a short packet.
    void beginSeries();
    void endSeries() { myForm = Form(); }
    /// Whether packets here are short, and what is in them is written for that.
    bool isShort() const { return myForm.oneByteIds != 0; }
    /// Appends a header. The packet holds what is appended until endPacket() is called with what is
    /// returned. Packets nest.
    Packet beginPacket(int classId, int packetId)
    {
        if (!isShort()) {
            return beginPlainPacket(classId, packetId);
        }
        Packet packet;
        packet.header = appendHeader(classId, packetId, KIT_PacketHeader::LENGTH_1);
        append('\0');
        packet.payload = myGoodFlag ? size() : 0;
        packet.after = myForm;
        return packet;
    }
    /// A packet for any bytes: what is in it doesn't depend on where it is.
    Packet beginPlainPacket(int classId, int packetId);
    void endPacket(const Packet &packet)
    {
        myForm = packet.after;
        const size_t length = size() - packet.payload;
        if (length - 1 < UINT8_MAX && myGoodFlag && packet.payload != 0) {
            myData[packet.payload - 1] = static_cast<char>(length);
        } else {
            finishPacket(packet);
        }
    }
    /// A whole packet with one number, or with none.
    template <class T>
    void appendPacket(int classId, int packetId, T value)
    {
        if (sizeof(T) == 4 && isZero(value)) {
            appendHeader(classId, packetId, KIT_PacketHeader::ZERO_4);
        } else if (sizeof(T) == 4 || sizeof(T) == 8) {
            appendHeader(classId, packetId,
                         sizeof(T) == 4 ? KIT_PacketHeader::BYTES_4 : KIT_PacketHeader::BYTES_8);
            appendNumber(value);
        } else {
            const Packet packet = beginPacket(classId, packetId);
            appendNumber(value);
            endPacket(packet);
        }
    }
    void appendPacket(int classId, int packetId)
    {
        appendHeader(classId, packetId, KIT_PacketHeader::EMPTY);
    }
    /// A packet with a double; a short one in 4 bytes if a float has it exactly: KIT_IStream::bread()
    /// reads both.
    void appendShortNumber(int classId, int packetId, double value)
    {
        float narrow = 0.0f;
        if (isShort() && fitsFloat(value, narrow)) {
            appendHeader(classId, packetId, KIT_PacketHeader::BYTES_4);
            appendNumber(narrow);
        } else {
            appendPacket(classId, packetId, value);
        }
    }
    /// Whether a float has exactly this number, and which.
    static bool fitsFloat(double value, float &narrow)
    {
        const bool inRange = value >= -theFloatLimit && value <= theFloatLimit;
        narrow = inRange ? static_cast<float>(value) : 0.0f;
        return inRange && static_cast<double>(narrow) == value;
    }
    /// A whole packet whose bytes are all zero, as many as the size says.
    void appendZeroPacket(int classId, int packetId, KIT_PacketHeader::Size size)
    {
        appendHeader(classId, packetId, size);
    }
    /// The class whose id a short header need not have.
    uint16_t presentClass() const { return myForm.classId; }
    /// After whole short packets of a class were written into the room of an open one.
    void setEnd(char *end, int classId)
    {
        myEnd = end;
        myForm.classId = static_cast<uint16_t>(classId);
    }

private:
    static constexpr double theFloatLimit = 3.4028234663852886e38; // FLT_MAX
    static void swapForFile([[maybe_unused]] char *bytes, [[maybe_unused]] size_t size)
    {
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        for (size_t i = 0; i < size / 2; ++i) {
            const char byte = bytes[i];
            bytes[i] = bytes[size - 1 - i];
            bytes[size - 1 - i] = byte;
        }
#endif
    }
    template <class T>
    static bool isZero(T value)
    {
        // Of a number like -0.0 the bytes count.
        const T zero = T(0);
        return std::memcmp(&value, &zero, sizeof(T)) == 0;
    }
    /// Returns where the header begins.
    size_t appendHeader(int classId, int packetId, KIT_PacketHeader::Size size)
    {
        constexpr size_t theShortest = 1;
        char *const at = room(theShortest);
        if (!at || classId != myForm.classId || unsigned(packetId) >= myForm.oneByteIds) {
            return appendLongHeader(classId, packetId, size);
        }
        *at = static_cast<char>(KIT_PacketHeader::first(packetId, size, false));
        ++myEnd;
        return static_cast<size_t>(at - myData);
    }
    size_t appendLongHeader(int classId, int packetId, KIT_PacketHeader::Size size);
    size_t appendPlainHeader(int classId, int packetId, uint32_t length);
    void finishPacket(const Packet &packet);
    void setSize(const Packet &packet, KIT_PacketHeader::Size size);
    void widenLength(const Packet &packet, size_t length);
    bool grow(size_t length);

    char *myData;
    char *myEnd;
    char *myLimit;
    bool myGoodFlag = true;
    Form myForm;
    char myInline[theInlineSize];
};
