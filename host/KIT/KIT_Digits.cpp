#include <KIT/KIT_Digits.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace
{

/// For each number below 1000 its three digits, and how many of them are left without the zeros at the
/// end. One number more, so that four bytes may be read from any digit.
constexpr auto theThrees = [] {
    std::array<char, 4004> threes{};
    for (size_t i = 0; i < threes.size() / 4; ++i) {
        threes[i * 4] = static_cast<char>('0' + i / 100 % 10);
        threes[i * 4 + 1] = static_cast<char>('0' + i / 10 % 10);
        threes[i * 4 + 2] = static_cast<char>('0' + i % 10);
        threes[i * 4 + 3] = static_cast<char>(i % 10 != 0 ? 3 : i % 100 != 0 ? 2 : 1);
    }
    return threes;
}();

constexpr auto thePowers = [] {
    std::array<uint64_t, 19> powers{1};
    for (size_t i = 1; i < powers.size(); ++i) {
        powers[i] = powers[i - 1] * 10;
    }
    return powers;
}();

__extension__ using Wide = unsigned __int128;

// Up to three bytes after what the following return are written over.

char *putThree(char *to, uint64_t three)
{
    std::memcpy(to, &theThrees[three * 4], 4);
    return to + 3;
}

char *putWhole(char *to, uint64_t whole)
{
    if (whole >= 1000000) {
        return std::to_chars(to, to + KIT_Digits::theMostBytes / 2, whole).ptr;
    }
    const uint64_t first = whole < 1000 ? whole : whole / 1000;
    const size_t zeros = size_t(first < 100) + size_t(first < 10);
    std::memcpy(to, &theThrees[first * 4 + zeros], 4);
    to += 3 - zeros;
    return whole < 1000 ? to : putThree(to, whole % 1000);
}

/// So many decimals, at most 18, without the zeros at their end; there is one that isn't zero.
///
/// As a part of 2^64, a little too large, of which each multiplication by 1000 gives three decimals:
/// then it is too large by less than 3 times 1000 for each of them, and what is left of decimals is
/// more than six times that.
char *putFraction(char *to, uint64_t fraction, int decimals)
{
    constexpr int theShift = 59;
    constexpr uint64_t theFactor = 10633823966279326984u; // 2^(64 + theShift) / 10^18, rounded up
    fraction *= thePowers[static_cast<size_t>(18 - decimals)];
    uint64_t part = static_cast<uint64_t>(Wide(fraction) * theFactor >> theShift) + 1;
    uint64_t limit = 3000;
    for (;;) {
        const Wide product = Wide(part) * 1000;
        const size_t three = static_cast<size_t>(product >> 64);
        part = static_cast<uint64_t>(product);
        putThree(to, three);
        if (part < limit) {
            return to + theThrees[three * 4 + 3];
        }
        to += 3;
        limit *= 1000;
    }
}

constexpr double theLeastUsual = 0.01;
constexpr double theMostUsual = 1e15;

/// Numbers of a usual size, for which the form with an exponent is never shorter.
///
/// The number is c / 2^bits, and what is nearer to it than 0.5 / 2^bits reads back as it. Take as many
/// decimals as make a unit of the last one just smaller than 1 / 2^bits: then at least one such
/// decimal is that near, and at most one that ends in zero. That one is the shortest if there is one,
/// else the nearest is. Below a power of two numbers lie closer together, but it is itself a decimal
/// that ends in zero; a number that isn't whole is never that near to one that is. All of it is exact:
/// no product is longer than 128 bits, no distance than 64. Which one it is differs from number to
/// number, so it is computed without a branch.
char *putUsual(char *to, uint64_t magnitude)
{
    constexpr int theMantissaBits = 52;
    constexpr int theExponentOfOne = 1023;
    const int bits =
        theExponentOfOne + theMantissaBits - static_cast<int>(magnitude >> theMantissaBits);
    const uint64_t one = uint64_t{1} << theMantissaBits;
    const uint64_t numerator = one | (magnitude & (one - 1));
    to = putWhole(to, numerator >> bits);
    const uint64_t binary = numerator << (64 - bits); // of what is behind the point
    if (binary == 0) {
        return to;
    }

    const int decimals = (bits * 1233 >> 12) + 1; // by the logarithm of two
    const uint64_t scale = thePowers[static_cast<size_t>(decimals)];
    const Wide scaled = Wide(binary) * scale;
    const uint64_t digits = static_cast<uint64_t>(scaled >> 64);
    // Distances, of which 2^60 are a unit of the last decimal: there are 59 bits at most. None lies
    // half way to the next number: that has more decimals.
    constexpr uint64_t theUnit = uint64_t{1} << 60;
    const uint64_t rest = static_cast<uint64_t>(scaled) >> 4;
    const uint64_t reach = scale << (59 - bits);
    const uint64_t last = digits % 10;
    const uint64_t above = last * theUnit + rest; // the lower one that ends in zero

    uint64_t more = rest + (digits & 1) > theUnit / 2 ? 1 : 0; // half way to the even one
    more = above + reach >= 10 * theUnit ? 10 - last : more;
    more = above <= reach ? -last : more;
    *to = '.';
    return putFraction(to + 1, digits + more, decimals);
}

uint64_t bitsOf(double value)
{
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

} // namespace

char *KIT_Digits::write(char *to, double value)
{
    const uint64_t word = bitsOf(value);
    const uint64_t magnitude = word & (UINT64_MAX >> 1);
    const uint64_t least = bitsOf(theLeastUsual);
    *to = '-';
    char *const first = to + (word >> 63);
    if (magnitude - least < bitsOf(theMostUsual) - least) {
        return putUsual(first, magnitude);
    }
    if (magnitude == 0) {
        *first = '0';
        return first + 1;
    }
    if (std::isnan(value)) {
        std::memcpy(to, "nan", 3);
        return to + 3;
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
