#include <TRK/TRK_ExpressionFunctions.h>

#include <TRK/TRK_Types.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <string>

namespace
{

using Kind = TRK_FunctionKind;
using Type = TRK_Expression::Type;
using Code = TRK_Expression::Code;
using TextCall = TRK_Expression::TextCall;

constexpr double thePi = 3.14159265358979323846;
constexpr double theRadians = thePi / 180.0;

/// The mixing steps of a 64-bit hash (S. Vigna, splitmix64, 2015) over the argument's bits.
double randomOf(double seed)
{
    if (seed == 0.0) {
        seed = 0.0; // -0.0 counts as 0.0
    }
    uint64_t bits;
    std::memcpy(&bits, &seed, sizeof(bits));
    bits += 0x9e3779b97f4a7c15u;
    bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9u;
    bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebu;
    bits ^= bits >> 31;
    return static_cast<double>(bits >> 11) * 0x1.0p-53;
}

double fit(double v, double oldMin, double oldMax, double newMin, double newMax)
{
    if (oldMin == oldMax) {
        return newMin;
    }
    const double u = std::fmin(std::fmax((v - oldMin) / (oldMax - oldMin), 0.0), 1.0);
    return newMin + (newMax - newMin) * u;
}

double smooth(double low, double high, double v)
{
    const double u = fit(v, low, high, 0.0, 1.0);
    return u * u * (3.0 - 2.0 * u);
}

double norm(const double *args, int count)
{
    double length = 0.0;
    for (int i = 0; i < count; ++i) {
        length = std::hypot(length, args[i]);
    }
    return length;
}

// Exact at the quarter turns, where converting to radians would round.
double sineOfDegrees(double degrees)
{
    const double turn = std::fmod(degrees, 360.0);
    if (std::fmod(turn, 90.0) == 0.0) {
        const int quarter = (static_cast<int>(turn / 90.0) + 4) & 3;
        return quarter == 1 ? 1.0 : quarter == 3 ? -1.0 : 0.0;
    }
    return std::sin(turn * theRadians);
}

double cosineOfDegrees(double degrees)
{
    const double turn = std::fmod(degrees, 360.0);
    return std::fmod(turn, 90.0) == 0.0 ? sineOfDegrees(turn + 90.0) : std::cos(turn * theRadians);
}

double tangentOfDegrees(double degrees, bool &failed)
{
    const double turn = std::fmod(degrees, 180.0);
    failed = std::fabs(turn) == 90.0;
    return turn == 0.0 || failed ? 0.0 : std::tan(turn * theRadians);
}

// One function of numbers: the expression uses its arguments as a[0], a[1], ..., their count as n,
// and sets failed if the arguments are invalid.
#define NUMERIC(EXPRESSION)                                                                        \
    [](const double *a, int n, bool &failed) -> double {                                           \
        (void)a, (void)n, (void)failed;                                                            \
        return EXPRESSION;                                                                         \
    }

double least(const double *a, int n)
{
    double result = a[0];
    for (int i = 1; i < n; ++i) {
        result = a[i] < result ? a[i] : result;
    }
    return result;
}

double greatest(const double *a, int n)
{
    double result = a[0];
    for (int i = 1; i < n; ++i) {
        result = a[i] > result ? a[i] : result;
    }
    return result;
}

bool textLength(TextCall &call)
{
    call.number = static_cast<double>(call.texts[0].length());
    return true;
}

bool partOfText(TextCall &call)
{
    KIT_String &text = call.texts[0];
    const double length = static_cast<double>(text.length());
    const double start = std::fmin(std::fmax(call.numbers[0], 0.0), length);
    const double count = call.count > 2 ? call.numbers[1] : length;
    const double size = std::fmin(std::fmax(count, 0.0), length - start);
    KIT_String part;
    part.harden(text.nonNullStr() + static_cast<size_t>(start), static_cast<size_t>(size));
    text.adopt(part);
    return true;
}

/// Changes the case of the letters from \p first to \p last.
void changeCase(KIT_String &text, char first, char last)
{
    std::string changed = text.toStdString();
    for (char &c : changed) {
        if (c >= first && c <= last) {
            c = static_cast<char>(c ^ 0x20);
        }
    }
    text = changed;
}

bool toUpper(TextCall &call)
{
    changeCase(call.texts[0], 'a', 'z');
    return true;
}

bool toLower(TextCall &call)
{
    changeCase(call.texts[0], 'A', 'Z');
    return true;
}

// clang-format off
const TRK_FunctionEntry theFunctions[] = {
    {"abs",      Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::fabs(a[0]))},
    {"sign",     Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(a[0] > 0.0 ? 1.0 : a[0] < 0.0 ? -1.0 : 0.0)},
    {"sin",      Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(sineOfDegrees(a[0]))},
    {"cos",      Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(cosineOfDegrees(a[0]))},
    {"tan",      Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(tangentOfDegrees(a[0], failed))},
    {"asin",     Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::asin(a[0]) / theRadians)},
    {"acos",     Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::acos(a[0]) / theRadians)},
    {"atan",     Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::atan(a[0]) / theRadians)},
    {"atan2",    Kind::NUMBERS, "nn",     Type::NUMBER, NUMERIC(std::atan2(a[0], a[1]) / theRadians)},
    {"sqrt",     Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::sqrt(a[0]))},
    {"exp",      Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::exp(a[0]))},
    {"log",      Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::log(a[0]))},
    {"log10",    Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::log10(a[0]))},
    {"pow",      Kind::NUMBERS, "nn",     Type::NUMBER, NUMERIC(std::pow(a[0], a[1]))},
    {"floor",    Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::floor(a[0]))},
    {"ceil",     Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::ceil(a[0]))},
    {"round",    Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(std::floor(a[0] + 0.5))},
    {"int",      Kind::NUMBERS, "n",      Type::NUMBER, TRKtruncate},
    {"frac",     Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(a[0] - std::floor(a[0]))},
    {"min",      Kind::NUMBERS, "n*",     Type::NUMBER, NUMERIC(least(a, n))},
    {"max",      Kind::NUMBERS, "n*",     Type::NUMBER, NUMERIC(greatest(a, n))},
    {"clamp",    Kind::NUMBERS, "nnn",    Type::NUMBER, NUMERIC(a[0] < a[1] ? a[1] : a[0] > a[2] ? a[2] : a[0])},
    {"fit",      Kind::NUMBERS, "nnnnn",  Type::NUMBER, NUMERIC(fit(a[0], a[1], a[2], a[3], a[4]))},
    {"lerp",     Kind::NUMBERS, "nnn",    Type::NUMBER, NUMERIC(a[0] + (a[1] - a[0]) * a[2])},
    {"smooth",   Kind::NUMBERS, "nnn",    Type::NUMBER, NUMERIC(smooth(a[0], a[1], a[2]))},
    {"rand",     Kind::NUMBERS, "n",      Type::NUMBER, NUMERIC(randomOf(a[0]))},
    {"length",   Kind::NUMBERS, "n*",     Type::NUMBER, NUMERIC(norm(a, n))},
    {"distance", Kind::NUMBERS, "nnnnnn", Type::NUMBER,
        NUMERIC(std::hypot(std::hypot(a[3] - a[0], a[4] - a[1]), a[5] - a[2]))},
    {"strcmp",   Kind::OPERATION, "ss",   Type::NUMBER, nullptr, nullptr, int(Code::COMPARE)},
    {"strlen",   Kind::TEXTS,     "s",    Type::NUMBER, nullptr, textLength},
    {"strcat",   Kind::OPERATION, "s*",   Type::STRING, nullptr, nullptr, int(Code::JOIN)},
    {"substr",   Kind::TEXTS,     "sn?n", Type::STRING, nullptr, partOfText},
    {"toupper",  Kind::TEXTS,     "s",    Type::STRING, nullptr, toUpper},
    {"tolower",  Kind::TEXTS,     "s",    Type::STRING, nullptr, toLower},
    {"atof",     Kind::OPERATION, "s",    Type::NUMBER, nullptr, nullptr, int(Code::TO_NUMBER)},
    {"itoa",     Kind::NUMBERS,   "n",    Type::STRING, TRKtruncate},
    {"ch",       Kind::CHANNEL,      "s?n", Type::NUMBER},
    {"chf",      Kind::CHANNEL,      "s?n", Type::NUMBER},
    {"chi",      Kind::CHANNEL_INT,  "s?n", Type::NUMBER},
    {"chs",      Kind::CHANNEL_TEXT, "s?n", Type::STRING},
    {"chsop",    Kind::CHANNEL_TEXT, "s?n", Type::STRING},
