/// \file BAS_Number.h
/// Parsing of numbers, the same in every locale.
///
/// Vocabulary: *blank* = space, tab, line feed, vertical tab, form feed, carriage return.
///             *numeric prefix* = the longest start of the text (after leading blanks and one sign)
///             that reads as a number: "1.5e3cm" gives 1500, "1e" gives 1.
///             *number word* = inf, infinity or nan in any case, not followed by a letter, digit or
///             underscore: "inf" is a number, "info" is not.
/// Units:      decimal point "."; exponents in decimal; no hexadecimal floats.
/// Ownership:  borrows the text for the call.
/// Threads:    any.
/// Errors:     a text that doesn't start with a number gives zero; a float too large an infinity,
///             one too small a zero with its sign; an integer out of range gives the nearest limit.
/// Cost:       one pass over the number.

#pragma once

#include <BAS/BAS_API.h>
#include <BAS/BAS_Character.h>

#include <cstddef>
#include <cstdint>

/// Bits of the last argument of the long form of BASparseInteger.
enum BAS_ParseFlag : int
{
    BAS_PARSE_NO_BLANKS = 1, ///< leading blanks are not skipped
    BAS_PARSE_NO_CLAMP = 2,  ///< an integer out of range is a failure
};

/// The numeric prefix as a double; 0.0 for a null pointer or a text without one.
KIT_API double BASparseFloat(const char *text);

/// The numeric prefix of exactly this many bytes. Returns how many bytes were used, leading blanks
/// and sign included; 0 (and the value 0.0) when the text doesn't start with a number.
KIT_API size_t BASparseFloat(const char *text, size_t length, double &value);

/// Whether the whole text, except for blanks around it, is a number. True for a null pointer, which
/// callers take for 0.0; false for an empty text. Number words count as numbers.
KIT_API bool BASisFloat(const char *text);

/// Whether the whole text is an integer with an optional sign. False for null and empty.
KIT_API bool BASisInt(const char *text);

/// The integer prefix; 0 for a null pointer or a text without one. Bases 2 to 36; base 16 accepts a
/// leading "0x"; base 0 detects 16 from "0x", 8 from a leading "0", else 10.
KIT_API int64_t BASparseInteger(const char *text, int base = 10);

/// The integer prefix and its end. False (value 0, end at the text) when there is no integer
/// prefix. `end` may be null. `flags` are BAS_ParseFlag bits.
KIT_API bool BASparseInteger(const char *text, const char **end, int64_t &value, int base,
                             int flags);
