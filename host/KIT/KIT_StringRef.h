/// \file KIT_StringRef.h
/// A reference to a text that carries its length and hash: the argument of every look-up by name.
///
/// Vocabulary: *borrowed* = points at a text that the caller keeps (a literal, a static table).
///             *counted* = points at a shared copy with a use count. *null state* = no text at all,
///             which is not the same as the empty text. *harden* = make borrowed counted.
/// Units:      lengths in bytes, at most 2^31 - 1; a longer text is truncated to that.
/// Ownership:  borrowed texts must outlive the reference and not change; counted ones are shared
///             by all copies and freed with the last.
/// Threads:    copies in different threads are independent, the use count is atomic. One object is
///             changed by one thread at a time.
/// Errors:     when memory is exhausted, a text that should become counted becomes the null state.
/// Cost:       from a `const char *`: one strlen and one pass of hashing, inline, no allocation.
///             Comparing checks hash and length first. Copying a borrowed one copies 16 bytes.

#pragma once

#include <BAS/BAS_API.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>

class KIT_String;

/// The 32-bit hash of a text, the same on every run; never 0, which means no text.
inline uint32_t KIThashText(const char *text, size_t length);

class KIT_API KIT_StringRef
{
public:
    /// The longest text.
    static constexpr uint32_t theMaxLength = 0x7fffffffu;

    /// The null state.
    constexpr KIT_StringRef() noexcept : myText(nullptr), myLength(0), myHash(0) {}

    /// Borrows the text; a null pointer gives the null state.
    KIT_StringRef(const char *text) noexcept
    {
        if (text) {
            borrow(text, std::strlen(text));
        } else {
            forget();
        }
    }

    /// Borrows the first `length` bytes; the byte after them must be the text's NUL.
    KIT_StringRef(const char *text, size_t length) noexcept
    {
        if (text) {
            borrow(text, length);
        } else {
            forget();
        }
    }

    /// Borrows the string's text; an unset string gives the null state.
    explicit KIT_StringRef(const KIT_String &text) noexcept;

    KIT_StringRef(const KIT_StringRef &other) noexcept
        : myText(other.myText), myLength(other.myLength), myHash(other.myHash)
    {
        if (isCounted()) {
            retain();
        }
    }

    /// The other one is left in the null state.
    KIT_StringRef(KIT_StringRef &&other) noexcept
        : myText(other.myText), myLength(other.myLength), myHash(other.myHash)
    {
        other.forget();
    }

    ~KIT_StringRef()
    {
        if (isCounted()) {
            release();
        }
    }

    KIT_StringRef &operator=(const KIT_StringRef &other) noexcept
    {
        // Retain first: the other one may be this one, or hold the last use of our text.
        if (other.isCounted()) {
            other.retain();
        }
        if (isCounted()) {
            release();
        }
        myText = other.myText;
        myLength = other.myLength;
        myHash = other.myHash;
        return *this;
    }

    /// The other one is left in the null state.
    KIT_StringRef &operator=(KIT_StringRef &&other) noexcept
    {
        if (this != &other) {
            if (isCounted()) {
                release();
            }
            myText = other.myText;
            myLength = other.myLength;
            myHash = other.myHash;
            other.forget();
        }
        return *this;
    }

    // ---------------------------------------------------------------- //
    /// \name Reading   (const, any thread)
    // ---------------------------------------------------------------- //
    /// The text, NUL terminated; a null pointer in the null state.
    const char *c_str() const { return myText; }

    /// The text, "" in the null state.
    const char *nonNullStr() const { return myText ? myText : ""; }

    /// The text as a view, empty in the null state.
    std::string_view view() const { return std::string_view(nonNullStr(), length()); }

    uint32_t length() const { return myLength & theMaxLength; }

    /// KIThashText of the text, 0 in the null state.
    uint32_t hash() const { return myHash; }

    bool isNull() const { return !myText; }

    /// Null state or empty text.
    bool isEmpty() const { return length() == 0; }

    /// Whether the text is a shared copy.
    bool isCounted() const { return (myLength & theCountedBit) != 0; }

    // ---------------------------------------------------------------- //
    /// \name Comparing   (by content; the null state equals only itself)
    // ---------------------------------------------------------------- //
    bool operator==(const KIT_StringRef &other) const
    {
        return myHash == other.myHash && ((myLength ^ other.myLength) & theMaxLength) == 0 &&
               (myText == other.myText || std::memcmp(myText, other.myText, length()) == 0);
    }
    bool operator!=(const KIT_StringRef &other) const { return !(*this == other); }

    /// The same without hashing the other text. A null pointer equals the null state.
    bool equals(const char *text) const
    {
        if (!text || !myText) {
            return text == myText;
        }
        return std::strncmp(myText, text, length()) == 0 && std::strlen(text) == length();
    }
    bool operator==(const char *text) const { return equals(text); }
    bool operator!=(const char *text) const { return !equals(text); }

    /// Bytewise order, a prefix before the longer text, the null state before all.
    bool operator<(const KIT_StringRef &other) const;

    // ---------------------------------------------------------------- //
    /// \name Changing   (one thread at a time)
    // ---------------------------------------------------------------- //
    /// Makes a borrowed text a counted copy; leaves a counted one and the null state unchanged.
    /// An empty text needs no storage: it becomes a literal that is never freed.
    void harden();

