#include <KIT/KIT_IStream.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <istream>
#include <limits>
#include <utility>

// ------------------------------------------------------------------ //
// Construction

KIT_IStream::KIT_IStream(Mode mode) : myBinaryFlag(mode == BINARY) {}

KIT_IStream::KIT_IStream(const char *data, size_t length, Mode mode, bool copy, const char *name)
    : myBinaryFlag(mode == BINARY)
{
    if (!data) {
        return;
    }
    if (copy) {
        adoptData(std::string(data, length), name);
        return;
    }
    myData = data;
    myLength = myLimit = static_cast<int64_t>(length);
    myName = name ? name : "";
    myReadableFlag = true;
}

KIT_IStream::KIT_IStream(std::istream &stream, Mode mode) : myBinaryFlag(mode == BINARY)
{
    std::string data;
    if (readAll(stream, data)) {
        adoptData(std::move(data), nullptr);
    }
}

KIT_IStream::~KIT_IStream() = default;

void KIT_IStream::adoptData(std::string &&data, const char *name)
{
    myStorage = std::move(data);
    myData = myStorage.data();
    myLength = myLimit = static_cast<int64_t>(myStorage.size());
    myPosition = 0;
    myOuterLimits.clear();
    myName = name ? name : "";
    myReadableFlag = true;
}

/// Gives up after the first MiB if that fails the test.
bool KIT_IStream::readAll(std::istream &stream, std::string &data,
                          bool (*test)(std::string_view start))
{
    constexpr size_t theStart = 1 << 20;
    if (!stream.good()) {
        return false;
    }
    char chunk[16384];
    do {
        stream.read(chunk, sizeof(chunk));
        data.append(chunk, static_cast<size_t>(stream.gcount()));
        if (test && data.size() >= theStart) {
            if (!std::exchange(test, nullptr)(data)) {
                errno = EILSEQ;
                return false;
            }
        }
    } while (stream.good() && data.size() <= theMaxBytes);
    return !stream.bad() && data.size() <= theMaxBytes;
}

// ------------------------------------------------------------------ //
// Position

int KIT_IStream::getLineNumber(int64_t position) const
{
    if (!myData) {
        return 1;
    }
    const int64_t end = std::min(std::max<int64_t>(position, 0), myLength);
    return 1 + static_cast<int>(std::count(myData, myData + end, '\n'));
}

// ------------------------------------------------------------------ //
// Binary numbers

#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
static void swapBytes(char *bytes, size_t size, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        std::reverse(bytes + i * size, bytes + (i + 1) * size);
    }
}
#endif

bool KIT_IStream::breadBytes(void *values, size_t size, size_t count)
{
    if (count > static_cast<uint64_t>(remaining()) / size) {
        if (myPosition == myLimit && count <= myPackets.zeros / size) {
            std::memset(values, 0, size * count);
            myPackets.zeros -= static_cast<uint32_t>(size * count);
            return true;
        }
        myPosition = myLimit;
        return false;
    }
    if (count > 0) {
        std::memcpy(values, myData + myPosition, size * count);
        myPosition += static_cast<int64_t>(size * count);
    }
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    swapBytes(static_cast<char *>(values), size, count);
#endif
    return true;
}

// ------------------------------------------------------------------ //
// Words

void KIT_IStream::skipWhitespace()
{
    while (myPosition < myLimit && isWhitespace(myData[myPosition])) {
        ++myPosition;
    }
}

void KIT_IStream::skipByteOrderMark()
{
    if (rest().substr(0, theByteOrderMark.size()) == theByteOrderMark) {
        myPosition += static_cast<int64_t>(theByteOrderMark.size());
    }
}

bool KIT_IStream::getWord(KIT_WorkBuffer &word)
{
    std::string_view view;
    const bool found = getWord(view);
    word.clear();
    word.append(view);
    return found;
}

