#include <ZEL/streams/ZEL_ParmListWriterPrivate.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_Write.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>
#include <ZEL/support/ZEL_PacketClassPrivate.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <ostream>
#include <string_view>

namespace
{

/// Composed bytes are passed to the target once there are this many.
constexpr std::size_t thePieceSize = 65536;

std::string_view tokenOf(const ZEL_Parm &parm)
{
    return parm.getInstance()->getTokenRef().view();
}

template <class Word>
std::uint64_t loadWord(const char *at)
{
    Word word;
    std::memcpy(&word, at, sizeof(word));
    return word;
}

/// Whether a byte is a blank or a control: each name is asked for it at each save, so eight bytes
/// are tested at once.
bool hasLowByte(std::string_view name)
{
    constexpr std::uint64_t each = 0x0101010101010101u;
    const auto lowBits = [](std::uint64_t bytes) {
        return (bytes - each * '!') & ~bytes & (each * 0x80);
    };
    const std::size_t length = name.size();
    const char *const end = name.data() + length;
    if (length < 4) {
        return std::any_of(name.begin(), name.end(),
                           [](char c) { return static_cast<unsigned char>(c) < '!'; });
    }
    if (length < 8) {
        return lowBits(loadWord<std::uint32_t>(name.data()) | loadWord<std::uint32_t>(end - 4)
                                                                  << 32) != 0;
    }
    std::uint64_t found = lowBits(loadWord<std::uint64_t>(end - 8));
    for (const char *at = name.data(); end - at > 8; at += 8) {
        found |= lowBits(loadWord<std::uint64_t>(at));
    }
    return found != 0;
}

} // namespace

bool ZELisLeftOutOfCompact(const ZEL_Parm &parm)
{
    const ZEL_Type &type = parm.getType();
    return type.hasAnyOf(ZEL_TYPE_SEPARATOR) || type.hasAnyOf(ZEL_TYPE_LABEL);
}

bool ZELisOneWord(std::string_view name)
{
    const auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    return !name.empty() && name != theListEnd &&
           (!hasLowByte(name) || std::none_of(name.begin(), name.end(), isBlank));
}

bool ZELisTextName(std::string_view name)
{
    return ZELisOneWord(name) && name.front() != theListComment;
}

bool ZEL_ParmList::isTextName(const KIT_StringRef &token)
{
    return ZELisTextName(token.view());
}

int ZELlistPacketClass()
{
    return ZELpacketClassId(ZEL_PACKETS_OF_LIST);
}

void ZEL_ParmListWriter::write(const Parms &parms, bool binary, bool compact)
{
    const std::uint64_t refusedBefore = BASfailedAllocations();
    constexpr std::size_t theUsualEntry = 128;
    myBytes.room(std::min(parms.size() * theUsualEntry, thePieceSize + thePieceSize / 4));
    if (binary || compact) {
        writeBinary(parms, compact);
    } else {
        writeText(parms);
    }
    flush();
    if (BASfailedAllocations() != refusedBefore) {
        // Texts may be missing from the composed bytes.
        myTarget.setstate(std::ios::failbit);
    }
    KITcheckOutStream(myTarget, theListSaveLabel, nullptr);
    // Not earlier: an error ends the entries.
    for (const std::string &name : myLostNames) {
        KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TEXT_NAME, name.c_str());
    }
}

/// False when saving has to stop.
bool ZEL_ParmListWriter::endEntry()
{
    if (myBytes.size() >= thePieceSize) {
        flush();
    }
    return myTarget.good() && KITgetErrorSeverity() < KIT_ERROR_ABORT;
}

void ZEL_ParmListWriter::flush()
{
    myBytes.moveTo(myTarget);
}

void ZEL_ParmListWriter::writeText(const Parms &parms)
{
    char version[32];
    const char *const versionEnd =
        std::to_chars(version, std::end(version), theListFileVersion).ptr;
    myBytes << "{\nversion " << std::string_view(version, std::size_t(versionEnd - version))
            << '\n';
    for (const ZEL_Parm *parm : parms) {
        const std::string_view token = tokenOf(*parm);
        if (!ZELisTextName(token)) {
            // Read back, it would end the stream or make nonsense of what follows.
            myLostNames.emplace_back(token);
            continue;
        }
        myBytes << token;
        parm->save(myStream, 0, false);
        if (!endEntry()) {
            break;
        }
    }
    myBytes << theListEnd << '\n';
}

void ZEL_ParmListWriter::writeBinary(const Parms &parms, bool compact)
{
    const int classId = ZELlistPacketClass();
    myBytes.beginSeries();
    myBytes.appendPacket(classId, LIST_VERSION, theListFileVersion);
    std::string_view before;
    for (const ZEL_Parm *parm : parms) {
        if (compact && ZELisLeftOutOfCompact(*parm)) {
            continue;
        }
        const KIT_ByteBuffer::Packet packet = myBytes.beginPacket(classId, LIST_PARM);
        const std::string_view token = tokenOf(*parm);
        myBytes.appendTextAfter(token, before);
        before = token;
        parm->save(myStream, 1, compact);
        myBytes.endPacket(packet);
        if (!endEntry()) {
            break;
        }
    }
    myBytes.appendPacket(classId, LIST_END);
    myBytes.endSeries();
}
