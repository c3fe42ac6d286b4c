#include <ZEL/streams/ZEL_StreamPacketsPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <ZEL/ZEL_DataFactory.h>
#include <ZEL/ZEL_DataItem.h>
#include <ZEL/instance/ZEL_ValuePacketsPrivate.h>
#include <ZEL/support/ZEL_PacketClassPrivate.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>

namespace
{

using Kind = ZEL_StreamEntry::Kind;
using Header = KIT_PacketHeader;

constexpr int theEnd = 0;

constexpr std::pair<Kind, ZEL_PacketClass> theClasses[] = {{Kind::FLOAT, ZEL_PACKETS_OF_FLOAT},
                                                           {Kind::ORDINAL, ZEL_PACKETS_OF_ORDINAL},
                                                           {Kind::STRING, ZEL_PACKETS_OF_STRING},
                                                           {Kind::DATA, ZEL_PACKETS_OF_DATA}};

/// PACKETS for a class that isn't known.
Kind kindOf(int classId)
{
    for (const auto &[kind, number] : theClasses) {
        if (ZELpacketClassId(number) == classId) {
            return kind;
        }
    }
    return Kind::PACKETS;
}

int classOf(Kind kind)
{
    for (const auto &[known, number] : theClasses) {
        if (known == kind) {
            return ZELpacketClassId(number);
        }
    }
    return 0;
}

// ---------------------------------------------------------------------- //
// Data
// ---------------------------------------------------------------------- //

struct DataPackets
{
    std::string type;
    std::optional<std::string> payload;
};

std::string typedText(const std::shared_ptr<const ZEL_DataItem> &item)
{
    std::ostringstream os;
    return item && ZEL_DataFactory::saveTypedAscii(item, os) ? os.str() : std::string();
}

std::shared_ptr<const ZEL_DataItem> itemOf(const DataPackets &packets)
{
    const std::string &bytes = *packets.payload;
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::BINARY);
    return ZEL_DataFactory::parseBinary(packets.type.c_str(), is);
}

/// False if they wouldn't give the text again.
bool packetsOf(const std::string &text, DataPackets &packets)
{
    packets = DataPackets();
    if (text.empty()) {
        return true;
    }
    std::shared_ptr<const ZEL_DataItem> item;
    std::ostringstream os;
    if (!ZEL_DataFactory::parseTyped(text, item) || typedText(item) != text ||
        !item->saveBinary(os)) {
        return false;
    }
    packets.type = item->getDataTypeToken();
    packets.payload = os.str();
    return typedText(itemOf(packets)) == text;
}

bool textOf(const DataPackets &packets, std::string &text)
{
    text = packets.payload ? typedText(itemOf(packets)) : "";
    DataPackets again;
    return packetsOf(text, again) && again.type == packets.type && again.payload == packets.payload;
}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

class Reader
{
public:
    Reader(KIT_IStream &is, ZEL_StreamEntry &entry) : myStream(is), myEntry(entry) {}

    bool read()
    {
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        KIT_Packet packet;
        int classId = 0;
        int packetId = 0;
        myEntry.kind = Kind::PACKETS;
        while (packet.beginRead(myStream, classId, packetId)) {
            if (myEntry.kind == Kind::PACKETS) {
                myEntry.kind = kindOf(classId);
            }
            if (myEntry.kind == Kind::PACKETS || classOf(myEntry.kind) != classId) {
                return false;
            }
            if (packetId == theEnd) {
                const bool emptyFlag = isDone();
                packet.endRead();
                return emptyFlag && myStream.eof() && finish();
            }
            if (!(myEntry.kind == Kind::FLOAT ? readFloat(packetId) : readOther(packetId)) ||
                !isDone()) {
                return false;
            }
            packet.endRead();
        }
        return false;
    }

private:
    using Field = std::optional<std::uint32_t> ZEL_StreamOptions::*;

    bool isDone() const { return myStream.eof() && myStream.packets().zeros == 0; }

