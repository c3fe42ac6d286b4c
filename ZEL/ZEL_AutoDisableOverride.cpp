#include <ZEL/ZEL_AutoDisableOverride.h>

#include <ZEL/ZEL_Overridable.h>
#include <ZEL/ZEL_Parm.h>

ZEL_AutoDisableOverride::ZEL_AutoDisableOverride(ZEL_Parm *parm, int index)
    : myParm(parm), myIndex(index)
{
    const ZEL_Overridable::DisableState &state = ZEL_Overridable::localDisableState();
    mySavedMask = state.mask;
    mySavedInstance = state.instance;
    if (myParm) {
        myParm->setOverrideDisable(myIndex, 1);
    }
}

ZEL_AutoDisableOverride::~ZEL_AutoDisableOverride()
{
    ZEL_Overridable::DisableState &state = ZEL_Overridable::localDisableState();
    state.mask = mySavedMask;
    state.instance = mySavedInstance;
    if (!myParm) {
        return;
    }
    myParm->sendValueChanged(myIndex, false);
    if (mySavedInstance) {
        const int size = mySavedInstance->getVectorSize();
        for (int i = 0; i < size && i < 32; ++i) {
            if ((mySavedMask & (1u << i)) != 0) {
                mySavedInstance->setDirtyFlags(i);
            }
        }
    }
}
