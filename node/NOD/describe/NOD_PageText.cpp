#include <NOD/describe/NOD_PageTextPrivate.h>

#include <cstddef>

namespace
{

constexpr const char *theReplacement = "\xef\xbf\xbd";

unsigned byteAt(std::string_view text, std::size_t place)
{
    return place < text.size() ? static_cast<unsigned char>(text[place]) : 0u;
}

/// The bytes of the character in front; 0 if it isn't one for a page.
std::size_t characterLength(std::string_view text)
{
    const unsigned first = byteAt(text, 0);
    const unsigned second = byteAt(text, 1);
    if (first < 0x80) {
        return (first >= ' ' && first != 0x7f) || first == '\n' || first == '\t' ? 1 : 0;
    }
    const std::size_t length = first < 0xc2   ? 0
                               : first < 0xe0 ? 2
                               : first < 0xf0 ? 3
                               : first < 0xf5 ? 4
                                              : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(text, i) & 0xc0) != 0x80) {
            return 0;
        }
    }
    // Controls above 127, longer forms than a character has, surrogates, and what is above all characters.
    const bool refusedFlag = (first == 0xc2 && second < 0xa0) || (first == 0xe0 && second < 0xa0) ||
                             (first == 0xed && second > 0x9f) || (first == 0xf0 && second < 0x90) ||
                             (first == 0xf4 && second > 0x8f);
    return refusedFlag ? 0 : length;
}

std::string oneLine(std::string_view text)
{
    std::string out = NODplainText(text);
    for (char &c : out) {
        c = c == '\n' || c == '\t' ? ' ' : c;
    }
    const std::size_t first = out.find_first_not_of(' ');
    out.erase(0, first == std::string::npos ? out.size() : first);
    out.erase(out.find_last_not_of(' ') + 1);
    return out;
}

} // namespace

std::string NODplainText(std::string_view text)
{
    std::string out;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        out += length ? text.substr(0, length) : std::string_view(theReplacement);
        text.remove_prefix(length ? length : 1);
    }
    return out;
}

std::string NODhtmlText(std::string_view text)
{
    std::string out;
    for (const char c : NODplainText(text)) {
        out += c == '&'   ? std::string("&amp;")
               : c == '<' ? std::string("&lt;")
               : c == '>' ? std::string("&gt;")
               : c == '"' ? std::string("&quot;")
                          : std::string(1, c);
    }
    return out;
}

std::string NODmarkdownText(std::string_view text)
{
    constexpr std::string_view theMarks = "\\`*_{}[]<>#|&~$!";
    constexpr std::string_view theStarts = "-+=.)"; // of lists and rulers, a number's point too
    const std::string plain = oneLine(text);
    const std::size_t start = plain.find_first_not_of("0123456789");
    std::string out;
    for (std::size_t i = 0; i < plain.size(); ++i) {
        if (theMarks.find(plain[i]) != std::string_view::npos ||
            (i == start && theStarts.find(plain[i]) != std::string_view::npos)) {
            out += '\\';
        }
        out += plain[i];
    }
    return out;
}

std::string NODmarkdownCode(std::string_view text)
{
    const std::string plain = oneLine(text);
    std::string fence = "`";
    while (plain.find(fence) != std::string::npos) {
        fence += '`';
    }
    const bool blankFlag = fence.size() > 1 || plain.empty();
    return fence + (blankFlag ? " " : "") + plain + (blankFlag ? " " : "") + fence;
}
