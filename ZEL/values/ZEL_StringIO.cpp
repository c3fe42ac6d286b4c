// The saved form of a string, text and binary.

#include <ZEL/ZEL_String.h>

#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_PacketHeader.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>
#include <ZEL/instance/ZEL_ValuePacketsPrivate.h>
#include <ZEL/support/ZEL_PacketClassPrivate.h>

namespace
{

constexpr const char *theLoadLabel = "String Parameter Load";
constexpr const char *theSaveLabel = "String Parameter Save";

int stringClassId()
{
    return ZELpacketClassId(ZEL_PACKETS_OF_STRING);
}

} // namespace

// -------------------------------------------------------------------------- //
// Saving
// -------------------------------------------------------------------------- //

const char *ZEL_String::textToSave(int index) const
{
    if (savesStoredValue(index)) {
        return texts()[index].unsafeGet();
    }
    const ZEL_Default *record = defaultOf(index);
    return record ? record->getString() : "";
}

/// The packets of texts without channels and options. False, with nothing written, for all others.
bool ZEL_String::savePlainBinary(std::ostream &os) const
{
    KIT_ByteBuffer *const out = isPlain() ? KIT_OByteStream::findBytes(os) : nullptr;
    if (!out) {
        return false;
    }
    const int classId = stringClassId();
    for (int i = 0; i < getVectorSize(); ++i) {
        const KIT_ByteBuffer::Packet packet = out->beginPacket(classId, STRING_VALUE);
        out->appendText(textToSave(i));
        out->endPacket(packet);
    }
    out->appendPacket(classId, STRING_END);
    if (!out->isGood()) {
        os.setstate(std::ios::failbit);
    }
    return true;
}

/// The same for the text form, and for texts that are written as they are.
bool ZEL_String::savePlainAscii(std::ostream &os) const
{
    KIT_ByteBuffer *const out =
        isPlain() && getVectorSize() == 1 ? KIT_OByteStream::findBytes(os) : nullptr;
    const std::string_view text = out ? textToSave(0) : "";
    if (!out || KIT_String::needsEscapes(text, '"')) {
        return false;
    }
    ZEL_ValueFrames::savePlainAscii(*out, text.size() + 3, [text](char *at) {
        at = ZEL_ValueFrames::putText(ZEL_ValueFrames::putText(at, "\t\""), text);
        *at = '"';
        return at + 1;
    });
    if (!out->isGood()) {
        os.setstate(std::ios::failbit);
    }
    return true;
}

bool ZEL_String::save(std::ostream &os, int binary, bool compiled) const
{
    if (binary != 0 || compiled ? savePlainBinary(os) : savePlainAscii(os)) {
        return KITcheckOutStream(os, theSaveLabel, nullptr);
    }
    if (binary != 0 || compiled) {
        ZEL_ValueFrames::saveBinary(*this, os, stringClassId(), [&](KIT_Packet &packet, int index) {
            const TRK_Channel *channel = getChannel(index);
            packet.beginWriteShort(os, stringClassId(), channel ? STRING_CHANNEL : STRING_VALUE);
            if (channel) {
                KITwriteShortText(os, channel->getName().view());
            }
            KITwriteShortText(os, textToSave(index));
            packet.endWrite();
        });
    } else {
        ZEL_ValueFrames::saveAscii(
            *this, os, [&](int index) { KIT_String(textToSave(index)).save(os, false); },
            // With a channel the text is written as it is, without quotes.
            [&](int index) { os << textToSave(index); });
    }
    return KITcheckOutStream(os, theSaveLabel, nullptr);
}

// -------------------------------------------------------------------------- //
// Loading
// -------------------------------------------------------------------------- //

/// Reads what save() writes for a single text without options. False, with nothing read, for anything
/// else, and for texts that need a look.
bool ZEL_String::loadPlainAscii(KIT_IStream &is)
{
    std::string_view rest = is.rest();
    if (getVectorSize() != 1 || hasMenu() || !ZEL_ValueFrames::takePlainOpening(rest) ||
        rest.substr(0, 2) != "\t\"") {
        return false;
    }
    rest.remove_prefix(2);
    const std::string_view text = rest.substr(0, rest.find('"'));
    rest.remove_prefix(std::min(rest.size(), text.size() + 1));
    // An escape or NUL isn't text as it is, and "!!" may be a reference.
    if (text.find('\\') != text.npos || text.find('!') != text.npos ||
        text.find('\0') != text.npos || !ZEL_ValueFrames::takePlainClosing(rest)) {
        return false;
    }
    texts()->unsafeHarden(text);
    return is.seekg(is.tellg() + is.remaining() - std::int64_t(rest.size()));
}

