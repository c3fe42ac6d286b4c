/// \file KIT_Array.h
/// A growing array of any movable type.
///
/// Vocabulary: *size* = the elements in use; *capacity* = the slots that exist.
/// Units:      sizes, capacities and indices are 64-bit counts of elements, from 0.
/// Ownership:  owns its elements. References to elements are valid until the next growth.
/// Threads:    one thread at a time; const calls from any thread.
/// Errors:     indices are not checked, except where an operation says so.
/// Cost:       reading is one load. append() is amortised constant; an empty array uses no heap.
///
/// Growth: 4, 8, then by 16 up to 128, by 128 up to 1,024, and by one eighth beyond, so that the
/// capacities of an array filled one by one are 4, 8, 16, 32 ... 128, 256 ... 1024, 1152, 1296 ...

#pragma once

#include <KIT/KIT_TableMemory.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

/// The capacity after `capacity` when one more slot is needed.
constexpr int64_t KITbumpAlloc(int64_t capacity)
{
    if (capacity < 8) {
        return capacity < 4 ? 4 : 8;
    }
    if (capacity < 128) {
        return (capacity / 16 + 1) * 16;
    }
    if (capacity < 1024) {
        return (capacity / 128 + 1) * 128;
    }
    return capacity + capacity / 8;
}

template <class T>
class KIT_Array
{
public:
    using value_type = T;
    using iterator = T *;
    using const_iterator = const T *;

    KIT_Array() = default;
    /// `capacity` empty slots, or with `size` that many value-initialised elements.
    explicit KIT_Array(int64_t capacity, int64_t size = 0) : KIT_Array()
    {
        setCapacity(larger(capacity, size));
        setSize(size);
    }
    KIT_Array(std::initializer_list<T> values) : KIT_Array()
    {
        setCapacity(static_cast<int64_t>(values.size()));
        for (const T &value : values) {
            append(value);
        }
    }
    KIT_Array(const KIT_Array &other) : KIT_Array() { append(other.myData, other.mySize); }
    KIT_Array(KIT_Array &&other) noexcept { swap(other); }
    ~KIT_Array()
    {
        destroy(0, mySize);
        release(myData, myCapacity);
    }
    KIT_Array &operator=(const KIT_Array &other)
    {
        if (this != &other) {
            clear();
            append(other.myData, other.mySize);
        }
        return *this;
    }
    KIT_Array &operator=(KIT_Array &&other) noexcept
    {
        if (this != &other) {
            KIT_Array old(std::move(*this));
            swap(other);
        }
        return *this;
    }

    int64_t size() const { return mySize; }
    int64_t entries() const { return mySize; }
    int64_t capacity() const { return myCapacity; }
    bool isEmpty() const { return mySize == 0; }
    bool isValidIndex(int64_t index) const { return index >= 0 && index < mySize; }

    T &operator[](int64_t index) { return myData[index]; }
    const T &operator[](int64_t index) const { return myData[index]; }
    T &operator()(int64_t index) { return myData[index]; }
    const T &operator()(int64_t index) const { return myData[index]; }
    /// The last element; there must be one.
    T &last() { return myData[mySize - 1]; }
    const T &last() const { return myData[mySize - 1]; }
    T *data() { return myData; }
    const T *data() const { return myData; }
    T *begin() { return myData; }
    T *end() { return myData + mySize; }
    const T *begin() const { return myData; }
    const T *end() const { return myData + mySize; }

    /// Adds at the end and returns the index. The value may be an element of this array.
    int64_t append(const T &value) { return emplace(value); }
    int64_t append(T &&value) { return emplace(std::move(value)); }
    /// Adds one value-initialised element and returns its index.
    int64_t append() { return emplace(); }
    /// Adds copies of `count` values, which must not lie in this array.
    void append(const T *values, int64_t count)
    {
        if (mySize + count > myCapacity) {
            setCapacity(larger(mySize + count, KITbumpAlloc(myCapacity)));
        }
        for (int64_t i = 0; i < count; ++i) {
            new (static_cast<void *>(myData + mySize)) T(values[i]);
            ++mySize;
        }
    }
    /// Builds an element in place at the end and returns its index.
    template <class... Args>
    int64_t emplace(Args &&...args)
    {
        if (mySize < myCapacity) {
            new (static_cast<void *>(myData + mySize)) T(std::forward<Args>(args)...);
        } else {
            growAndEmplace(std::forward<Args>(args)...);
        }
        return mySize++;
    }
    /// Inserts a value before the element at `index`, 0 to size(), and returns `index`.
    int64_t insert(T value, int64_t index)
    {
        append(std::move(value));
        const int64_t last = mySize - 1;
        T inserted(std::move(myData[last]));
        if constexpr (std::is_trivially_copyable<T>::value) {
            std::memmove(static_cast<void *>(myData + index + 1), myData + index,
                         static_cast<size_t>(last - index) * sizeof(T));
        } else {
            for (int64_t i = last; i > index; --i) {
                myData[i] = std::move(myData[i - 1]);
            }
        }
        myData[index] = std::move(inserted);
        return index;
    }
    /// Removes an element and closes the gap; false for an index outside the array.
    bool removeIndex(int64_t index)
    {
        if (!isValidIndex(index)) {
            return false;
        }
        if constexpr (std::is_trivially_copyable<T>::value) {
            std::memmove(static_cast<void *>(myData + index), myData + index + 1,
                         static_cast<size_t>(mySize - 1 - index) * sizeof(T));
        } else {
            for (int64_t i = index + 1; i < mySize; ++i) {
                myData[i - 1] = std::move(myData[i]);
            }
        }
        removeLast();
        return true;
    }
    /// Removes the last element; there must be one.
    void removeLast()
    {
        --mySize;
        destroy(mySize, mySize + 1);
    }
    /// Removes the first element that equals `value`, and returns where it was, or -1.
    int64_t findAndRemove(const T &value)
    {
        const int64_t index = find(value);
        removeIndex(index);
        return index;
    }
    /// The index of the first element from `start` on that equals `value`, or -1.
    int64_t find(const T &value, int64_t start = 0) const
    {
        for (int64_t i = larger(start, 0); i < mySize; ++i) {
            if (myData[i] == value) {
                return i;
            }
        }
        return -1;
    }

