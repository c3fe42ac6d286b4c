/// \file BAS_Allocate.h
/// The memory of small, short-lived things: one place that says which allocator serves it.
///
/// Vocabulary: *small-object memory* = oneTBB's scalable allocator; in builds with a sanitizer the
///             C library's, which the sanitizers can see into.
/// Ownership:  the caller's; give it back with BASfastFree only.
/// Threads:    any; a block may be freed by another thread than the one that asked for it.
/// Errors:     null when memory is exhausted.

#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define BAS_PLAIN_MALLOC 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                         \
    __has_feature(memory_sanitizer)
#define BAS_PLAIN_MALLOC 1
#endif
#endif

#include <cstddef>
#include <cstdlib>

#ifndef BAS_PLAIN_MALLOC
#include <tbb/scalable_allocator.h>
#endif

/// At least `size` bytes aligned for any ordinary type.
inline void *BASfastAllocate(size_t size)
{
#ifdef BAS_PLAIN_MALLOC
    return std::malloc(size ? size : 1);
#else
    return scalable_malloc(size);
#endif
}

/// Gives a block of BASfastAllocate back; null is allowed.
inline void BASfastFree(void *memory)
{
#ifdef BAS_PLAIN_MALLOC
    std::free(memory);
#else
    scalable_free(memory);
#endif
}
