#include <KIT/KIT_VarEncode.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>

namespace
{
constexpr std::string_view thePrefix = "xn__";
constexpr char theHexDigits[] = "0123456789abcdef";

bool isCoded(std::string_view text)
{
    return text.substr(0, thePrefix.size()) == thePrefix;
}

bool isPlain(std::string_view text)
{
    return !isCoded(text) && std::all_of(text.begin(), text.end(),
                                         [](char c) { return BASisWordChar(c) || c == '#'; });
}

void encode(std::string_view text, KIT_WorkBuffer &out)
{
    if (isPlain(text)) {
        out.append(text);
        return;
    }
    out.append(thePrefix);
    for (const char c : text) {
        if (c == '_') {
            out.append("__", 2);
        } else if (BASisWordChar(c) || c == '#') {
            out.append(c);
        } else {
            const unsigned byte = static_cast<unsigned char>(c);
            const char code[] = {'_', theHexDigits[byte >> 4], theHexDigits[byte & 15]};
            out.append(code, sizeof(code));
        }
    }
}

/// The value of a lower-case hexadecimal digit; -1 for another character or the end.
int hexValue(std::string_view text, size_t at)
{
    const char *const end = theHexDigits + 16;
    const char *const found = at < text.size() ? std::find(theHexDigits + 0, end, text[at]) : end;
    return found == end ? -1 : static_cast<int>(found - theHexDigits);
}

/// False when the text is not a code.
bool decodeBody(std::string_view body, KIT_WorkBuffer &out)
{
    for (size_t i = 0; i < body.size(); i++) {
        if (body[i] != '_') {
            out.append(body[i]);
        } else if (i + 1 < body.size() && body[i + 1] == '_') {
            out.append('_');
            i++;
        } else {
            const int high = hexValue(body, i + 1);
            const int low = hexValue(body, i + 2);
            if (high < 0 || low < 0 || (high | low) == 0) {
                return false;
            }
            out.append(static_cast<char>(high * 16 + low));
            i += 2;
        }
    }
    return true;
}

void decode(std::string_view text, KIT_WorkBuffer &out)
{
    KIT_WorkBuffer decoded;
    KIT_WorkBuffer again;
    // Only what encoding would have produced is a code: anything else is an ordinary name.
    if (isCoded(text) && decodeBody(text.substr(thePrefix.size()), decoded)) {
        encode(decoded.view(), again);
        if (again.view() == text) {
            out.append(decoded);
            return;
        }
    }
    out.append(text);
}
} // namespace

void KIT_VarEncode::encodeParm(KIT_String &text)
{
    if (!isPlain(text.view())) {
        KIT_WorkBuffer out;
        encode(text.view(), out);
        out.copyIntoString(text);
    }
}

void KIT_VarEncode::encodeParm(const char *text, KIT_WorkBuffer &out)
{
    if (text) {
        encode(text, out);
    }
}

void KIT_VarEncode::decodeParm(KIT_String &text)
{
    if (isCoded(text.view())) {
        KIT_WorkBuffer out;
        decode(text.view(), out);
        out.copyIntoString(text);
    }
}

void KIT_VarEncode::decodeParm(const char *text, KIT_WorkBuffer &out)
{
    if (text) {
        decode(text, out);
    }
}
