#include <ZEL/ZEL_ParmList.h>

#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Type.h>

// ---------------------------------------------------------------------- //
// Change events
// ---------------------------------------------------------------------- //

void ZEL_ParmList::setEventHandler(void *data, EventHandler handler)
{
    myEventData = data;
    myEventHandler = handler;
}

void ZEL_ParmList::sendChangeEvent(TRK_CHANGE_TYPE type, const ZEL_Parm *parm) const
{
    if (!myEventHandler) {
        return;
    }
    ZEL_AutoBlockErrors block;
    const ZEL_Multi::KeepItems keep;
    myEventHandler(myEventData, type, parm ? getParmIndex(parm) : -1);
}

// ---------------------------------------------------------------------- //
// Access
// ---------------------------------------------------------------------- //

namespace
{

/// Folders stay reachable on a locked node.
bool isFolderSwitcher(const ZEL_Type &type)
{
    return type.isSwitcher() && !type.hasInterfaceType(ZEL_Type::ZEL_INTERFACE_EXCLUSIVE);
}

} // namespace

bool ZEL_ParmList::canAccess(unsigned mask, const ZEL_Type &type) const
{
    return isFolderSwitcher(type) ||
           (mask & myPermissions & myUserMask & myAssetPermissionMask) != 0;
}

bool ZEL_ParmList::canAccessIgnoringAssetMask(unsigned mask, const ZEL_Type &type) const
{
    return isFolderSwitcher(type) || (mask & myPermissions & myUserMask) != 0;
}

bool ZEL_ParmList::canAccessCheckingOnlyAssetMask(unsigned mask, const ZEL_Type &type) const
{
    return isFolderSwitcher(type) || (mask & myAssetPermissionMask) != 0;
}
