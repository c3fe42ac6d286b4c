/// \file KIT_ComponentArray.h
/// One plain value for each component of a parameter, the first of them inside the object.
///
/// Vocabulary: *count* = the number of components, which the owner knows and passes in; it is not
///             stored here.
/// Ownership:  owns the values of a count above 1 until free(). It has no destructor, as the count
///             isn't stored: the owner calls free() with the count it gave to init().
/// Threads:    one thread at a time.
/// Errors:     indices are not checked.
/// Cost:       reading is two loads and no branch; counts up to 1 use no heap.
///
/// It is not a KIT_SmallArray, which stores its size: every parameter would be 8 bytes larger by it.
/// Values that aren't inside the object come from the allocator of small objects here, as the
/// parameters do, and from the general heap there.
#pragma once

#include <KIT/KIT_SmallObjectAllocator.h>

#include <type_traits>

template <class T>
class KIT_ComponentArray
{
public:
    static_assert(std::is_trivially_copyable<T>::value, "components are plain values");

    KIT_ComponentArray() : myData(&myFirst), myFirst() {}
    KIT_ComponentArray(const KIT_ComponentArray &) = delete;
    KIT_ComponentArray &operator=(const KIT_ComponentArray &) = delete;

    /// Allocates `count` zero values. The array must be fresh or freed.
    void init(int count)
    {
        myFirst = T();
        myData = &myFirst;
        if (count > 1) {
            myData = static_cast<T *>(KIT_SmallObjectAllocator::allocate(bytes(count)));
            for (int i = 0; i < count; ++i) {
                new (static_cast<void *>(myData + i)) T();
            }
        }
    }
    /// Frees the memory; the array is then fresh, with one zero value.
    void free(int count)
    {
        if (myData != &myFirst) {
            KIT_SmallObjectAllocator::deallocate(myData, bytes(count));
        }
        myData = &myFirst;
        myFirst = T();
    }
    T *data() { return myData; }
    const T *data() const { return myData; }
    T &operator[](int index) { return myData[index]; }
    const T &operator[](int index) const { return myData[index]; }

    /// Heap bytes for a count.
    static size_t bytes(int count)
    {
        return count > 1 ? static_cast<size_t>(count) * sizeof(T) : 0;
    }

private:
    T *myData;
    T myFirst;
};
