/// \file KIT_Regex.h
/// A regular expression that is matched against whole texts.
///
/// Vocabulary: *pattern* = the syntax of RE2: that of Perl without back references and look-around.
///             *whole text* = the pattern must match every byte: "b" does not match "abc",
///             ".*b.*" does.
/// Units:      patterns and texts are UTF-8. A byte that isn't UTF-8 makes a pattern invalid; in a
///             text only the pattern's \C matches it.
/// Ownership:  owns its compiled pattern.
/// Threads:    immutable; matching from any thread.
/// Errors:     a pattern that can't be compiled, or is too large, is not valid and matches nothing.
///             Nothing is reported.
/// Cost:       linear in the text for every pattern, so that patterns may come from files.
///             Compiling costs far more than a match: keep the object for repeated use. A
///             pattern takes at most the bytes that it is given, 8 MB by default, which are freed
///             with it; the fewer, the sooner a large one is given up.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringHolder.h>

#include <cstddef>
#include <cstdint>
#include <memory>

class KIT_API KIT_Regex
{
public:
    static constexpr std::size_t theMaxBytes = 8 << 20;

    /// Null is the empty pattern, which matches the empty text.
    explicit KIT_Regex(const char *pattern, std::size_t maxBytes = theMaxBytes);
    ~KIT_Regex();
    KIT_Regex(KIT_Regex &&) noexcept;
    KIT_Regex &operator=(KIT_Regex &&) noexcept;

    bool isValid() const;
    /// Why the pattern isn't valid; empty if it is.
    const KIT_StringHolder &getErrorText() const { return myErrorText; }
    /// Whether it isn't valid because it would take more than its bytes.
    bool isTooLarge() const { return myTooLargeFlag; }
    /// About what the compiled pattern takes before its first match; 0 if it isn't valid.
    std::int64_t getMemoryUsage() const;
    /// How many patterns this process has compiled.
    static std::int64_t getCompileCount();

    /// Whether the pattern matches the whole text. A null text is the empty one.
    bool match(const char *text) const;

private:
    struct Compiled;

    std::unique_ptr<Compiled> myCompiled; // null: not valid
    KIT_StringHolder myErrorText;
    bool myTooLargeFlag = false;
};
