#include <ZEL/ZEL_ScriptQuote.h>

#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>

namespace
{

/// The character after the backslash in this character's escape; 0 if it needs none.
char escapeLetter(char c)
{
    switch (c) {
    case '\n': return 'n';
    case '\r': return 'r';
    case '"': return '"';
    case '\\': return '\\';
    default: return '\0';
    }
}

} // namespace

void ZELprotectString(KIT_WorkBuffer &out, const char *text, bool quoteEmpty, bool smartQuotes)
{
    const KIT_String borrowed(text);
    if (borrowed.isEmpty()) {
        out.append(quoteEmpty ? "\"\"" : "");
        return;
    }
    const bool quotesFlag = smartQuotes && (borrowed.hasWhiteSpace() || borrowed.findChar('"'));
    if (quotesFlag) {
        out.append('"');
    }
    for (; *text; text++) {
        if (const char letter = escapeLetter(*text)) {
            out.append('\\');
            out.append(letter);
        } else {
            out.append(*text);
        }
    }
    if (quotesFlag) {
        out.append('"');
    }
}
