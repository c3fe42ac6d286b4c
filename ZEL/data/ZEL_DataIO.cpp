// The saved forms of a data parameter: text, binary, undo and commands.

#include <ZEL/ZEL_Data.h>

#include <BAS/BAS_Thread.h>
#include <CON/CON_Manager.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_DataFactory.h>
#include <ZEL/ZEL_DataItem.h>
#include <ZEL/ZEL_SpinLockScope.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string_view>

namespace
{

/// Packet ids of a data parameter. Stored: append only.
enum DataPacket
{
    DATA_END = 0,
    DATA_TYPE = 1,
    DATA_PAYLOAD = 2
};

// Who listens for load messages of strings hears these, too.
constexpr const char *theLoadLabel = "String Parameter Load";
constexpr const char *theSaveLabel = "Data Parameter Save";

int dataClassId()
{
    static const int theClassId = KITgetClassPacketID("ZEL_Data");
    return theClassId;
}

bool reportMissing(const char *token)
{
    KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, token);
    return false;
}

/// The typed text; "" for no item, and for one that can't be saved.
std::string typedText(const ZEL_Data::Item &item, bool &good)
{
    std::ostringstream text;
    if (!ZEL_DataFactory::saveTypedAscii(item, text)) {
        good = false;
        return std::string();
    }
    return text.str();
}

} // namespace

// -------------------------------------------------------------------------- //
// Saving
// -------------------------------------------------------------------------- //

ZEL_Data::Item ZEL_Data::itemToSave(int index) const
{
    return shouldSaveData() && !getChannel(index) ? fetch(index) : Item();
}

bool ZEL_Data::save(std::ostream &os, int binary, bool compiled) const
{
    const bool good = binary != 0 || compiled ? saveBinary(os) : saveAscii(os);
    if (!KITcheckOutStream(os, theSaveLabel, nullptr)) {
        return false;
    }
    if (!good) {
        KITaddCommonError(KIT_COMMON_OUTPUT_FAILED, theSaveLabel);
    }
    return good;
}

bool ZEL_Data::saveAscii(std::ostream &os) const
{
    bool good = true;
    os << '\t';
    saveAsciiOptions(os);
    os << "\t(";
    ZEL_SpinLockReadScope lock(myLock);
    for (int i = 0; i < getVectorSize(); ++i) {
        os << '\t';
        constexpr bool binary = false;
        KIT_String(typedText(itemToSave(i), good)).save(os, binary);
    }
    os << "\t)\n";
    return good;
}

bool ZEL_Data::saveBinary(std::ostream &os) const
{
    bool good = true;
    KIT_Packet packet;
    saveBinaryOptions(dataClassId(), packet, os);
    ZEL_SpinLockReadScope lock(myLock);
    for (int i = 0; i < getVectorSize(); ++i) {
        const Item typed = itemToSave(i);
        constexpr bool binary = true;
        packet.beginWrite(os, dataClassId(), DATA_TYPE);
        KIT_String(typed ? typed->getDataTypeToken() : "").save(os, binary);
        packet.endWrite();
        // Also behind an empty type, where nobody reads it: readers count on what is there.
        const Item item = getChannel(i) ? Item() : fetch(i);
        if (item) {
            packet.beginWrite(os, dataClassId(), DATA_PAYLOAD);
            good = item->saveBinary(os) && good;
            packet.endWrite();
        }
    }
    packet.beginWrite(os, dataClassId(), DATA_END);
    packet.endWrite();
    return good;
}

// -------------------------------------------------------------------------- //
// Loading
// -------------------------------------------------------------------------- //

bool ZEL_Data::load(KIT_IStream &is)
{
    setLockedField(0);
    const bool loaded = is.isBinary() ? loadBinary(is) : loadAscii(is);
    return loaded && KITgetErrorSeverity() < KIT_ERROR_ABORT;
}

bool ZEL_Data::openAscii(KIT_IStream &is)
{
    std::string_view word;
    is.getWord(word);
    if (word == "[") {
        unsigned unusedMask = 0;
        if (!loadAsciiOptions(is, unusedMask)) {
            return reportMissing("]");
        }
        is.getWord(word);
    }
    return word == "(" || reportMissing("(");
}

bool ZEL_Data::loadAscii(KIT_IStream &is)
{
    if (!openAscii(is)) {
        return false;
    }
    const int size = getVectorSize();
    int numRead = 0;
    for (;; ++numRead) {
        is.skipWhitespace();
        if (is.peek() == ')') {
            is.get();
            break;
        }
        KIT_WorkBuffer text;
        constexpr bool binary = false;
        if (!is.readWorkBuffer(text, binary)) {
            return reportMissing(")");
        }
        Item item;
        if (numRead == size) {
            // Once, however many there are.
            addParmWarning(ZEL_ERR_TOO_MANY_VALUES);
        } else if (numRead < size && ZEL_DataFactory::parseTyped(text.view(), item)) {
            setData(item, 0.0, numRead);
        }
    }
    // No message: old files have no entry for a component without an item.
    for (int i = numRead; i < size; ++i) {
        revertToDefault(i);
    }
    return true;
}

