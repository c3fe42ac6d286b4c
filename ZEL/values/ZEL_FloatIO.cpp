// The saved form of a float, text and binary.

#include <ZEL/ZEL_Float.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>

#include <cstring>

namespace
{

/// Packet ids of a float, those of its options among them. Stored: append only.
enum FloatPacket
{
    FLOAT_END = 0,
    FLOAT_CHANNEL = 1,
    FLOAT_VALUE = 2,
    FLOAT_FLAGS = 3,
#define ZEL_INSTANCE_OPTION(name, word, packet, floatPacket, row) FLOAT_##name = floatPacket,
#include <ZEL/ZEL_InstanceOptions.def>
#undef ZEL_INSTANCE_OPTION
};

constexpr const char *theLoadLabel = "Float Parameter Load";
constexpr const char *theSaveLabel = "Float Parameter Save";

int floatClassId()
{
    static const int theClassId = KITgetClassPacketID("ZEL_Float");
    return theClassId;
}

/// The offsets in a plain float's packets: flags, locks, an empty label, the values, the end.
constexpr std::size_t theHeader = KIT_Packet::theHeaderSize;
constexpr std::size_t theFlagsSize = 3 * sizeof(std::uint32_t);
constexpr std::size_t theLocksAt = theHeader + theFlagsSize;
constexpr std::size_t theLabelAt = theLocksAt + theHeader + sizeof(std::uint32_t);
constexpr std::size_t theValuesAt = theLabelAt + theHeader + sizeof(std::uint32_t);
constexpr std::size_t theValueSize = theHeader + sizeof(double);

bool hasHeader(const char *at, FloatPacket packetId, std::uint32_t length)
{
    char header[theHeader];
    KIT_ByteBuffer::putHeader(header, floatClassId(), packetId, length);
    return std::memcmp(at, header, theHeader) == 0;
}

} // namespace

// -------------------------------------------------------------------------- //
// Saving
// -------------------------------------------------------------------------- //

double ZEL_Float::valueToSave(int index) const
{
    // The count of a multi-parameter determines what follows in the stream, with or without a
    // channel.
    if (savesStoredValue(index) || (isMultiParm() && shouldSaveData())) {
        return storedValue(index);
    }
    double value = 0.0;
    getDefaultValue(value, index);
    return value;
}

bool ZEL_Float::save(std::ostream &os, int binary, bool compiled) const
{
    KITcompose(os, [&](KIT_ByteBuffer &out) {
        if (binary != 0 || compiled) {
            saveBinary(out);
        } else {
            saveAscii(out);
        }
    });
    return KITcheckOutStream(os, theSaveLabel, nullptr);
}

void ZEL_Float::saveAscii(KIT_ByteBuffer &out) const
{
    const auto writeValue = [&](int i) { out.appendDecimal(valueToSave(i)); };
    ZEL_ValueFrames::saveAscii(*this, out, writeValue, writeValue);
}

bool ZEL_Float::savePlainBinary(KIT_ByteBuffer &out) const
{
    const int size = getVectorSize();
    const std::size_t length = theValuesAt + std::size_t(size) * theValueSize + theHeader;
    char *at = out.room(length);
    if (!at || hasFloatOptions()) {
        return false;
    }
    const int classId = floatClassId();
    at = KIT_ByteBuffer::putHeader(at, classId, FLOAT_FLAGS, std::uint32_t(theFlagsSize));
    at = KIT_ByteBuffer::putNumber(at, getSaveFlags());
    at = KIT_ByteBuffer::putNumber(at, std::uint64_t(0));
    at = KIT_ByteBuffer::putPacket(at, classId, FLOAT_LOCKS, getLockedField());
    at = KIT_ByteBuffer::putPacket(at, classId, FLOAT_LABEL, std::uint32_t(0));
    for (int i = 0; i < size; ++i) {
        if (getChannel(i)) {
            return false;
        }
        at = KIT_ByteBuffer::putPacket(at, classId, FLOAT_VALUE, valueToSave(i));
    }
    out.setEnd(KIT_ByteBuffer::putHeader(at, classId, FLOAT_END, 0));
    return true;
}

void ZEL_Float::saveBinary(KIT_ByteBuffer &out) const
{
    if (savePlainBinary(out)) {
        return;
    }
    const int classId = floatClassId();
    const std::size_t flags = out.beginPacket(classId, FLOAT_FLAGS);
    out.appendNumber(getSaveFlags());
    out.appendNumber(std::int32_t(0));
    out.appendNumber(std::int32_t(0));
    out.endPacket(flags);
    saveFloatOptions(classId, out);
    for (int i = 0, size = getVectorSize(); i < size; ++i) {
        if (const TRK_Channel *channel = getChannel(i)) {
            const std::size_t link = out.beginPacket(classId, FLOAT_CHANNEL);
            out.appendText(channel->getName().view());
            out.appendNumber(valueToSave(i));
            out.endPacket(link);
        } else {
            out.appendPacket(classId, FLOAT_VALUE, valueToSave(i));
        }
    }
    out.appendPacket(classId, FLOAT_END);
}

// -------------------------------------------------------------------------- //
// Loading
// -------------------------------------------------------------------------- //

