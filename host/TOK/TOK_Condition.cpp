#include <TOK/TOK_ConditionPrivate.h>

#include <TOK/TOK_TokenStream.h>

#include <BAS/BAS_Character.h>

#include <charconv>

namespace
{

enum Operator
{
    OR,
    AND,
    EQUAL,
    UNEQUAL,
    NOT_ABOVE,
    NOT_BELOW,
    BELOW,
    ABOVE,
    PLUS,
    MINUS,
    TIMES,
    DIVIDE,
    MODULO
};

struct BinaryOperator
{
    std::string_view text;
    int rank;
    Operator what;
};

/// A longer operator precedes those that it begins with.
constexpr BinaryOperator theOperators[] = {
    {"||", 1, OR},        {"&&", 2, AND},       {"==", 3, EQUAL}, {"!=", 3, UNEQUAL},
    {"<=", 4, NOT_ABOVE}, {">=", 4, NOT_BELOW}, {"<", 4, BELOW},  {">", 4, ABOVE},
    {"+", 5, PLUS},       {"-", 5, MINUS},      {"*", 6, TIMES},  {"/", 6, DIVIDE},
    {"%", 6, MODULO},
};

const BinaryOperator *findOperator(std::string_view text)
{
    for (const BinaryOperator &candidate : theOperators) {
        if (text.substr(0, candidate.text.size()) == candidate.text) {
            return &candidate;
        }
    }
    return nullptr;
}

int64_t wrapped(uint64_t value)
{
    return static_cast<int64_t>(value);
}

/// The divisor is not 0.
int64_t apply(Operator what, int64_t left, int64_t right)
{
    const uint64_t a = static_cast<uint64_t>(left);
    const uint64_t b = static_cast<uint64_t>(right);
    switch (what) {
    case OR: return left || right;
    case AND: return left && right;
    case EQUAL: return left == right;
    case UNEQUAL: return left != right;
    case NOT_ABOVE: return left <= right;
    case NOT_BELOW: return left >= right;
    case BELOW: return left < right;
    case ABOVE: return left > right;
    case PLUS: return wrapped(a + b);
    case MINUS: return wrapped(a - b);
    case TIMES: return wrapped(a * b);
    case DIVIDE: return right == -1 ? wrapped(0 - a) : left / right;
    case MODULO: return right == -1 ? 0 : left % right;
    }
    return 0;
}

} // namespace

const char *TOK_Condition::evaluate(std::string_view text, int64_t &value)
{
    myText = text;
    myFault = nullptr;
    myDepth = 0;
    mySteps = 0;
    value = binary(1);
    skipBlanks(myText);
    if (!myText.empty()) {
        fail("the expression has something behind its end");
    }
    return myFault;
}

void TOK_Condition::skipBlanks(std::string_view &text)
{
    while (!text.empty() && (BASisBlank(text.front()) || text.front() == '\0')) {
        text.remove_prefix(1);
    }
}

std::string_view TOK_Condition::takeName(std::string_view &text)
{
    size_t length = 0;
    while (length < text.size() && BASisWordChar(text[length])) {
        length++;
    }
    if (length && BASisDigit(text[0])) {
        length = 0;
    }
    const std::string_view name = text.substr(0, length);
    text.remove_prefix(length);
    return name;
}

int64_t TOK_Condition::fail(const char *fault)
{
    if (!myFault) {
        myFault = fault;
    }
    myText = std::string_view();
    return 0;
}

bool TOK_Condition::enter()
{
    if (++mySteps > TOK_Limits::theExpressionSteps) {
        fail("the expression has more names and numbers than the limit allows");
    } else if (myDepth >= TOK_Limits::theExpressionDepth) {
        fail("the expression is nested deeper than the limit allows");
    }
    return !myFault;
}

bool TOK_Condition::takeWord(std::string_view word)
{
    skipBlanks(myText);
    if (myText.substr(0, word.size()) != word) {
        return false;
    }
    myText.remove_prefix(word.size());
    return true;
}

int64_t TOK_Condition::binary(int lowest)
{
    int64_t left = unary();
    for (;;) {
        skipBlanks(myText);
        const BinaryOperator *const found = findOperator(myText);
        if (!found || found->rank < lowest || myFault) {
            return left;
        }
        myText.remove_prefix(found->text.size());
        const int64_t right = binary(found->rank + 1);
        const bool divideFlag = found->what == DIVIDE || found->what == MODULO;
        if (divideFlag && right == 0 && !myFault) {
            return fail("the expression divides by zero");
        }
        left = myFault ? 0 : apply(found->what, left, right);
    }
}

int64_t TOK_Condition::unary()
{
    if (!enter()) {
        return 0;
    }
    myDepth++;
    int64_t value;
    if (takeWord("!")) {
        value = !unary();
    } else if (takeWord("-")) {
        value = wrapped(0 - static_cast<uint64_t>(unary()));
    } else if (takeWord("+")) {
        value = unary();
    } else {
        value = primary();
    }
    myDepth--;
    return value;
}

int64_t TOK_Condition::primary()
{
    if (takeWord("(")) {
        const int64_t value = binary(1);
        return takeWord(")") ? value : fail("the expression lacks a closing parenthesis");
    }
    const std::string_view name = takeName(myText);
    if (name == "defined") {
        return definedName();
    }
    if (!name.empty()) {
        return macroValue(name);
    }
    int64_t value = 0;
    const char *const begin = myText.data();
    const bool hexFlag = myText.substr(0, 2) == "0x" || myText.substr(0, 2) == "0X";
    const std::from_chars_result result =
        std::from_chars(begin + (hexFlag ? 2 : 0), begin + myText.size(), value, hexFlag ? 16 : 10);
    if (result.ec == std::errc::result_out_of_range) {
        return fail("a number in the expression is too large");
    }
    if (result.ec != std::errc()) {
        return fail("the expression lacks a value");
    }
    myText.remove_prefix(static_cast<size_t>(result.ptr - begin));
    return value;
}

int64_t TOK_Condition::definedName()
{
    const bool parenthesisFlag = takeWord("(");
    skipBlanks(myText);
    const std::string_view name = takeName(myText);
    if (name.empty()) {
        return fail("'defined' lacks a name");
    }
    if (parenthesisFlag && !takeWord(")")) {
        return fail("the expression lacks a closing parenthesis");
    }
    return myMacros.count(name) != 0;
}

int64_t TOK_Condition::macroValue(std::string_view name)
{
    const TOK_MacroMap::const_iterator found = myMacros.find(name);
    if (found == myMacros.end()) {
        return 0;
    }
    const std::string_view rest = myText;
    myText = found->second.text;
    const int64_t value = binary(1);
    skipBlanks(myText);
    if (!myText.empty()) {
        return fail("a macro in the expression is no number");
    }
    if (!myFault) {
        myText = rest;
    }
    return value;
}
