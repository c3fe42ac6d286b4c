/// \file ZEL_SpinLockScope.h
/// Scope guards on a read-write spin lock.
///
/// Vocabulary: *reader*, *writer* = a guard that holds the lock shared, or exclusively.
/// Ownership:  borrows the lock for its lifetime.
/// Threads:    a guard belongs to the thread that made it.
#pragma once

#include <tbb/spin_rw_mutex.h>

class ZEL_SpinLockReadScope
{
public:
    /// Holds nothing.
    ZEL_SpinLockReadScope() = default;
    explicit ZEL_SpinLockReadScope(tbb::spin_rw_mutex &mutex) { acquire(mutex); }
    ZEL_SpinLockReadScope(const ZEL_SpinLockReadScope &) = delete;
    ZEL_SpinLockReadScope &operator=(const ZEL_SpinLockReadScope &) = delete;

    /// The guard must hold nothing yet.
    void acquire(tbb::spin_rw_mutex &mutex)
    {
        constexpr bool writer = false;
        myLock.acquire(mutex, writer);
        myWriterFlag = false;
    }
    /// Upgrades the guard, which must hold the lock, to exclusive. False when another thread held
    /// the lock in between, so that what was read before must be read again.
    bool upgradeToWriter()
    {
        if (myWriterFlag) {
            return true;
        }
        myWriterFlag = true;
        return myLock.upgrade_to_writer();
    }

private:
    tbb::spin_rw_mutex::scoped_lock myLock;
    bool myWriterFlag = false;
};

class ZEL_SpinLockWriteScope
{
public:
    /// Holds nothing.
    ZEL_SpinLockWriteScope() = default;
    explicit ZEL_SpinLockWriteScope(tbb::spin_rw_mutex &mutex) { acquire(mutex); }
    ZEL_SpinLockWriteScope(const ZEL_SpinLockWriteScope &) = delete;
    ZEL_SpinLockWriteScope &operator=(const ZEL_SpinLockWriteScope &) = delete;

    /// The guard must hold nothing yet.
    void acquire(tbb::spin_rw_mutex &mutex)
    {
        constexpr bool writer = true;
        myLock.acquire(mutex, writer);
    }

private:
    tbb::spin_rw_mutex::scoped_lock myLock;
};
