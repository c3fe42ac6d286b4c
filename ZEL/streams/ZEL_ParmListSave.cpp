// The parameter stream, written. Entries are composed in memory and go out in large pieces, so that a
// target needs neither to seek nor to be quick with small writes.

#include <ZEL/ZEL_ParmList.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_Write.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <vector>

const float ZEL_ParmList::theFileVersion = 0.8f;

/// The entries of one stream on their way to the target.
class ZEL_ParmList::Composer
{
public:
    Composer(std::ostream &target, std::int64_t entries) : stream(bytes), myTarget(target)
    {
        constexpr std::int64_t theUsualEntry = 128;
        bytes.room(std::min(std::size_t(entries * theUsualEntry), thePieceSize + thePieceSize / 4));
    }

    /// False when saving has to end here.
    bool endEntry()
    {
        if (bytes.size() >= thePieceSize) {
            flush();
        }
        return myTarget.good() && KITgetErrorSeverity() < KIT_ERROR_ABORT;
    }
    void flush()
    {
        bytes.writeTo(myTarget);
        bytes.clear();
    }

    KIT_ByteBuffer bytes;
    KIT_OByteStream stream; ///< into the bytes

private:
    /// Composed bytes go to the target when there are that many.
    static constexpr std::size_t thePieceSize = 65536;

    std::ostream &myTarget;
};

namespace
{

std::string_view tokenOf(const ZEL_Parm &parm)
{
    return parm.getInstance()->getTokenRef().view();
}

bool isLeftOutOfCompact(const ZEL_Parm &parm)
{
    const ZEL_Type &type = parm.getType();
    return type.hasAnyOf(ZEL_TYPE_SEPARATOR) || type.hasAnyOf(ZEL_TYPE_LABEL);
}

void sortByToken(std::vector<const ZEL_Parm *> &parms)
{
    std::stable_sort(parms.begin(), parms.end(), [](const ZEL_Parm *a, const ZEL_Parm *b) {
        return KIT_String(a->getToken()) < KIT_String(b->getToken());
    });
}

} // namespace

int ZEL_ParmList::classPacketId()
{
    static const int theClassId = KITgetClassPacketID("ZEL_ParmList");
    return theClassId;
}

void ZEL_ParmList::save(std::ostream &os, bool binary, bool compact) const
{
    // Not the list's own array, which moves when a menu reads a multi-parameter that then grows.
    std::vector<const ZEL_Parm *> parms;
    parms.reserve(std::size_t(getEntries()));
    std::copy_if(myParms.begin(), myParms.end(), std::back_inserter(parms), isSaved);
    if (KIT_EnvControl::getInt(KIT_ENV_SORTED_SAVE) != 0) {
        sortByToken(parms);
    }
    saveParms(os, parms.data(), std::int64_t(parms.size()), binary, compact);
}

void ZEL_ParmList::saveSingle(ZEL_Parm *parm, std::ostream &os, bool binary) const
{
    if (parm) {
        const ZEL_Parm *const single = parm;
        saveParms(os, &single, isSaved(parm) ? 1 : 0, binary, false);
    }
}

void ZEL_ParmList::saveParms(std::ostream &os, const ZEL_Parm *const *parms, std::int64_t count,
                             bool binary, bool compact) const
{
    const std::uint64_t refusedBefore = BASfailedAllocations();
    Composer out(os, count);
    if (binary || compact) {
        saveBinary(out, parms, count, compact);
    } else {
        saveText(out, parms, count);
    }
    out.flush();
    if (BASfailedAllocations() != refusedBefore) {
        // Texts may be missing from what was composed.
        os.setstate(std::ios::failbit);
    }
    KITcheckOutStream(os, theListSaveLabel, nullptr);
}

void ZEL_ParmList::saveText(Composer &out, const ZEL_Parm *const *parms, std::int64_t count)
{
    char version[32];
    const char *const versionEnd =
        std::to_chars(version, version + sizeof(version), theFileVersion).ptr;
    out.bytes << "{\nversion " << std::string_view(version, std::size_t(versionEnd - version))
              << '\n';
    bool goesOn = true;
    for (std::int64_t i = 0; i < count && goesOn; ++i) {
        out.bytes << tokenOf(*parms[i]);
        parms[i]->save(out.stream, 0, false);
        goesOn = out.endEntry();
    }
    out.bytes << "}\n";
}

void ZEL_ParmList::saveBinary(Composer &out, const ZEL_Parm *const *parms, std::int64_t count,
                              bool compact)
{
    const int classId = classPacketId();
    out.bytes.appendPacket(classId, LIST_VERSION, theFileVersion);
    bool goesOn = true;
    for (std::int64_t i = 0; i < count && goesOn; ++i) {
        if (!(compact && isLeftOutOfCompact(*parms[i]))) {
            const std::size_t payload = out.bytes.beginPacket(classId, LIST_PARM);
            out.bytes.appendText(tokenOf(*parms[i]));
            parms[i]->save(out.stream, 1, compact);
            out.bytes.endPacket(payload);
            goesOn = out.endEntry();
        }
    }
    out.bytes.appendPacket(classId, LIST_END);
}
