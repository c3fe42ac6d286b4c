// The saved form of an ordinal, text and binary.

#include <ZEL/values/ZEL_OrdinalPrivate.h>

#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_Write.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>
#include <ZEL/instance/ZEL_ValuePacketsPrivate.h>
#include <ZEL/support/ZEL_NumberPrivate.h>
#include <ZEL/support/ZEL_PacketClassPrivate.h>

#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace
{

constexpr const char *theLoadLabel = "Ordinal Parameter Load";
constexpr const char *theSaveLabel = "Ordinal Parameter Save";

int ordinalClassId()
{
    return ZELpacketClassId(ZEL_PACKETS_OF_ORDINAL);
}

/// Bypasses the stream's own formatting: a locale must not change a file.
void writeInteger(std::ostream &os, std::int64_t value)
{
    KIT_WorkBuffer text;
    text.appendNumber(value);
    os << text.buffer();
}

void writeInteger32(std::ostream &os, std::int64_t value)
{
    KITwrite(os, std::int32_t(ZELclampToInt(value)));
}

/// Of a menu that is a table; none of any other.
std::vector<std::string> fixedTokens(const ZEL_ChoiceList *menu)
{
    std::vector<std::string> tokens;
    for (int i = 0; menu && i < menu->getStaticSize(); ++i) {
        KIT_String token;
        if (menu->tokenFromIndex(token, i, nullptr, nullptr, nullptr)) {
            tokens.push_back(token.toStdString());
        }
    }
    return tokens;
}

} // namespace

// -------------------------------------------------------------------------- //
// Saving
// -------------------------------------------------------------------------- //

std::int64_t ZEL_Ordinal::valueToSave(int index, Choices &choices) const
{
    if (savesStoredValue(index)) {
        return getInternalValue(index, choices);
    }
    const ZEL_Default *found = defaultOf(index);
    return found ? defaultInteger(*found, choices) : 0;
}

bool ZEL_Ordinal::save(std::ostream &os, int binary, bool compiled) const
{
    if (os.fail()) {
        return false;
    }
    if (binary != 0 || compiled) {
        saveBinary(os);
    } else {
        saveAscii(os);
    }
    return KITcheckOutStream(os, theSaveLabel, nullptr);
}

void ZEL_Ordinal::saveAscii(std::ostream &os) const
{
    Choices choices(*this);
    KIT_WorkBuffer number;
    const bool isButton = getType().hasOrdinalType(ZEL_Type::ZEL_ORD_CALLBACK);
    const auto writePlain = [&](int i) {
        const std::int64_t value = isButton ? 0 : valueToSave(i, choices);
        const char *word = isButton ? nullptr : choices.word(value, number);
        if (word) {
            os << '"' << word << '"';
        } else {
            writeInteger(os, value);
        }
    };
    const auto writeLinked = [&](int i) { writeInteger(os, valueToSave(i, choices)); };
    ZEL_ValueFrames::saveAscii(*this, os, writePlain, writeLinked);
}

void ZEL_Ordinal::saveBinary(std::ostream &os) const
{
    Choices choices(*this);
    KIT_WorkBuffer number;
    const bool isButton = getType().hasOrdinalType(ZEL_Type::ZEL_ORD_CALLBACK);
    ZEL_ValueFrames::saveBinary(*this, os, ordinalClassId(), [&](KIT_Packet &packet, int i) {
        const TRK_Channel *channel = getChannel(i);
        const std::int64_t value = channel || !isButton ? valueToSave(i, choices) : 0;
        const char *word = channel || isButton ? nullptr : choices.word(value, number);
        if (channel) {
            packet.beginWriteShort(os, ordinalClassId(), ORDINAL_CHANNEL);
            KITwriteShortText(os, channel->getName().view());
            writeInteger32(os, value);
        } else if (word) {
            packet.beginWriteShort(os, ordinalClassId(), ORDINAL_TOKEN);
            KITwriteShortText(os, word);
        } else {
            packet.beginWriteShort(os, ordinalClassId(), ORDINAL_INTEGER);
            writeInteger32(os, value);
        }
        packet.endWrite();
    });
}

// -------------------------------------------------------------------------- //
// Loading
// -------------------------------------------------------------------------- //

bool ZEL_Ordinal::load(KIT_IStream &is)
{
    // Unlike a float, which keeps locks that the stream doesn't mention.
    setLockedField(0);
    HeldChannels held(getVectorSize());
    ZEL_ValueFrames::holdAllChannels(*this, held);
    const bool loaded = is.isBinary() ? loadBinary(is) : loadAscii(is, held);
    return loaded && KITgetErrorSeverity() < KIT_ERROR_ABORT;
}

