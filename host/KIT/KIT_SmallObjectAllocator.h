/// \file KIT_SmallObjectAllocator.h
/// The allocator of the many small objects: parameters, their values, channels, graph nodes.
///
/// Units:      sizes in bytes.
/// Ownership:  whoever allocates gives back, with the same size.
/// Threads:    any thread; memory may be given back by another thread than the one that took it.
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
    /// Null is allowed. The size is the one that was asked for.
    static void deallocate(void *memory, size_t /*size*/) noexcept { BASfastFree(memory); }
};
