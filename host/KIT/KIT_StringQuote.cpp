// The quoted form of KIT_String and the resolving of escapes.

#include <KIT/KIT_EscapePrivate.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>

#include <algorithm>
#include <cstring>
#include <ostream>

namespace
{
bool isControl(char c)
{
    const unsigned char byte = static_cast<unsigned char>(c);
    return byte < 32 || byte == 127;
}

/// The letter that escapes a control byte after a backslash; 0 if it is written in octal.
char escapeLetter(char c)
{
    switch (c) {
    case '\n': return 'n';
    case '\r': return 'r';
    case '\t': return 't';
    default: return '\0';
    }
}

/// The byte that this letter after a backslash means; 0 if none.
char escapedByte(char letter)
{
    static constexpr char theLetters[] = "nrtabfv\"\\'`";
    static constexpr char theBytes[] = "\n\r\t\a\b\f\v\"\\'`";
    static_assert(sizeof(theLetters) == sizeof(theBytes), "one byte for each letter");
    const char *const found = letter ? std::strchr(theLetters, letter) : nullptr;
    return found ? theBytes[found - theLetters] : '\0';
}
} // namespace

void KITappendQuoted(KIT_WorkBuffer &out, const char *text, size_t length, char quote)
{
    out.append(quote);
    size_t plain = 0;
    for (size_t i = 0; i < length; i++) {
        const char c = text[i];
        if (c != quote && c != '\\' && !isControl(c)) {
            continue;
        }
        out.append(text + plain, i - plain);
        plain = i + 1;
        out.append('\\');
        if (!isControl(c)) {
            out.append(c);
        } else if (const char letter = escapeLetter(c)) {
            out.append(letter);
        } else {
            const int byte = static_cast<unsigned char>(c);
            const char octal[] = {static_cast<char>('0' + (byte >> 6)),
                                  static_cast<char>('0' + ((byte >> 3) & 7)),
                                  static_cast<char>('0' + (byte & 7))};
            out.append(octal, sizeof(octal));
        }
    }
    out.append(text + plain, length - plain);
    out.append(quote);
}

bool KIT_String::needsEscapes(std::string_view text, char quote)
{
    // Without an early way out, so that the compiler can test many bytes at once.
    unsigned char found = 0;
    for (const char c : text) {
        found |= static_cast<unsigned char>(c == quote || c == '\\' || isControl(c));
    }
    return found != 0;
}

void KIT_String::makeSmartQuotedString(char quote)
{
    KIT_WorkBuffer quoted;
    KITappendQuoted(quoted, nonNullStr(), length(), quote);
    quoted.copyIntoString(*this);
}

int KIT_String::expandControlSequences(int /*flags*/)
{
    if (!findChar('\\')) {
        return 0;
    }
    harden();
    if (!isHard()) {
        return 0;
    }
    const char *from = myText;
    char *to = writable();
    int count = 0;
    while (*from) {
        const char letter = *from == '\\' ? escapedByte(from[1]) : '\0';
        const char octal = *from == '\\' && !letter ? KIToctalByte(from + 1) : '\0';
        if (letter || octal) {
            *to++ = letter ? letter : octal;
            from += letter ? 2 : 4;
            count++;
        } else {
            // The byte after a backslash without meaning must not start an escape itself.
            if (*from == '\\' && from[1]) {
                *to++ = *from++;
            }
            *to++ = *from++;
        }
    }
    *to = '\0';
    myLength = static_cast<size_t>(to - myText);
    return count;
}

void KIT_String::save(std::ostream &os, bool binary) const
{
    if (!binary) {
        os << *this;
        return;
    }
    KITwriteText(os, view());
}

std::ostream &operator<<(std::ostream &os, const KIT_String &text)
{
    KIT_WorkBuffer quoted;
    KITappendQuoted(quoted, text.nonNullStr(), text.length());
    return os.write(quoted.buffer(), static_cast<std::streamsize>(quoted.length()));
}