bool KIT_IStream::getNonCommentWord(KIT_WorkBuffer &word, char comment)
{
    std::string_view view;
    word.clear();
    const bool found = getNonCommentWord(view, comment);
    word.append(view);
    return found;
}

bool KIT_IStream::getNonCommentWord(std::string_view &word, char comment)
{
    while (getWord(word)) {
        if (word.front() != comment) {
            return true;
        }
        myPosition = findEnd(word.data() - myData, '\n') - myData;
    }
    word = std::string_view();
    return false;
}

const char *KIT_IStream::findEnd(int64_t from, char stop) const
{
    return std::find(myData + from, myData + myLimit, stop);
}

bool KIT_IStream::getLine(KIT_WorkBuffer &line)
{
    line.clear();
    if (eof()) {
        return false;
    }
    const char *begin = myData + myPosition;
    const char *end = findEnd(myPosition, '\n');
    myPosition = std::min(myLimit, end - myData + 1);
    if (end != begin && end != myData + myLimit && end[-1] == '\r') {
        --end;
    }
    line.append(begin, static_cast<size_t>(end - begin));
    return true;
}

bool KIT_IStream::getNonCommentLine(KIT_WorkBuffer &line, char comment)
{
    while (!eof()) {
        const char *first = myData + myPosition;
        const char *last = findEnd(myPosition, '\n');
        first = std::find_if(first, last, [](char c) { return !isWhitespace(c); });
        if (first == last || *first != comment) {
            return getLine(line);
        }
        myPosition = std::min(myLimit, last - myData + 1);
    }
    line.clear();
    return false;
}

bool KIT_IStream::checkToken(const char *token)
{
    const size_t length = token ? std::strlen(token) : 0;
    int64_t at = myPosition;
    while (at < myLimit && isWhitespace(myData[at])) {
        ++at;
    }
    if (length == 0 || length > static_cast<uint64_t>(myLimit - at) ||
        std::memcmp(myData + at, token, length) != 0) {
        return false;
    }
    const int64_t end = at + static_cast<int64_t>(length);
    if (end < myLimit && BASisWordChar(token[length - 1]) && BASisWordChar(myData[end])) {
        return false;
    }
    myPosition = end;
    return true;
}

// ------------------------------------------------------------------ //
// Quoted text

void KIT_IStream::decodeEscape(KIT_WorkBuffer &text)
{
    const char c = myData[myPosition++];
    switch (c) {
    case 'n': text.append('\n'); return;
    case 'r': text.append('\r'); return;
    case 't': text.append('\t'); return;
    default: break;
    }
    if (c < '0' || c > '7') {
        text.append(c);
        return;
    }
    int code = c - '0';
    for (int i = 0; i < 2 && peek() >= '0' && peek() <= '7'; ++i) {
        code = code * 8 + (get() - '0');
    }
    text.append(static_cast<char>(static_cast<unsigned char>(code & 0xff)));
}

bool KIT_IStream::readQuoted(KIT_WorkBuffer &text)
{
    const char quote = myData[myPosition++];
    while (myPosition < myLimit) {
        const int64_t start = myPosition;
        while (myPosition < myLimit && myData[myPosition] != quote && myData[myPosition] != '\\') {
            ++myPosition;
        }
        text.append(myData + start, static_cast<size_t>(myPosition - start));
        if (myPosition == myLimit) {
            return false;
        }
        if (myData[myPosition++] == quote) {
            return true;
        }
        if (myPosition == myLimit) {
            return false;
        }
        decodeEscape(text);
    }
    return false;
}

bool KIT_IStream::getString(KIT_WorkBuffer &text)
{
    skipWhitespace();
    if (peek() == '"' || peek() == '\'') {
        text.clear();
        return readQuoted(text);
    }
    return getWord(text);
}

bool KIT_IStream::readString(KIT_String &text)
{
    KIT_WorkBuffer buffer;
    const bool ok = readWorkBuffer(buffer, isBinary());
    buffer.copyIntoString(text);
    return ok;
}

