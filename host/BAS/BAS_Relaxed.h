/// \file BAS_Relaxed.h
/// Reads and writes of plain words that several threads touch without an order between them.
///
/// Vocabulary: *relaxed* = the word itself is never torn, nothing is promised about others.
/// Ownership:  none; the word stays a plain member of its class.
/// Threads:    any. Bits set or cleared at the same moment by two threads may be lost: these calls
///             are for marks and caches, where the next round repairs it.
/// Cost:       a plain load or store; the IfDifferent forms leave a shared cache line clean.

#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

/// The value of the word, never torn.
template <class T>
inline T BASload(const T &v)
{
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= 8, "one machine word only");
    T result;
    __atomic_load(const_cast<T *>(&v), &result, __ATOMIC_RELAXED);
    return result;
}

/// Writes the word, never torn.
template <class T>
inline void BASstore(T &v, std::common_type_t<T> value)
{
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= 8, "one machine word only");
    __atomic_store(&v, &value, __ATOMIC_RELAXED);
}

/// Writes the word unless it already holds exactly these bits (so -0.0 replaces 0.0, and a NaN is
/// not written over itself).
template <class T>
inline void BASstoreIfDifferent(T &v, std::common_type_t<T> value)
{
    const T held = BASload(v);
    if (std::memcmp(&held, &value, sizeof(T)) != 0) {
        BASstore(v, value);
    }
}

/// Sets bits; no write when all of them are set.
inline void BASorBits(uint32_t &v, uint32_t bits)
{
    const uint32_t held = BASload(v);
    if ((held & bits) != bits) {
        BASstore(v, held | bits);
    }
}

/// Clears bits; no write when none of them is set.
inline void BASclearBits(uint32_t &v, uint32_t bits)
{
    const uint32_t held = BASload(v);
    if ((held & bits) != 0) {
        BASstore(v, held & ~bits);
    }
}
