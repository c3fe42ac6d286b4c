#include <KIT/KIT_AutoJSONParser.h>

#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_JSONValueMap.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace
{

KIT_JSONValue makeUnsigned(uint64_t number)
{
    return number <= uint64_t(INT64_MAX) ? KIT_JSONValue(int64_t(number))
                                         : KIT_JSONValue(double(number));
}

// -------------------------------------------------------------------------- //
// Text
// -------------------------------------------------------------------------- //

/// Builds a value from the lexer's events. Open containers are kept in a list, so that nesting uses
/// no stack.
class TextBuilder final : public nlohmann::json_sax<nlohmann::json>
{
public:
    KIT_JSONValue &root() { return myRoot; }

    bool null() override { return put(KIT_JSONValue()); }
    bool boolean(bool value) override { return put(KIT_JSONValue(value)); }
    bool number_integer(number_integer_t value) override
    {
        return put(KIT_JSONValue(int64_t(value)));
    }
    bool number_unsigned(number_unsigned_t value) override { return put(makeUnsigned(value)); }
    bool number_float(number_float_t value, const string_t &) override
    {
        return put(KIT_JSONValue(double(value)));
    }
    bool string(string_t &text) override { return put(KIT_JSONValue(std::string_view(text))); }
    bool binary(binary_t &) override { return false; }
    bool start_object(std::size_t) override { return open(KIT_JSONValue(new KIT_JSONValueMap)); }
    bool key(string_t &text) override
    {
        myOpen.back().key = KITjsonText(std::string_view(text));
        return true;
    }
    bool end_object() override
    {
        const KIT_JSONValue map = myOpen.back().map;
        myOpen.pop_back();
        return put(map);
    }
    bool start_array(std::size_t) override { return open(KIT_JSONValue()); }
    bool end_array() override
    {
        KIT_JSONValue array(std::move(myOpen.back().items));
        myOpen.pop_back();
        return put(std::move(array));
    }
    bool parse_error(std::size_t read, const std::string &,
                     const nlohmann::detail::exception &) override
    {
        myFault = read > 0 ? read - 1 : 0;
        return false;
    }
    /// Where the parser gave up, the last byte that it read.
    std::size_t getFault() const { return myFault; }

private:
    struct Container
    {
        KIT_JSONValue map; // null for an array
        KIT_JSONValue::Array items;
        KIT_StringHolder key;
    };

    bool open(KIT_JSONValue map)
    {
        if (myOpen.size() >= std::size_t(KIT_AutoJSONParser::theMaxNesting)) {
            return false;
        }
        myOpen.emplace_back();
        myOpen.back().map = std::move(map);
        return true;
    }
    bool put(KIT_JSONValue value)
    {
        if (myOpen.empty()) {
            myRoot = std::move(value);
        } else if (KIT_JSONValueMap *map = myOpen.back().map.getMap()) {
            map->insert(myOpen.back().key, std::move(value));
        } else {
            myOpen.back().items.append(std::move(value));
        }
        return true;
    }

    std::vector<Container> myOpen;
    KIT_JSONValue myRoot;
    std::size_t myFault = 0;
};

/// `fault` returns where it goes wrong.
bool parseText(std::string_view text, KIT_JSONValue &value, std::size_t &fault)
{
    TextBuilder builder;
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &builder)) {
        fault = std::min(builder.getFault(), text.size());
        return false;
    }
    value = std::move(builder.root());
    return true;
}

// -------------------------------------------------------------------------- //
// Binary
// -------------------------------------------------------------------------- //

/// Reads what the library's own writer and any other writer of maps and arrays produce. Recursion
/// ends at the nesting limit.
class BinaryReader
{
public:
    explicit BinaryReader(std::string_view bytes) : myBytes(bytes) {}

    bool read(KIT_JSONValue &value, int depth)
    {
        Head head;
        do {
            if (!readHead(head)) {
                return false;
            }
        } while (head.kind == TAG);
        if (head.openFlag && head.kind != TEXT && head.kind != ARRAY && head.kind != MAP) {
            return false;
        }
        switch (head.kind) {
        case UNSIGNED: value = makeUnsigned(head.number); return true;
        case NEGATIVE: value = makeNegative(head.number); return true;
        case TEXT: return readText(head, value);
        case ARRAY:
            return depth < KIT_AutoJSONParser::theMaxNesting && readArray(head, value, depth);
        case MAP: return depth < KIT_AutoJSONParser::theMaxNesting && readMap(head, value, depth);
        case SIMPLE: return readSimple(head, value);
        default: return false;
        }
    }
    bool atEnd() const { return myBytes.empty(); }
    std::size_t remaining() const { return myBytes.size(); }

private:
    enum Kind
    {
        UNSIGNED,
        NEGATIVE,
        BYTES,
        TEXT,
        ARRAY,
        MAP,
        TAG,
        SIMPLE
    };
    struct Head
    {
        Kind kind = UNSIGNED;
        int size = 0;          // the lower five bits
        uint64_t number = 0;   // a value, or the length of what follows
        bool openFlag = false; // no length: a stop byte ends it
    };
    static constexpr char theStop = '\xff';

