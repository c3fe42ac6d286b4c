#include <ZEL/ZEL_InstanceWatch.h>

#include <BAS/BAS_SpinLock.h>

#include <mutex>

namespace
{
/// Guards the list, and every change of a watch.
BAS_ByteLock theLock;
} // namespace

std::atomic<ZEL_InstanceWatch *> ZEL_InstanceWatch::theNewest{nullptr};

void ZEL_InstanceWatch::set(ZEL_Instance *instance)
{
    if (get() != instance) {
        const std::lock_guard<BAS_ByteLock> guard(theLock);
        put(instance);
    }
}

void ZEL_InstanceWatch::set(const ZEL_InstanceWatch &other)
{
    if (get() || other.get()) {
        // Read under the lock: the instance may end on another thread right now.
        const std::lock_guard<BAS_ByteLock> guard(theLock);
        put(other.get());
    }
}

void ZEL_InstanceWatch::put(ZEL_Instance *instance)
{
    if (instance && !get()) {
        link();
    } else if (!instance && get()) {
        unlink();
    }
    BASstore(myInstance, instance);
}

void ZEL_InstanceWatch::link()
{
    myNewer = nullptr;
    myOlder = theNewest.load(std::memory_order_relaxed);
    if (myOlder) {
        myOlder->myNewer = this;
    }
    theNewest.store(this, std::memory_order_relaxed);
}

void ZEL_InstanceWatch::unlink()
{
    if (myNewer) {
        myNewer->myOlder = myOlder;
    } else {
        theNewest.store(myOlder, std::memory_order_relaxed);
    }
    if (myOlder) {
        myOlder->myNewer = myNewer;
    }
}

void ZEL_InstanceWatch::forgetWatched(const ZEL_Instance *instance)
{
    const std::lock_guard<BAS_ByteLock> guard(theLock);
    ZEL_InstanceWatch *watch = theNewest.load(std::memory_order_relaxed);
    while (watch) {
        ZEL_InstanceWatch *const older = watch->myOlder;
        if (watch->get() == instance) {
            watch->put(nullptr);
        }
        watch = older;
    }
}
