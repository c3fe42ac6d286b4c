#include <KIT/KIT_Digits.h>

#include <algorithm>
#include <array>
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

/// Two digits for each number below 100.
constexpr auto thePairs = [] {
    std::array<char, 200> pairs{};
    for (size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = static_cast<char>('0' + (i % 2 == 0 ? i / 20 : i / 2 % 10));
    }
    return pairs;
}();

/// Writes so many digits, at most nine, before the end; returns where they begin.
char *writeDigits(char *end, uint32_t number, int digits)
{
    for (; digits > 1; digits -= 2, number /= 100) {
        end -= 2;
        std::memcpy(end, &thePairs[number % 100 * 2], 2);
    }
    if (digits > 0) {
        *--end = static_cast<char>('0' + number);
    }
    return end;
}

/// The fraction isn't zero and has so many digits; zeros at its end aren't written.
char *writeFraction(char *to, double value, uint64_t whole, uint64_t fraction, int digits)
{
    constexpr uint64_t theStep = 100000000; // eight digits
    if (std::signbit(value)) {
        *to++ = '-';
    }
    to = std::to_chars(to, to + KIT_Digits::theMostBytes / 2, whole).ptr;
    *to++ = '.';
    if (fraction % theStep == 0) {
        fraction /= theStep;
        digits -= 8;
    }
    for (; fraction % 10 == 0; fraction /= 10) {
        --digits;
    }
    char *const end = to + digits;
    char *at = end;
    for (; digits > 8; digits -= 8, fraction /= theStep) {
        at = writeDigits(at, static_cast<uint32_t>(fraction % theStep), 8);
    }
    writeDigits(at, static_cast<uint32_t>(fraction), digits);
    return end;
}

constexpr auto thePowers = [] {
    std::array<uint64_t, 19> powers{1};
    for (size_t i = 1; i < powers.size(); ++i) {
        powers[i] = powers[i - 1] * 10;
    }
    return powers;
}();

/// Numbers with a fraction and of a usual size, for which the form with an exponent is never shorter.
/// Null for all others.
///
/// The number is c / 2^bits, and what is nearer to it than 0.5 / 2^bits reads back as it. Take as many
/// decimals as make a unit of the last one just smaller than 1 / 2^bits: then at least one such
/// decimal is that near, and at most one that ends in zero. That one is the shortest if there is one,
/// else the nearest is. Below a power of two numbers lie closer together, but it is itself a decimal
/// that ends in zero; a whole number is never that near. All of it is exact: no product is longer than
/// 128 bits, no distance than 64.
char *writeUsual(char *to, double value)
{
    constexpr double theLeast = 0.01;
    constexpr double theMost = 1e15;
    constexpr int theMantissaBits = 52;
    constexpr int theExponentOfOne = 1023;
    __extension__ using Wide = unsigned __int128;

    const double magnitude = std::fabs(value);
    if (!(magnitude >= theLeast && magnitude < theMost)) {
        return nullptr;
    }
    uint64_t word = 0;
    std::memcpy(&word, &magnitude, sizeof(word));
    const int bits = theExponentOfOne + theMantissaBits - static_cast<int>(word >> theMantissaBits);
    const uint64_t one = uint64_t{1} << theMantissaBits;
    const uint64_t numerator = one | (word & (one - 1));

    const int decimals = bits * 1233 / 4096 + 1; // by the logarithm of two
    const uint64_t scale = thePowers[static_cast<size_t>(decimals)];
    // In units of 1 / 2^bits of the last decimal. None lies half way to the next number: that has
    // more decimals.
    const uint64_t unit = uint64_t{1} << bits;
    const uint64_t reach = scale / 2;
    const Wide scaled = Wide(numerator) * scale;
    uint64_t digits = static_cast<uint64_t>(scaled >> bits);
    const uint64_t rest = static_cast<uint64_t>(scaled) & (unit - 1);
    const uint64_t last = digits % 10;
    const uint64_t above = last * unit + rest; // the lower one that ends in zero

    if (above <= reach) {
        digits -= last;
    } else if (10 * unit - above <= reach) {
        digits += 10 - last;
    } else {
        digits += rest + digits % 2 > unit / 2 ? 1 : 0; // half way to the even one
    }
    const uint64_t whole = static_cast<uint64_t>(static_cast<int64_t>(magnitude));
    return writeFraction(to, value, whole, digits - whole * scale, decimals);
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
    if (char *const end = writeUsual(to, value)) {
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