    /// Becomes the null state.
    void clear()
    {
        if (isCounted()) {
            release();
        }
        forget();
    }

    /// Exchanges the two.
    void swap(KIT_StringRef &other) noexcept
    {
        KIT_StringRef kept(static_cast<KIT_StringRef &&>(other));
        other = static_cast<KIT_StringRef &&>(*this);
        *this = static_cast<KIT_StringRef &&>(kept);
    }

    // ---------------------------------------------------------------- //
    /// \name Streams and accounts
    // ---------------------------------------------------------------- //
    /// Writes the length as a little-endian 32-bit integer, then the bytes. The null state is
    /// written as the empty text.
    void saveBinary(std::ostream &os) const;

    /// Bytes of counted storage (in full, however many share it), and the object's own size when
    /// inclusive.
    int64_t getMemoryUsage(bool inclusive) const;

protected:
    /// For statics that must exist before any code runs: borrows a literal with its known hash.
    constexpr KIT_StringRef(const char *text, uint32_t length, uint32_t hash) noexcept
        : myText(text), myLength(length), myHash(hash)
    {}

    /// Takes a counted copy of the text, truncated if too long. Overwrites the members without
    /// releasing them, so the old text must not be counted.
    void makeCounted(const char *text, size_t length) noexcept;

private:
    static constexpr uint32_t theCountedBit = 0x80000000u;

    void forget() noexcept
    {
        myText = nullptr;
        myLength = 0;
        myHash = 0;
    }
    void borrow(const char *text, size_t length) noexcept;
    void borrowCut(const char *text) noexcept;
    void retain() const noexcept;
    void release() noexcept;

    const char *myText;
    uint32_t myLength; // top bit: counted
    uint32_t myHash;
};

static_assert(sizeof(KIT_StringRef) == 16, "name tables count on two words a string");

/// Writes the plain text, nothing for the null state.
KIT_API std::ostream &operator<<(std::ostream &os, const KIT_StringRef &text);

/// Hash for standard containers.
struct KIT_StringRefHash
{
    size_t operator()(const KIT_StringRef &text) const noexcept { return text.hash(); }
};

/// Hash and equality for tbb::concurrent_hash_map.
struct KIT_StringRefHashCompare
{
    static size_t hash(const KIT_StringRef &text) { return text.hash(); }
    static bool equal(const KIT_StringRef &a, const KIT_StringRef &b) { return a == b; }
};

namespace std
{
template <>
struct hash<KIT_StringRef> : KIT_StringRefHash
{};
} // namespace std

// -------------------------------------------------------------------- //
// Inline parts
// -------------------------------------------------------------------- //

namespace KIT_HashDetail
{
inline uint64_t read8(const char *p)
{
    uint64_t word;
    std::memcpy(&word, p, sizeof(word));
    return word;
}

inline uint64_t read4(const char *p)
{
    uint32_t word;
    std::memcpy(&word, p, sizeof(word));
    return word;
}

/// The high and the low half of a 128-bit product, folded.
inline uint64_t mix(uint64_t a, uint64_t b)
{
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

constexpr uint64_t theKey0 = 0xa0761d6478bd642fULL;
constexpr uint64_t theKey1 = 0xe7037ed1a0b428dbULL;
constexpr uint64_t theKey2 = 0x8ebc6af09c88c6e3ULL;

/// The hash of the empty text, known before any code runs.
constexpr uint32_t theEmptyHash = 0x9e3779b9u;
} // namespace KIT_HashDetail

inline uint32_t KIThashText(const char *text, size_t length)
{
    using namespace KIT_HashDetail;
    uint64_t a;
    uint64_t b;
    uint64_t state = theKey0;
    if (length > 16) {
        const char *const last = text + length - 16;
        while (text < last) {
            state = mix(state ^ read8(text), theKey2);
            text += 8;
        }
        // The last 16 bytes overlap what was read: no byte after the text is touched.
        a = read8(last);
        b = read8(last + 8);
    } else if (length >= 8) {
        a = read8(text);
        b = read8(text + length - 8);
    } else if (length >= 4) {
        a = read4(text);
        b = read4(text + length - 4);
    } else if (length > 0) {
        a = static_cast<uint64_t>(static_cast<unsigned char>(text[0])) << 16 |
            static_cast<uint64_t>(static_cast<unsigned char>(text[length >> 1])) << 8 |
            static_cast<unsigned char>(text[length - 1]);
        b = 0;
    } else {
        return theEmptyHash;
    }
    const uint64_t folded = mix(a ^ theKey1 ^ length, b ^ state);
    const uint64_t mixed = mix(folded ^ theKey0, theKey1);
    const uint32_t hash = static_cast<uint32_t>(mixed ^ (mixed >> 32));
    return hash != 0 ? hash : 1;
}

inline void KIT_StringRef::borrow(const char *text, size_t length) noexcept
{
    if (__builtin_expect(length > theMaxLength, 0)) {
        borrowCut(text);
        return;
    }
    myText = text;
    myLength = static_cast<uint32_t>(length);
    myHash = KIThashText(text, length);
}
