// Pattern matching of KIT_String.

#include <KIT/KIT_String.h>

#include <cstring>

namespace
{
/// The end of the set that begins at `[`, null if it isn't closed. A `]` in front is a member.
const char *findSetEnd(const char *set)
{
    const char *at = set + 1;
    if (*at == '!' || *at == '^') {
        ++at;
    }
    return *at ? std::strchr(at + 1, ']') : nullptr;
}

bool isInSet(const char *set, const char *end, char c)
{
    const char *at = set + 1;
    const bool noneFlag = *at == '!' || *at == '^';
    at += noneFlag;
    const unsigned char byte = static_cast<unsigned char>(c);
    bool foundFlag = false;
    while (at < end) {
        const unsigned char low = static_cast<unsigned char>(*at);
        const bool rangeFlag = at + 2 < end && at[1] == '-';
        const unsigned char high = rangeFlag ? static_cast<unsigned char>(at[2]) : low;
        foundFlag |= byte >= low && byte <= high;
        at += rangeFlag ? 3 : 1;
    }
    return foundFlag != noneFlag;
}

/// Matches one byte against one element of the pattern, and moves behind the element.
bool matchOne(const char *&pattern, char c)
{
    if (*pattern == '?') {
        ++pattern;
        return true;
    }
    if (*pattern == '[') {
        if (const char *const end = findSetEnd(pattern)) {
            const bool matchFlag = isInSet(pattern, end, c);
            pattern = end + 1;
            return matchFlag;
        }
    }
    if (*pattern == '\\' && pattern[1]) {
        ++pattern;
    }
    return *pattern++ == c;
}
} // namespace

bool KIT_String::matchPattern(const char *text, const char *pattern)
{
    text = text ? text : "";
    pattern = pattern ? pattern : "";
    // Only the last star is ever tried again, which keeps the time below text times pattern.
    const char *star = nullptr;
    const char *resume = nullptr;
    while (*text) {
        if (*pattern == '*') {
            star = ++pattern;
            resume = text;
        } else if (*pattern && matchOne(pattern, *text)) {
            ++text;
        } else if (star) {
            pattern = star;
            text = ++resume;
        } else {
            return false;
        }
    }
    while (*pattern == '*') {
        ++pattern;
    }
    return *pattern == '\0';
}

bool KIT_String::match(const char *pattern) const
{
    return matchPattern(myText, pattern);
}