    bool readText(std::string &text)
    {
        std::string_view view;
        const bool found = myStream.readText(view);
        text = view;
        return found;
    }
    template <class Number>
    bool readNumber(ZEL_StreamValue &value)
    {
        using Kept = std::conditional_t<std::is_integral_v<Number>, std::int64_t, double>;
        Number number = 0;
        const bool found = myStream.bread(number);
        value.value = Kept(number);
        return found;
    }
    ZEL_StreamValue &addValue()
    {
        finishItem();
        myEntry.values.emplace_back();
        return myEntry.values.back();
    }
    ZEL_StreamValue &addDriven(bool &good)
    {
        ZEL_StreamValue &value = addValue();
        value.drivenFlag = true;
        good = readText(value.channel);
        return value;
    }
    bool readInto(std::string text, ZEL_StreamValue &value)
    {
        const bool found = readText(text);
        value.value = std::move(text);
        return found;
    }

    bool readField(Field field)
    {
        std::uint32_t number = 0;
        std::optional<std::uint32_t> &to = myEntry.options.*field;
        const bool good = !to && myEntry.values.empty() && myStream.bread(number);
        to = number;
        return good;
    }
    /// An empty one is none: a float has that packet always.
    bool readLabel()
    {
        std::string label;
        const bool good = !myEntry.options.label && myEntry.values.empty() && readText(label) &&
                          (!label.empty() || myEntry.kind == Kind::FLOAT);
        if (!label.empty()) {
            myEntry.options.label = label;
        }
        return good;
    }
    bool readColor()
    {
        ZEL_StreamColor color;
        const bool good = myStream.bread(color.index) && myStream.bread(color.red) &&
                          myStream.bread(color.green) && myStream.bread(color.blue);
        myEntry.options.colors.push_back(color);
        return good && myEntry.values.empty();
    }

    bool readFloat(int packetId)
    {
        bool good = true;
        switch (packetId) {
        case FLOAT_FLAGS: {
            std::uint32_t words[3] = {};
            good = !myEntry.options.flags && myStream.bread(words, 3) && words[1] == 0 &&
                   words[2] == 0 && myEntry.values.empty();
            myEntry.options.flags = words[0];
            return good;
        }
        case FLOAT_LOCKS: return readField(&ZEL_StreamOptions::locks);
        case FLOAT_AUTOSCOPE: return readField(&ZEL_StreamOptions::autoScope);
        case FLOAT_AUTOSELECT: return readField(&ZEL_StreamOptions::autoSelect);
        case FLOAT_LABEL: return readLabel();
        case FLOAT_CHANNEL: {
            ZEL_StreamValue &value = addDriven(good);
            return good && readNumber<double>(value);
        }
        case FLOAT_VALUE: return readNumber<double>(addValue());
        default: return false;
        }
    }

    bool readOther(int packetId)
    {
        switch (packetId) {
        case OPTION_LOCKS: return readField(&ZEL_StreamOptions::locks);
        case OPTION_AUTOSCOPE: return readField(&ZEL_StreamOptions::autoScope);
        case OPTION_BYPASS: return readField(&ZEL_StreamOptions::bypass);
        case OPTION_AUTOSELECT: return readField(&ZEL_StreamOptions::autoSelect);
        case OPTION_LABEL: return readLabel();
        case OPTION_COLOR: return readColor();
        default: break;
        }
        return myEntry.kind == Kind::ORDINAL  ? readOrdinal(packetId)
               : myEntry.kind == Kind::STRING ? readString(packetId)
                                              : readData(packetId);
    }
    bool readOrdinal(int packetId)
    {
        bool good = true;
        if (packetId == ORDINAL_CHANNEL) {
            ZEL_StreamValue &value = addDriven(good);
            return good && readNumber<std::int32_t>(value);
        }
        return packetId == ORDINAL_INTEGER ? readNumber<std::int32_t>(addValue())
                                           : packetId == ORDINAL_TOKEN && readInto("", addValue());
    }
    bool readString(int packetId)
    {
        bool good = true;
        if (packetId == STRING_CHANNEL) {
            ZEL_StreamValue &value = addDriven(good);
            return good && readInto("", value);
        }
        return packetId == STRING_VALUE && readInto("", addValue());
    }

