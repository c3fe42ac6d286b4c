/// \file ZEL_LoadScopePrivate.h
/// While one lives, lists are being created or loaded in this process.
///
/// Threads:    any. The count is the process's, not the thread's: a scope on one thread is seen by all.
/// Cost:       one atomic addition at each end; isLoading is a plain read.
///
/// Scopes nest. Code that must not run while values are read back (access checks, takes, checks of
/// names) checks isLoading.
#pragma once

#include <atomic>

class ZEL_LoadScope
{
public:
    ZEL_LoadScope() { begin(); }
    ~ZEL_LoadScope() { end(); }
    ZEL_LoadScope(const ZEL_LoadScope &) = delete;
    ZEL_LoadScope &operator=(const ZEL_LoadScope &) = delete;

    static bool isLoading() { return theCount.load(std::memory_order_relaxed) != 0; }
    /// For pairs that can't be a scope.
    static void begin() { theCount.fetch_add(1, std::memory_order_relaxed); }
    static void end() { theCount.fetch_sub(1, std::memory_order_relaxed); }

private:
    static std::atomic<int> theCount;
};
