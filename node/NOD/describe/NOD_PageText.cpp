#include <NOD/describe/NOD_PageTextPrivate.h>

#include <BAS/BAS_Utf8.h>

#include <cstddef>

namespace
{

constexpr const char *theReplacement = "\xef\xbf\xbd";

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
        const std::size_t length = BASprintableLength(text);
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
