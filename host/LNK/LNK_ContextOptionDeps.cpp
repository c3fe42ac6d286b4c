#include <LNK/LNK_ContextOptionDeps.h>

#include <KIT/KIT_StringArray.h>
#include <LNK/LNK_ContextOptionSet.h>

#include <mutex>

LNK_ContextOptionDeps &LNKcreateContextOptionDepsFromPtr(LNK_ContextOptionDepsPtr &pointer,
                                                         BAS_ByteLock &lock)
{
    LNK_ContextOptionDeps *set = pointer.load(std::memory_order_acquire);
    if (!set) {
        const std::lock_guard<BAS_ByteLock> guard(lock);
        set = pointer.load(std::memory_order_acquire);
        if (!set) {
            set = new LNK_ContextOptionDeps;
            pointer.store(set, std::memory_order_release);
        }
    }
    return *set;
}

void LNKaddContextOptionDep(LNK_ContextOptionDepsPtr &pointer, BAS_ByteLock &lock,
                            const KIT_StringRef &name)
{
    if (name.length() > 0) {
        // Insert a copy: when two threads add one name at the same moment, the set compares its
        // argument a second time and would find a moved-from one empty.
        const KIT_StringHolder holder(name);
        LNKcreateContextOptionDepsFromPtr(pointer, lock).insert(holder);
    }
}

void LNKclearContextOptionDeps(LNK_ContextOptionDepsPtr &pointer, BAS_ByteLock &lock)
{
    const LNK_ContextOptionDeps *set = nullptr;
    if (pointer.load(std::memory_order_relaxed)) {
        const std::lock_guard<BAS_ByteLock> guard(lock);
        set = pointer.exchange(nullptr, std::memory_order_acq_rel);
    }
    delete set;
}

void LNKlistContextOptionDeps(const LNK_ContextOptionDepsPtr &pointer, KIT_StringArray &names)
{
    names.clear();
    if (const LNK_ContextOptionDeps *set = LNKgetContextOptionDepsFromPtr(pointer)) {
        for (const KIT_StringHolder &name : *set) {
            names.append(name.c_str());
        }
        names.sort();
    }
}

int64_t LNKgetContextOptionDepsMemory(const LNK_ContextOptionDepsPtr &pointer)
{
    const LNK_ContextOptionDeps *set = LNKgetContextOptionDepsFromPtr(pointer);
    // An entry is a list node: the link, the order key and the string.
    constexpr size_t entry = sizeof(KIT_StringHolder) + 2 * sizeof(void *);
    return set ? static_cast<int64_t>(sizeof(*set) + set->size() * entry) : 0;
}
