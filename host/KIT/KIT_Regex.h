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
///             pattern takes at most 8 MB, which are freed with it.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringHolder.h>

#include <memory>

class KIT_API KIT_Regex
{
public:
    /// Null is the empty pattern, which matches the empty text.
    explicit KIT_Regex(const char *pattern);
    ~KIT_Regex();
    KIT_Regex(KIT_Regex &&) noexcept;
    KIT_Regex &operator=(KIT_Regex &&) noexcept;

    bool isValid() const;
    /// Why the pattern isn't valid; empty if it is.
    const KIT_StringHolder &getErrorText() const { return myErrorText; }

    /// Whether the pattern matches the whole text. A null text is the empty one.
    bool match(const char *text) const;

private:
    struct Compiled;

    std::unique_ptr<Compiled> myCompiled; // null: not valid
    KIT_StringHolder myErrorText;
};
