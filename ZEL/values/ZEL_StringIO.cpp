// The saved form of a string, text and binary.

#include <ZEL/ZEL_String.h>

#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>

namespace
{

/// Packet ids of a string. Stored: append only.
enum StringPacket
{
    STRING_END = 0,
    STRING_VALUE = 1,
    STRING_CHANNEL = 2
};

constexpr const char *theLoadLabel = "String Parameter Load";
constexpr const char *theSaveLabel = "String Parameter Save";

int stringClassId()
{
    static const int theClassId = KITgetClassPacketID("ZEL_String");
    return theClassId;
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

bool ZEL_String::save(std::ostream &os, int binary, bool compiled) const
{
    if (binary != 0 || compiled) {
        ZEL_ValueFrames::saveBinary(*this, os, stringClassId(), [&](KIT_Packet &packet, int index) {
            const TRK_Channel *channel = getChannel(index);
            packet.beginWrite(os, stringClassId(), channel ? STRING_CHANNEL : STRING_VALUE);
            if (channel) {
                channel->getName().saveBinary(os);
            }
            KIT_String(textToSave(index)).save(os, true);
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

bool ZEL_String::load(KIT_IStream &is)
{
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
