/// \file KIT_ValArray.h
/// A KIT_Array of plain values: numbers, pointers and records that can be copied byte by byte.
///
/// Everything else is described in KIT_Array.h. The separate type shows in an interface that the
/// elements own nothing.

#pragma once

#include <KIT/KIT_Array.h>

template <class T>
class KIT_ValArray : public KIT_Array<T>
{
public:
    static_assert(std::is_trivially_copyable<T>::value, "KIT_ValArray holds plain values only");

    using KIT_Array<T>::KIT_Array;
    KIT_ValArray() = default;

    /// Sets every element to the zero value.
    void zero() { constant(T()); }
    /// Sets every element.
    void constant(const T value)
    {
        for (T &element : *this) {
            element = value;
        }
    }
};
