// The saved form of a float, text and binary.

#include <ZEL/ZEL_Float.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>

#include <ostream>
#include <vector>

namespace
{

/// Packet ids of a float. Stored: append only.
enum FloatPacket
{
    FLOAT_END = 0,
    FLOAT_CHANNEL = 1,
    FLOAT_VALUE = 2,
    FLOAT_FLAGS = 3,
    FLOAT_LOCKS = 4,
    FLOAT_AUTOSCOPE = 5,
    FLOAT_LABEL = 6,
    FLOAT_AUTOSELECT = 8
};

constexpr const char *theLoadLabel = "Float Parameter Load";
constexpr const char *theSaveLabel = "Float Parameter Save";

int floatClassId()
{
    static const int theClassId = KITgetClassPacketID("ZEL_Float");
    return theClassId;
}

void writeDigits(std::ostream &os, double value)
{
    KIT_Digits digits;
    digits.reset(value, 0, -1);
    os << digits.buffer();
}

void writeWordPacket(std::ostream &os, int packetId, std::uint32_t word)
{
    KIT_Packet packet;
    packet.beginWrite(os, floatClassId(), packetId);
    KITwrite(os, word);
    packet.endWrite();
}

bool isWord(const KIT_WorkBuffer &word, const char *text)
{
    return word.view() == text;
}

} // namespace

// -------------------------------------------------------------------------- //
// Saving
// -------------------------------------------------------------------------- //

double ZEL_Float::valueToSave(int index) const
{
    const TRK_Channel *channel = getChannel(index);
    if (shouldSaveData() && (isMultiParm() || !channel || channel->getPendingFlag())) {
        return storedValue(index);
    }
    double value = 0.0;
    getDefaultValue(value, index);
    return value;
}

bool ZEL_Float::save(std::ostream &os, int binary, bool compiled) const
{
    if (binary != 0 || compiled) {
        saveBinary(os);
    } else {
        saveAscii(os);
    }
    return KITcheckOutStream(os, theSaveLabel, nullptr);
}

void ZEL_Float::saveAscii(std::ostream &os) const
{
    os << '\t';
    saveAsciiOptions(os);
    os << "\t(";
    for (int i = 0; i < getVectorSize(); ++i) {
        os << '\t';
        if (const TRK_Channel *channel = getChannel(i)) {
            os << "[ " << channel->getName().nonNullStr() << '\t';
            writeDigits(os, valueToSave(i));
            os << " ] ";
        } else {
            writeDigits(os, valueToSave(i));
        }
    }
    os << "\t)\n";
}

void ZEL_Float::saveBinary(std::ostream &os) const
{
    KIT_Packet packet;
    packet.beginWrite(os, floatClassId(), FLOAT_FLAGS);
    KITwrite(os, getSaveFlags());
    KITwrite(os, std::int32_t(0));
    KITwrite(os, std::int32_t(0));
    packet.endWrite();
    writeWordPacket(os, FLOAT_LOCKS, getLockedField());
    if (getSaveAutoScopeFlag()) {
        writeWordPacket(os, FLOAT_AUTOSCOPE, getAutoScopeField());
    }
    packet.beginWrite(os, floatClassId(), FLOAT_LABEL);
    KIT_String(getSaveLabelFlag() ? getLabel() : "").save(os, true);
    packet.endWrite();
    if (getSaveAutoSelectFlag()) {
        writeWordPacket(os, FLOAT_AUTOSELECT, getAutoSelectField());
    }
    for (int i = 0; i < getVectorSize(); ++i) {
        const TRK_Channel *channel = getChannel(i);
        packet.beginWrite(os, floatClassId(), channel ? FLOAT_CHANNEL : FLOAT_VALUE);
        if (channel) {
            channel->getName().saveBinary(os);
        }
        KITwrite(os, valueToSave(i));
        packet.endWrite();
    }
    packet.beginWrite(os, floatClassId(), FLOAT_END);
    packet.endWrite();
}

// -------------------------------------------------------------------------- //
// Loading
// -------------------------------------------------------------------------- //

bool ZEL_Float::load(KIT_IStream &is)
{
    constexpr int theInlineSize = 8;
    TRK_Channel *inlineChannels[theInlineSize] = {};
    std::vector<TRK_Channel *> heapChannels;
    TRK_Channel **oldChannels = inlineChannels;
    const int size = getVectorSize();
    if (size > theInlineSize) {
        heapChannels.resize(std::size_t(size));
        oldChannels = heapChannels.data();
    }
    for (int i = 0; i < size; ++i) {
        oldChannels[i] = getChannel(i);
        setChannel(i, nullptr);
    }

    unsigned keyMask = 0;
    const bool loaded = is.isBinary() ? loadBinary(is) : loadAscii(is, oldChannels, keyMask);
    // Only files of an old version carry the mask of components to key.
    for (int i = 0; keyMask != 0 && i < size; ++i) {
        if ((keyMask & bit(i)) && getChannel(i)) {
            const double time = TRK_Manager::getContext().getEvaluateTime(BASgetSTID());
            getChannel(i)->setKeyValue(storedValue(i), time, true, true, true);
        }
    }
    return loaded && KITgetErrorSeverity() < KIT_ERROR_ABORT;
}