#define TRK_INTERPOLATOR(ENUMERATOR, WORD, FUNCTION) \
    {WORD, Kind::INTERPOLATOR, "", Type::NUMBER, nullptr, nullptr, TRK_INTERP_##ENUMERATOR},
#include <TRK/TRK_Interpolators.def>
    {"if",       Kind::CONDITION, "", Type::ANY},
};
// clang-format on
#undef NUMERIC

} // namespace

double TRKtruncate(const double *args, int, bool &)
{
    return std::trunc(args[0]);
}

const TRK_FunctionEntry *TRKfindFunction(const char *name, size_t length)
{
    for (const TRK_FunctionEntry &entry : theFunctions) {
        if (std::strlen(entry.name) == length && std::memcmp(entry.name, name, length) == 0) {
            return &entry;
        }
    }
    return nullptr;
}

bool TRKisMonotone(TRK_Expression::NumberFunction function)
{
    // clamp() isn't where its limits cross.
    constexpr const char *theMonotone[] = {"sign", "floor", "ceil", "round", "int", "min", "max"};
    return std::any_of(std::begin(theMonotone), std::end(theMonotone), [&](const char *name) {
        return TRKfindFunction(name, std::strlen(name))->function == function;
    });
}

int TRKleastArguments(const char *signature)
{
    return static_cast<int>(std::strcspn(signature, "*?"));
}

int TRKmostArguments(const char *signature)
{
    if (std::strchr(signature, '*') != nullptr) {
        return 255;
    }
    const int marks = std::strchr(signature, '?') != nullptr ? 1 : 0;
    return static_cast<int>(std::strlen(signature)) - marks;
}

bool TRKargumentIsText(const char *signature, int index)
{
    char kind = 'n';
    for (const char *c = signature; *c != '\0'; ++c) {
        if (*c == '*') {
            break;
        }
        if (*c == '?') {
            continue;
        }
        kind = *c;
        if (index-- == 0) {
            break;
        }
    }
    return kind == 's';
}
