// A list saved as a stream and loaded.

#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_SaveParms.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_EventManager.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_LateRemovals.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>
#include <ZEL/streams/ZEL_ParmListReaderPrivate.h>
#include <ZEL/streams/ZEL_ParmListWriterPrivate.h>

#include <algorithm>
#include <iterator>

namespace
{

void sortByToken(ZEL_ParmListWriter::Parms &parms)
{
    std::stable_sort(parms.begin(), parms.end(), [](const ZEL_Parm *a, const ZEL_Parm *b) {
        return KIT_String(a->getToken()) < KIT_String(b->getToken());
    });
}

} // namespace

void ZEL_ParmList::save(std::ostream &os, bool binary, bool compact) const
{
    // A copy: the list's own array moves when a menu reads a multi-parameter that then grows.
    ZEL_ParmListWriter::Parms parms;
    parms.reserve(std::size_t(getEntries()));
    std::copy_if(myParms.begin(), myParms.end(), std::back_inserter(parms), isSaved);
    if (KIT_EnvControl::getInt(KIT_ENV_SORTED_SAVE) != 0) {
        sortByToken(parms);
    }
    ZEL_ParmListWriter(os).write(parms, binary, compact);
}

void ZEL_ParmList::saveSingle(ZEL_Parm *parm, std::ostream &os, bool binary) const
{
    if (parm) {
        constexpr bool compact = false;
        const ZEL_ParmListWriter::Parms parms(isSaved(parm) ? 1 : 0, parm);
        ZEL_ParmListWriter(os).write(parms, binary, compact);
    }
}

void ZELsaveParms(const std::vector<const ZEL_Parm *> &parms, std::ostream &os, bool binary)
{
    constexpr bool compact = false;
    ZEL_ParmListWriter::Parms saved;
    saved.reserve(parms.size());
    std::copy_if(parms.begin(), parms.end(), std::back_inserter(saved), isSaved);
    ZEL_ParmListWriter(os).write(saved, binary, compact);
}

bool ZEL_ParmList::canBeStream(std::string_view start)
{
    if (start.find('\0') == std::string_view::npos) {
        return true;
    }
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    KIT_IStream is(start.data(), start.size(), KIT_IStream::BINARY);
    KIT_Packet packet;
    int classId = 0;
    int packetId = 0;
    return packet.beginRead(is, classId, packetId) && classId == ZELlistPacketClass();
}

bool ZEL_ParmList::load(KIT_IStream &is, const char *name, ZEL_ParmList *fallbackList)
{
    const ZEL_InputBudget budget(is.remaining());
    const TRK_AutoEventHandler events;
    LateRemovals removals(*this);
    LateRemovals removalsOfFallback(fallbackList ? *fallbackList : *this);
    const ZEL_ParmListReader::Result result =
        ZEL_ParmListReader(*this, name, fallbackList).read(is);
    removalsOfFallback.finish();
    removals.finish();
    if (result == ZEL_ParmListReader::Result::ABANDONED) {
        return false;
    }
    validateChannelNames();
    for (int i = getEntries(); i-- > 0 && !isTimeDependent();) {
        const ZEL_Parm *parm = getParmPtr(i);
        if (isSaved(parm) && parm->isTimeDependent(-1)) {
            setTimeDependent();
        }
    }
    return result == ZEL_ParmListReader::Result::LOADED && KITgetErrorSeverity() < KIT_ERROR_ABORT;
}
