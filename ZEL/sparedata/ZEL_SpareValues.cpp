#include <ZEL/sparedata/ZEL_SpareValuesPrivate.h>

#include <BAS/BAS_SpinLock.h>

#include <mutex>
#include <unordered_map>

namespace
{

struct Table
{
    BAS_ByteLock lock;
    std::unordered_map<KIT_StringRef, int64_t> uses; // the keys own their texts
};

Table &table()
{
    static Table *const theTable = new Table;
    return *theTable;
}

} // namespace

KIT_StringHolder ZEL_SpareValues::acquire(const KIT_StringRef &value)
{
    if (value.isNull()) {
        return KIT_StringHolder();
    }
    Table &all = table();
    {
        const std::lock_guard<BAS_ByteLock> scope(all.lock);
        const auto found = all.uses.find(value);
        if (found != all.uses.end()) {
            found->second++;
            return found->first;
        }
    }
    // Probably new: copy the text outside the lock.
    KIT_StringHolder copy(value);
    if (copy.isNull()) {
        return copy;
    }
    const std::lock_guard<BAS_ByteLock> scope(all.lock);
    const auto entry = all.uses.try_emplace(copy, 0).first;
    entry->second++;
    return entry->first;
}

void ZEL_SpareValues::release(KIT_StringHolder &value)
{
    if (value.isNull()) {
        return;
    }
    Table &all = table();
    decltype(all.uses)::node_type last; // freed after the lock is released
    {
        const std::lock_guard<BAS_ByteLock> scope(all.lock);
        const auto found = all.uses.find(value);
        if (found != all.uses.end() && --found->second == 0) {
            last = all.uses.extract(found);
        }
    }
    value.clear();
}

int64_t ZEL_SpareValues::uses(const KIT_StringRef &value)
{
    Table &all = table();
    const std::lock_guard<BAS_ByteLock> scope(all.lock);
    const auto found = all.uses.find(value);
    return found == all.uses.end() ? 0 : found->second;
}
