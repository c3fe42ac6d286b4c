/// \file ZEL_AutoDisableOverride.h
/// A scope in which the calling thread reads a component's own value beneath its override.
///
/// Ownership:  lives on the stack; borrows the parm, which must outlive it, as must the instance
///             of the scope around it.
/// Threads:    opened and closed on one thread; other threads keep seeing the override. Scopes of
///             one thread nest.
/// Errors:     a null parm gives an empty scope.
/// Cost:       two words of per-thread state.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_Instance;
class ZEL_Parm;

/// Reads skip the override while it is open; sets still reach the callback. Leaving puts the
/// thread's disable state back as it was, marks the component dirty and with it what the restored
/// state disables. No event is sent.
class ZEL_API ZEL_AutoDisableOverride
{
public:
    ZEL_AutoDisableOverride(ZEL_Parm *parm, int index);
    ~ZEL_AutoDisableOverride();

    ZEL_AutoDisableOverride(const ZEL_AutoDisableOverride &) = delete;
    ZEL_AutoDisableOverride &operator=(const ZEL_AutoDisableOverride &) = delete;

private:
    std::uint32_t mySavedMask = 0;
    ZEL_Instance *mySavedInstance = nullptr;
    ZEL_Parm *myParm;
    int myIndex;
};
