/// \file ZEL_AutoDisableOverride.h
/// A scope in which the calling thread reads a component's own value beneath its override.
///
/// Ownership:  lives on the stack. It borrows the parameter's instance and that of the enclosing
///             scope, and drops either one that is destroyed first.
/// Threads:    opened and closed on one thread; other threads keep seeing the override. Scopes of
///             one thread nest.
/// Errors:     a null parameter gives an empty scope.
/// Cost:       two or three entries in the list of watched instances (ZEL_InstanceWatch.h).
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_InstanceWatch.h>

#include <cstdint>

class ZEL_Parm;

/// Reads skip the override while it is open; sets still reach the callback. Leaving restores the
/// thread's previous disable state and marks dirty the component and what the restored state
/// disables. No event is sent.
class ZEL_API ZEL_AutoDisableOverride
{
public:
    ZEL_AutoDisableOverride(ZEL_Parm *parm, int index);
    ~ZEL_AutoDisableOverride();

    ZEL_AutoDisableOverride(const ZEL_AutoDisableOverride &) = delete;
    ZEL_AutoDisableOverride &operator=(const ZEL_AutoDisableOverride &) = delete;

private:
    ZEL_InstanceWatch myInstance; // null: nothing to mark dirty at the end
    ZEL_InstanceWatch mySavedInstance;
    std::uint32_t mySavedMask = 0;
    int myIndex;
};
