#include <ZEL/ZEL_DataRep.h>

#include <BAS/BAS_Thread.h>
#include <ZEL/ZEL_SpinLockScope.h>
#include <ZEL/support/ZEL_ReadersPrivate.h>

#include <cstddef>
#include <new>

namespace
{

using Item = ZEL_DataRep::Item;

/// Counts of different threads must not lie in one cache line.
template <class T>
struct OwnCacheLine
{
    using value_type = T;

    static constexpr std::align_val_t theAlignment{64};

    OwnCacheLine() = default;
    template <class U>
    explicit OwnCacheLine(const OwnCacheLine<U> &)
    {}

    T *allocate(std::size_t count)
    {
        return static_cast<T *>(::operator new(count * sizeof(T), theAlignment));
    }
    void deallocate(T *memory, std::size_t) { ::operator delete(memory, theAlignment); }

    friend bool operator==(const OwnCacheLine &, const OwnCacheLine &) { return true; }
    friend bool operator!=(const OwnCacheLine &, const OwnCacheLine &) { return false; }
};

/// Lets the last copy of a share release the item.
struct Release
{
    void operator()(const ZEL_DataItem *) { item.reset(); }

    Item item;
};

Item makeShare(const Item &item)
{
    try {
        return Item(item.get(), Release{item}, OwnCacheLine<char>());
    } catch (const std::bad_alloc &) {
        return Item();
    }
}

/// The item of a share, so that shares of shares don't pile up.
const Item &originalOf(const Item &item)
{
    const Release *release = std::get_deleter<Release>(item);
    return release && release->item == item ? release->item : item;
}

} // namespace

/// An item with the shares of the threads that have read it. A thread makes and uses its own only.
struct ZEL_DataRep::Held
{
    explicit Held(const Item &given) : item(given), writer(BASgetSTID()) {}
    ~Held()
    {
        for (std::atomic<Eight *> &place : shares) {
            delete place.load();
        }
    }
    Held(const Held &) = delete;
    Held &operator=(const Held &) = delete;

    const Item &shareOf(int thread)
    {
        // As long as its writer is the only reader, there is nobody to share with.
        if (thread == writer && !readByOthers.load(std::memory_order_relaxed)) {
            return item;
        }
        if (!readByOthers.load(std::memory_order_relaxed)) {
            readByOthers.store(true, std::memory_order_relaxed);
        }
        std::atomic<Eight *> &place = shares[(thread - 1) / 8];
        Eight *eight = place.load(std::memory_order_acquire);
        if (!eight) {
            eight = makeEight(place);
        }
        if (!eight) {
            return item;
        }
        Item &share = eight->share[(thread - 1) % 8];
        if (!share) {
            share = makeShare(item);
        }
        return share ? share : item;
    }

    const Item item;

private:
    struct Eight
    {
        Item share[8];
    };

    static Eight *makeEight(std::atomic<Eight *> &place)
    {
        Eight *made = new (std::nothrow) Eight;
        Eight *there = nullptr;
        if (place.compare_exchange_strong(there, made)) {
            return made;
        }
        delete made;
        return there;
    }

    const int writer;
    std::atomic<bool> readByOthers{false};
    std::atomic<Eight *> shares[4]{};
};

ZEL_DataRep::~ZEL_DataRep()
{
    delete myHeld.load(std::memory_order_relaxed);
}

ZEL_DataRep::Item ZEL_DataRep::get(Lock &lock) const
{
    const int thread = BASgetSTID();
    ZEL_Readers::Slot *const slot = ZEL_Readers::slotOf(thread);
    if (!slot) {
        const ZEL_SpinLockReadScope guard(lock);
        const Held *held = myHeld.load(std::memory_order_relaxed);
        return held ? held->item : Item();
    }
    const ZEL_Reading<Held> held(*slot, myHeld);
    return held.get() ? held.get()->shareOf(thread) : Item();
}

void ZEL_DataRep::set(Lock &lock, const Item &item)
{
    Held *held = item ? new Held(originalOf(item)) : nullptr;
    {
        const ZEL_SpinLockWriteScope guard(lock);
        held = myHeld.exchange(held);
    }
    if (held) {
        ZEL_Readers::waitFor(held);
        delete held;
    }
}