bool ZEL_Data::loadBinary(KIT_IStream &is)
{
    const int size = getVectorSize();
    KIT_Packet packet;
    KIT_WorkBuffer type;
    int readClass = 0;
    int packetId = 0;
    int numRead = 0;
    bool payloadDueFlag = false; // a payload may follow on the type that was read last
    while (packet.beginRead(is, readClass, packetId)) {
        if (readClass != dataClassId()) {
            KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, theLoadLabel);
            return true;
        }
        if (packetId == DATA_END) {
            if (numRead < size) {
                addParmWarning(ZEL_ERR_TOO_FEW_VALUES);
            }
            for (int i = numRead; i < size; ++i) {
                revertToDefault(i);
            }
            return true;
        }
        const bool valueFlag = packetId == DATA_TYPE || packetId == DATA_PAYLOAD;
        const bool lastPayloadFlag = packetId == DATA_PAYLOAD && payloadDueFlag;
        if (numRead >= size && !lastPayloadFlag && (valueFlag || size > 0)) {
            payloadDueFlag = false;
            addParmWarning(ZEL_ERR_TOO_MANY_VALUES);
        } else if (packetId == DATA_TYPE) {
            constexpr bool binary = true;
            if (!is.readWorkBuffer(type, binary)) {
                KITaddCommonError(KIT_COMMON_CUT_PACKET, theLoadLabel);
                return false;
            }
            payloadDueFlag = true;
            ++numRead;
        } else if (packetId == DATA_PAYLOAD) {
            setData(ZEL_DataFactory::parseBinary(type.buffer(), is), 0.0, numRead - 1);
            payloadDueFlag = false;
        } else if (!loadBinaryOption(is, short(packetId))) {
            KITaddCommonWarning(KIT_COMMON_UNKNOWN_PACKET, theLoadLabel);
        }
        packet.endRead();
    }
    return true;
}

// -------------------------------------------------------------------------- //
// Undo
// -------------------------------------------------------------------------- //

ZEL_DataUndoData::~ZEL_DataUndoData() = default;

bool ZEL_Data::saveUndoData(std::shared_ptr<ZEL_UndoData> &data) const
{
    KIT_Array<Item> items(getVectorSize());
    {
        ZEL_SpinLockReadScope lock(myLock);
        for (int i = 0; i < getVectorSize(); ++i) {
            items.append(fetch(i));
        }
    }
    data = std::make_shared<ZEL_DataUndoData>(std::move(items));
    return true;
}

bool ZEL_Data::loadUndoData(const std::shared_ptr<ZEL_UndoData> &data)
{
    const auto *saved = dynamic_cast<const ZEL_DataUndoData *>(data.get());
    if (!saved) {
        return false;
    }
    clearAndDestroyChannels();
    const KIT_Array<Item> &items = saved->getItems();
    for (int i = 0; i < getVectorSize(); ++i) {
        store(i, items.isValidIndex(i) ? items[i] : Item());
    }
    return true;
}

// -------------------------------------------------------------------------- //
// Commands
// -------------------------------------------------------------------------- //

void ZEL_Data::saveCommand(std::ostream &os, int values, int index) const
{
    const int first = validIndex(index) ? index : 0;
    const int end = validIndex(index) ? index + 1 : getVectorSize();
    bool good = true;
    os << " (";
    for (int i = first; i < end; ++i) {
        os << ' ';
        const TRK_Channel *channel = getChannel(i);
        if (values == 0 && channel) {
            os << channel->getName().nonNullStr();
            continue;
        }
        Item item;
        getValue(getParmList(), commandTime(), item, i, BASgetSTID());
        CON_Manager::saveProtectedString(os, typedText(item, good).c_str());
    }
    os << " )";
    if (!good) {
        KITaddCommonError(KIT_COMMON_OUTPUT_FAILED, theSaveLabel);
    }
    KITcheckOutStream(os, theSaveLabel, nullptr);
}

void ZEL_Data::loadArgument(const char *argument, int index, TRK_Channel *held, bool asSet)
{
    KIT_String token(argument, true);
    if (isChannelToken(token, index)) {
        loadTokenAsChannelNameOrExpression(argument, index);
        return;
    }
    CON_Manager::expandControlSequences(token);
    Item item;
    ZEL_DataFactory::parseTyped(token.view(), item);
    if (asSet) {
        setData(item, 0.0, index);
        return;
    }
    TRK_Collection *collection = getChannelGroupPtr();
    if (held && collection) {
        collection->deleteChannel(held);
    }
    store(index, item);
}

int ZEL_Data::loadCommand(int argc, const char *const argv[], int index, bool asSet, ZEL_AddKeyType,
                          ZEL_KeySetType)
{
    const int first = validIndex(index) ? index : 0;
    const int end = validIndex(index) ? index + 1 : getVectorSize();
    InlineArray<TRK_Channel *, 8> held(getVectorSize());
    for (int i = first; !asSet && i < end; ++i) {
        // Two components may share one: the first of them holds it.
        TRK_Channel *channel = getLockedFlag(i) ? nullptr : getChannel(i);
        if (channel) {
            held[i] = std::count(held.begin(), held.end(), channel) == 0 ? channel : nullptr;
            setChannel(i, nullptr);
        }
    }
    int used = 0;
    const bool opened = argc > 0 && argv[0][0] == '(';
    if (opened) {
        ++used;
    }
    for (int i = first; i < end && used < argc && std::strcmp(argv[used], ")") != 0; ++i) {
        const char *argument = argv[used++];
        if (!getLockedFlag(i)) {
            loadArgument(argument, i, held[i], asSet);
        }
    }
    if (opened && used < argc && argv[used][0] == ')') {
        ++used;
    }
    return used;
}
