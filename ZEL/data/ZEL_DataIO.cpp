// The saved forms of a data parameter: text, binary, undo and commands.

#include <ZEL/ZEL_Data.h>

#include <BAS/BAS_Thread.h>
#include <CON/CON_Manager.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <ZEL/ZEL_DataFactory.h>
#include <ZEL/ZEL_DataItem.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>
#include <ZEL/instance/ZEL_ValuePacketsPrivate.h>
#include <ZEL/support/ZEL_PacketClassPrivate.h>

#include <algorithm>
#include <sstream>

namespace
{

// The label of strings, so that their listeners receive these messages too.
constexpr const char *theLoadLabel = "String Parameter Load";
constexpr const char *theSaveLabel = "Data Parameter Save";

int dataClassId()
{
    return ZELpacketClassId(ZEL_PACKETS_OF_DATA);
}

/// The typed text; "" for no item, and for one that can't be saved.
std::string typedText(const ZEL_Data::Item &item, bool &good)
{
    std::ostringstream text;
    if (!ZEL_DataFactory::saveTypedAscii(item, text) || text.bad()) {
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
    ZEL_ValueFrames::saveAscii(*this, os, [&](int index) {
        constexpr bool binary = false;
        KIT_String(typedText(itemToSave(index), good)).save(os, binary);
    });
    return good;
}

bool ZEL_Data::saveBinary(std::ostream &os) const
{
    bool good = true;
    const ZEL_Multi::KeepItems keep;
    ZEL_ValueFrames::saveBinary(*this, os, dataClassId(), [&](KIT_Packet &packet, int index) {
        const Item typed = itemToSave(index);
        packet.beginWriteShort(os, dataClassId(), DATA_TYPE);
        KITwriteShortText(os, KIT_String(typed ? typed->getDataTypeToken() : "").view());
        packet.endWrite();
        // Written after an empty type too, where it isn't read: readers rely on the packet being
        // there.
        const Item item = getChannel(index) ? Item() : fetch(index);
        if (item) {
            // Plain: an item may compose its bytes anywhere.
            packet.beginWrite(os, dataClassId(), DATA_PAYLOAD);
            good = item->saveBinary(os) && good;
            packet.endWrite();
        }
    });
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

bool ZEL_Data::loadAscii(KIT_IStream &is)
{
    ZEL_LoadRules rules;
    // No warning: old files have no entry for a component without an item.
    rules.warnTooFew = false;
    unsigned unusedMask = 0;
    return ZEL_ValueFrames::openAscii(*this, is, unusedMask) &&
           ZEL_ValueFrames::loadAscii(*this, rules,
                                      [&](int index) { return readAsciiEntry(is, index); });
}

ZEL_LoadEntry ZEL_Data::readAsciiEntry(KIT_IStream &is, int index)
{
    is.skipWhitespace();
    if (is.peek() == ')') {
        is.get();
        return ZEL_LoadEntry::END;
    }
    KIT_WorkBuffer text;
    constexpr bool binary = false;
    if (!is.readWorkBuffer(text, binary)) {
        return ZEL_LoadEntry::CUT;
    }
    Item item;
    if (validIndex(index) && ZEL_DataFactory::parseTyped(text.view(), item)) {
        setData(item, 0.0, index);
    }
    return ZEL_LoadEntry::VALUE;
}

bool ZEL_Data::loadBinary(KIT_IStream &is)
{
    ZEL_LoadRules rules;
    rules.classId = dataClassId();
    rules.firstValueId = DATA_TYPE;
    rules.lastValueId = rules.payloadId = DATA_PAYLOAD;
    rules.label = theLoadLabel;
    KIT_WorkBuffer type;
    return ZEL_ValueFrames::loadBinary(*this, is, rules, [&](int packetId, int &numRead) {
        constexpr bool binary = true;
        switch (packetId) {
        case DATA_TYPE:
            if (!is.readWorkBuffer(type, binary)) {
                return false;
            }
            ++numRead;
            return true;
        case DATA_PAYLOAD:
            setData(ZEL_DataFactory::parseBinary(type.buffer(), is), 0.0, numRead - 1);
            return true;
        default: ZEL_ValueFrames::loadOptionPacket(*this, is, packetId, rules); return true;
        }
    });
}

// -------------------------------------------------------------------------- //
// Undo
// -------------------------------------------------------------------------- //

ZEL_DataUndoData::~ZEL_DataUndoData() = default;

std::int64_t ZEL_DataUndoData::getMemoryUsage() const
{
    auto bytes = std::int64_t(sizeof(*this));
    for (const ZEL_Data::Item &item : myItems) {
        bytes += std::int64_t(sizeof(item)) + (item ? item->getMemoryUsage() : 0);
    }
    return bytes;
}

bool ZEL_Data::saveUndoData(std::shared_ptr<ZEL_UndoData> &data) const
{
    KIT_Array<Item> items(getVectorSize());
    for (int i = 0; i < getVectorSize(); ++i) {
        items.append(fetch(i));
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
    bool good = true;
    ZEL_ValueFrames::saveCommand(*this, os, values, index, [&](int i) {
        Item item;
        getValue(getParmList(), commandTime(), item, i, BASgetSTID());
        CON_Manager::saveProtectedString(os, typedText(item, good).c_str());
    });
    if (!good) {
        KITaddCommonError(KIT_COMMON_OUTPUT_FAILED, theSaveLabel);
    }
    KITcheckOutStream(os, theSaveLabel, nullptr);
}

void ZEL_Data::loadArgument(const char *argument, int index, HeldChannels &held, bool asSet)
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
    // Unlike elsewhere, of two components that shared a channel the first decides whether it is
    // removed.
    TRK_Channel **const own = held.begin() + index;
    if (std::find(held.begin(), own, *own) == own) {
        ZEL_ValueFrames::deleteHeldChannel(*this, held, index);
    }
    store(index, item);
}

int ZEL_Data::loadCommand(int argc, const char *const argv[], int index, bool asSet, ZEL_AddKeyType,
                          ZEL_KeySetType)
{
    const auto read = [&](const char *argument, int i, HeldChannels &held) {
        loadArgument(argument, i, held, asSet);
    };
    return ZEL_ValueFrames::loadCommand(*this, argc, argv, index, asSet, read);
}