    /// The payload comes after the type, or there is none.
    bool readData(int packetId)
    {
        if (packetId == DATA_TYPE) {
            addValue().value = std::string();
            myItem.emplace();
            return readText(myItem->type);
        }
        if (packetId != DATA_PAYLOAD || !myItem || myItem->payload || myStream.isInShortPacket()) {
            return false;
        }
        myItem->payload = std::string(myStream.rest());
        return myStream.seekg(myStream.tellg() + myStream.remaining());
    }
    void finishItem()
    {
        std::string text;
        myGoodFlag = (!myItem || textOf(*myItem, text)) && myGoodFlag;
        if (myItem) {
            myEntry.values.back().value = text;
        }
        myItem.reset();
    }
    bool finish()
    {
        finishItem();
        if (myEntry.kind != Kind::FLOAT) {
            myEntry.options.flags = 0;
            myEntry.options.locks = myEntry.options.locks.value_or(0);
        }
        return myGoodFlag;
    }

    KIT_IStream &myStream;
    ZEL_StreamEntry &myEntry;
    std::optional<DataPackets> myItem;
    bool myGoodFlag = true;
};

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

template <class Append>
void appendPacket(KIT_ByteBuffer &out, int classId, int packetId, const Append &append)
{
    const KIT_ByteBuffer::Packet packet = out.beginPacket(classId, packetId);
    append();
    out.endPacket(packet);
}

void appendField(KIT_ByteBuffer &out, int classId, int packetId,
                 const std::optional<std::uint32_t> &field)
{
    if (field) {
        appendPacket(out, classId, packetId, [&] { out.appendNumber(*field); });
    }
}

void appendFloatOptions(KIT_ByteBuffer &out, int classId, const ZEL_StreamOptions &options)
{
    if (options.flags && *options.flags == 0) {
        out.appendZeroPacket(classId, FLOAT_FLAGS, Header::ZERO_12);
    } else if (options.flags) {
        appendPacket(out, classId, FLOAT_FLAGS, [&] {
            out.appendNumber(*options.flags);
            out.appendNumber(std::uint64_t(0));
        });
    }
    if (options.locks && *options.locks == 0) {
        out.appendZeroPacket(classId, FLOAT_LOCKS, Header::ZERO_4);
    } else {
        appendField(out, classId, FLOAT_LOCKS, options.locks);
    }
    appendField(out, classId, FLOAT_AUTOSCOPE, options.autoScope);
    if (options.label) {
        appendPacket(out, classId, FLOAT_LABEL, [&] { out.appendText(*options.label); });
    } else if (options.flags && options.locks) {
        out.appendZeroPacket(classId, FLOAT_LABEL, Header::ZERO_1);
    }
    appendField(out, classId, FLOAT_AUTOSELECT, options.autoSelect);
}

void appendOptions(KIT_ByteBuffer &out, int classId, const ZEL_StreamOptions &options)
{
    if (options.locks.value_or(0) != 0) {
        appendField(out, classId, OPTION_LOCKS, options.locks);
    }
    appendField(out, classId, OPTION_AUTOSCOPE, options.autoScope);
    appendField(out, classId, OPTION_BYPASS, options.bypass);
    if (options.label) {
        appendPacket(out, classId, OPTION_LABEL, [&] { out.appendText(*options.label); });
    }
    for (const ZEL_StreamColor &color : options.colors) {
        appendPacket(out, classId, OPTION_COLOR, [&] {
            out.appendNumber(color.index);
            out.appendNumber(color.red);
            out.appendNumber(color.green);
            out.appendNumber(color.blue);
        });
    }
    appendField(out, classId, OPTION_AUTOSELECT, options.autoSelect);
}

