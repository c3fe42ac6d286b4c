/// \file KIT_SmallObjectAllocator.h
/// The allocator of the many small objects: parameters, their values, channels, graph nodes.
///
/// Units:      sizes in bytes.
/// Ownership:  the allocating code frees the memory, with the same size.
/// Threads:    any thread; memory may be freed by another thread than the one that allocated it.
/// Errors:     out of memory throws std::bad_alloc, as operator new does.
/// Cost:       a per-thread free list; no lock in the common case.

#pragma once

#include <BAS/BAS_Allocate.h>

#include <cstddef>
#include <new>

class KIT_SmallObjectAllocator
{
public:
    static void *allocate(size_t size)
    {
        void *memory = BASfastAllocate(size);
        if (!memory) {
            throw std::bad_alloc();
        }
        return memory;
    }
    /// Null is allowed. The size is the one that was allocated.
    static void deallocate(void *memory, size_t /*size*/) noexcept { BASfastFree(memory); }
};
