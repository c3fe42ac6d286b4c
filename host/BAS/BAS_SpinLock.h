/// \file BAS_SpinLock.h
/// A lock of one byte, for critical sections of a few instructions.
///
/// Vocabulary: *pause* = the processor's hint that a thread is spinning.
/// Ownership:  none.
/// Threads:    any. Not recursive, not fair.
/// Errors:     none.
/// Cost:       one exchange when free. While the lock is held, a waiting thread spins for 1, 2, 4,
///             8 and 16 pauses, then yields the processor before each further try.

#pragma once

#include <atomic>

#include <sched.h>

/// Works with std::lock_guard and std::unique_lock.
class BAS_ByteLock
{
public:
    constexpr BAS_ByteLock() noexcept = default;
    BAS_ByteLock(const BAS_ByteLock &) = delete;
    BAS_ByteLock &operator=(const BAS_ByteLock &) = delete;

    /// Takes the lock, waiting as long as needed.
    void lock() noexcept
    {
        int pauses = 1;
        while (!try_lock()) {
            if (pauses <= 16) {
                for (int i = 0; i < pauses; i++) {
                    pause();
                }
                pauses *= 2;
            } else {
                sched_yield();
            }
        }
    }

    /// Takes the lock if it is free; says whether it did.
    bool try_lock() noexcept { return myState.exchange(1, std::memory_order_acquire) == 0; }

    /// Releases the lock.
    void unlock() noexcept { myState.store(0, std::memory_order_release); }

private:
    static void pause() noexcept
    {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#elif defined(__aarch64__)
        __asm__ __volatile__("yield");
#endif
    }

    std::atomic<unsigned char> myState{0};
};

static_assert(sizeof(BAS_ByteLock) == 1, "classes pack the lock beside their flags");