void appendFloat(KIT_ByteBuffer &out, int classId, const ZEL_StreamValue &value)
{
    const double number = std::get<double>(value.value);
    if (!value.drivenFlag) {
        out.appendShortNumber(classId, FLOAT_VALUE, number);
        return;
    }
    appendPacket(out, classId, FLOAT_CHANNEL, [&] {
        out.appendText(value.channel);
        out.appendNumber(number);
    });
}

void appendOrdinal(KIT_ByteBuffer &out, int classId, const ZEL_StreamValue &value)
{
    const auto *token = std::get_if<std::string>(&value.value);
    const int packetId = value.drivenFlag ? ORDINAL_CHANNEL
                         : token          ? ORDINAL_TOKEN
                                          : ORDINAL_INTEGER;
    appendPacket(out, classId, packetId, [&] {
        if (value.drivenFlag) {
            out.appendText(value.channel);
        }
        if (token) {
            out.appendText(*token);
        } else {
            out.appendNumber(std::int32_t(std::get<std::int64_t>(value.value)));
        }
    });
}

void appendString(KIT_ByteBuffer &out, int classId, const ZEL_StreamValue &value)
{
    appendPacket(out, classId, value.drivenFlag ? STRING_CHANNEL : STRING_VALUE, [&] {
        if (value.drivenFlag) {
            out.appendText(value.channel);
        }
        out.appendText(std::get<std::string>(value.value));
    });
}

void appendData(KIT_ByteBuffer &out, int classId, const ZEL_StreamValue &value)
{
    DataPackets packets;
    packetsOf(std::get<std::string>(value.value), packets);
    appendPacket(out, classId, DATA_TYPE, [&] { out.appendText(packets.type); });
    if (packets.payload) {
        const KIT_ByteBuffer::Packet packet = out.beginPlainPacket(classId, DATA_PAYLOAD);
        out.append(*packets.payload);
        out.endPacket(packet);
    }
}

} // namespace

bool ZELreadStreamPackets(KIT_IStream &is, ZEL_StreamEntry &entry)
{
    return Reader(is, entry).read();
}

void ZELappendStreamPackets(KIT_ByteBuffer &out, const ZEL_StreamEntry &entry)
{
    const int classId = classOf(entry.kind);
    const auto appendValue = entry.kind == Kind::FLOAT     ? appendFloat
                             : entry.kind == Kind::ORDINAL ? appendOrdinal
                             : entry.kind == Kind::STRING  ? appendString
                                                           : appendData;
    (entry.kind == Kind::FLOAT ? appendFloatOptions : appendOptions)(out, classId, entry.options);
    for (const ZEL_StreamValue &value : entry.values) {
        appendValue(out, classId, value);
    }
    out.appendPacket(classId, theEnd);
}

bool ZEL_StreamEntry::fitsPackets() const
{
    if (kind == Kind::PACKETS || kind == Kind::WORDS) {
        return kind == Kind::PACKETS;
    }
    const bool optionsFit = kind == Kind::FLOAT ? !options.bypass && options.colors.empty()
                                                : options.flags.value_or(0) == 0;
    if (!optionsFit || (options.label && options.label->empty())) {
        return false;
    }
    return std::all_of(values.begin(), values.end(), [this](const auto &value) {
        const auto *number = std::get_if<std::int64_t>(&value.value);
        const auto *text = std::get_if<std::string>(&value.value);
        DataPackets packets;
        switch (kind) {
        case Kind::FLOAT: return std::holds_alternative<double>(value.value);
        case Kind::ORDINAL:
            return number ? *number >= std::numeric_limits<std::int32_t>::min() &&
                                *number <= std::numeric_limits<std::int32_t>::max()
                          : text && !value.drivenFlag;
        case Kind::STRING: return text != nullptr;
        default: return text && !value.drivenFlag && packetsOf(*text, packets);
        }
    });
}
