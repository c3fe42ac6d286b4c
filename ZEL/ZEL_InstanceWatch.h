/// \file ZEL_InstanceWatch.h
/// A pointer to an instance that becomes null when the instance is destroyed; for the library's own
/// classes.
///
/// Ownership:  borrows the instance.
/// Threads:    one thread sets and reads a watch; the instance may be destroyed on any other, but not
///             while that one still uses what it read.
/// Errors:     none.
/// Cost:       a watch that holds an instance is in one list of the process, which a lock guards.
///             While no watch does, destroying an instance costs one test.
#pragma once

#include <BAS/BAS_Relaxed.h>

#include <atomic>

class ZEL_Instance;

class ZEL_InstanceWatch
{
public:
    ZEL_InstanceWatch() = default;
    explicit ZEL_InstanceWatch(ZEL_Instance *instance) { set(instance); }
    ~ZEL_InstanceWatch() { set(nullptr); }
    ZEL_InstanceWatch(const ZEL_InstanceWatch &) = delete;
    ZEL_InstanceWatch &operator=(const ZEL_InstanceWatch &) = delete;

    ZEL_Instance *get() const { return BASload(myInstance); }
    void set(ZEL_Instance *instance);
    /// The same instance as the other, which must be the calling thread's too.
    void set(const ZEL_InstanceWatch &other);

    /// Empties all watches of an instance that is being destroyed.
    static void forget(const ZEL_Instance *instance)
    {
        if (theNewest.load(std::memory_order_relaxed)) {
            forgetWatched(instance);
        }
    }

private:
    static void forgetWatched(const ZEL_Instance *instance);
    void put(ZEL_Instance *instance);
    void link();
    void unlink();

    static std::atomic<ZEL_InstanceWatch *> theNewest;

    ZEL_Instance *myInstance = nullptr; // relaxed
    ZEL_InstanceWatch *myOlder = nullptr;
    ZEL_InstanceWatch *myNewer = nullptr;
};
