// The saved form of a float, text and binary.

#include <ZEL/ZEL_Float.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_PacketHeader.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>
#include <ZEL/instance/ZEL_ValuePacketsPrivate.h>
#include <ZEL/support/ZEL_PacketClassPrivate.h>

#include <cstring>

namespace
{

constexpr const char *theLoadLabel = "Float Parameter Load";
constexpr const char *theSaveLabel = "Float Parameter Save";

int floatClassId()
{
    return ZELpacketClassId(ZEL_PACKETS_OF_FLOAT);
}

using Header = KIT_PacketHeader;

/// What every plain float has before its values: the flags with the class, the locks and the label,
/// all of them zero.
constexpr char thePlainHead[] = {char(Header::first(FLOAT_FLAGS, Header::ZERO_12, true)),
                                 char(ZEL_PACKETS_OF_FLOAT),
                                 char(Header::first(FLOAT_LOCKS, Header::ZERO_4, false)),
                                 char(Header::first(FLOAT_LABEL, Header::ZERO_1, false))};
constexpr char theMarker[] = {char(Header::theMarker), char(Header::theMarker >> 8),
                              char(Header::theMarker >> 16), char(Header::theMarker >> 24)};
constexpr char theWideValue = char(Header::first(FLOAT_VALUE, Header::BYTES_8, false));
/// A number that a 32-bit float has exactly, as most that people type.
constexpr char theNarrowValue = char(Header::first(FLOAT_VALUE, Header::BYTES_4, false));
constexpr char thePlainEnd = char(Header::first(FLOAT_END, Header::EMPTY, false));
/// The most bytes of all packets together.
constexpr std::size_t plainLength(std::size_t size)
{
    return sizeof(thePlainHead) + size * (1 + sizeof(double)) + 1;
}

char *putValue(char *at, double value)
{
    float narrow = 0.0f;
    if (KIT_ByteBuffer::fitsFloat(value, narrow)) {
        *at++ = theNarrowValue;
        return KIT_ByteBuffer::putNumber(at, narrow);
    }
    *at++ = theWideValue;
    return KIT_ByteBuffer::putNumber(at, value);
}

/// The value after a header; null if there is none.
const char *skipValue(const char *at, const char *end)
{
    const std::ptrdiff_t length = *at == theWideValue ? 9 : *at == theNarrowValue ? 5 : 0;
    // The end packet follows.
    return length > 0 && end - at > length ? at + length : nullptr;
}

} // namespace

// -------------------------------------------------------------------------- //
// Saving
// -------------------------------------------------------------------------- //

/// Where the values to save of a plain float are; null if they are its defaults.
const double *ZEL_Float::plainValues() const
{
    return isPlain() && shouldSaveData() ? values() : nullptr;
}

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
    if (const double *numbers = plainValues()) {
        const double *const end = numbers + getVectorSize();
        const std::size_t most = std::size_t(end - numbers) * (1 + KIT_Digits::theMostBytes);
        ZEL_ValueFrames::savePlainAscii(out, most, [&](char *at) {
            for (const double *number = numbers; number != end; ++number) {
                *at++ = '\t';
                at = KIT_Digits::write(at, BASload(*number));
            }
            return at;
        });
        return;
    }
    const auto writeValue = [&](int i) { out.appendDecimal(valueToSave(i)); };
    ZEL_ValueFrames::saveAscii(*this, out, writeValue, writeValue);
}

bool ZEL_Float::savePlainBinary(KIT_ByteBuffer &out) const
{
    const int size = getVectorSize();
    const int classId = floatClassId();
    const double *const numbers = plainValues();
    if (!numbers || out.presentClass() == classId) {
        return false;
    }
    char *at = out.room(plainLength(std::size_t(size)));
    if (!at) {
        return false;
    }
    at = static_cast<char *>(std::memcpy(at, thePlainHead, sizeof(thePlainHead))) +
         sizeof(thePlainHead);
    for (int i = 0; i < size; ++i) {
        at = putValue(at, BASload(numbers[i]));
    }
    *at++ = thePlainEnd;
    out.setEnd(at, classId);
    return true;
}

void ZEL_Float::saveBinary(KIT_ByteBuffer &out) const
{
    // Alone, outside of a list's stream, it is a series of its own.
    const bool isAlone = !out.isShort();
    if (isAlone) {
        out.beginSeries();
    }
    if (!savePlainBinary(out)) {
        savePackets(out);
    }
    if (isAlone) {
        out.endSeries();
    }
}

