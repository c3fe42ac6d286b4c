#include <ZEL/ZEL_StringRep.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/support/ZEL_ReadersPrivate.h>

#include <cstring>

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
    ZEL_Readers::Slot *const slot = ZEL_Readers::slotOf(BASgetSTID());
    if (!slot) {
        const Lock::scoped_lock guard(lock, false);
        use(unsafeGet());
        return;
    }
    const ZEL_Reading<char> text(*slot, myText);
    use(text.get() ? text.get() : "");
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
        ZEL_Readers::waitFor(old);
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

void ZEL_StringRep::unsafeHarden(std::string_view text)
{
    char *copy = text.empty() ? nullptr : static_cast<char *>(BASfastAllocate(text.size() + 1));
    if (copy) {
        std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = '\0';
    }
    BASfastFree(myText.exchange(copy, std::memory_order_relaxed));
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
