/// \file LNK_ContextOptionDeps.h
/// The names of the context options that a value depends on; created with the first name.
///
/// Vocabulary: *context option* = a named setting of one evaluation, passed down by the caller that
///             requests a value.
/// Ownership:  the pointer's owner deletes the set, or calls LNKclearContextOptionDeps().
/// Threads:    names are added and read by any number of threads at once. One thread may clear,
///             while no other adds or reads.
/// Errors:     none; a null or empty name is ignored.
/// Cost:       one pointer for a value without dependencies.

#pragma once

#include <BAS/BAS_API.h>
#include <BAS/BAS_SpinLock.h>

#include <atomic>
#include <cstdint>

class KIT_StringArray;
class KIT_StringRef;

/// The set itself: LNK_ContextOptionSet.h, for code that iterates over it.
class LNK_ContextOptionDeps;
using LNK_ContextOptionDepsPtr = std::atomic<LNK_ContextOptionDeps *>;

/// The set; null as long as it has no name.
inline const LNK_ContextOptionDeps *
LNKgetContextOptionDepsFromPtr(const LNK_ContextOptionDepsPtr &pointer)
{
    return pointer.load(std::memory_order_acquire);
}

/// The set, created if it doesn't exist; callers at the same moment get the same one. The lock is
/// held only for the creation.
KIT_API LNK_ContextOptionDeps &LNKcreateContextOptionDepsFromPtr(LNK_ContextOptionDepsPtr &pointer,
                                                                 BAS_ByteLock &lock);

/// Adds a name to the set, creating it if it doesn't exist.
KIT_API void LNKaddContextOptionDep(LNK_ContextOptionDepsPtr &pointer, BAS_ByteLock &lock,
                                    const KIT_StringRef &name);

/// Deletes the set and nulls the pointer.
KIT_API void LNKclearContextOptionDeps(LNK_ContextOptionDepsPtr &pointer, BAS_ByteLock &lock);

/// Replaces `names` by those of the set, sorted.
KIT_API void LNKlistContextOptionDeps(const LNK_ContextOptionDepsPtr &pointer,
                                      KIT_StringArray &names);

/// Bytes of the set and its entries, 0 if there is none.
KIT_API int64_t LNKgetContextOptionDepsMemory(const LNK_ContextOptionDepsPtr &pointer);
