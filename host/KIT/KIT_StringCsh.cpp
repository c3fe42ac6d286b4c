// Words of command lines.

#include <KIT/KIT_String.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_EscapePrivate.h>
#include <KIT/KIT_WorkArgs.h>
#include <KIT/KIT_WorkBuffer.h>

#include <cstring>

namespace
{

/// These append the text of the run at `at` and return where it ends.
const char *takePlainRun(const char *at, KIT_WorkBuffer &out)
{
    const char *const end = std::strchr(at + 1, '\'');
    const size_t length = end ? static_cast<size_t>(end - at - 1) : std::strlen(at + 1);
    out.append(std::string_view(at + 1, length));
    return end ? end + 1 : at + 1 + length;
}

const char *takeQuotedRun(const char *at, KIT_WorkBuffer &out)
{
    ++at;
    while (*at && *at != '"') {
        if (*at == '\\' && at[1] && std::strchr("\"\\$`", at[1])) {
            out.append(at[1]);
            at += 2;
        } else if (const char byte = *at == '\\' ? KIToctalByte(at + 1) : '\0') {
            out.append(byte);
            at += 4;
        } else {
            out.append(*at++);
        }
    }
    return *at ? at + 1 : at;
}

const char *takeBacktickRun(const char *at, KIT_WorkBuffer &out)
{
    out.append(*at++);
    while (*at && *at != '`') {
        if (*at == '\\' && at[1]) {
            out.append(*at++);
        }
        out.append(*at++);
    }
    if (*at) {
        out.append(*at++);
    }
    return at;
}

const char *takePiece(const char *at, KIT_WorkBuffer &out)
{
    switch (*at) {
    case '\'': return takePlainRun(at, out);
    case '"': return takeQuotedRun(at, out);
    case '`': return takeBacktickRun(at, out);
    case '\\': at += at[1] ? 1 : 0; break;
    default: break;
    }
    out.append(*at);
    return at + 1;
}

} // namespace

int KIT_String::cshParse(KIT_WorkArgs &words, bool keepQuotes) const
{
    words.clear();
    KIT_WorkBuffer word;
    for (const char *at = nonNullStr();;) {
        while (BASisBlank(*at)) {
            ++at;
        }
        if (!*at) {
            return static_cast<int>(words.entries());
        }
        const char *const start = at;
        word.clear();
        while (*at && !BASisBlank(*at)) {
            at = takePiece(at, word);
        }
        words.append(keepQuotes ? std::string_view(start, static_cast<size_t>(at - start))
                                : word.view());
    }
}