bool KIT_IStream::readWorkBuffer(KIT_WorkBuffer &text, bool binary)
{
    if (!binary) {
        return getString(text);
    }
    std::string_view bytes;
    text.clear();
    if (!readText(bytes)) {
        return false;
    }
    text.append(bytes);
    return true;
}

bool KIT_IStream::readLength(uint64_t &length)
{
    constexpr int theMostBits = 35; // of five bytes: a length of 32 bits
    length = 0;
    for (int shift = 0; shift < theMostBits; shift += 7) {
        uint8_t byte = 0;
        if (!breadRaw(&byte, 1)) {
            return false;
        }
        length |= uint64_t(byte & 0x7fu) << shift;
        if ((byte & 0x80u) == 0) {
            return true;
        }
    }
    return false;
}

bool KIT_IStream::readText(std::string_view &text)
{
    text = std::string_view();
    uint64_t length = 0;
    if (isInShortPacket()) {
        if (!readLength(length)) {
            return false;
        }
    } else {
        uint32_t word = 0;
        if (!bread(word)) {
            return false;
        }
        length = word;
    }
    if (length > static_cast<uint64_t>(remaining())) {
        myPosition = myLimit;
        return false;
    }
    text = std::string_view(myData + myPosition, static_cast<size_t>(length));
    myPosition += static_cast<int64_t>(length);
    return true;
}

bool KIT_IStream::readTextAfter(KIT_WorkBuffer &text)
{
    constexpr bool binary = true;
    if (!isInShortPacket()) {
        return readWorkBuffer(text, binary);
    }
    const int head = get();
    if (head < 0) {
        return false;
    }
    const size_t shared = static_cast<size_t>(head) >> 4;
    uint64_t length = static_cast<uint64_t>(head) & KIT_ByteBuffer::theLongTextAfter;
    if (length == KIT_ByteBuffer::theLongTextAfter && !readLength(length)) {
        return false;
    }
    if (shared > text.length() || length > static_cast<uint64_t>(remaining())) {
        myPosition = myLimit;
        return false;
    }
    text.truncate(shared);
    text.append(myData + myPosition, static_cast<size_t>(length));
    myPosition += static_cast<int64_t>(length);
    return true;
}

// ------------------------------------------------------------------ //
// Numbers as words

bool KIT_IStream::aread(double &value)
{
    std::string_view word;
    double number = 0.0;
    if (!getWord(word) || BASparseFloat(word.data(), word.size(), number) == 0) {
        return false;
    }
    value = number;
    return true;
}

bool KIT_IStream::aread(float &value)
{
    double number;
    if (!aread(number)) {
        return false;
    }
    value = static_cast<float>(number);
    return true;
}

template <class T>
bool KIT_IStream::areadInteger(T &value)
{
    std::string_view word;
    if (!getWord(word)) {
        return false;
    }
    const char *begin = word.data();
    const char *const end = begin + word.size();
    if (*begin == '+' && end - begin > 1 && begin[1] != '-') {
        ++begin;
    }
    int64_t number = 0;
    const std::from_chars_result result = std::from_chars(begin, end, number);
    if (result.ec == std::errc::invalid_argument) {
        return false;
    }
    if (result.ec == std::errc::result_out_of_range) {
        number = *begin == '-' ? std::numeric_limits<int64_t>::min()
                               : std::numeric_limits<int64_t>::max();
    }
    number = std::max<int64_t>(number, std::numeric_limits<T>::min());
    number = std::min<int64_t>(number, std::numeric_limits<T>::max());
    value = static_cast<T>(number);
    return true;
}

bool KIT_IStream::aread(int32_t &value)
{
    return areadInteger(value);
}

bool KIT_IStream::aread(uint32_t &value)
{
    return areadInteger(value);
}

bool KIT_IStream::aread(int64_t &value)
{
    return areadInteger(value);
}
