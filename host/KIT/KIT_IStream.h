/// \file KIT_IStream.h
/// An input stream over bytes in memory, read as text words or as binary numbers.
///
/// Vocabulary: *white space* = blank and the bytes 9 to 13; *word* = a longest run of other bytes;
///             *limit* = the position that reading cannot pass: the end of the data, or of
///             the packet that is being read; *quoted form* = text between two equal quotes, `"` or
///             `'`, with the escapes \" \' \\ \n \r \t and \ooo (one to three octal digits); any
///             other escaped byte stands for itself.
/// Units:      positions and lengths in bytes from the start of the data.
/// Ownership:  borrows a memory range unless `copy` is set; files and std::istreams are read
///             completely and owned.
/// Threads:    one thread at a time.
/// Errors:     every read returns whether it succeeded, and none can pass the limit. A failed
///             binary read stores nothing and leaves the stream at the limit, so that the reads
///             after it fail too. No message is reported here.
/// Cost:       a read is a bounds check and a copy; words are copied in one piece.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>

#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

class KIT_API KIT_IStream
{
public:
    enum Mode
    {
        TEXT,  ///< numbers are words
        BINARY ///< numbers are little endian bytes
    };

    /// Reads `length` bytes at `data`, borrowed or copied. `name` is for messages.
    KIT_IStream(const char *data, size_t length, Mode mode, bool copy = false,
                const char *name = nullptr);
    /// A longer stream or file is treated as unreadable: some, like /dev/zero, have no end.
    static constexpr size_t theMaxBytes = size_t{1} << 31;

    /// Reads the rest of a stream completely.
    KIT_IStream(std::istream &stream, Mode mode);
    virtual ~KIT_IStream();
    KIT_IStream(const KIT_IStream &) = delete;
    KIT_IStream &operator=(const KIT_IStream &) = delete;

    bool isBinary() const { return myBinaryFlag; }
    void setBinary(bool binary) { myBinaryFlag = binary; }
    /// False when the file or stream could not be read; it then holds no bytes.
    bool isReadable() const { return myReadableFlag; }
    /// The name for messages; never null.
    const char *getName() const { return myName.c_str(); }

    // ---------------------------------------------------------------- //
    /// \name Position
    // ---------------------------------------------------------------- //
    /// True when the position is at the limit.
    bool eof() const { return myPosition >= myLimit; }
    int64_t tellg() const { return myPosition; }
    /// Moves to a position from 0 to the limit; any other is refused.
    bool seekg(int64_t position)
    {
        if (position < 0 || position > myLimit) {
            return false;
        }
        myPosition = position;
        return true;
    }
    /// Bytes from the position to the limit.
    int64_t remaining() const { return myLimit - myPosition; }
    /// The same bytes, in place: for readers that expect a known form.
    std::string_view rest() const
    {
        return std::string_view(myData + myPosition, static_cast<size_t>(remaining()));
    }
    /// All bytes, whatever the limit is.
    std::string_view bytes() const
    {
        return std::string_view(myData, static_cast<size_t>(myLength));
    }
    /// Keeps reading from passing `end` until popLimit(). `end` is clamped to the range from the
    /// position to the present limit.
    void pushLimit(int64_t end)
    {
        myOuterLimits.push_back(myLimit);
        end = end > myPosition ? end : myPosition;
        myLimit = myLimit < end ? myLimit : end;
    }
    /// Restores the limit before the last pushLimit(); the position stays.
    void popLimit()
    {
        if (!myOuterLimits.empty()) {
            myLimit = myOuterLimits.back();
            myOuterLimits.pop_back();
        }
    }
    /// How many limits are pushed.
    size_t getLimitDepth() const { return myOuterLimits.size(); }
    /// The line number of a position, from 1. Counts from the start of the data.
    int getLineNumber(int64_t position) const;
    int getLineNumber() const { return getLineNumber(myPosition); }

