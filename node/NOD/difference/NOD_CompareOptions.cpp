#include <NOD/NOD_CompareOptions.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Report.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace
{

/// On one scale, so that neighbours are 1 apart.
std::int64_t rankOf(double number)
{
    std::int64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    constexpr std::int64_t theLowest = std::numeric_limits<std::int64_t>::min();
    return bits < 0 ? theLowest - bits : bits;
}

bool parseAll(std::string_view text, double &number)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

/// A number, or a word that a channel file has for one.
bool numberOf(const NOD_Value &value, double &number)
{
    if (const auto *plain = std::get_if<double>(&value)) {
        number = *plain;
        return true;
    }
    if (const auto *whole = std::get_if<std::int64_t>(&value)) {
        number = double(*whole);
        return true;
    }
    return false;
}

bool numberOfWord(const NOD_Value &value, double &number)
{
    const auto *text = std::get_if<std::string>(&value);
    return text && parseAll(*text, number);
}

/// The token that the path is about, as its block has it.
std::string_view tokenOf(const NOD_RecordPath &path)
{
    for (auto step = path.rbegin(); step != path.rend(); ++step) {
        if (step->kind == NOD_RecordKind::PARM || step->kind == NOD_RecordKind::CHANNEL ||
            step->kind == NOD_RecordKind::DECLARATION) {
            return step->name;
        }
    }
    return {};
}

bool matches(const std::string &pattern, const NOD_RecordPath &path)
{
    if (!pattern.empty() && pattern[0] == ':') {
        return pattern.compare(1, std::string::npos, NODtraitsOf(path.back().kind).word) == 0;
    }
    return KIT_String::matchPattern(std::string(tokenOf(path)).c_str(), pattern.c_str());
}

bool isWordByte(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == '$' ||
           static_cast<unsigned char>(c) >= 0x80;
}

/// Whether the two would be read as one without a blank between them.
bool needsBlank(char before, char after)
{
    constexpr std::string_view theOperators = "&|<>=!";
    return (isWordByte(before) && isWordByte(after)) ||
           (theOperators.find(before) != std::string_view::npos &&
            theOperators.find(after) != std::string_view::npos);
}

std::string expressionOf(const NOD_Value &value)
{
    const auto *text = std::get_if<std::string>(&value);
    return text ? NODexpressionWords(*text) : std::string();
}

} // namespace

bool NOD_Tolerance::allows(double left, double right) const
{
    if (left == right || (std::isnan(left) && std::isnan(right))) {
        return true;
    }
    if (!std::isfinite(left) || !std::isfinite(right)) {
        return false;
    }
    const double apart = std::fabs(left - right);
    if (apart <= absolute || apart <= relative * std::max(std::fabs(left), std::fabs(right))) {
        return true;
    }
    const bool signFlag = std::signbit(left) == std::signbit(right);
    return lastPlaces > 0 && signFlag &&
           std::llabs(rankOf(left) - rankOf(right)) <= std::int64_t(lastPlaces);
}

bool NOD_Tolerance::parse(const std::string &text, NOD_Tolerance &tolerance, NOD_Report &report)
{
    const std::size_t equals = text.rfind('=');
    std::string_view rest(text);
    tolerance = NOD_Tolerance();
    if (equals != std::string::npos) {
        tolerance.pattern = text.substr(0, equals);
        rest.remove_prefix(equals + 1);
    }
    const auto take = [&](std::string_view end) {
        const bool found = rest.size() > end.size() && rest.substr(rest.size() - end.size()) == end;
        rest.remove_suffix(found ? end.size() : 0);
        return found;
    };
    const bool places = take("ulp");
    const bool share = !places && take("%");
    double number = 0.0;
    constexpr double theMostPlaces = 1e9;
    if (!parseAll(rest, number) || !(number >= 0.0) || !std::isfinite(number) ||
        (places && (number > theMostPlaces || number != std::floor(number)))) {
        report.error("", "\"" + text +
                             "\" is no tolerance: it is a number, as 0.001, 0.1% or 4ulp, "
                             "with PATTERN= in front");
        return false;
    }
    tolerance.lastPlaces = places ? int(number) : 0;
    tolerance.relative = share ? number / 100.0 : 0.0;
    tolerance.absolute = places || share ? 0.0 : number;
    return true;
}

bool NOD_CompareOptions::isSame(const NOD_RecordPath &path, const NOD_Value &left,
                                const NOD_Value &right) const
{
    if (NODisSameValue(left, right)) {
        return true;
    }
    const NOD_Comparison comparison = NODtraitsOf(path.back().kind).comparison;
    if (isExact || comparison == NOD_Comparison::PLAIN || left.index() != right.index()) {
        return false;
    }
    if (comparison == NOD_Comparison::EXPRESSION) {
        return expressionOf(left) == expressionOf(right);
    }
    // A text that is a value is one; only a channel's numbers are words.
    const bool wordFlag = path.back().kind != NOD_RecordKind::VALUE;
    double a = 0.0;
    double b = 0.0;
    const bool numbers = (numberOf(left, a) && numberOf(right, b)) ||
                         (wordFlag && numberOfWord(left, a) && numberOfWord(right, b));
    if (!numbers) {
        return false;
    }
    const auto found =
        std::find_if(tolerances.rbegin(), tolerances.rend(),
                     [&](const NOD_Tolerance &one) { return matches(one.pattern, path); });
    return found != tolerances.rend() ? found->allows(a, b) : a == b;
}

bool NOD_CompareOptions::hasOrder(NOD_RecordKind kind) const
{
    const NOD_Siblings siblings = NODtraitsOf(kind).siblings;
    return siblings == NOD_Siblings::ORDERED || siblings == NOD_Siblings::TREE ||
           (isExact && siblings == NOD_Siblings::LISTED);
}

bool NOD_CompareOptions::counts(NOD_RecordKind kind) const
{
    return isExact || NODtraitsOf(kind).comparison != NOD_Comparison::LAYOUT;
}

std::string NODexpressionWords(const std::string &expression)
{
    std::string words;
    char quote = 0;
    bool blankFlag = false;
    for (std::size_t i = 0; i < expression.size(); ++i) {
        const char c = expression[i];
        if (quote == 0 && BASisBlank(c)) {
            blankFlag = true;
            continue;
        }
        if (blankFlag && !words.empty() && needsBlank(words.back(), c)) {
            words += ' ';
        }
        blankFlag = false;
        words += c;
        if (quote != 0 && c == '\\' && i + 1 < expression.size()) {
            words += expression[++i];
        } else if (quote == c) {
            quote = 0;
        } else if (quote == 0 && (c == '"' || c == '\'')) {
            quote = c;
        }
    }
    return words;
}
