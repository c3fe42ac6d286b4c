// The two forms of a text: a literal with expressions in backticks, and one expression.

#include <ZEL/ZEL_String.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>

#include <cstring>

namespace
{

constexpr const char *theOperators = "!%&*+-/<=>|";

/// What is between two backticks.
struct Backtick
{
    const char *end = nullptr; ///< the closing backtick, or the end of the text
    bool hasOperator = false;  ///< outside of quotes
};

Backtick scanBacktick(const char *text)
{
    Backtick found;
    char quote = '\0';
    for (; *text; ++text) {
        if (*text == '\\' && text[1] && std::strchr("\\'\"", text[1])) {
            ++text;
        } else if (quote) {
            quote = *text == quote ? '\0' : quote;
        } else if (*text == '"' || *text == '\'') {
            quote = *text;
        } else if (*text == '`') {
            break;
        } else if (std::strchr(theOperators, *text)) {
            found.hasOperator = true;
        }
    }
    found.end = text;
    return found;
}

bool isBraceBlock(const char *text)
{
    while (BASisBlank(*text)) {
        ++text;
    }
    return *text == '{';
}

/// Appends a character of a quoted piece, or the pair that a backslash forms; returns the bytes
/// used.
std::size_t appendQuotedCharacter(KIT_WorkBuffer &out, const char *text)
{
    if (*text == '\\') {
        out.append('\\');
        // A backslash at the end of the text would escape the closing quote.
        out.append(text[1] ? text[1] : '\\');
        return text[1] ? 2 : 1;
    }
    if (*text == '"') {
        out.append('\\');
    }
    out.append(*text);
    return 1;
}

/// Walks an expression and writes its literal form.
class LiteralWriter
{
public:
    void write(const char *text)
    {
        while (*text) {
            switch (myState) {
            case State::OUTSIDE: text += takeOutside(text); break;
            case State::QUOTED: text += takeQuoted(text); break;
            case State::BACKTICK: text += takeBacktick(text); break;
            }
        }
        if (myState == State::BACKTICK && myParentheses == 0) {
            myOut.append('`');
        }
    }

    const KIT_WorkBuffer &result() const { return myOut; }

private:
    enum class State
    {
        OUTSIDE,
        QUOTED,
        BACKTICK
    };

    std::size_t copy(const char *text)
    {
        const std::size_t length = *text == '\\' && text[1] ? 2 : 1;
        myOut.append(text, length);
        return length;
    }
    void enter()
    {
        myOut.append('`');
        myState = State::BACKTICK;
        myParentheses = 0;
        myBraces = 0;
        myDropsParenthesis = false;
    }
    void leave()
    {
        myOut.append('`');
        myState = State::OUTSIDE;
    }

    std::size_t takeOutside(const char *text)
    {
        if (BASisBlank(*text) || *text == '+') {
            return 1;
        }
        if (*text == '"') {
            myState = State::QUOTED;
            return 1;
        }
        enter();
        if (*text == '(') {
            myParentheses = 1;
            myDropsParenthesis = true;
            return 1;
        }
        myBraces = *text == '{' ? 1 : 0;
        return copy(text);
    }

    std::size_t takeQuoted(const char *text)
    {
        if (*text == '"') {
            myState = State::OUTSIDE;
            return 1;
        }
        return copy(text);
    }

    std::size_t takeBacktick(const char *text)
    {
        switch (*text) {
        case '+':
            if (myParentheses == 0 && myBraces == 0) {
                leave();
                return 1;
            }
            break;
        case '(': ++myParentheses; break;
        case '{': ++myBraces; break;
        case ')':
            if (--myParentheses == 0 && myBraces == 0 && myDropsParenthesis) {
                leave();
                return 1;
            }
            break;
        case '}':
            myOut.append('}');
            if (--myBraces == 0 && myParentheses == 0) {
                leave();
            }
            return 1;
        default: break;
        }
        return copy(text);
    }

    KIT_WorkBuffer myOut;
    State myState = State::OUTSIDE;
    int myParentheses = 0;
    int myBraces = 0;
    bool myDropsParenthesis = false; // the outermost one was not written
};

} // namespace

void ZEL_String::convertToExprLanguage(const char *text, KIT_WorkBuffer &out)
{
    out.clear();
    if (!text || !*text) {
        out.append("\"\"");
        return;
    }
    const char *const begin = text;
    bool quoted = false;
    while (*text) {
        if (*text != '`') {
            if (!quoted) {
                out.append(text == begin ? "\"" : "+\"");
                quoted = true;
            }
            text += appendQuotedCharacter(out, text);
            continue;
        }
        if (quoted) {
            out.append("\"+");
            quoted = false;
        }
        ++text;
        const Backtick found = scanBacktick(text);
        const bool grouped = found.hasOperator && !isBraceBlock(text);
        out.append(grouped ? "(" : "");
        out.append(text, static_cast<std::size_t>(found.end - text));
        out.append(grouped ? ")" : "");
        text = *found.end ? found.end + 1 : found.end;
    }
    out.append(quoted ? "\"" : "");
}

void ZEL_String::convertFromExprLanguage(const char *text, KIT_String &out)
{
    LiteralWriter writer;
    writer.write(text ? text : "");
    writer.result().copyIntoString(out);
}

bool ZEL_String::isStringThatCanExpand(const char *text)
{
    if (!text) {
        return false;
    }
    if (std::strstr(text, "!!ch(")) {
        return true;
    }
    for (; *text; ++text) {
        if (*text == '$' || *text == '`') {
            return true;
        }
        if (*text == '\\' && text[1]) {
            ++text;
        }
    }
    return false;
}

void ZEL_String::createPythonExpressionEvaluatingToStringLiteral(const char *text,
                                                                 KIT_WorkBuffer &out)
{
    // Always quoted: a bare word would be a name.
    KITappendQuoted(out, text, std::strlen(text), '\'');
}
