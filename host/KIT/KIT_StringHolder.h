/// \file KIT_StringHolder.h
/// A text reference that keeps its text alive; use it for members.
///
/// Vocabulary: as in KIT_StringRef.h.
/// Ownership:  the text is a counted copy, shared with every reference and holder copied from it.
///             Only the shared empty value (and what is copied from it) points at a literal.
/// Threads:    as KIT_StringRef.
/// Errors:     the null state when memory is exhausted.
/// Cost:       passing a holder as `const KIT_StringRef &` costs nothing; copying a counted
///             reference increments one count; anything else copies the text.

#pragma once

#include <KIT/KIT_StringRef.h>

class KIT_API KIT_StringHolder : public KIT_StringRef
{
public:
    /// The empty text, usable before main.
    static const KIT_StringHolder theEmptyString;

    /// The null state.
    constexpr KIT_StringHolder() noexcept = default;

    /// Copies the text; a null pointer gives the null state.
    KIT_StringHolder(const char *text);

    /// Copies that many bytes, which need no NUL after them.
    KIT_StringHolder(const char *text, size_t length);

    /// Shares counted storage, copies a borrowed text.
    KIT_StringHolder(const KIT_StringRef &text) : KIT_StringRef(text) { harden(); }
    KIT_StringHolder(KIT_StringRef &&text) : KIT_StringRef(static_cast<KIT_StringRef &&>(text))
    {
        harden();
    }

    /// Copies the text; an unset string gives the null state.
    KIT_StringHolder(const KIT_String &text);
    KIT_StringHolder(const std::string &text);

    KIT_StringHolder(const KIT_StringHolder &) noexcept = default;
    KIT_StringHolder(KIT_StringHolder &&) noexcept = default;
    KIT_StringHolder &operator=(const KIT_StringHolder &) noexcept = default;
    KIT_StringHolder &operator=(KIT_StringHolder &&) noexcept = default;

private:
    constexpr KIT_StringHolder(const char *literal, uint32_t length, uint32_t hash) noexcept
        : KIT_StringRef(literal, length, hash)
    {}
};

static_assert(sizeof(KIT_StringHolder) == 16, "a holder is a reference that owns");

namespace std
{
template <>
struct hash<KIT_StringHolder> : KIT_StringRefHash
{};
} // namespace std
