/// \file TRK_TextScanPrivate.h
/// Variables and backticks of literal texts. Used by the channel library alone.
///
/// Threads:    pure functions.
/// Cost:       linear in what is passed over.
#pragma once

#include <BAS/BAS_Character.h>

#include <cstddef>
#include <string_view>

/// A variable's name at a "$"; returns the length of the whole, 0 if there is none.
inline std::size_t TRKscanVariable(const char *text, std::string_view &name)
{
    const bool braceFlag = text[1] == '{';
    const char *start = text + (braceFlag ? 2 : 1);
    if (!BASisNameStart(*start)) {
        return 0;
    }
    const char *end = start;
    while (BASisWordChar(*end)) {
        ++end;
    }
    if (braceFlag && *end != '}') {
        return 0;
    }
    name = std::string_view(start, static_cast<std::size_t>(end - start));
    return static_cast<std::size_t>(end - text) + (braceFlag ? 1 : 0);
}

/// The digits that `F1` to `F9` ask for; 0 for any other name.
inline int TRKpaddedFrameDigits(std::string_view name)
{
    const bool paddedFlag = name.size() == 2 && name[0] == 'F' && name[1] >= '1' && name[1] <= '9';
    return paddedFlag ? name[1] - '0' : 0;
}

/// Whether the value of the variable depends on time.
inline bool TRKisTimeVariable(std::string_view name)
{
    return name == "F" || name == "FF" || name == "T" || TRKpaddedFrameDigits(name) > 0;
}

/// The backtick that ends an expression, ignoring quoted ones. Null if there is none.
inline const char *TRKfindClosingBacktick(const char *text)
{
    char quote = '\0';
    for (; *text != '\0'; ++text) {
        if (*text == '\\' && text[1] != '\0') {
            ++text;
        } else if (quote != '\0') {
            quote = *text == quote ? '\0' : quote;
        } else if (*text == '"' || *text == '\'') {
            quote = *text;
        } else if (*text == '`') {
            return text;
        }
    }
    return nullptr;
}

/// Calls \p call with the bounds of each expression in the backticks of a literal text.
template <class F>
void TRKforEachBacktick(const char *text, F call)
{
    while (text != nullptr && *text != '\0') {
        if (*text == '\\' && text[1] != '\0') {
            text += 2;
            continue;
        }
        const char *end = *text == '`' ? TRKfindClosingBacktick(text + 1) : nullptr;
        if (end == nullptr) {
            ++text;
            continue;
        }
        call(text + 1, end);
        text = end + 1;
    }
}
