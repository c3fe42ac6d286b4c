/// \file KIT_EscapePrivate.h
/// The octal escapes of quoted text and of command lines.
///
/// Threads:    pure functions.

#pragma once

#include <BAS/BAS_Character.h>

/// The byte of three octal digits; 0 if there aren't three, or for a code above 255.
inline char KIToctalByte(const char *at)
{
    int code = 0;
    for (int i = 0; i < 3; i++) {
        if (!BASisOctalDigit(at[i])) {
            return '\0';
        }
        code = code * 8 + (at[i] - '0');
    }
    return code < 256 ? static_cast<char>(static_cast<unsigned char>(code)) : '\0';
}