void ZEL_Float::revertMissing(int numRead)
{
    if (numRead >= getVectorSize()) {
        return;
    }
    addParmWarning(ZEL_ERR_TOO_FEW_VALUES);
    for (int i = numRead; i < getVectorSize(); ++i) {
        revertToDefault(i);
    }
}

bool ZEL_Float::loadAscii(KIT_IStream &is, TRK_Channel **oldChannels, unsigned &keyMask)
{
    KIT_WorkBuffer word;
    is.getWord(word);
    if (isWord(word, "[")) {
        if (!loadAsciiOptions(is, keyMask)) {
            KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, "]");
            return false;
        }
        is.getWord(word);
    }
    if (!isWord(word, "(")) {
        KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, "(");
        return false;
    }
    int numRead = 0;
    while (is.getWord(word)) {
        if (isWord(word, ")")) {
            revertMissing(numRead);
            return true;
        }
        if (numRead < getVectorSize()) {
            if (!loadAsciiEntry(is, word.buffer(), numRead, oldChannels)) {
                return false;
            }
        } else if (numRead == getVectorSize()) {
            addParmWarning(ZEL_ERR_TOO_MANY_VALUES);
        }
        ++numRead;
    }
    KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, ")");
    return false;
}

bool ZEL_Float::loadAsciiEntry(KIT_IStream &is, const char *word, int index,
                               TRK_Channel **oldChannels)
{
    if (BASisFloat(word)) {
        TRK_Collection *collection = getChannelGroupPtr();
        if (oldChannels[index] && collection) {
            collection->deleteChannel(oldChannels[index]);
            oldChannels[index] = nullptr;
        }
        BASstore(myValues[index], BASparseFloat(word));
        return true;
    }
    if (KIT_StringRef(word) != KIT_StringRef("[")) {
        setChannel(index, linkChannel(word, index));
        return true;
    }
    KIT_WorkBuffer text;
    bool complete = is.getWord(text);
    if (complete) {
        setChannel(index, linkChannel(text.buffer(), index));
        complete = is.getWord(text);
    }
    if (complete && !isWord(text, "]")) {
        BASstore(myValues[index], BASparseFloat(text.buffer()));
        complete = is.checkToken("]");
    }
    if (!complete) {
        addParmWarning(ZEL_ERR_MISSING_BRACKET);
    }
    return complete;
}

bool ZEL_Float::loadBinary(KIT_IStream &is)
{
    KIT_Packet packet;
    int classId = 0;
    int packetId = 0;
    int numRead = 0;
    bool finished = false;
    while (!finished && packet.beginRead(is, classId, packetId)) {
        if (classId != floatClassId()) {
            KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, theLoadLabel);
            packet.endRead();
            return false;
        }
        const bool read = loadBinaryPacket(is, packetId, numRead, finished);
        packet.endRead();
        if (!read) {
            KITaddCommonError(KIT_COMMON_CUT_PACKET, theLoadLabel);
            return false;
        }
        if (KITgetErrorSeverity() >= KIT_ERROR_ABORT) {
            return false;
        }
    }
    return true;
}

bool ZEL_Float::loadBinaryPacket(KIT_IStream &is, int packetId, int &numRead, bool &finished)
{
    if (packetId == FLOAT_END) {
        revertMissing(numRead);
        finished = true;
        return true;
    }
    if (numRead >= getVectorSize()) {
        addParmWarning(ZEL_ERR_TOO_MANY_VALUES);
        return true;
    }
    std::uint32_t words[3] = {};
    KIT_WorkBuffer label;
    switch (packetId) {
    case FLOAT_CHANNEL:
    case FLOAT_VALUE: return loadBinaryValue(is, packetId, numRead++);
    case FLOAT_FLAGS:
        if (!is.bread(words, 3)) {
            return false;
        }
        setSaveFlags(words[0]);
        return true;
    case FLOAT_LOCKS:
        if (!is.bread(words[0])) {
            return false;
        }
        setLockedField(words[0]);
        return true;
    case FLOAT_AUTOSCOPE:
        if (!is.bread(words[0])) {
            return false;
        }
        setAutoScopeField(words[0]);
        return true;
    case FLOAT_AUTOSELECT:
        if (!is.bread(words[0])) {
            return false;
        }
        setAutoSelectField(words[0]);
        return true;
    case FLOAT_LABEL:
        if (!is.readWorkBuffer(label, true)) {
            return false;
        }
        if (label.length() > 0) {
            setLabel(label.buffer());
            setSaveLabelFlag(true);
        }
        return true;
    default: KITaddCommonWarning(KIT_COMMON_UNKNOWN_PACKET, theLoadLabel); return true;
    }
}

bool ZEL_Float::loadBinaryValue(KIT_IStream &is, int packetId, int index)
{
    if (packetId == FLOAT_CHANNEL) {
        KIT_WorkBuffer name;
        if (!is.readWorkBuffer(name, true)) {
            return false;
        }
        setChannel(index, linkChannel(name.buffer(), index));
    }
    double value = 0.0;
    if (!is.bread(value)) {
        return false;
    }
    BASstore(myValues[index], value);
    return true;
}
