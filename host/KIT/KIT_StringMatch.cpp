// Patterns, natural order and words of KIT_String.

#include <KIT/KIT_String.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_WorkArgs.h>
#include <KIT/KIT_WorkBuffer.h>

#include <cstring>

namespace
{
/// The end of the set that begins at `[`, null if it isn't closed. A leading `]` is a member.
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

/// Matches one byte against one element of the pattern, and moves past the element.
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

size_t countDigits(const char *at)
{
    size_t count = 0;
    while (BASisDigit(at[count])) {
        count++;
    }
    return count;
}

/// Compares two runs of digits by their numbers and moves past both.
int compareDigits(const char *&a, const char *&b)
{
    while (*a == '0') {
        ++a;
    }
    while (*b == '0') {
        ++b;
    }
    const size_t lengthA = countDigits(a);
    const size_t lengthB = countDigits(b);
    const int order =
        lengthA != lengthB ? (lengthA < lengthB ? -1 : 1) : std::memcmp(a, b, lengthA);
    a += lengthA;
    b += lengthB;
    return order;
}

/// The byte as compare sees it, case folded.
int foldByte(char c, bool ignoreCase)
{
    return static_cast<unsigned char>(ignoreCase && c >= 'A' && c <= 'Z' ? c + 32 : c);
}

/// Appends the content of the quoted run that begins here; returns the position after it.
const char *unquote(const char *at, KIT_WorkBuffer &out)
{
    const char quote = *at++;
    while (*at && *at != quote) {
        at += *at == '\\' && (at[1] == quote || at[1] == '\\');
        out.append(*at++);
    }
    return *at ? at + 1 : at;
}
} // namespace

// -------------------------------------------------------------------- //
// Patterns
// -------------------------------------------------------------------- //

bool KIT_String::matchPattern(const char *text, const char *pattern)
{
    text = text ? text : "";
    pattern = pattern ? pattern : "";
    // Only the last star is retried, which bounds the time by text length times pattern length.
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

// -------------------------------------------------------------------- //
// Natural order, words
// -------------------------------------------------------------------- //

int KIT_String::compareNumberedString(const char *a, const char *b, bool ignoreCase)
{
    const char *const wholeA = a = a ? a : "";
    const char *const wholeB = b = b ? b : "";
    while (*a && *b) {
        int order = 0;
        if (BASisDigit(*a) && BASisDigit(*b)) {
            order = compareDigits(a, b);
        } else {
            order = foldByte(*a++, ignoreCase) - foldByte(*b++, ignoreCase);
        }
        if (order != 0) {
            return order;
        }
    }
    if (*a || *b) {
        return *a ? 1 : -1;
    }
    return std::strcmp(wholeA, wholeB);
}

int KIT_String::parse(KIT_WorkArgs &words, char comment, const char *quotes, bool keepQuotes) const
{
    const std::string_view marks(quotes ? quotes : "");
    words.clear();
    KIT_WorkBuffer word;
    KIT_WorkBuffer unquoted;
    for (const char *at = nonNullStr();;) {
        while (BASisBlank(*at)) {
            ++at;
        }
        if (!*at || *at == comment) {
            return static_cast<int>(words.entries());
        }
        word.clear();
        while (*at && !BASisBlank(*at)) {
            if (marks.find(*at) == marks.npos) {
                word.append(*at++);
                continue;
            }
            const char *const start = at;
            unquoted.clear();
            at = unquote(at, unquoted);
            word.append(keepQuotes ? std::string_view(start, static_cast<size_t>(at - start))
                                   : unquoted.view());
        }
        words.append(word.view());
    }
}

int KIT_String::parseInPlace(char **fields, int most, const char *quotes, char comment)
{
    const std::string_view marks(quotes ? quotes : "");
    harden();
    if (!isHard()) {
        return 0;
    }
    char *at = writable();
    for (int count = 0;; ++count) {
        while (BASisBlank(*at)) {
            ++at;
        }
        if (count >= most || !*at || *at == comment) {
            return count;
        }
        // A word only gets shorter: its text and its end stay behind what is read.
        char *to = fields[count] = at;
        while (*at && !BASisBlank(*at)) {
            const char quote = *at;
            if (marks.find(quote) == marks.npos) {
                *to++ = *at++;
                continue;
            }
            for (++at; *at && *at != quote; *to++ = *at++) {
                at += *at == '\\' && (at[1] == quote || at[1] == '\\');
            }
            at += *at ? 1 : 0;
        }
        at += *at ? 1 : 0;
        *to = '\0';
    }
}
