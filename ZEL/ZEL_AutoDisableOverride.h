/// \file ZEL_AutoDisableOverride.h
/// A scope in which the calling thread reads a component's own value beneath its override.
///
/// Ownership:  lives on the stack. It borrows the parameter's instance and that of the enclosing
///             scope, and drops either one that is destroyed first.
/// Threads:    opened and closed on one thread; other threads keep seeing the override. Scopes of
///             one thread nest.
/// Errors:     a null parameter gives an empty scope.
/// Cost:       two words of per-thread state, and an entry in the list of open scopes, which a lock
///             guards. While no scope is open, destroying an instance costs one test for it.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_Instance;
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
    friend class ZEL_Overridable;

    /// Makes the open scopes drop an instance that is being destroyed.
    static void forget(const ZEL_Instance *instance);

    void link();
    void unlink();

    ZEL_Instance *myInstance; // null: nothing to mark dirty at the end
    ZEL_Instance *mySavedInstance = nullptr;
    ZEL_AutoDisableOverride *myOlder = nullptr; // neighbours in the list of open scopes
    ZEL_AutoDisableOverride *myNewer = nullptr;
    std::uint32_t mySavedMask = 0;
    int myIndex;
};
