/// \file BAS_Utf8.h
/// Characters of UTF-8.
///
/// Threads:    pure functions.

#pragma once

#include <cstddef>
#include <string_view>

/// The bytes of the character that a text starts with; 0 of an empty text, and of a byte that starts none: no longer
/// forms than a character needs, no surrogates, nothing above U+10FFFF.
inline std::size_t BASutf8Length(std::string_view text)
{
    const auto isBetween = [text](std::size_t place, unsigned first, unsigned last) {
        const unsigned byte = static_cast<unsigned char>(text[place]);
        return byte >= first && byte <= last;
    };
    const unsigned first = text.empty() ? 0xffu : static_cast<unsigned char>(text[0]);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    if (first < 0xc2 || first > 0xf4 || text.size() < length ||
        !isBetween(1,
                   first == 0xe0   ? 0xa0
                   : first == 0xf0 ? 0x90
                                   : 0x80,
                   first == 0xed   ? 0x9f
                   : first == 0xf4 ? 0x8f
                                   : 0xbf)) {
        return 0;
    }
    for (std::size_t i = 2; i < length; ++i) {
        if (!isBetween(i, 0x80, 0xbf)) {
            return 0;
        }
    }
    return length;
}

/// The same, but 0 also of a control character other than a newline and a tab: what would drive a terminal, and no
/// page has.
inline std::size_t BASprintableLength(std::string_view text)
{
    const std::size_t length = BASutf8Length(text);
    const unsigned last = length ? static_cast<unsigned char>(text[length - 1]) : 0;
    const bool controlFlag = length == 1
                                 ? (last < ' ' && last != '\n' && last != '\t') || last == 0x7f
                                 : length == 2 && text[0] == '\xc2' && last < 0xa0;
    return controlFlag ? 0 : length;
}
