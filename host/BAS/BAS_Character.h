/// \file BAS_Character.h
/// Character classes of ASCII, the same in every locale: a byte above 127 is in no class.
///
/// Threads:    pure functions.
/// Cost:       one to four comparisons.

#pragma once

/// Whether the character is one of the six blanks.
inline bool BASisBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline bool BASisDigit(char c)
{
    return c >= '0' && c <= '9';
}

inline bool BASisOctalDigit(char c)
{
    return c >= '0' && c <= '7';
}

inline bool BASisAlphaNumeric(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || BASisDigit(c);
}

/// Whether the character is a letter, a digit or an underscore.
inline bool BASisWordChar(char c)
{
    return BASisAlphaNumeric(c) || c == '_';
}

/// Whether the character may start a name: a word character, but no digit.
inline bool BASisNameStart(char c)
{
    return BASisWordChar(c) && !BASisDigit(c);
}