    /// Truncates the array, or adds value-initialised elements. Growing makes exactly `size` slots.
    void setSize(int64_t size)
    {
        size = larger(size, 0);
        if (size > myCapacity) {
            setCapacity(size);
        }
        destroy(size, mySize);
        for (int64_t i = mySize; i < size; ++i) {
            new (static_cast<void *>(myData + i)) T();
        }
        mySize = size;
    }
    /// Allocates exactly `capacity` slots; elements that no longer fit are destroyed.
    void setCapacity(int64_t capacity)
    {
        capacity = larger(capacity, 0);
        if (capacity == myCapacity) {
            return;
        }
        if (capacity < mySize) {
            destroy(capacity, mySize);
            mySize = capacity;
        }
        relocate(allocate(capacity), capacity);
    }
    /// Destroys all elements; the slots stay.
    void clear()
    {
        destroy(0, mySize);
        mySize = 0;
    }
    void swap(KIT_Array &other) noexcept
    {
        std::swap(myData, other.myData);
        std::swap(mySize, other.mySize);
        std::swap(myCapacity, other.myCapacity);
    }
    bool operator==(const KIT_Array &other) const
    {
        if (mySize != other.mySize) {
            return false;
        }
        for (int64_t i = 0; i < mySize; ++i) {
            if (!(myData[i] == other.myData[i])) {
                return false;
            }
        }
        return true;
    }
    bool operator!=(const KIT_Array &other) const { return !(*this == other); }

    /// Bytes of the slots, and of the array itself when `inclusive`.
    int64_t getMemoryUsage(bool inclusive) const
    {
        return myCapacity * static_cast<int64_t>(sizeof(T)) +
               (inclusive ? static_cast<int64_t>(sizeof(*this)) : 0);
    }

private:
    // <algorithm> alone would double what this header costs.
    static int64_t larger(int64_t a, int64_t b) { return a < b ? b : a; }

    static constexpr bool theOverAlignedFlag = alignof(T) > __STDCPP_DEFAULT_NEW_ALIGNMENT__;

    static T *allocate(int64_t capacity)
    {
        if (capacity <= 0) {
            return nullptr;
        }
        const size_t bytes = static_cast<size_t>(capacity) * sizeof(T);
        if constexpr (theOverAlignedFlag) {
            return static_cast<T *>(::operator new(bytes, std::align_val_t(alignof(T))));
        } else {
            return static_cast<T *>(KIT_TableMemory::allocate(bytes));
        }
    }
    static void release(T *data, int64_t capacity)
    {
        if constexpr (theOverAlignedFlag) {
            ::operator delete(data, std::align_val_t(alignof(T)));
        } else {
            KIT_TableMemory::deallocate(data, static_cast<size_t>(capacity) * sizeof(T));
        }
    }
    void destroy(int64_t first, int64_t last)
    {
        if constexpr (!std::is_trivially_destructible<T>::value) {
            for (int64_t i = first; i < last; ++i) {
                myData[i].~T();
            }
        }
    }
    void relocate(T *data, int64_t capacity)
    {
        if constexpr (std::is_trivially_copyable<T>::value) {
            if (mySize > 0) {
                std::memcpy(static_cast<void *>(data), static_cast<const void *>(myData),
                            static_cast<size_t>(mySize) * sizeof(T));
            }
        } else {
            for (int64_t i = 0; i < mySize; ++i) {
                new (static_cast<void *>(data + i)) T(std::move(myData[i]));
                myData[i].~T();
            }
        }
        release(myData, myCapacity);
        myData = data;
        myCapacity = capacity;
    }
    /// Builds the new element before the old slots are freed, as it may refer to one of them.
    template <class... Args>
    void growAndEmplace(Args &&...args)
    {
        const int64_t capacity = KITbumpAlloc(myCapacity);
        struct Slots
        {
            ~Slots() { release(data, capacity); }
            T *data;
            int64_t capacity;
        } slots{allocate(capacity), capacity};
        new (static_cast<void *>(slots.data + mySize)) T(std::forward<Args>(args)...);
        relocate(std::exchange(slots.data, nullptr), capacity);
    }

    T *myData = nullptr;
    int64_t mySize = 0;
    int64_t myCapacity = 0;
};
