#include <NOD/difference/NOD_BriefTextPrivate.h>

#include <BAS/BAS_Character.h>

std::string NODcutText(std::string text, std::size_t longest)
{
    if (text.size() <= longest) {
        return text;
    }
    std::size_t end = longest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U) {
        --end; // not within a character
    }
    return text.substr(0, end) + " ...";
}

std::string NODescapedText(std::string_view text)
{
    constexpr const char *theDigits = "0123456789abcdef";
    std::string escaped;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n' || c == '\t' || c == '\r') {
            escaped += c == '\n' ? "\\n" : c == '\t' ? "\\t" : "\\r";
        } else if (byte < 0x20 || byte == 0x7f) {
            escaped += std::string("\\x") + theDigits[byte >> 4U] + theDigits[byte & 0xfU];
        } else {
            escaped += c;
        }
    }
    return escaped;
}

std::string NODcollapsedText(std::string_view text)
{
    std::string collapsed;
    bool blankFlag = false;
    for (const char c : text) {
        if (BASisBlank(c)) {
            blankFlag = !collapsed.empty();
            continue;
        }
        collapsed += blankFlag ? " " : "";
        collapsed += c;
        blankFlag = false;
    }
    return collapsed;
}
