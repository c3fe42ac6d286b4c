/// \file KIT_SmallArray.h
/// As many values as it is made with: up to N of them inside the object, more on the heap.
///
/// Ownership:  owns its values, and neither moves nor grows.
/// Threads:    as an array: different values may change on different threads.
/// Errors:     indices are not checked; out of memory throws std::bad_alloc.
/// Cost:       reading is two loads and no branch, wherever the values are. All N are made and
///             destroyed, however few are used.
#pragma once

#include <cstddef>
#include <type_traits>

template <class T, int N>
class KIT_SmallArray
{
public:
    /// Zeros, or values as the default constructor makes them.
    explicit KIT_SmallArray(int size)
        : myData(size > N ? new T[static_cast<size_t>(size)]() : myInline), mySize(size), myInline()
    {
        static_assert(std::is_nothrow_default_constructible<T>::value, "the heap would be lost");
    }
    ~KIT_SmallArray()
    {
        if (myData != myInline) {
            delete[] myData;
        }
    }
    KIT_SmallArray(const KIT_SmallArray &) = delete;
    KIT_SmallArray &operator=(const KIT_SmallArray &) = delete;

    int size() const { return mySize; }
    T *data() { return myData; }
    const T *data() const { return myData; }
    T &operator[](int index) { return myData[index]; }
    const T &operator[](int index) const { return myData[index]; }

    T *begin() { return myData; }
    T *end() { return myData + mySize; }
    const T *begin() const { return myData; }
    const T *end() const { return myData + mySize; }

private:
    T *myData;
    int mySize;
    T myInline[N];
};
