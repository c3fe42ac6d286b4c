#include <ZEL/ZEL_AutoDisableOverride.h>

#include <BAS/BAS_SpinLock.h>
#include <ZEL/ZEL_Overridable.h>
#include <ZEL/ZEL_Parm.h>

#include <atomic>
#include <mutex>

namespace
{
/// The open scopes of all threads, linked from the newest.
BAS_ByteLock theLock;
ZEL_AutoDisableOverride *theNewest = nullptr;
std::atomic<int> theOpenCount{0};
} // namespace

ZEL_AutoDisableOverride::ZEL_AutoDisableOverride(ZEL_Parm *parm, int index)
    : myInstance(parm ? parm->getInstance() : nullptr), myIndex(index)
{
    const ZEL_Overridable::DisableState &state = ZEL_Overridable::localDisableState();
    mySavedMask = state.mask;
    mySavedInstance = BASload(state.instance);
    link();
    if (parm) {
        parm->setOverrideDisable(myIndex, 1);
    }
}

ZEL_AutoDisableOverride::~ZEL_AutoDisableOverride()
{
    unlink();
    ZEL_Overridable::DisableState &state = ZEL_Overridable::localDisableState();
    state.mask = mySavedMask;
    BASstore(state.instance, mySavedInstance);
    if (myInstance) {
        myInstance->getParm()->sendValueChanged(myIndex, false);
    }
    if (mySavedInstance) {
        const int size = mySavedInstance->getVectorSize();
        for (int i = 0; i < size && i < 32; ++i) {
            if ((mySavedMask & (1u << i)) != 0) {
                mySavedInstance->setDirtyFlags(i);
            }
        }
    }
}

// ---------------------------------------------------------------------- //
// The list of open scopes
// ---------------------------------------------------------------------- //

void ZEL_AutoDisableOverride::link()
{
    const std::lock_guard<BAS_ByteLock> guard(theLock);
    myOlder = theNewest;
    if (myOlder) {
        myOlder->myNewer = this;
    }
    theNewest = this;
    theOpenCount.fetch_add(1, std::memory_order_relaxed);
}

void ZEL_AutoDisableOverride::unlink()
{
    const std::lock_guard<BAS_ByteLock> guard(theLock);
    (myNewer ? myNewer->myOlder : theNewest) = myOlder;
    if (myOlder) {
        myOlder->myNewer = myNewer;
    }
    theOpenCount.fetch_sub(1, std::memory_order_relaxed);
}

void ZEL_AutoDisableOverride::forget(const ZEL_Instance *instance)
{
    if (theOpenCount.load(std::memory_order_relaxed) == 0) {
        return;
    }
    const std::lock_guard<BAS_ByteLock> guard(theLock);
    for (ZEL_AutoDisableOverride *scope = theNewest; scope; scope = scope->myOlder) {
        if (scope->myInstance == instance) {
            scope->myInstance = nullptr;
        }
        if (scope->mySavedInstance == instance) {
            scope->mySavedInstance = nullptr;
        }
    }
}