    static KIT_JSONValue makeNegative(uint64_t number)
    {
        return number <= uint64_t(INT64_MAX) ? KIT_JSONValue(-1 - int64_t(number))
                                             : KIT_JSONValue(-1.0 - double(number));
    }
    bool readHead(Head &head)
    {
        if (myBytes.empty()) {
            return false;
        }
        const int first = uint8_t(myBytes[0]);
        myBytes.remove_prefix(1);
        head = Head();
        head.kind = Kind(first >> 5);
        head.size = first & 31;
        if (head.size < 24) {
            head.number = uint64_t(head.size);
            return true;
        }
        if (head.size > 27) {
            head.openFlag = head.size == 31;
            return head.openFlag;
        }
        const std::size_t numBytes = std::size_t(1) << (head.size - 24);
        if (myBytes.size() < numBytes) {
            return false;
        }
        for (std::size_t i = 0; i < numBytes; ++i) {
            head.number = head.number << 8 | uint8_t(myBytes[i]);
        }
        myBytes.remove_prefix(numBytes);
        return true;
    }
    bool atStop()
    {
        if (myBytes.empty() || myBytes[0] != theStop) {
            return false;
        }
        myBytes.remove_prefix(1);
        return true;
    }
    bool appendText(const Head &head, std::string &text)
    {
        if (head.number > myBytes.size()) {
            return false;
        }
        text.append(myBytes, 0, std::size_t(head.number));
        myBytes.remove_prefix(std::size_t(head.number));
        return true;
    }
    bool readText(const Head &head, KIT_JSONValue &value)
    {
        std::string text;
        if (!head.openFlag && !appendText(head, text)) {
            return false;
        }
        // Chunks must have a length; an open one would allow unbounded nesting.
        while (head.openFlag && !atStop()) {
            Head piece;
            if (!readHead(piece) || piece.kind != TEXT || piece.openFlag ||
                !appendText(piece, text)) {
                return false;
            }
        }
        value = KIT_JSONValue(std::string_view(text));
        return true;
    }
    bool readArray(const Head &head, KIT_JSONValue &value, int depth)
    {
        KIT_JSONValue::Array items;
        for (uint64_t i = 0; head.openFlag ? !atStop() : i < head.number; ++i) {
            KIT_JSONValue item;
            if (!read(item, depth + 1)) {
                return false;
            }
            items.append(std::move(item));
        }
        value = KIT_JSONValue(std::move(items));
        return true;
    }
    bool readMap(const Head &head, KIT_JSONValue &value, int depth)
    {
        KIT_JSONValue map(new KIT_JSONValueMap);
        for (uint64_t i = 0; head.openFlag ? !atStop() : i < head.number; ++i) {
            KIT_JSONValue key;
            KIT_JSONValue item;
            if (!read(key, KIT_AutoJSONParser::theMaxNesting) ||
                key.getType() != KIT_JSONValue::JSON_STRING || !read(item, depth + 1)) {
                return false;
            }
            map.getMap()->insert(key.getS(), std::move(item));
        }
        value = std::move(map);
        return true;
    }
    bool readSimple(const Head &head, KIT_JSONValue &value)
    {
        switch (head.size) {
        case 20: value = KIT_JSONValue(false); return true;
        case 21: value = KIT_JSONValue(true); return true;
        case 22:
        case 23: value = KIT_JSONValue(); return true;
        case 25: value = KIT_JSONValue(halfToDouble(uint32_t(head.number))); return true;
        case 26: {
            const uint32_t bits = uint32_t(head.number);
            float number = 0.0f;
            std::memcpy(&number, &bits, sizeof(number));
            value = KIT_JSONValue(double(number));
            return true;
        }
        case 27: {
            double number = 0.0;
            std::memcpy(&number, &head.number, sizeof(number));
            value = KIT_JSONValue(number);
            return true;
        }
        default: return false;
        }
    }
    static double halfToDouble(uint32_t bits)
    {
        const int exponent = int(bits >> 10 & 31);
        const double mantissa = double(bits & 1023);
        double number = 0.0;
        if (exponent == 31) {
            number = mantissa == 0.0 ? std::numeric_limits<double>::infinity()
                                     : std::numeric_limits<double>::quiet_NaN();
        } else if (exponent == 0) {
            number = std::ldexp(mantissa, -24);
        } else {
            number = std::ldexp(mantissa + 1024.0, exponent - 25);
        }
        return (bits & 0x8000) != 0 ? -number : number;
    }

    std::string_view myBytes;
};

bool parseBinary(std::string_view bytes, KIT_JSONValue &value, std::size_t &fault)
{
    BinaryReader reader(bytes);
    const bool good = reader.read(value, 0) && reader.atEnd();
    fault = bytes.size() - reader.remaining();
    return good;
}

} // namespace

bool KIT_AutoJSONParser::isBinary() const
{
    const int first = myStream.peek();
    return first >= 0x80 && first <= 0xbf;
}

bool KIT_AutoJSONParser::parse(KIT_JSONValue &value)
{
    const std::string_view bytes = myStream.rest();
    bool good = false;
    std::size_t fault = 0;
    try {
        good = isBinary() ? parseBinary(bytes, value, fault) : parseText(bytes, value, fault);
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        good = false;
    }
    if (!good) {
        value = KIT_JSONValue();
    }
    myStream.seekg(myStream.tellg() + myStream.remaining());
    myFaultOffset = good ? -1 : std::int64_t(fault);
    return good;
}
