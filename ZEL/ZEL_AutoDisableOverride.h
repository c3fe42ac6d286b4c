/// \file ZEL_AutoDisableOverride.h
/// A scope in which the calling thread reads a component's own value beneath its override.
///
/// Ownership:  lives on the stack. It borrows the parm's instance and that of the scope around it,
///             and forgets either when it is destroyed first.
/// Threads:    opened and closed on one thread; other threads keep seeing the override. Scopes of
///             one thread nest.
/// Errors:     a null parm gives an empty scope.
/// Cost:       two words of per-thread state, and a place in the list of open scopes, which a lock
///             guards. While none is open, the end of an instance costs one test for it.
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
    friend class ZEL_Overridable;

    /// Has the open scopes let go of an instance that goes away.
    static void forget(const ZEL_Instance *instance);

    void link();
    void unlink();

    ZEL_Instance *myInstance; // null: nothing to mark at the end
    ZEL_Instance *mySavedInstance = nullptr;
    ZEL_AutoDisableOverride *myOlder = nullptr; // neighbours in the list of open scopes
    ZEL_AutoDisableOverride *myNewer = nullptr;
    std::uint32_t mySavedMask = 0;
    int myIndex;
};
