/// \file BAS_Number.h
/// Numbers out of text, the same in every locale.
///
/// Vocabulary: *blank* = space, tab, line feed, vertical tab, form feed, carriage return.
///             *numeric prefix* = the longest start of the text (behind leading blanks and one
///             sign) that reads as a number: "1.5e3cm" gives 1500, "1e" gives 1.
///             *number word* = inf, infinity or nan in any case, not followed by a letter, digit or
///             underscore: "inf" is a number, "info" starts none.
/// Units:      decimal point "."; exponents in decimal; no hexadecimal floats.
/// Ownership:  borrows the text for the call.
/// Threads:    any.
/// Errors:     a text that starts no number gives zero; a float too large gives an infinity, one
///             too small a zero with its sign; an integer out of range gives the nearest limit.
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

/// The numeric prefix as a double; 0.0 for a null pointer or a text that starts no number.
KIT_API double BASparseFloat(const char *text);

/// The numeric prefix of exactly this many bytes. Answers how many bytes were used, leading blanks
/// and sign included, 0 (and the value 0.0) when no number starts there.
KIT_API size_t BASparseFloat(const char *text, size_t length, double &value);

/// Whether the whole text, but for blanks around it, is a number. True for a null pointer, which
/// callers take for 0.0; false for an empty text. Number words count.
KIT_API bool BASisFloat(const char *text);

/// Whether the whole text is an integer with an optional sign. False for null and empty.
KIT_API bool BASisInt(const char *text);

/// The integer prefix; 0 for a null pointer or a text that starts none. Base 2 to 36; base 16 takes
/// a leading "0x"; base 0 takes the base from "0x" or a leading "0", else 10.
KIT_API int64_t BASparseInteger(const char *text, int base = 10);

/// The integer prefix, with its end. False (value 0, end at the text) when no integer starts there.
/// `end` may be null. `flags` are BAS_ParseFlag bits.
KIT_API bool BASparseInteger(const char *text, const char **end, int64_t &value, int base,
                             int flags);