/// The same for the binary form.
bool ZEL_String::loadPlainBinary(KIT_IStream &is)
{
    using Header = KIT_PacketHeader;
    static constexpr char theHead[] = {char(Header::first(STRING_VALUE, Header::LENGTH_1, true)),
                                       char(ZEL_PACKETS_OF_STRING)};
    constexpr char theEnd = char(Header::first(0, Header::EMPTY, false));
    const std::string_view rest = is.rest();
    // The length of a packet and, within it, that of the text: each one byte.
    const std::size_t start = sizeof(theHead) + 2;
    if (!is.isInShortPacket() || getVectorSize() != 1 || rest.size() < start ||
        rest.substr(0, sizeof(theHead)) != std::string_view(theHead, sizeof(theHead))) {
        return false;
    }
    const std::size_t length = static_cast<unsigned char>(rest[start - 1]);
    if (length > 0x7f || length + 1 != static_cast<unsigned char>(rest[start - 2]) ||
        rest.size() <= start + length || rest[start + length] != theEnd) {
        return false;
    }
    const std::string_view text = rest.substr(start, length);
    if (text.find('\0') != text.npos) {
        return false;
    }
    texts()->unsafeHarden(text);
    is.packets().classId = std::uint16_t(stringClassId());
    return is.seekg(is.tellg() + std::int64_t(start + length + 1));
}

bool ZEL_String::load(KIT_IStream &is)
{
    tellTextsChanged();
    if (!hasChannels() && (is.isBinary() ? loadPlainBinary(is) : loadPlainAscii(is))) {
        setLockedField(0);
        return KITgetErrorSeverity() < KIT_ERROR_ABORT;
    }
    HeldChannels held(getVectorSize());
    ZEL_ValueFrames::holdAllChannels(*this, held);
    // Unlike a number, a text gets exactly the locks of its stream.
    setLockedField(0);

    LoadRules rules;
    rules.classId = stringClassId();
    rules.lastValueId = STRING_CHANNEL;
    rules.label = theLoadLabel;
    bool loaded = false;
    if (is.isBinary()) {
        loaded = ZEL_ValueFrames::loadBinary(*this, is, rules, [&](int packetId, int &numRead) {
            return readBinaryPacket(is, packetId, numRead, rules);
        });
    } else {
        // Old files contain a different number of values for this one.
        rules.warnTooFew = KIT_String(getToken()).compare("coshaderadef") != 0;
        unsigned unusedMask = 0;
        loaded = ZEL_ValueFrames::openAscii(*this, is, unusedMask) &&
                 ZEL_ValueFrames::loadAscii(
                     *this, rules, [&](int index) { return readAsciiEntry(is, index, held); });
    }
    return loaded && KITgetErrorSeverity() < KIT_ERROR_ABORT;
}

bool ZEL_String::readBinaryPacket(KIT_IStream &is, int packetId, int &numRead,
                                  const LoadRules &rules)
{
    if (packetId != STRING_VALUE && packetId != STRING_CHANNEL) {
        ZEL_ValueFrames::loadOptionPacket(*this, is, packetId, rules);
        return true;
    }
    const int index = numRead;
    KIT_String text;
    if ((packetId == STRING_CHANNEL && !ZEL_ValueFrames::loadBinaryLink(*this, is, index)) ||
        !is.readString(text)) {
        return false;
    }
    texts()[index].unsafeAdopt(text);
    ++numRead;
    return true;
}

ZEL_String::Entry ZEL_String::readAsciiEntry(KIT_IStream &is, int index, HeldChannels &held)
{
    is.skipWhitespace();
    if (is.peek() == ')') {
        is.get();
        return Entry::END;
    }
    KIT_String text;
    if (!validIndex(index)) {
        return is.readString(text) ? Entry::VALUE : Entry::CUT;
    }
    if (is.peek() == '[') {
        const std::int64_t start = is.tellg();
        is.get();
        if (is.peek() == ' ') {
            return readAsciiLink(is, index);
        }
        // The text itself begins with a bracket.
        is.seekg(start);
    }
    if (!is.readString(text)) {
        return Entry::CUT;
    }
    ZEL_ValueFrames::deleteHeldChannel(*this, held, index);
    if (isObsoleteDirectChanRefString(text.nonNullStr(), nullptr)) {
        addChannel(index);
        setExpression(0.0, text.nonNullStr(), TRK_LANGUAGE_NATIVE, index, false, true);
    } else {
        rewriteMenuReference(text, false);
        texts()[index].unsafeAdopt(text);
    }
    return Entry::VALUE;
}

ZEL_String::Entry ZEL_String::readAsciiLink(KIT_IStream &is, int index)
{
    KIT_WorkBuffer name;
    if (!is.getWord(name)) {
        return Entry::CUT;
    }
    setChannel(index, linkChannel(name.buffer(), index));
    is.skipWhitespace();
    if (is.peek() == ']') {
        is.get();
        return Entry::VALUE;
    }
    KIT_String text;
    if (!is.readString(text)) {
        return Entry::CUT;
    }
    texts()[index].unsafeAdopt(text);
    is.skipWhitespace();
    if (is.peek() == ']') {
        is.get();
    } else {
        addParmWarning(ZEL_ERR_MISSING_BRACKET);
    }
    return Entry::VALUE;
}
