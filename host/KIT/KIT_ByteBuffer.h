/// \file KIT_ByteBuffer.h
/// A growing byte buffer in which text entries and packets are composed before they are written to
/// a stream in one piece.
///
/// Vocabulary: *packet*, *payload*, *class id*, *packet id* = as in KIT_Packet.h: the bytes are the
///             same, and a KIT_Packet reads them. *room* = bytes after the end that may be written
///             directly.
/// Units:      bytes; numbers are little endian.
/// Ownership:  owns its bytes. Pointers into them last until the next change.
/// Threads:    one thread at a time; meant for the stack.
/// Errors:     nothing throws. When memory is exhausted, an id does not fit 16 bits or a payload
///             reaches 4 GB, the buffer is no longer good until the next clear(), and writeTo()
///             sets the stream's fail state.
/// Cost:       no heap for the first 1,000 bytes, doubling from there; a packet's length is filled
///             in without seeking.

#pragma once

#include <BAS/BAS_API.h>

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

    // ---------------------------------------------------------------- //
    /// \name Bytes and numbers
    // ---------------------------------------------------------------- //
    /// Empties it and makes it good; the memory is kept.
    void clear()
    {
        myEnd = myData;
        myGoodFlag = true;
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
    /// A uint32 length and the bytes, as KIT_IStream::readWorkBuffer(text, true) reads them.
    void appendText(std::string_view text)
    {
        const size_t length = text.size() < UINT32_MAX ? text.size() : UINT32_MAX;
        if (char *at = room(sizeof(uint32_t) + length)) {
            at = putNumber(at, static_cast<uint32_t>(length));
            myEnd = static_cast<char *>(std::memcpy(at, text.data(), length)) + length;
        }
    }
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
    static char *putHeader(char *at, int classId, int packetId, uint32_t length)
    {
        at = putNumber(at, static_cast<uint16_t>(classId));
        at = putNumber(at, static_cast<int16_t>(packetId));
        return putNumber(at, length);
    }
    template <class T>
    static char *putPacket(char *at, int classId, int packetId, T value)
    {
        return putNumber(putHeader(at, classId, packetId, sizeof(T)), value);
    }

    // ---------------------------------------------------------------- //
    /// \name Packets
    // ---------------------------------------------------------------- //
    /// Appends a header. The packet holds what is appended until endPacket() is called with the
    /// returned position. Packets nest.
    size_t beginPacket(int classId, int packetId)
    {
        appendHeader(classId, packetId, 0);
        return size();
    }
    void endPacket(size_t payloadStart)
    {
        constexpr size_t theLengthSize = sizeof(uint32_t);
        // A header for which there was no memory has nothing to complete.
        if (myGoodFlag && payloadStart >= theLengthSize && payloadStart <= size()) {
            const size_t length = size() - payloadStart;
            myGoodFlag = length <= UINT32_MAX;
            putNumber(myData + payloadStart - theLengthSize, static_cast<uint32_t>(length));
        }
    }
    /// A whole packet with one number, or with none.
    template <class T>
    void appendPacket(int classId, int packetId, T value)
    {
        appendHeader(classId, packetId, sizeof(T));
        appendNumber(value);
    }
    void appendPacket(int classId, int packetId) { appendHeader(classId, packetId, 0); }

private:
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
    void appendHeader(int classId, int packetId, uint32_t length)
    {
        myGoodFlag = myGoodFlag && classId == static_cast<uint16_t>(classId) &&
                     packetId == static_cast<int16_t>(packetId);
        if (char *at = room(8)) {
            myEnd = putHeader(at, classId, packetId, length);
        }
    }
    bool grow(size_t length);

    char *myData;
    char *myEnd;
    char *myLimit;
    bool myGoodFlag = true;
    char myInline[theInlineSize];
};
