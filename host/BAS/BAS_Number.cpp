#include <BAS/BAS_Number.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

namespace
{
const char *skipBlanks(const char *at, const char *end)
{
    while (at != end && BASisBlank(*at)) {
        ++at;
    }
    return at;
}

/// The end of `word` if it is next in the text, in any case, and ends there; else null.
const char *matchWord(const char *at, const char *end, const char *word)
{
    for (; *word; ++word, ++at) {
        if (at == end || (*at | 0x20) != *word) {
            return nullptr;
        }
    }
    return at == end || !BASisWordChar(*at) ? at : nullptr;
}

const char *parseWord(const char *at, const char *end, double &value)
{
    static constexpr struct
    {
        const char *word;
        double value;
    } theWords[] = {
        {"inf", std::numeric_limits<double>::infinity()},
        {"infinity", std::numeric_limits<double>::infinity()},
        {"nan", std::numeric_limits<double>::quiet_NaN()},
    };
    for (const auto &entry : theWords) {
        if (const char *const wordEnd = matchWord(at, end, entry.word)) {
            value = entry.value;
            return wordEnd;
        }
    }
    return nullptr;
}

/// Parses a decimal of up to 15 digits that fills the text, as most numbers in files do: both its
/// digits and the power of ten are exact doubles, so one division rounds correctly (W. D. Clinger,
/// "How to Read Floating Point Numbers Accurately", 1990). Else false.
bool parseShort(const char *at, const char *end, double &value)
{
    static constexpr double thePowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                           1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr std::ptrdiff_t theMostBytes = 16;
    if (end - at > theMostBytes) {
        return false;
    }
    int64_t digits = 0;
    const char *point = nullptr;
    for (; at != end; ++at) {
        if (BASisDigit(*at)) {
            digits = digits * 10 + (*at - '0');
        } else if (*at == '.' && !point) {
            point = at;
        } else {
            return false;
        }
    }
    constexpr int64_t theLimit = 1000000000000000;
    if (digits >= theLimit) {
        return false;
    }
    value = static_cast<double>(digits) / thePowers[point ? end - point - 1 : 0];
    return true;
}

/// Whether an unsigned well-formed number that fits no double is too large rather than too small.
bool isHuge(const char *at, const char *end)
{
    constexpr int64_t theLimit = 1000000000000;
    int64_t magnitude = 0;
    bool pointFlag = false;
    bool leadFlag = false;
    for (; at != end && (BASisDigit(*at) || *at == '.'); ++at) {
        pointFlag |= *at == '.';
        if (*at == '.') {
            continue;
        }
        leadFlag |= *at != '0';
        magnitude += pointFlag ? (leadFlag ? 0 : -1) : (leadFlag ? 1 : 0);
    }
    if (at != end) {
        ++at;
        const bool minusFlag = at != end && *at == '-';
        int64_t exponent = 0;
        for (at += at != end && !BASisDigit(*at); at != end && BASisDigit(*at); ++at) {
            exponent = std::min(exponent * 10 + (*at - '0'), theLimit);
        }
        magnitude += minusFlag ? -exponent : exponent;
    }
    return leadFlag && magnitude > 0;
}

int digitValue(char c)
{
    if (BASisDigit(c)) {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'z' ? lower - 'a' + 10 : 99;
}

/// Skips "0x" or detects a leading "0" where the base allows it.
const char *parseBase(const char *at, int &base)
{
    const bool hexFlag = at[0] == '0' && (at[1] | 0x20) == 'x' && digitValue(at[2]) < 16;
    if (hexFlag && (base == 0 || base == 16)) {
        base = 16;
        return at + 2;
    }
    if (base == 0) {
        base = at[0] == '0' ? 8 : 10;
    }
    return at;
}
} // namespace

// -------------------------------------------------------------------- //
// Floats
// -------------------------------------------------------------------- //

size_t BASparseFloat(const char *text, size_t length, double &value)
{
    value = 0.0;
    if (!text) {
        return 0;
    }
    const char *const end = text + length;
    const char *at = skipBlanks(text, end);
    const bool minusFlag = at != end && *at == '-';
    at += at != end && (*at == '-' || *at == '+');

    double parsed = 0.0;
    const char *numberEnd = nullptr;
    if (at != end && BASisDigit(*at) && parseShort(at, end, parsed)) {
        numberEnd = end;
    } else if (at != end && (BASisDigit(*at) || *at == '.')) {
        const std::from_chars_result result = std::from_chars(at, end, parsed);
        if (result.ec == std::errc::result_out_of_range) {
            parsed = isHuge(at, result.ptr) ? std::numeric_limits<double>::infinity() : 0.0;
        }
        numberEnd = result.ec == std::errc::invalid_argument ? nullptr : result.ptr;
    } else {
        numberEnd = parseWord(at, end, parsed);
    }
    if (!numberEnd) {
        return 0;
    }
    value = minusFlag ? -parsed : parsed;
    return static_cast<size_t>(numberEnd - text);
}

double BASparseFloat(const char *text)
{
    double value = 0.0;
    BASparseFloat(text, text ? std::strlen(text) : 0, value);
    return value;
}

bool BASisFloat(const char *text)
{
    if (!text) {
        return true;
    }
    const size_t length = std::strlen(text);
    double value;
    const size_t used = BASparseFloat(text, length, value);
    return used > 0 && skipBlanks(text + used, text + length) == text + length;
}

// -------------------------------------------------------------------- //
// Integers
// -------------------------------------------------------------------- //

bool BASparseInteger(const char *text, const char **end, int64_t &value, int base, int flags)
{
    value = 0;
    if (end) {
        *end = text;
    }
    if (!text || base < 0 || base == 1 || base > 36) {
        return false;
    }
    const char *at = text;
    while ((flags & BAS_PARSE_NO_BLANKS) == 0 && BASisBlank(*at)) {
        ++at;
    }
    const bool minusFlag = *at == '-';
    at += *at == '-' || *at == '+';
    at = parseBase(at, base);
    if (digitValue(*at) >= base) {
        return false;
    }

    const uint64_t limit = static_cast<uint64_t>(INT64_MAX) + (minusFlag ? 1 : 0);
    uint64_t magnitude = 0;
    bool overflowFlag = false;
    for (; digitValue(*at) < base; ++at) {
        const uint64_t digit = static_cast<uint64_t>(digitValue(*at));
        overflowFlag |= magnitude > (limit - digit) / static_cast<uint64_t>(base);
        magnitude = overflowFlag ? limit : magnitude * static_cast<uint64_t>(base) + digit;
    }
    if (overflowFlag && (flags & BAS_PARSE_NO_CLAMP) != 0) {
        return false;
    }
    value = static_cast<int64_t>(minusFlag ? 0 - magnitude : magnitude);
    if (end) {
        *end = at;
    }
    return true;
}

int64_t BASparseInteger(const char *text, int base)
{
    int64_t value;
    BASparseInteger(text, nullptr, value, base, 0);
    return value;
}

bool BASisInt(const char *text)
{
    const char *end = nullptr;
    int64_t value;
    return BASparseInteger(text, &end, value, 10, BAS_PARSE_NO_BLANKS) && *end == '\0';
}
