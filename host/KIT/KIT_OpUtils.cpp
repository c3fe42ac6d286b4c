#include <KIT/KIT_OpUtils.h>

#include <BAS/BAS_Character.h>

namespace
{

constexpr char theDigits[] = "0123456789ABCDEF";

int digitValue(char c)
{
    if (BASisDigit(c)) {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool fitsFileName(char c)
{
    return BASisWordChar(c) || c == '-' || c == '.';
}

bool fitsSection(char c)
{
    return c != '?' && c != '/';
}

} // namespace

std::string KIT_OpUtils::encodeBytes(std::string_view text, bool (*keep)(char c))
{
    std::string out;
    for (const char c : text) {
        if (c != '%' && keep(c)) {
            out += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            out += {'%', theDigits[byte >> 4], theDigits[byte & 15]};
        }
    }
    return out;
}

std::string KIT_OpUtils::decodeBytes(std::string_view text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool coded = text[i] == '%' && i + 2 < text.size() && digitValue(text[i + 1]) >= 0 &&
                           digitValue(text[i + 2]) >= 0;
        if (coded) {
            out += static_cast<char>(digitValue(text[i + 1]) * 16 + digitValue(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string KIT_OpUtils::encodeSectionName(std::string_view name)
{
    return encodeBytes(name, fitsSection);
}

void KIT_OpUtils::ensureValidOpBasedFileName(KIT_String &name)
{
    std::string file = encodeBytes(name.view(), fitsFileName);
    // A leading dot hides a file, and "." and ".." are folders.
    if (!file.empty() && file[0] == '.') {
        file.replace(0, 1, "%2E");
    }
    // No other name is encoded as a "%" alone.
    name = file.empty() ? std::string("%") : file;
}

KIT_String KIT_OpUtils::combineTableAndOpName(const char *table, const char *opName)
{
    return KIT_String(std::string(table ? table : "") + "/" + (opName ? opName : ""));
}

KIT_String KIT_OpUtils::combineOpIndexFileSectionPath(const char *prefix, const char *tableAndOp,
                                                      const char *section)
{
    return KIT_String(std::string(prefix ? prefix : "") + "/" + (tableAndOp ? tableAndOp : "") +
                      "?" + encodeSectionName(section ? section : ""));
}

bool KIT_OpUtils::isDefinitionPath(const char *path)
{
    return KIT_String(path).startsWith(theDefinitionPrefix);
}
