#include <KIT/KIT_JSONWriter.h>

#include <KIT/KIT_AutoJSONParser.h>
#include <KIT/KIT_StringRef.h>
#include <KIT/KIT_WorkBuffer.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstring>
#include <ostream>

namespace
{

constexpr const char *thePrettyPrint = "json:prettyprint";

// -------------------------------------------------------------------------- //
// Text
// -------------------------------------------------------------------------- //

class TextWriter final : public KIT_JSONWriter
{
public:
    TextWriter(std::ostream *stream, KIT_WorkBuffer *buffer) : KIT_JSONWriter(stream, buffer) {}

protected:
    void putNull(KIT_ByteBuffer &out) override
    {
        separate(out);
        out << "null";
    }
    void putBool(KIT_ByteBuffer &out, bool value) override
    {
        separate(out);
        out << (value ? "true" : "false");
    }
    void putInt(KIT_ByteBuffer &out, int64_t value) override
    {
        separate(out);
        KIT_WorkBuffer digits;
        digits.appendNumber(value);
        out << digits.view();
    }
    void putReal(KIT_ByteBuffer &out, double value) override
    {
        if (!std::isfinite(value)) {
            putNull(out);
            return;
        }
        separate(out);
        KIT_WorkBuffer digits;
        digits.appendNumber(value);
        out << digits.view();
        // Without a point or exponent readers would take it for an integer.
        if (digits.view().find_first_of(".e") == std::string_view::npos) {
            out << ".0";
        }
    }
    void putText(KIT_ByteBuffer &out, std::string_view text) override
    {
        separate(out);
        quote(out, text);
    }
    void putKey(KIT_ByteBuffer &out, std::string_view key) override
    {
        separate(out);
        quote(out, key);
        out << (isPretty() ? ": " : ":");
        myAfterKeyFlag = true;
    }
    void putBegin(KIT_ByteBuffer &out, bool map, int64_t) override
    {
        separate(out);
        out << (map ? '{' : '[');
        myFirstFlag = true;
    }
    void putEnd(KIT_ByteBuffer &out, bool map) override
    {
        if (!myFirstFlag) {
            breakLine(out, getDepth() - 1);
        }
        out << (map ? '}' : ']');
        myFirstFlag = false;
    }

private:
    /// Writes the separator between an entry and the one before it.
    void separate(KIT_ByteBuffer &out)
    {
        if (!myAfterKeyFlag && getDepth() > 0) {
            if (!myFirstFlag) {
                out << ',';
            }
            breakLine(out, getDepth());
        }
        myFirstFlag = false;
        myAfterKeyFlag = false;
    }
    void breakLine(KIT_ByteBuffer &out, int depth)
    {
        if (isPretty()) {
            out << '\n';
            for (int i = 0; i < depth; ++i) {
                out << '\t';
            }
        }
    }
    static void quote(KIT_ByteBuffer &out, std::string_view text)
    {
        constexpr bool theAsciiFlag = false;
        out << nlohmann::json(text).dump(-1, ' ', theAsciiFlag,
                                         nlohmann::json::error_handler_t::replace);
    }

    bool myFirstFlag = true;
    bool myAfterKeyFlag = false;
};

// -------------------------------------------------------------------------- //
// Binary
// -------------------------------------------------------------------------- //

class BinaryWriter final : public KIT_JSONWriter
{
public:
    BinaryWriter(std::ostream *stream, KIT_WorkBuffer *buffer) : KIT_JSONWriter(stream, buffer) {}

protected:
    void putNull(KIT_ByteBuffer &out) override { out << '\xf6'; }
    void putBool(KIT_ByteBuffer &out, bool value) override { out << (value ? '\xf5' : '\xf4'); }
    void putInt(KIT_ByteBuffer &out, int64_t value) override
    {
        if (value < 0) {
            putHead(out, 1, ~uint64_t(value));
        } else {
            putHead(out, 0, uint64_t(value));
        }
    }
    void putReal(KIT_ByteBuffer &out, double value) override
    {
        uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof(bits));
        out << '\xfb';
        putBigEndian(out, bits, 8);
    }
    void putText(KIT_ByteBuffer &out, std::string_view text) override
    {
        putHead(out, 3, text.size());
        out << text;
    }
    void putKey(KIT_ByteBuffer &out, std::string_view key) override { putText(out, key); }
    void putBegin(KIT_ByteBuffer &out, bool map, int64_t numEntries) override
    {
        putHead(out, map ? 5 : 4, uint64_t(numEntries));
    }
    void putEnd(KIT_ByteBuffer &, bool) override {}

private:
    static void putBigEndian(KIT_ByteBuffer &out, uint64_t value, int numBytes)
    {
        for (int shift = 8 * (numBytes - 1); shift >= 0; shift -= 8) {
            out << char(uint8_t(value >> shift));
        }
    }
    /// Writes the kind of an item in the upper three bits, and its number in the fewest bytes.
    static void putHead(KIT_ByteBuffer &out, int kind, uint64_t number)
    {
        const int top = kind << 5;
        if (number < 24) {
            out << char(uint8_t(top | int(number)));
            return;
        }
        const int power = number <= UINT8_MAX    ? 0
                          : number <= UINT16_MAX ? 1
                          : number <= UINT32_MAX ? 2
                                                 : 3;
        out << char(uint8_t(top | (24 + power)));
        putBigEndian(out, number, 1 << power);
    }
};