bool ZEL_Ordinal::loadAscii(KIT_IStream &is, HeldChannels &held)
{
    // In old files, the mask of components to key applies to floats only.
    unsigned ignoredMask = 0;
    if (!ZEL_ValueFrames::openAscii(*this, is, ignoredMask)) {
        return false;
    }
    LoadRules rules;
    // A switcher's number of folders varies between versions.
    rules.warnTooFew = rules.warnTooMany = !isSwitcherList();
    return ZEL_ValueFrames::loadAscii(*this, rules,
                                      [&](int index) { return loadAsciiEntry(is, index, held); });
}

ZEL_ValueInstance::Entry ZEL_Ordinal::loadAsciiEntry(KIT_IStream &is, int index, HeldChannels &held)
{
    KIT_WorkBuffer word;
    if (!is.getString(word)) {
        return Entry::CUT;
    }
    if (word.view() == ")") {
        return Entry::END;
    }
    if (!validIndex(index)) {
        return Entry::VALUE;
    }
    bool isValue = false;
    const std::int64_t value =
        resolvesInLoad() ? quietTokenToInt(word.buffer(), isValue) : std::int64_t(0);
    if (!isValue && word.view() == "[") {
        return loadAsciiLink(is, index);
    }
    ZEL_ValueFrames::deleteHeldChannel(*this, held, index);
    if (isValue) {
        setInternalValue(index, value);
    } else {
        loadAsciiWord(word.buffer(), index);
    }
    return Entry::VALUE;
}

void ZEL_Ordinal::loadAsciiWord(const char *word, int index)
{
    if (hasMenuScript() && !std::strstr(word, "!!ch(")) {
        holdToken(index, word);
    } else if (!ZELisBareWord(word)) {
        // The form of an animated component in old files.
        setExpression(0.0, word, TRK_LANGUAGE_NATIVE, index, false, true);
    } else {
        setInternalValue(index, 0);
        KIT_WorkBuffer text;
        text.append(word);
        text.append(" in ");
        text.append(getToken());
        const std::shared_ptr<KIT_MessageDetail> detail = KIT_MessageSource::makeDetail();
        if (detail) {
            KITaddNearest(*detail, word, fixedTokens(getTemplatePtr()->getChoiceListPtr()));
        }
        KITgetErrorManager().add(ZEL_ERROR_CATEGORY, ZEL_ERR_UNKNOWN_TOKEN, text.buffer(),
                                 KIT_ERROR_WARNING, detail);
    }
}

ZEL_ValueInstance::Entry ZEL_Ordinal::loadAsciiLink(KIT_IStream &is, int index)
{
    KIT_WorkBuffer word;
    if (!is.getString(word)) {
        return Entry::CUT;
    }
    setChannel(index, linkChannel(word.buffer(), index));
    if (!is.getString(word)) {
        return Entry::CUT;
    }
    if (word.view() == "]") {
        return Entry::VALUE;
    }
    // The value beside a channel is a number, so a menu script needn't run.
    bool ok = false;
    setInternalValue(index, resolvesInLoad() ? quietTokenToInt(word.buffer(), ok)
                                             : ZELparseOrdinal(word.buffer(), ok));
    if (!is.checkToken("]")) {
        addParmWarning(ZEL_ERR_MISSING_BRACKET);
    }
    return Entry::VALUE;
}

bool ZEL_Ordinal::loadBinary(KIT_IStream &is)
{
    LoadRules rules;
    rules.classId = ordinalClassId();
    rules.lastValueId = ORDINAL_CHANNEL;
    rules.label = theLoadLabel;
    rules.warnTooFew = rules.warnTooMany = !isSwitcherList();
    // Unlike for a float, a foreign packet ends the values without failing the load, and after an
    // error in one packet the rest is still read.
    rules.wrongClassFails = false;
    rules.stopOnError = false;
    return ZEL_ValueFrames::loadBinary(*this, is, rules, [&](int packetId, int &numRead) {
        switch (packetId) {
        case ORDINAL_TOKEN: return loadBinaryToken(is, numRead++);
        case ORDINAL_INTEGER: return loadBinaryInteger(is, numRead++);
        case ORDINAL_CHANNEL:
            return ZEL_ValueFrames::loadBinaryLink(*this, is, numRead) &&
                   loadBinaryInteger(is, numRead++);
        default: ZEL_ValueFrames::loadOptionPacket(*this, is, packetId, rules); return true;
        }
    });
}

bool ZEL_Ordinal::loadBinaryToken(KIT_IStream &is, int index)
{
    KIT_WorkBuffer text;
    if (!is.readWorkBuffer(text, true)) {
        return false;
    }
    if (KITgetErrorSeverity() < KIT_ERROR_ABORT) {
        // Resolved immediately, unlike in the text form.
        bool ok = false;
        setInternalValue(index, quietTokenToInt(text.buffer(), ok));
    }
    return true;
}

bool ZEL_Ordinal::loadBinaryInteger(KIT_IStream &is, int index)
{
    std::int32_t value = 0;
    if (!is.bread(value)) {
        return false;
    }
    setInternalValue(index, value);
    return true;
}