void ZEL_Float::savePackets(KIT_ByteBuffer &out) const
{
    const int classId = floatClassId();
    const std::uint32_t saved = getSaveFlags();
    if (saved == 0) {
        out.appendZeroPacket(classId, FLOAT_FLAGS, Header::ZERO_12);
    } else {
        const KIT_ByteBuffer::Packet flags = out.beginPacket(classId, FLOAT_FLAGS);
        out.appendNumber(saved);
        out.appendNumber(std::uint64_t(0));
        out.endPacket(flags);
    }
    saveFloatOptions(classId, out);
    for (int i = 0, size = getVectorSize(); i < size; ++i) {
        if (const TRK_Channel *channel = getChannel(i)) {
            const KIT_ByteBuffer::Packet link = out.beginPacket(classId, FLOAT_CHANNEL);
            out.appendText(channel->getName().view());
            out.appendNumber(valueToSave(i));
            out.endPacket(link);
        } else {
            out.appendShortNumber(classId, FLOAT_VALUE, valueToSave(i));
        }
    }
    out.appendPacket(classId, FLOAT_END);
}

// -------------------------------------------------------------------------- //
// Loading
// -------------------------------------------------------------------------- //

bool ZEL_Float::load(KIT_IStream &is)
{
    if (!hasChannels() && (is.isBinary() ? loadPlainBinary(is) : loadPlainAscii(is))) {
        setLockedField(0);
        return KITgetErrorSeverity() < KIT_ERROR_ABORT;
    }
    HeldChannels held(getVectorSize());
    ZEL_ValueFrames::holdAllChannels(*this, held);
    unsigned keyMask = 0;
    const bool loaded = is.isBinary() ? loadBinary(is) : loadAscii(is, held, keyMask);
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

bool ZEL_Float::loadPlainAscii(KIT_IStream &is)
{
    constexpr int theMost = 4;
    const int size = getVectorSize();
    std::string_view rest = is.rest();
    if (size > theMost || !ZEL_ValueFrames::takePlainOpening(rest)) {
        return false;
    }
    double numbers[theMost] = {};
    for (int i = 0; i < size; ++i) {
        if (rest.size() < 2 || rest[0] != '\t') {
            return false;
        }
        const char *const begin = rest.data() + 1;
        const char *const end = KIT_IStream::wordEnd(begin, rest.data() + rest.size());
        const std::size_t length = std::size_t(end - begin);
        if (length == 0 || BASparseFloat(begin, length, numbers[i]) != length) {
            return false;
        }
        rest.remove_prefix(length + 1);
    }
    if (!ZEL_ValueFrames::takePlainClosing(rest)) {
        return false;
    }
    for (int i = 0; i < size; ++i) {
        BASstore(values()[i], numbers[i]);
    }
    return is.seekg(is.tellg() + is.remaining() - std::int64_t(rest.size()));
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
    const int size = getVectorSize();
    std::string_view rest = is.rest();
    const char *const end = rest.data() + rest.size();
    if (!is.isInShortPacket()) {
        // Saved alone.
        const bool isMarked =
            rest.substr(0, sizeof(theMarker)) == std::string_view(theMarker, sizeof(theMarker));
        rest.remove_prefix(isMarked ? sizeof(theMarker) : rest.size());
    }
    if (size == 0 || rest.size() <= sizeof(thePlainHead) ||
        KITgetErrorSeverity() >= KIT_ERROR_ABORT ||
        std::memcmp(rest.data(), thePlainHead, sizeof(thePlainHead)) != 0) {
        return false;
    }
    const char *at = rest.data() + sizeof(thePlainHead);
    for (int i = 0; at && i < size; ++i) {
        at = skipValue(at, end);
    }
    if (!at || *at != thePlainEnd) {
        return false;
    }
    const std::int64_t after = is.tellg() + is.remaining() - (end - (at + 1));
    at = rest.data() + sizeof(thePlainHead);
    for (int i = 0; i < size; ++i) {
        const bool isWide = *at == theWideValue;
        BASstore(values()[i], isWide ? KIT_ByteBuffer::numberAt<double>(at + 1)
                                     : double(KIT_ByteBuffer::numberAt<float>(at + 1)));
        at += isWide ? 9 : 5;
    }
    is.packets().classId = std::uint16_t(floatClassId());
    return is.seekg(after);
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
