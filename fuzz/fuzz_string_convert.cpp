// Fuzzes the two forms of a string: any text through both conversions, alone and one after the
// other, and the promised round trip.

#include "FuzzMemory.h"

#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_String.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace
{

bool holds(std::string_view text, std::string_view characters)
{
    return text.find_first_of(characters) != text.npos;
}

/// Whether parentheses and braces close in order, and none but the last character closes a brace
/// that is inside no other pair.
bool isBalanced(std::string_view text)
{
    std::string open;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '(' || c == '{') {
            open += c;
        } else if (c == ')' || c == '}') {
            if (open.empty() || open.back() != (c == ')' ? '(' : '{')) {
                return false;
            }
            open.pop_back();
            if (c == '}' && open.empty() && i + 1 < text.size()) {
                return false;
            }
        }
    }
    return open.empty();
}

/// An expression between backticks that survives the round trip: no quotes and no escapes, nothing
/// unbalanced, and it doesn't start with a character by which an expression's pieces are recognised.
bool isKeptExpression(std::string_view text)
{
    return !text.empty() && !holds(text, "\\\"'") && !holds(text.substr(0, 1), " \t\n\v\f\r(+") &&
           isBalanced(text);
}

/// A literal that survives it: pieces of plain text without double quotes or backslashes, with kept
/// expressions between them.
bool isKeptLiteral(std::string_view text)
{
    bool touches = false; // a piece of text must come between two expressions
    while (!text.empty()) {
        const size_t plain = text.substr(0, text.find('`')).size();
        if (holds(text.substr(0, plain), "\\\"") || (plain == 0 && touches)) {
            return false;
        }
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        const size_t end = text.find('`', 1);
        if (end == text.npos || !isKeptExpression(text.substr(1, end - 1))) {
            return false;
        }
        text.remove_prefix(end + 1);
        touches = true;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory oracle(size);
    const std::string text(reinterpret_cast<const char *>(data), size);
    KIT_WorkBuffer expression;
    ZEL_String::convertToExprLanguage(text.c_str(), expression);
    KIT_String back;
    ZEL_String::convertFromExprLanguage(expression.buffer(), back);
    const std::string_view given(text.c_str());
    if (isKeptLiteral(given) && back.view() != given) {
        std::abort();
    }
    KIT_String literal;
    ZEL_String::convertFromExprLanguage(text.c_str(), literal);
    ZEL_String::convertToExprLanguage(literal.c_str(), expression);
    if (!ZEL_String::isStringThatCanExpand(text.c_str()) && holds(given, "`") &&
        !holds(given, "\\")) {
        std::abort(); // a backtick that nothing protects can be expanded
    }
    return 0;
}
