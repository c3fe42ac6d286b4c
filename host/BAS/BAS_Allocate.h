/// \file BAS_Allocate.h
/// The memory of small, short-lived objects: one place that says which allocator serves it.
///
/// Vocabulary: *small-object memory* = oneTBB's scalable allocator; in builds with a sanitizer the
///             C library's, which the sanitizers can see into.
/// Ownership:  the caller's; give it back with BASfastFree only.
/// Threads:    any; a block may be freed by another thread than the one that asked for it.
/// Errors:     null when memory is exhausted. Texts are then left empty or unchanged, as their
///             class documents; the count of refused allocations shows whether that may have
///             happened.

#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define BAS_PLAIN_MALLOC 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                         \
    __has_feature(memory_sanitizer)
#define BAS_PLAIN_MALLOC 1
#endif
#endif

#include <BAS/BAS_API.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#ifndef BAS_PLAIN_MALLOC
// Declared here because the allocator's own header is larger than all of ours; BAS_Allocate.cpp
// includes both, so that the compiler compares them.
extern "C" void *scalable_malloc(std::size_t size);
extern "C" void scalable_free(void *memory);
#endif

/// How often memory for a text or a stream was refused in this process. Callers that must not lose
/// anything silently compare the count before and after.
KIT_API uint64_t BASfailedAllocations();
/// Counts one refusal; for code that allocates elsewhere and continues without the memory.
KIT_API void BASnoteFailedAllocation();

/// At least `size` bytes aligned for any ordinary type.
inline void *BASfastAllocate(size_t size)
{
#ifdef BAS_PLAIN_MALLOC
    void *const memory = std::malloc(size ? size : 1);
#else
    void *const memory = scalable_malloc(size);
#endif
    if (!memory) {
        BASnoteFailedAllocation();
    }
    return memory;
}

/// Frees a block of BASfastAllocate; null is allowed.
inline void BASfastFree(void *memory)
{
#ifdef BAS_PLAIN_MALLOC
    std::free(memory);
#else
    scalable_free(memory);
#endif
}
