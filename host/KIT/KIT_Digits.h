/// \file KIT_Digits.h
/// The text of a number, as saved and shown.
///
/// Vocabulary: *shortest* = the fewest characters that BASparseFloat reads back to the same bits,
///             plain or with an exponent, whichever is shorter; whole numbers below 1e15 are
///             always plain: 0.1, 1000000, 1e+20, -0, 5e-324.
/// Units:      width in significant digits.
/// Ownership:  the text lives in the object until the next reset.
/// Threads:    one thread at a time; meant for the stack.
/// Errors:     none; infinities are "inf" and "-inf", every NaN is "nan".
/// Cost:       no heap, no locale.

#pragma once

#include <BAS/BAS_API.h>

#include <string_view>

/// Bits for KIT_Digits::reset.
enum KIT_DigitsFlag : int
{
    KIT_DIGITS_FORCE_POINT = 1, ///< a finite number without point or exponent gets ".0"
};

class KIT_API KIT_Digits
{
public:
    KIT_Digits() { myBuffer[0] = '\0'; }
    explicit KIT_Digits(double value, int flags = 0, int width = -1) { reset(value, flags, width); }

    /// Formats the number: the shortest text when `width` is negative, else rounded to that many
    /// significant digits (1 to 40; 0 counts as 1).
    void reset(double value, int flags = 0, int width = -1);

    /// Writes the shortest text, without a NUL, where theMostBytes have room; returns its end.
    static char *write(char *to, double value);
    /// No text is longer; bytes after the text may be written over.
    static constexpr int theMostBytes = 40;

    const char *buffer() const { return myBuffer; }
    int length() const { return myLength; }
    std::string_view view() const
    {
        return std::string_view(myBuffer, static_cast<size_t>(myLength));
    }

private:
    char myBuffer[64];
    int myLength = 0;
};
