/// \file KIT_TokenString.h
/// A key built by appending values: two keys are equal exactly when the same values of the same
/// kinds were appended in the same order.
///
/// Vocabulary: *kind* = the argument type of the append; a tag byte before each value and a
///             length before each text keep different sequences apart.
/// Units:      bytes. Doubles are keyed by their bits: 0.0 and -0.0 differ, a NaN equals itself.
/// Ownership:  owns its bytes; texts are copied in.
/// Threads:    one thread at a time; const calls from any.
/// Errors:     when memory is exhausted an append adds nothing.
/// Cost:       no heap below 112 bytes.

#pragma once

#include <BAS/BAS_API.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

class KIT_API KIT_TokenString
{
public:
    KIT_TokenString() noexcept = default;
    KIT_TokenString(const KIT_TokenString &other);
    KIT_TokenString(KIT_TokenString &&other) noexcept;
    KIT_TokenString &operator=(const KIT_TokenString &other);
    KIT_TokenString &operator=(KIT_TokenString &&other) noexcept;
    ~KIT_TokenString();

    void append(double value);
    void append(int value);
    /// With `wide` the key is the one that the 64-bit form makes of the number.
    void append(int value, bool wide);
    void append(int64_t value);
    void append(char value);
    void append(uint8_t value);
    void append(uint16_t value);

    /// A null pointer is distinct from the empty text.
    void append(const char *text);
    void append(const char *text, size_t length);

    /// Nothing appended yet.
    bool isEmpty() const { return mySize == 0; }
    const char *data() const { return myData; }
    size_t size() const { return mySize; }
    std::string_view view() const { return std::string_view(myData, mySize); }

    /// KIThashText of the bytes.
    uint32_t hash() const;

    bool operator==(const KIT_TokenString &other) const { return view() == other.view(); }
    bool operator!=(const KIT_TokenString &other) const { return view() != other.view(); }

    /// Some fixed order.
    bool operator<(const KIT_TokenString &other) const { return view() < other.view(); }

    /// Starts again; the memory is kept.
    void clear() { mySize = 0; }

    /// Heap bytes, and the object's own size when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;

private:
    void add(char tag, const void *value, size_t size, const void *more = nullptr,
             size_t moreSize = 0);
    bool reserve(size_t size);
    void release();
    void steal(KIT_TokenString &other);

    static constexpr size_t theInlineSize = 112;

    char *myData = myInline;
    size_t mySize = 0;
    size_t myCapacity = theInlineSize;
    char myInline[theInlineSize];
};

/// Hash for standard containers.
struct KIT_TokenStringHash
{
    size_t operator()(const KIT_TokenString &key) const { return key.hash(); }
};
