/// \file ZEL_LoadScopePrivate.h
/// While one lives, its thread creates or loads lists.
///
/// Threads:    any. The count is the thread's: a scope on one thread is seen by no other, whose lists
///             are checked as ever.
/// Cost:       one addition at each end; isLoading is a plain read.
///
/// Scopes nest. Code that must not run while values are read back (access checks, takes, checks of
/// names) checks isLoading.
#pragma once

class ZEL_LoadScope
{
public:
    ZEL_LoadScope() { begin(); }
    ~ZEL_LoadScope() { end(); }
    ZEL_LoadScope(const ZEL_LoadScope &) = delete;
    ZEL_LoadScope &operator=(const ZEL_LoadScope &) = delete;

    static bool isLoading() { return theCount != 0; }
    /// For pairs that can't be a scope.
    static void begin() { ++theCount; }
    static void end() { --theCount; }

private:
    static __thread int theCount __attribute__((tls_model("initial-exec")));
};
