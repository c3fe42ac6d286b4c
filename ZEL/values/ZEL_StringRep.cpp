#include <ZEL/ZEL_StringRep.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Manager.h>

#include <cstring>
#include <thread>

namespace
{

/// Hazard pointers of the first 32 threads. Publishing a pointer and re-checking the value are
/// sequentially consistent with exchanging the value and scanning the pointers; so either the
/// reader sees the new value or the writer sees the reader.
struct Readers
{
    static constexpr int theCount = 32;

    struct alignas(64) Slot
    {
        std::atomic<const char *> text{nullptr};
    };

    /// Returns when no thread reads that text.
    void waitFor(const char *text)
    {
        const int end = highest.load();
        for (int i = 0; i < end; ++i) {
            for (int turns = 0; slots[i].text.load() == text; ++turns) {
                if (turns > 64) {
                    std::this_thread::yield();
                }
            }
        }
    }
    /// The thread's slot; null for a thread that has none.
    Slot *slotOf(int thread)
    {
        if (thread > theCount) {
            return nullptr;
        }
        int known = highest.load();
        while (known < thread && !highest.compare_exchange_weak(known, thread)) {
        }
        return &slots[thread - 1];
    }

    Slot slots[theCount];
    alignas(64) std::atomic<int> highest{0}; // thread ids that have read
};

Readers theReaders;

} // namespace

ZEL_StringRep::~ZEL_StringRep()
{
    BASfastFree(myText.load(std::memory_order_relaxed));
}

char *ZEL_StringRep::safeDup(const char *text)
{
    if (!text || !*text) {
        return nullptr;
    }
    const std::size_t bytes = std::strlen(text) + 1;
    void *copy = BASfastAllocate(bytes);
    return copy ? static_cast<char *>(std::memcpy(copy, text, bytes)) : nullptr;
}

template <class Use>
void ZEL_StringRep::read(Lock &lock, const Use &use) const
{
    Readers::Slot *const slot = theReaders.slotOf(BASgetSTID());
    if (!slot) {
        const Lock::scoped_lock guard(lock, false);
        use(unsafeGet());
        return;
    }
    const char *text = myText.load(std::memory_order_relaxed);
    while (text) {
        slot->text.store(text);
        const char *const now = myText.load();
        if (now == text) {
            break;
        }
        text = now;
    }
    use(text ? text : "");
    slot->text.store(nullptr, std::memory_order_release);
}

void ZEL_StringRep::get(Lock &lock, KIT_String &out) const
{
    read(lock, [&out](const char *text) { out.harden(text); });
}

void ZEL_StringRep::get(Lock &lock, KIT_WorkBuffer &out) const
{
    read(lock, [&out](const char *text) {
        out.clear();
        out.append(text);
    });
}

void ZEL_StringRep::harden(Lock &lock, const char *text)
{
    // The old text is freed last: `text` may be the old text.
    char *old = safeDup(text);
    {
        const Lock::scoped_lock guard(lock, true);
        old = myText.exchange(old);
    }
    if (old) {
        theReaders.waitFor(old);
        BASfastFree(old);
    }
}

void ZEL_StringRep::hardenIfNeeded(Lock &lock, const char *text)
{
    bool same = false;
    read(lock, [&](const char *stored) { same = std::strcmp(stored, text ? text : "") == 0; });
    if (!same) {
        harden(lock, text);
    }
}

void ZEL_StringRep::unsafeHarden(const char *text)
{
    BASfastFree(myText.exchange(safeDup(text), std::memory_order_relaxed));
}

void ZEL_StringRep::unsafeAdopt(KIT_String &text)
{
    char *const taken = text.isEmpty() ? nullptr : text.steal();
    text.clear();
    BASfastFree(myText.exchange(taken, std::memory_order_relaxed));
}

bool ZEL_StringRep::findString(const char *text, bool fullWord, bool usePattern) const
{
    return KIT_String(unsafeGet()).findString(text, fullWord, usePattern);
}

bool ZEL_StringRep::findVariable(const char *name) const
{
    return TRK_Manager::scanForVariableInString(unsafeText(), name);
}

std::int64_t ZEL_StringRep::getMemoryUsage() const
{
    return std::int64_t(sizeof(*this)) +
           (isEmpty() ? std::int64_t(0) : std::int64_t(std::strlen(unsafeText())) + 1);
}
