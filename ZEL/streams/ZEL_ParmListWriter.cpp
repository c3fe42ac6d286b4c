#include <ZEL/streams/ZEL_ParmListWriterPrivate.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_Write.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>

#include <algorithm>
#include <charconv>
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

bool isLeftOutOfCompact(const ZEL_Parm &parm)
{
    const ZEL_Type &type = parm.getType();
    return type.hasAnyOf(ZEL_TYPE_SEPARATOR) || type.hasAnyOf(ZEL_TYPE_LABEL);
}

} // namespace

int ZELlistPacketClass()
{
    static const int theClassId = KITgetClassPacketID("ZEL_ParmList");
    return theClassId;
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
    myBytes.writeTo(myTarget);
    myBytes.clear();
}

void ZEL_ParmListWriter::writeText(const Parms &parms)
{
    char version[32];
    const char *const versionEnd =
        std::to_chars(version, std::end(version), theListFileVersion).ptr;
    myBytes << "{\nversion " << std::string_view(version, std::size_t(versionEnd - version))
            << '\n';
    for (const ZEL_Parm *parm : parms) {
        myBytes << tokenOf(*parm);
        parm->save(myStream, 0, false);
        if (!endEntry()) {
            break;
        }
    }
    myBytes << "}\n";
}

void ZEL_ParmListWriter::writeBinary(const Parms &parms, bool compact)
{
    const int classId = ZELlistPacketClass();
    myBytes.appendPacket(classId, LIST_VERSION, theListFileVersion);
    for (const ZEL_Parm *parm : parms) {
        if (compact && isLeftOutOfCompact(*parm)) {
            continue;
        }
        const std::size_t payload = myBytes.beginPacket(classId, LIST_PARM);
        myBytes.appendText(tokenOf(*parm));
        parm->save(myStream, 1, compact);
        myBytes.endPacket(payload);
        if (!endEntry()) {
            break;
        }
    }
    myBytes.appendPacket(classId, LIST_END);
}