bool ZEL_Float::load(KIT_IStream &is)
{
    HeldChannels held(getVectorSize());
    ZEL_ValueFrames::holdAllChannels(*this, held);
    unsigned keyMask = 0;
    const bool loaded =
        is.isBinary() ? loadPlainBinary(is) || loadBinary(is) : loadAscii(is, held, keyMask);
    // Only files of an old version contain the mask of components to key.
    for (int i = 0; keyMask != 0 && i < getVectorSize(); ++i) {
        if ((keyMask & bit(i)) && getChannel(i)) {
            const double time = TRK_Manager::getContext().getEvaluateTime(BASgetSTID());
            constexpr bool notify = true;
            constexpr bool commit = true;
            constexpr bool keyOnly = true;
            getChannel(i)->setKeyValue(storedValue(i), time, notify, commit, keyOnly);
        }
    }
    return loaded && KITgetErrorSeverity() < KIT_ERROR_ABORT;
}

bool ZEL_Float::loadAscii(KIT_IStream &is, HeldChannels &held, unsigned &keyMask)
{
    if (!ZEL_ValueFrames::openAscii(*this, is, keyMask)) {
        return false;
    }
    std::string_view word;
    return ZEL_ValueFrames::loadAscii(*this, LoadRules(), [&](int index) {
        if (!is.getWord(word)) {
            return Entry::CUT;
        }
        if (word == ")") {
            return Entry::END;
        }
        return validIndex(index) ? loadAsciiEntry(is, word, index, held) : Entry::VALUE;
    });
}

ZEL_ValueInstance::Entry ZEL_Float::loadAsciiEntry(KIT_IStream &is, std::string_view word,
                                                   int index, HeldChannels &held)
{
    double value = 0.0;
    if (BASparseFloat(word.data(), word.size(), value) == word.size()) {
        ZEL_ValueFrames::deleteHeldChannel(*this, held, index);
        BASstore(values()[index], value);
        return Entry::VALUE;
    }
    KIT_WorkBuffer text;
    text.append(word);
    if (word != "[") {
        setChannel(index, linkChannel(text.buffer(), index));
        return Entry::VALUE;
    }
    bool complete = is.getWord(text);
    if (complete) {
        setChannel(index, linkChannel(text.buffer(), index));
        complete = is.getWord(text);
    }
    if (complete && text.view() != "]") {
        BASstore(values()[index], BASparseFloat(text.buffer()));
        complete = is.checkToken("]");
    }
    if (!complete) {
        addParmWarning(ZEL_ERR_MISSING_BRACKET);
    }
    return complete ? Entry::VALUE : Entry::FAILED;
}

bool ZEL_Float::loadPlainBinary(KIT_IStream &is)
{
    const std::size_t size = std::size_t(getVectorSize());
    const std::size_t end = theValuesAt + size * theValueSize;
    const std::string_view rest = is.rest();
    const char *const bytes = rest.data();
    if (rest.size() < end + theHeader || size == 0 || KITgetErrorSeverity() >= KIT_ERROR_ABORT ||
        !hasHeader(bytes, FLOAT_FLAGS, theFlagsSize) ||
        !hasHeader(bytes + theLocksAt, FLOAT_LOCKS, sizeof(std::uint32_t)) ||
        !hasHeader(bytes + theLabelAt, FLOAT_LABEL, sizeof(std::uint32_t)) ||
        KIT_ByteBuffer::numberAt<std::uint32_t>(bytes + theLabelAt + theHeader) != 0 ||
        !hasHeader(bytes + end, FLOAT_END, 0)) {
        return false;
    }
    for (std::size_t at = theValuesAt; at != end; at += theValueSize) {
        if (!hasHeader(bytes + at, FLOAT_VALUE, sizeof(double))) {
            return false;
        }
    }
    setSaveFlags(KIT_ByteBuffer::numberAt<std::uint32_t>(bytes + theHeader));
    setLockedField(KIT_ByteBuffer::numberAt<std::uint32_t>(bytes + theLocksAt + theHeader));
    for (std::size_t i = 0; i < size; ++i) {
        BASstore(values()[i], KIT_ByteBuffer::numberAt<double>(bytes + theValuesAt +
                                                               i * theValueSize + theHeader));
    }
    return is.seekg(is.tellg() + std::int64_t(end + theHeader));
}

bool ZEL_Float::loadBinary(KIT_IStream &is)
{
    LoadRules rules;
    rules.classId = floatClassId();
    rules.lastValueId = FLOAT_VALUE;
    rules.label = theLoadLabel;
    rules.wrongClassFails = true;
    rules.stopOnError = true;
    return ZEL_ValueFrames::loadBinary(*this, is, rules, [&](int packetId, int &numRead) {
        switch (packetId) {
        case FLOAT_CHANNEL:
            return ZEL_ValueFrames::loadBinaryLink(*this, is, numRead) &&
                   loadBinaryValue(is, numRead++);
        case FLOAT_VALUE: return loadBinaryValue(is, numRead++);
        default: return loadBinaryExtra(is, packetId);
        }
    });
}

bool ZEL_Float::loadBinaryValue(KIT_IStream &is, int index)
{
    double value = 0.0;
    if (!is.bread(value)) {
        return false;
    }
    BASstore(values()[index], value);
    return true;
}

bool ZEL_Float::loadBinaryExtra(KIT_IStream &is, int packetId)
{
    if (packetId == FLOAT_FLAGS) {
        std::uint32_t words[3] = {};
        if (!is.bread(words, 3)) {
            return false;
        }
        setSaveFlags(words[0]);
        return true;
    }
    const OptionRead read = loadFloatOption(is, packetId);
    if (read == OptionRead::UNKNOWN) {
        KITaddCommonWarning(KIT_COMMON_UNKNOWN_PACKET, theLoadLabel);
    }
    return read != OptionRead::FAILED;
}