    // ---------------------------------------------------------------- //
    /// \name Packets   (kept here by KIT_Packet)
    // ---------------------------------------------------------------- //
    struct PacketState
    {
        bool isShort = false;  ///< the position is in a short packet's payload
        bool isNumber = false; ///< the payload is a number
        uint16_t classId = 0;  ///< of short packets: the class that is expected
        uint32_t zeros = 0;    ///< bytes of zero that end the payload and aren't in the data
    };
    /// The series that was read last outside of packets, or in the plain packet that is being read.
    struct PacketSeries
    {
        int64_t begin = -1;   ///< of the first packet
        int64_t next = -1;    ///< the end of the last one that was begun
        uint16_t classId = 0; ///< of its packets, 0 until the first
        bool isOver = false;  ///< nothing follows at `next`
    };
    PacketState &packets() { return myPackets; }
    PacketSeries &series() { return mySeries; }
    /// Whether packets and texts have the form that they have in short packets.
    bool isInShortPacket() const { return myPackets.isShort; }

    // ---------------------------------------------------------------- //
    /// \name Binary numbers
    // ---------------------------------------------------------------- //
    bool bread(int16_t &value) { return breadOne(value); }
    bool bread(uint16_t &value) { return breadOne(value); }
    bool bread(int32_t &value) { return breadOne(value); }
    bool bread(uint32_t &value) { return breadOne(value); }
    bool bread(int64_t &value) { return breadOne(value); }
    bool bread(uint64_t &value) { return breadOne(value); }
    bool bread(float &value) { return breadOne(value); }
    /// The number that is all of a short packet may have 4 bytes: then it is a float.
    bool bread(double &value)
    {
        if (myPackets.isNumber && remaining() == sizeof(float)) {
            float narrow = 0.0f;
            const bool found = breadOne(narrow);
            value = static_cast<double>(narrow);
            return found;
        }
        return breadOne(value);
    }
    /// Reads `count` numbers; false, with nothing stored, when there are fewer.
    template <class T>
    bool bread(T *values, size_t count)
    {
        return breadBytes(values, sizeof(T), count);
    }
    /// Reads plain bytes.
    bool breadRaw(void *bytes, size_t count) { return breadBytes(bytes, 1, count); }

    // ---------------------------------------------------------------- //
    /// \name Numbers as words
    // ---------------------------------------------------------------- //
    /// Reads one word and converts the longest number that it begins with ("2.0a" is 2.0). The
    /// whole word is consumed. A word that doesn't begin with a number fails and leaves `value`
    /// unchanged. Integers are clamped to the range of the type.
    bool aread(double &value);
    bool aread(float &value);
    bool aread(int32_t &value);
    bool aread(uint32_t &value);
    bool aread(int64_t &value);

    /// Reads a number in the mode of the stream.
    template <class T>
    bool read(T &value)
    {
        return isBinary() ? bread(value) : aread(value);
    }

