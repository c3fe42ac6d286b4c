/// \file KIT_TableMemory.h
/// Memory of tables that grow: large ones from the small-object allocator, which keeps their pages for the
/// next table; smaller ones, which it rounds up by as much as a half, from the system's.
///
/// Ownership:  a block belongs to the caller, who frees it with the size that was asked for.
/// Threads:    any.
/// Errors:     out of memory throws std::bad_alloc.
#pragma once

#include <KIT/KIT_SmallObjectAllocator.h>

#include <cstddef>
#include <limits>
#include <new>

class KIT_TableMemory
{
public:
    static constexpr size_t theLargeTable = 65536; ///< bytes

    static void *allocate(size_t bytes)
    {
        return bytes >= theLargeTable ? KIT_SmallObjectAllocator::allocate(bytes)
                                      : ::operator new(bytes);
    }
    static void deallocate(void *block, size_t bytes) noexcept
    {
        if (bytes >= theLargeTable) {
            KIT_SmallObjectAllocator::deallocate(block, bytes);
        } else {
            ::operator delete(block);
        }
    }
};

/// The same for a container of the standard library.
template <class T>
class KIT_TableAllocator
{
public:
    using value_type = T;

    static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__,
                  "blocks have no larger alignment");

    KIT_TableAllocator() = default;
    template <class U>
    KIT_TableAllocator(const KIT_TableAllocator<U> & /*other*/) noexcept
    {}

    T *allocate(size_t count)
    {
        if (count > std::numeric_limits<size_t>::max() / sizeof(T)) {
            throw std::bad_alloc();
        }
        return static_cast<T *>(KIT_TableMemory::allocate(count * sizeof(T)));
    }
    void deallocate(T *block, size_t count) noexcept
    {
        KIT_TableMemory::deallocate(block, count * sizeof(T));
    }

    friend bool operator==(const KIT_TableAllocator &, const KIT_TableAllocator &) { return true; }
    friend bool operator!=(const KIT_TableAllocator &, const KIT_TableAllocator &) { return false; }
};
