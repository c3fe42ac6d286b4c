#include <ZEL/ZEL_Parm.h>

#include <LYR/LYR_Manager.h>
#include <ZEL/ZEL_ParmList.h>

namespace
{

/// The state of the takes for one write.
struct TakeState
{
    TakeState()
    {
        const LYR_Manager *manager = LYR_Manager::getCurrentManager();
        inMasterTake = manager->getCurrentTake() == manager->getMasterTake();
        overrides = manager->getOverrideFlag();
        autoIncludes = manager->getAutoIncludeFlag();
        autoIncludesLockedAssets = manager->getAutoIncludeLockedAssetsFlag();
    }

    bool inMasterTake;
    bool overrides;
    bool autoIncludes;
    bool autoIncludesLockedAssets;
};

} // namespace

bool ZEL_Parm::canAccess(unsigned mask) const
{
    // An item's parameters are added and removed even if the multi-parameter is protected.
    if (!myInstance || !myParmList || getIsAddingOrRemovingMultiParms()) {
        return myInstance != nullptr;
    }
    if (!myParmList->canAccessIgnoringAssetMask(mask, getType())) {
        return false;
    }
    const TakeState takes;
    if (!myParmList->canAccessCheckingOnlyAssetMask(mask, getType())) {
        // A locked asset can be written only through an open take.
        return takes.overrides ||
               (!takes.inMasterTake && (takes.autoIncludesLockedAssets || getActiveTakeFlag()));
    }
    if (ZEL_ParmList::isLoading() || mask != theWriteMask) {
        return true;
    }
    if (!myParmList->getChannelGroupPtr() || getActiveTakeFlag()) {
        return true;
    }
    return takes.inMasterTake || takes.overrides || takes.autoIncludes;
}