    // ---------------------------------------------------------------- //
    /// \name Words and text
    // ---------------------------------------------------------------- //
    /// The next word as written, quotes included. False at the limit. The buffer is replaced.
    bool getWord(KIT_WorkBuffer &word);
    /// The same in place, without a NUL after it. The view is valid as long as the data.
    bool getWord(std::string_view &word)
    {
        const char *at = myData + myPosition;
        const char *const end = myData + myLimit;
        while (at != end && isWhitespace(*at)) {
            ++at;
        }
        const char *const begin = at;
        at = wordEnd(at, end);
        myPosition = at - myData;
        word = std::string_view(begin, static_cast<size_t>(at - begin));
        return at != begin;
    }
    /// The next word that is not part of a comment. A comment starts at a word that begins with
    /// `comment` and extends to the end of the line; inside a word that byte is an ordinary one.
    bool getNonCommentWord(KIT_WorkBuffer &word, char comment = '#');
    /// The same in place.
    bool getNonCommentWord(std::string_view &word, char comment = '#');
    /// The next word; one that begins with a quote is read in its quoted form, white space
    /// included, and returned without the quotes. False at the limit, or when the closing quote is
    /// missing (the buffer then holds the text up to the limit).
    bool getString(KIT_WorkBuffer &text);
    /// As getString(). In binary mode as readWorkBuffer(text, true).
    bool readString(KIT_String &text);
    /// Binary: a length and that many bytes; a length beyond the limit fails and allocates nothing.
    /// The length is a uint32, in a short packet it has 7 bits in each byte, the lowest first, and
    /// the top bit is set in all but the last. Text: as getString().
    bool readWorkBuffer(KIT_WorkBuffer &text, bool binary);
    /// The binary text in place. The view is valid as long as the data.
    bool readText(std::string_view &text);
    /// What KIT_ByteBuffer::appendTextAfter() wrote; `text` holds the text before and gets this one.
    bool readTextAfter(KIT_WorkBuffer &text);
    /// A number in the form of a short text's length.
    bool readLength(uint64_t &length);
    /// The rest of the line without its end ("\n" or "\r\n"). False at the limit.
    bool getLine(KIT_WorkBuffer &line);
    /// The next line whose first byte other than white space is not `comment`.
    bool getNonCommentLine(KIT_WorkBuffer &line, char comment = '#');
    /// True when `token` comes next, after any white space; only then is it consumed. A token that
    /// ends in a letter, digit or underscore must not be followed by another one.
    bool checkToken(const char *token);
    void skipWhitespace();
    /// Skips the byte order mark of UTF-8 at the position, which some editors put at the start of a
    /// text; for readers of whole texts.
    void skipByteOrderMark();
    /// The next byte, 0 to 255, or -1 at the limit; get() also consumes it.
    int peek() const { return eof() ? -1 : static_cast<unsigned char>(myData[myPosition]); }
    int get() { return eof() ? -1 : static_cast<unsigned char>(myData[myPosition++]); }

    static constexpr std::string_view theByteOrderMark = "\xEF\xBB\xBF";
    static bool isWhitespace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    /// The first white space, or the end: 16 bytes at a time where the machine can.
    static const char *wordEnd(const char *at, const char *end)
    {
#ifdef __SSE2__
        for (; end - at >= 16; at += 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
            const __m128i isBlank = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(' '));
            // As unsigned numbers: '\t' to '\r' become 0 to 4.
            const __m128i fromTab = _mm_sub_epi8(bytes, _mm_set1_epi8('\t'));
            const __m128i isControl =
                _mm_cmpeq_epi8(_mm_min_epu8(fromTab, _mm_set1_epi8('\r' - '\t')), fromTab);
            const int found = _mm_movemask_epi8(_mm_or_si128(isBlank, isControl));
            if (found != 0) {
                return at + __builtin_ctz(static_cast<unsigned>(found));
            }
        }
#endif
        while (at != end && !isWhitespace(*at)) {
            ++at;
        }
        return at;
    }

protected:
    /// A stream that isn't readable, for a derived class to fill.
    explicit KIT_IStream(Mode mode);
    /// Takes over the bytes and starts at the first.
    void adoptData(std::string &&data, const char *name);
    static bool readAll(std::istream &stream, std::string &data,
                        bool (*test)(std::string_view start) = nullptr);

private:
    template <class T>
    bool breadOne(T &value)
    {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        if (remaining() >= static_cast<int64_t>(sizeof(T))) {
            std::memcpy(&value, myData + myPosition, sizeof(T));
            myPosition += static_cast<int64_t>(sizeof(T));
            return true;
        }
#endif
        return breadBytes(&value, sizeof(T), 1);
    }
    bool breadBytes(void *values, size_t size, size_t count);
    template <class T>
    bool areadInteger(T &value);
    bool readQuoted(KIT_WorkBuffer &text);
    void decodeEscape(KIT_WorkBuffer &text);
    const char *findEnd(int64_t from, char stop) const;

    const char *myData = nullptr;
    int64_t myPosition = 0;
    int64_t myLimit = 0;
    int64_t myLength = 0;
    std::vector<int64_t> myOuterLimits;
    PacketState myPackets;
    PacketSeries mySeries;
    std::string myStorage; // the bytes, when owned
    std::string myName;
    bool myBinaryFlag = false;
    bool myReadableFlag = false;
};
