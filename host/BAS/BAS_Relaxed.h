/// \file BAS_Relaxed.h
/// Unordered reads and writes of plain machine words that several threads access.
///
/// Vocabulary: *relaxed* = the word itself is never torn; its order to other memory is not defined.
/// Ownership:  none; the word stays a plain member of its class.
/// Threads:    any. Bits that two threads set or clear at the same moment may be lost: these calls
///             are for flags and caches that the next pass repairs.
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

/// Writes the word unless it already holds exactly these bits (-0.0 replaces 0.0; the same NaN is
/// not written again).
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
