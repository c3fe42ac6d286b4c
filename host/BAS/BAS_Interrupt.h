/// \file BAS_Interrupt.h
/// A request that the process stops what it evaluates, as a person's Ctrl-C is one.
///
/// Threads: any, and signal handlers: each call is one atomic operation.
///
/// While it stands, evaluations within a TRK_EvalContext::Work end as if their total of steps were used up; what
/// has begun ends at its own limit. Code in Python ends by SNKinterruptPython(), which no signal handler may
/// call. An application clears the request when it has told the person.
#pragma once

#include <BAS/BAS_API.h>

#include <atomic>

class KIT_API BAS_Interrupt
{
public:
    static void request() noexcept { theFlag.store(true, std::memory_order_relaxed); }
    static void clear() noexcept { theFlag.store(false, std::memory_order_relaxed); }
    static bool isRequested() noexcept { return theFlag.load(std::memory_order_relaxed); }

private:
    static std::atomic<bool> theFlag;
    static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers set it");
};