std::unique_ptr<KIT_JSONWriter> makeWriter(std::ostream *stream, KIT_WorkBuffer *buffer,
                                           bool binary)
{
    if (binary) {
        return std::make_unique<BinaryWriter>(stream, buffer);
    }
    return std::make_unique<TextWriter>(stream, buffer);
}

} // namespace

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

std::unique_ptr<KIT_JSONWriter> KIT_JSONWriter::allocWriter(std::ostream &stream, bool binary)
{
    return makeWriter(&stream, nullptr, binary);
}

std::unique_ptr<KIT_JSONWriter> KIT_JSONWriter::allocWriter(KIT_WorkBuffer &buffer, bool binary)
{
    return makeWriter(nullptr, &buffer, binary);
}

KIT_JSONWriter::KIT_JSONWriter(std::ostream *stream, KIT_WorkBuffer *buffer)
    : myStream(stream), myBuffer(buffer), myPrettyFlag(stream != nullptr)
{
    myOptions.setOptionB(thePrettyPrint, myPrettyFlag);
}

KIT_JSONWriter::~KIT_JSONWriter() = default;

void KIT_JSONWriter::setOptions(const KIT_Options &options)
{
    myOptions = options;
    myPrettyFlag = options.getOptionB(thePrettyPrint, myStream != nullptr);
}

// -------------------------------------------------------------------------- //
// Writing
// -------------------------------------------------------------------------- //

bool KIT_JSONWriter::writeNull()
{
    putNull(myBytes);
    return finish();
}

bool KIT_JSONWriter::writeBool(bool value)
{
    putBool(myBytes, value);
    return finish();
}

bool KIT_JSONWriter::writeInt(int64_t value)
{
    putInt(myBytes, value);
    return finish();
}

bool KIT_JSONWriter::writeReal(double value)
{
    putReal(myBytes, value);
    return finish();
}

bool KIT_JSONWriter::writeText(std::string_view text)
{
    putText(myBytes, text);
    return finish();
}

bool KIT_JSONWriter::writeKey(std::string_view key)
{
    putKey(myBytes, key);
    return myGoodFlag;
}

bool KIT_JSONWriter::beginArray(int64_t numEntries)
{
    return begin(false, numEntries);
}

bool KIT_JSONWriter::endArray()
{
    return end(false);
}

bool KIT_JSONWriter::beginMap(int64_t numEntries)
{
    return begin(true, numEntries);
}

bool KIT_JSONWriter::endMap()
{
    return end(true);
}

bool KIT_JSONWriter::begin(bool map, int64_t numEntries)
{
    if (myDepth >= KIT_AutoJSONParser::theMaxNesting) {
        myGoodFlag = false;
        return false;
    }
    putBegin(myBytes, map, numEntries);
    ++myDepth;
    return myGoodFlag;
}

bool KIT_JSONWriter::end(bool map)
{
    putEnd(myBytes, map);
    --myDepth;
    return finish();
}

bool KIT_JSONWriter::finish()
{
    myGoodFlag = myGoodFlag && myBytes.isGood();
    if (myDepth > 0 || !myGoodFlag) {
        return myGoodFlag;
    }
    if (myStream) {
        myBytes.writeTo(*myStream);
        myGoodFlag = !myStream->fail();
    } else {
        myBuffer->append(myBytes.view());
    }
    myBytes.clear();
    return myGoodFlag;
}
