#include <ZEL/ZEL_AutoDisableOverride.h>

#include <ZEL/ZEL_Parm.h>
#include <ZEL/instance/ZEL_DisableStatePrivate.h>

ZEL_AutoDisableOverride::ZEL_AutoDisableOverride(ZEL_Parm *parm, int index)
    : myInstance(parm ? parm->getInstance() : nullptr), myIndex(index)
{
    const ZEL_DisableState &state = ZEL_DisableState::change();
    mySavedMask = state.mask;
    mySavedInstance.set(state.instance);
    if (parm) {
        parm->setOverrideDisable(myIndex, 1);
    }
}

ZEL_AutoDisableOverride::~ZEL_AutoDisableOverride()
{
    ZEL_DisableState &state = ZEL_DisableState::change();
    state.mask = mySavedMask;
    state.instance.set(mySavedInstance);
    if (ZEL_Instance *instance = myInstance.get()) {
        instance->getParm()->sendValueChanged(myIndex, false);
    }
    if (ZEL_Instance *instance = mySavedInstance.get()) {
        const int size = instance->getVectorSize();
        for (int i = 0; i < size && i < 32; ++i) {
            if ((mySavedMask & (1u << i)) != 0) {
                instance->setDirtyFlags(i);
            }
        }
    }
}
