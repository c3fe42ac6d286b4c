/// \file KIT_BitArray.h
/// A row of bits of a fixed length.
///
/// Units:      indices from 0, 64 bit.
/// Ownership:  owns its words.
/// Threads:    one thread at a time; const calls from any thread.
/// Errors:     an index outside the row reads as false and writes nothing; the Fast forms do not
///             check.
/// Cost:       numBitsSet() counts 64 bits a step.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ValArray.h>

class KIT_API KIT_BitArray
{
public:
    KIT_BitArray() = default;
    /// `size` bits, all clear.
    explicit KIT_BitArray(int64_t size);

    int64_t size() const { return mySize; }
    /// Truncates the row, or adds clear bits.
    void setSize(int64_t size);

    bool getBit(int64_t index) const { return isValidIndex(index) && getBitFast(index); }
    bool getBitFast(int64_t index) const
    {
        return ((myWords[index >> 6] >> (index & 63)) & 1) != 0;
    }
    bool operator[](int64_t index) const { return getBit(index); }

    void setBit(int64_t index, bool value)
    {
        if (isValidIndex(index)) {
            setBitFast(index, value);
        }
    }
    void setBitFast(int64_t index, bool value)
    {
        const uint64_t mask = uint64_t(1) << (index & 63);
        uint64_t &word = myWords[index >> 6];
        word = value ? (word | mask) : (word & ~mask);
    }
    /// Sets `count` bits from `first` on; the part outside the row is ignored.
    void setBits(int64_t first, int64_t count, bool value);
    /// Sets every bit.
    void setAll(bool value);
    /// How many bits are set.
    int64_t numBitsSet() const;

private:
    bool isValidIndex(int64_t index) const { return index >= 0 && index < mySize; }
    void clearTail();

    KIT_ValArray<uint64_t> myWords; // bits after the last index are always clear
    int64_t mySize = 0;
};
