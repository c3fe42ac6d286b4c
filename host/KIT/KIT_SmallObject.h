/// \file KIT_SmallObject.h
/// The mixin that sends `new` and `delete` of a class to the small-object allocator.
///
/// Vocabulary: the four numbers are the least and the greatest object size that the class is meant
///             for, a reserved number, and the alignment of the pages; they name the pool. The
///             allocator itself serves every size.
/// Ownership:  as with plain `new` and `delete`.
/// Threads:    any thread, see KIT_SmallObjectAllocator.
/// Errors:     out of memory throws std::bad_alloc.
///
/// Adds no data to the class. A class that is deleted through a base needs a virtual destructor, as
/// always; the allocator then gets the size of the whole object. Types with an alignment above 16
/// must not use the mixin.

#pragma once

#include <KIT/KIT_SmallObjectAllocator.h>

/// The base of a class that has no other.
class KIT_SmallObjectBase
{};

template <size_t MinSize = 1, size_t MaxSize = 1024, int Reserved = 0, int PageAlignment = 128,
          class Super = KIT_SmallObjectBase>
class KIT_SmallObject : public Super
{
public:
    using Super::Super;
    KIT_SmallObject() = default;

    static void *operator new(size_t size) { return KIT_SmallObjectAllocator::allocate(size); }
    static void operator delete(void *memory, size_t size) noexcept
    {
        KIT_SmallObjectAllocator::deallocate(memory, size);
    }
    static void *operator new[](size_t size) { return KIT_SmallObjectAllocator::allocate(size); }
    static void operator delete[](void *memory, size_t size) noexcept
    {
        KIT_SmallObjectAllocator::deallocate(memory, size);
    }
    static void *operator new(size_t, void *place) noexcept { return place; }
    static void operator delete(void *, void *) noexcept {}
};
