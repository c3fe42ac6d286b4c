// Takes and restores snapshots of a list's parameters.

#include <ZEL/ZEL_ParmList.h>

#include <KIT/KIT_StringArray.h>
#include <TRK/TRK_EventManager.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_LateRemovals.h>
#include <ZEL/instance/ZEL_UndoStreamPrivate.h>
#include <ZEL/list/ZEL_RestoringPrivate.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>
#include <ZEL/streams/ZEL_ParmListReaderPrivate.h>

void ZEL_ParmList::saveUndoData(ZEL_UndoDataArray &out) const
{
    const ZEL_UndoStream stream;
    // By index: a menu that reads a multi-parameter may create items meanwhile.
    for (int i = 0; i < getEntries(); ++i) {
        saveSingleUndoData(getParmPtr(i), out);
    }
}

void ZEL_ParmList::saveSingleUndoData(const ZEL_Parm *parm, ZEL_UndoDataArray &out) const
{
    if (isSaved(parm)) {
        std::shared_ptr<ZEL_UndoData> data;
        parm->saveUndoData(data);
        out.emplace(KIT_StringHolder(parm->getTokenRef()), std::move(data));
    }
}

void ZEL_ParmList::loadUndoData(const ZEL_UndoDataArray &in, const char *name,
                                ZEL_ParmList *fallbackList)
{
    // For names that grow multi-parameters too.
    const ZEL_InputBudget noLimit(ZEL_InputBudget::NO_LIMIT, 0);
    const TRK_AutoEventHandler events;
    ZEL_ParmListReader reader(*this, name, fallbackList);
    Restoring restoring(*this, in);
    LateRemovals removals(*this);
    LateRemovals removalsOfFallback(fallbackList ? *fallbackList : *this);
    if (myOwner) {
        constexpr bool useMap = false;
        KIT_StringArray names;
        for (const auto &[token, data] : in) {
            if (!reader.findParm(token, useMap)) {
                names.append(token.nonNullStr());
            }
        }
        reader.offerUnknownNames(names);
    }
    for (std::int64_t i = 0; i < in.size(); ++i) {
        constexpr bool useMap = true;
        if (ZEL_Parm *parm = reader.findParm(in[i].first, useMap)) {
            restoring.setNext(i + 1);
            parm->loadUndoData(in[i].second);
        }
    }
    removalsOfFallback.finish();
    removals.finish();
}
