#include <KIT/KIT_Digits.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace
{

/// Whole numbers of up to 15 digits, without an exponent; null for all others.
char *writeWhole(char *to, double value)
{
    constexpr double theEnd = 1e15;
    const double magnitude = std::fabs(value);
    if (!(magnitude < theEnd)) {
        return nullptr;
    }
    const auto whole = static_cast<int64_t>(magnitude);
    if (static_cast<double>(whole) != magnitude) {
        return nullptr;
    }
    if (std::signbit(value)) {
        *to++ = '-';
    }
    return std::to_chars(to, to + KIT_Digits::theMostBytes - 1, whole).ptr;
}

/// Other numbers as people type them: up to 15 digits, of which at most 6 are after the point. Such
/// a decimal is the only one of its length that reads back as the number, so an exact one is also
/// the shortest. Null for all others, and where the form with an exponent would be shorter.
char *writeTyped(char *to, double value)
{
    constexpr double theMost = 1e9;
    constexpr double theScale = 1e6;
    constexpr int theDecimals = 6;
    const double magnitude = std::fabs(value);
    if (!(magnitude < theMost)) {
        return nullptr;
    }
    const int64_t scaled = static_cast<int64_t>(magnitude * theScale + 0.5);
    if (static_cast<double>(scaled) / theScale != magnitude) {
        return nullptr;
    }
    const int64_t whole = scaled / 1000000;
    int64_t fraction = scaled % 1000000;
    // A long run of zeros after the point is shorter as an exponent.
    if (whole == 0 && fraction < 1000) {
        return nullptr;
    }
    if (std::signbit(value)) {
        *to++ = '-';
    }
    to = std::to_chars(to, to + theDecimals + theDecimals, whole).ptr;
    *to = '.';
    int digits = theDecimals;
    while (fraction % 10 == 0) {
        fraction /= 10;
        --digits;
    }
    char *const end = to + 1 + digits;
    for (char *at = end; at != to + 1; fraction /= 10) {
        *--at = static_cast<char>('0' + fraction % 10);
    }
    return end;
}

} // namespace

char *KIT_Digits::write(char *to, double value)
{
    if (std::isnan(value)) {
        std::memcpy(to, "nan", 3);
        return to + 3;
    }
    if (char *const end = writeWhole(to, value)) {
        return end;
    }
    if (char *const end = writeTyped(to, value)) {
        return end;
    }
    return std::to_chars(to, to + theMostBytes, value).ptr;
}

void KIT_Digits::reset(double value, int flags, int width)
{
    if (std::isnan(value)) {
        std::memcpy(myBuffer, "nan", 4);
        myLength = 3;
        return;
    }
    // Two places stay free for ".0" and one for the NUL.
    char *const end = myBuffer + sizeof(myBuffer) - 3;
    char *at = width < 0 ? write(myBuffer, value)
                         : std::to_chars(myBuffer, end, value, std::chars_format::general,
                                         std::clamp(width, 1, 40))
                               .ptr;
    if ((flags & KIT_DIGITS_FORCE_POINT) != 0 && std::isfinite(value) &&
        std::none_of(myBuffer, at, [](char c) { return c == '.' || c == 'e'; })) {
        *at++ = '.';
        *at++ = '0';
    }
    *at = '\0';
    myLength = static_cast<int>(at - myBuffer);
}
