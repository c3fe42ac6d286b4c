#include <TRK/TRK_ExpressionParser.h>

#include <BAS/BAS_Character.h>
#include <BAS/BAS_Number.h>
#include <EVL/EVL.h>

#include <algorithm>
#include <cstring>

// ---------------------------------------------------------------- //
// Tables
// ---------------------------------------------------------------- //

struct TRK_ExpressionParser::Operator
{
    const char *text;
    int precedence;
    Code code; ///< JUMP_IF_ZERO for && and ||
};

namespace
{

using Code = TRK_Expression::Code;

struct VariableEntry
{
    const char *name;
    Code code;
    double value; ///< for NUMBER
};

constexpr VariableEntry theVariables[] = {
    {"F", Code::FRAME, 0.0},
    {"FF", Code::FLOAT_FRAME, 0.0},
    {"T", Code::TIME, 0.0},
    {"FPS", Code::FPS, 0.0},
    {"PI", Code::NUMBER, 3.14159265358979323846},
    {"E", Code::NUMBER, 2.71828182845904523536},
    {"OS", Code::NODE_NAME, 0.0},
};

/// One level of nesting for the length of a scope.
class Level
{
public:
    explicit Level(int &depth) : myDepth(++depth) {}
    ~Level() { --myDepth; }
    Level(const Level &) = delete;
    Level &operator=(const Level &) = delete;

private:
    int &myDepth;
};

} // namespace

const TRK_ExpressionParser::Operator *TRK_ExpressionParser::peekOperator() const
{
    // An operator precedes those that are its prefix.
    static constexpr Operator theOperators[] = {
        {"||", 1, Code::JUMP_IF_ZERO}, {"&&", 2, Code::JUMP_IF_ZERO},
        {"==", 3, Code::EQUAL},        {"!=", 3, Code::NOT_EQUAL},
        {"<=", 4, Code::LESS_EQUAL},   {">=", 4, Code::GREATER_EQUAL},
        {"<", 4, Code::LESS},          {">", 4, Code::GREATER},
        {"+", 5, Code::ADD},           {"-", 5, Code::SUBTRACT},
        {"*", 6, Code::MULTIPLY},      {"/", 6, Code::DIVIDE},
        {"%", 6, Code::MODULO},
    };
    for (const Operator &op : theOperators) {
        if (peek() == op.text[0] && (op.text[1] == '\0' || peek(1) == op.text[1])) {
            return &op;
        }
    }
    return nullptr;
}

// ---------------------------------------------------------------- //
// Entry
// ---------------------------------------------------------------- //

TRK_ExpressionParser::TRK_ExpressionParser(const char *text, TRK_Expression &expression)
    : myText(text), myLength(std::strlen(text)), myExpression(expression)
{}

void TRK_ExpressionParser::parse()
{
    if (myLength > TRK_Limits::theExpressionLength) {
        fail(EVL::EVL_DEPTH, "the expression is longer than 65536 bytes");
    } else {
        const Type type = parseTernary();
        myExpression.myType = type;
        myExpression.myResultType = type;
        skipBlanks();
        if (myPosition < myLength) {
            fail(EVL::EVL_SYNTAX, std::string("unexpected \"") + peek() + "\"");
        }
    }
    if (failed()) {
        myExpression.mySteps.clear();
        myExpression.myReferences.clear();
        myExpression.myTexts.clear();
        myExpression.myTimeFlag = false;
        myExpression.myReferenceFlag = false;
    }
    myExpression.mySteps.shrink_to_fit();
    myExpression.myReferences.shrink_to_fit();
    myExpression.myTexts.shrink_to_fit();
}

bool TRK_ExpressionParser::fail(int error, const std::string &what)
{
    if (!failed()) {
        myExpression.myError = error;
        myExpression.myErrorText = what;
        myExpression.myErrorPosition = static_cast<uint32_t>(myPosition);
        myPosition = myLength; // nothing more is read
    }
    return false;
}

// ---------------------------------------------------------------- //
// Operators
// ---------------------------------------------------------------- //

bool TRK_ExpressionParser::isTooDeep()
{
    if (myDepth > TRK_Limits::theParserDepth) {
        fail(EVL::EVL_DEPTH, "the expression is nested more than 200 deep");
    }
    return failed();
}

TRK_Expression::Type TRK_ExpressionParser::parseTernary()
{
    const Level level(myDepth);
    if (isTooDeep()) {
        return Type::NUMBER;
    }
    const Type type = parseBinary(1);
    if (!accept('?')) {
        return type;
    }
    toNumber(type);
    return parseBranches(emit(Code::JUMP_IF_ZERO, -1, 0), ':');
}

/// Both branches of a condition, with the separator between them; \p jump targets the second.
TRK_Expression::Type TRK_ExpressionParser::parseBranches(size_t jump, char separator)
{
    const int numbers = myNumbers;
    const int texts = myTexts;
    const Type first = parseTernary();
    const size_t conversion = emit(Code::NOTHING, 0, 0);
    const size_t jumpToEnd = emit(Code::JUMP, 0, 0);
    expect(separator);
    land(jump);
    myNumbers = numbers;
    myTexts = texts;
    const Type second = parseTernary();
    Type result = first;
    if (first != second) {
        result = first == Type::STRING || second == Type::STRING ? Type::STRING : Type::ANY;
    }
    if (result != Type::NUMBER && first == Type::NUMBER && !failed()) {
        myExpression.mySteps[conversion].code = Code::TO_TEXT;
    }
    if (result != Type::NUMBER && second == Type::NUMBER) {
        emit(Code::TO_TEXT, -1, 1);
    }
    land(jumpToEnd);
    return result;
}

TRK_Expression::Type TRK_ExpressionParser::parseBinary(int least)
{
    Type left = parseUnary();
    for (;;) {
        skipBlanks();
        const Operator *op = peekOperator();
        if (op == nullptr || op->precedence < least) {
            return left;
        }
        myPosition += std::strlen(op->text);
        if (op->code == Code::JUMP_IF_ZERO) {
            shortCut(*op, left);
            left = Type::NUMBER;
        } else {
            left = combine(op->code, left, parseBinary(op->precedence + 1));
        }
    }
}

/// && and || don't evaluate their second operand if the first decides.
void TRK_ExpressionParser::shortCut(const Operator &op, Type left)
{
    const bool orFlag = op.text[0] == '|';
    toNumber(left);
    size_t toSecond = emit(Code::JUMP_IF_ZERO, -1, 0);
    size_t toEnd = 0;
    if (orFlag) {
        emitNumber(1.0);
        toEnd = emit(Code::JUMP, 0, 0);
        land(toSecond);
        --myNumbers;
    }
    toNumber(parseBinary(op.precedence + 1));
    emit(Code::TRUTH, 0, 0);
    if (!orFlag) {
        toEnd = emit(Code::JUMP, 0, 0);
        land(toSecond);
        --myNumbers;
        emitNumber(0.0);
    }
    land(toEnd);
}

/// The operand of a sign, or an exponent.
TRK_Expression::Type TRK_ExpressionParser::parseOperand()
{
    const Level level(myDepth);
    return isTooDeep() ? Type::NUMBER : parseUnary();
}

TRK_Expression::Type TRK_ExpressionParser::parseUnary()
{
    skipBlanks();
    const char c = peek();
    if (c != '-' && c != '+' && c != '!') {
        return parsePower();
    }
    ++myPosition;
    const size_t start = myExpression.mySteps.size();
    toNumber(parseOperand());
    if (c == '+' || failed()) {
        return Type::NUMBER;
    }
    TRK_Expression::Step &last = myExpression.mySteps.back();
    if (c == '-' && myExpression.mySteps.size() == start + 1 && last.code == Code::NUMBER) {
        last.number = -last.number;
    } else {
        emit(c == '-' ? Code::NEGATE : Code::NOT, 0, 0);
    }
    return Type::NUMBER;
}

TRK_Expression::Type TRK_ExpressionParser::parsePower()
{
    const Type base = parsePrimary();
    if (!accept('^')) {
        return base;
    }
    // Right associative, and the exponent may carry a sign.
    const Type exponent = parseOperand();
    return combine(Code::POWER, base, exponent);
}

TRK_Expression::Type TRK_ExpressionParser::combine(Code code, Type left, Type right)
{
    if (code == Code::ADD) {
        return add(left, right);
    }
    if (code >= Code::LESS && code <= Code::NOT_EQUAL && left != Type::NUMBER &&
        right != Type::NUMBER) {
        compare(code, left, right);
        return Type::NUMBER;
    }
    toNumbers(left, right);
    emit(code, -1, 0);
    return Type::NUMBER;
}

TRK_Expression::Type TRK_ExpressionParser::add(Type left, Type right)
{
    if (left == Type::STRING || right == Type::STRING) {
        if (left == Type::NUMBER) {
            emit(Code::JOIN_NUMBER, -1, 0);
        } else {
            if (right == Type::NUMBER) {
                emit(Code::TO_TEXT, -1, 1);
            }
            emit(Code::JOIN, 0, -1);
        }
        return Type::STRING;
    }
    if (left == Type::ANY && right == Type::ANY) {
        emit(Code::ADD_ANY, 0, -1);
        return Type::ANY;
    }
    toNumbers(left, right);
    emit(Code::ADD, -1, 0);
    return Type::NUMBER;
}

void TRK_ExpressionParser::compare(Code code, Type left, Type right)
{
    const bool anyFlag = left == Type::ANY && right == Type::ANY;
    emit(anyFlag ? Code::COMPARE_ANY : Code::COMPARE, 1, -2);
    emitNumber(0.0);
    emit(code, -1, 0);
}

// ---------------------------------------------------------------- //
// Operands
// ---------------------------------------------------------------- //

TRK_Expression::Type TRK_ExpressionParser::parsePrimary()
{
    skipBlanks();
    const char c = peek();
    if (BASisDigit(c) || c == '.') {
        return parseNumber();
    }
    if (c == '"' || c == '\'') {
        return parseText();
    }
    if (c == '$') {
        return parseVariable();
    }
    if (BASisNameStart(c)) {
        return parseCall();
    }
    if (c == '(') {
        ++myPosition;
        const Type type = parseTernary();
        expect(')');
        return type;
    }
    fail(EVL::EVL_SYNTAX, c == '\0' ? std::string("a value is missing at the end")
                                    : std::string("a value is missing before \"") + c + "\"");
    return Type::NUMBER;
}

TRK_Expression::Type TRK_ExpressionParser::parseNumber()
{
    double value = 0.0;
    const size_t used = BASparseFloat(myText + myPosition, myLength - myPosition, value);
    if (used == 0) {
        fail(EVL::EVL_SYNTAX, "a number cannot be read");
        return Type::NUMBER;
    }
    myPosition += used;
    emitNumber(value);
    return Type::NUMBER;
}

/// A quoted text. In double quotes variables are replaced: the text is then joined from pieces.
TRK_Expression::Type TRK_ExpressionParser::parseText()
{
    const char quote = peek();
    ++myPosition;
    std::string piece;
    int pieces = 0;
    const auto flush = [&]() {
        emitText(piece);
        piece.clear();
        if (pieces++ > 0) {
            emit(Code::JOIN, 0, -1);
        }
    };
    while (peek() != quote) {
        if (myPosition >= myLength) {
            fail(EVL::EVL_SYNTAX, "a text is not closed");
            return Type::STRING;
        }
        if (peek() == '\\') {
            readEscape(quote, piece);
        } else if (quote == '"' && startsVariable()) {
            if (!piece.empty()) {
                flush();
            }
            std::string name;
            std::string written;
            if (!readVariableName(name, written)) {
                return Type::STRING;
            }
            emitVariable(name, &written);
            if (pieces++ > 0) {
                emit(Code::JOIN, 0, -1);
            }
        } else {
            piece += peek();
            ++myPosition;
        }
    }
    ++myPosition;
    if (pieces == 0 || !piece.empty()) {
        flush();
    }
    return Type::STRING;
}

/// At a backslash: reads an escaped character, or the backslash itself.
void TRK_ExpressionParser::readEscape(char quote, std::string &text)
{
    const char next = peek(1);
    const bool protectFlag =
        next == quote || next == '\\' || (quote == '"' && (next == '$' || next == '`'));
    if (protectFlag) {
        ++myPosition;
    }
    text += peek();
    ++myPosition;
}

bool TRK_ExpressionParser::startsVariable() const
{
    return peek() == '$' &&
           (BASisNameStart(peek(1)) || (peek(1) == '{' && BASisNameStart(peek(2))));
}

/// Reads $NAME or ${NAME}.
bool TRK_ExpressionParser::readVariableName(std::string &name, std::string &written)
{
    const size_t start = myPosition;
    const bool braceFlag = peek(1) == '{';
    myPosition += braceFlag ? 2 : 1;
    while (BASisWordChar(peek())) {
        name += peek();
        ++myPosition;
    }
    if (braceFlag) {
        if (peek() != '}') {
            return fail(EVL::EVL_SYNTAX, "the brace of a variable is not closed");
        }
        ++myPosition;
    }
    written.assign(myText + start, myPosition - start);
    return true;
}

TRK_Expression::Type TRK_ExpressionParser::parseVariable()
{
    std::string name;
    std::string written;
    if (!startsVariable()) {
        fail(EVL::EVL_SYNTAX, "a variable has no name");
        return Type::NUMBER;
    }
    return readVariableName(name, written) ? emitVariable(name, nullptr) : Type::NUMBER;
}

TRK_Expression::Type TRK_ExpressionParser::emitVariable(const std::string &name,
                                                        const std::string *written)
{
    for (const VariableEntry &entry : theVariables) {
        if (name != entry.name) {
            continue;
        }
        if (entry.code == Code::NODE_NAME) {
            emit(Code::NODE_NAME, 0, 1);
            return Type::STRING;
        }
        if (entry.code == Code::NUMBER) {
            emitNumber(entry.value);
        } else {
            emit(entry.code, 1, 0);
            myExpression.myTimeFlag = myExpression.myTimeFlag || entry.code != Code::FPS;
        }
        if (written != nullptr) {
            emit(Code::TO_TEXT, -1, 1);
            return Type::STRING;
        }
        return Type::NUMBER;
    }
    const uint32_t index = addText(name);
    if (written == nullptr) {
        emit(Code::VARIABLE, 0, 1, index);
        return Type::ANY;
    }
    addText(*written);
    emit(Code::VARIABLE_IN_TEXT, 0, 1, index);
    return Type::STRING;
}

// ---------------------------------------------------------------- //
// Calls
// ---------------------------------------------------------------- //

TRK_Expression::Type TRK_ExpressionParser::parseCall()
{
    const size_t start = myPosition;
    while (BASisWordChar(peek())) {
        ++myPosition;
    }
    const std::string name(myText + start, myPosition - start);
    if (!accept('(')) {
        fail(EVL::EVL_SYNTAX, "\"" + name + "\" is neither a number nor a call");
        return Type::NUMBER;
    }
    const TRK_FunctionEntry *entry = TRKfindFunction(name.c_str(), name.size());
    if (entry == nullptr) {
        fail(EVL::EVL_UNKNOWN_FUNCTION, name);
        return Type::NUMBER;
    }
    switch (entry->kind) {
    case TRK_FunctionKind::NUMBERS: return parseNumbersCall(*entry);
    case TRK_FunctionKind::TEXTS: return parseTextsCall(*entry);
    case TRK_FunctionKind::OPERATION: return parseOperationCall(*entry);
    case TRK_FunctionKind::CONDITION: return parseCondition();
    case TRK_FunctionKind::INTERPOLATOR:
        parseArguments(*entry, 0);
        emit(Code::INTERPOLATE, 1, 0, static_cast<uint32_t>(entry->detail));
        return Type::NUMBER;
    default: return parseChannelCall(*entry);
    }
}

/// Parses the arguments from number \p first on to the closing parenthesis and converts each to
/// what the signature needs. Returns their count including those before; a wrong count is an error.
int TRK_ExpressionParser::parseArguments(const TRK_FunctionEntry &entry, int first)
{
    int count = first;
    const int most = TRKmostArguments(entry.signature);
    if (accept(')')) {
        // no arguments, or only those before
    } else {
        if (first > 0) {
            expect(',');
        }
        do {
            const Type type = parseTernary();
            const bool textFlag = TRKargumentIsText(entry.signature, count);
            if (textFlag && type == Type::NUMBER) {
                emit(Code::TO_TEXT, -1, 1);
            } else if (!textFlag) {
                toNumber(type);
            }
            ++count;
        } while (count <= most && !failed() && accept(','));
        if (count <= most) {
            expect(')');
        }
    }
    if (!failed() && (count < TRKleastArguments(entry.signature) || count > most)) {
        fail(EVL::EVL_BAD_ARGUMENT, std::string("wrong number of arguments of ") + entry.name);
    }
    return count;
}

TRK_Expression::Type TRK_ExpressionParser::parseNumbersCall(const TRK_FunctionEntry &entry)
{
    const int count = parseArguments(entry, 0);
    if (!failed()) {
        const size_t at = emit(Code::FUNCTION, 1 - count, 0);
        myExpression.mySteps[at].count = static_cast<uint8_t>(count);
        myExpression.mySteps[at].function = entry.function;
    }
    if (entry.result == Type::STRING) {
        emit(Code::TO_TEXT, -1, 1);
    }
    return entry.result;
}

TRK_Expression::Type TRK_ExpressionParser::parseTextsCall(const TRK_FunctionEntry &entry)
{
    const int count = parseArguments(entry, 0);
    int texts = 0;
    for (int i = 0; i < count; ++i) {
        texts += TRKargumentIsText(entry.signature, i) ? 1 : 0;
    }
    const bool numberFlag = entry.result == Type::NUMBER;
    const size_t at = emit(numberFlag ? Code::TEXT_MEASURE : Code::TEXT_FUNCTION,
                           (numberFlag ? 1 : 0) - (count - texts), (numberFlag ? 0 : 1) - texts,
                           static_cast<uint32_t>(texts));
    if (!failed()) {
        myExpression.mySteps[at].count = static_cast<uint8_t>(count);
        myExpression.mySteps[at].textFunction = entry.textFunction;
    }
    return entry.result;
}

TRK_Expression::Type TRK_ExpressionParser::parseOperationCall(const TRK_FunctionEntry &entry)
{
    const int count = parseArguments(entry, 0);
    const Code code = static_cast<Code>(entry.detail);
    if (entry.result == Type::NUMBER) {
        emit(code, 1, -count);
    } else {
        for (int i = 1; i < count; ++i) {
            emit(code, 0, -1);
        }
    }
    return entry.result;
}

TRK_Expression::Type TRK_ExpressionParser::parseCondition()
{
    toNumber(parseTernary());
    expect(',');
    const Type type = parseBranches(emit(Code::JUMP_IF_ZERO, -1, 0), ',');
    expect(')');
    return type;
}

/// Consumes the first argument, up to the comma or parenthesis, if it is a literal without
/// variables.
bool TRK_ExpressionParser::parseLiteralName(std::string &name)
{
    skipBlanks();
    const size_t start = myPosition;
    const char quote = peek();
    if (quote != '"' && quote != '\'') {
        return false;
    }
    ++myPosition;
    while (myPosition < myLength && peek() != quote) {
        if (quote == '"' && startsVariable()) {
            break;
        }
        if (peek() == '\\') {
            readEscape(quote, name);
        } else {
            name += peek();
            ++myPosition;
        }
    }
    if (accept(quote)) {
        skipBlanks();
        if (peek() == ',' || peek() == ')') {
            return true;
        }
    }
    myPosition = start;
    return false;
}

TRK_Expression::Type TRK_ExpressionParser::parseChannelCall(const TRK_FunctionEntry &entry)
{
    const bool textFlag = entry.kind == TRK_FunctionKind::CHANNEL_TEXT;
    std::string name;
    const bool literalFlag = parseLiteralName(name);
    const int count = parseArguments(entry, literalFlag ? 1 : 0);
    const bool timeFlag = count > 1;
    myExpression.myReferenceFlag = true;
    uint32_t index = 0;
    if (literalFlag) {
        index = static_cast<uint32_t>(myExpression.myReferences.size());
        myExpression.myReferences.push_back(
            TRK_Expression::splitReference(name.c_str(), name.size(), textFlag));
    }
    // The four codes of each kind are consecutive: plain, at a time, named, named at a time.
    const Code base = textFlag ? Code::TEXT_CHANNEL : Code::CHANNEL;
    const int offset = (literalFlag ? 0 : 2) + (timeFlag ? 1 : 0);
    const Code code = static_cast<Code>(static_cast<int>(base) + offset);
    const int texts = (textFlag ? 1 : 0) - (literalFlag ? 0 : 1);
    const int numbers = (textFlag ? 0 : 1) - (timeFlag ? 1 : 0);
    emit(code, numbers, texts, index);
    if (entry.kind == TRK_FunctionKind::CHANNEL_INT && !failed()) {
        const size_t at = emit(Code::FUNCTION, 0, 0);
        myExpression.mySteps[at].count = 1;
        myExpression.mySteps[at].function = TRKtruncate;
    }
    return entry.result;
}

// ---------------------------------------------------------------- //
// Steps
// ---------------------------------------------------------------- //

/// Appends a step that changes the stacks' heights by these counts. Returns its index.
size_t TRK_ExpressionParser::emit(Code code, int numbers, int texts, uint32_t index)
{
    myNumbers += numbers;
    myTexts += texts;
    myExpression.myNumberSlots = std::max(myExpression.myNumberSlots, myNumbers);
    myExpression.myTextSlots = std::max(myExpression.myTextSlots, myTexts);
    if (myNumbers > TRK_Limits::theStackSlots || myTexts > TRK_Limits::theStackSlots) {
        fail(EVL::EVL_DEPTH, "the expression holds more than 256 values at once");
    }
    TRK_Expression::Step step{};
    step.code = code;
    step.index = index;
    myExpression.mySteps.push_back(step);
    return myExpression.mySteps.size() - 1;
}

void TRK_ExpressionParser::emitNumber(double value)
{
    const size_t at = emit(Code::NUMBER, 1, 0);
    myExpression.mySteps[at].number = value;
}

void TRK_ExpressionParser::emitText(const std::string &text)
{
    emit(Code::TEXT, 0, 1, addText(text));
}

uint32_t TRK_ExpressionParser::addText(const std::string &text)
{
    myExpression.myTexts.push_back(KIT_StringHolder(text));
    return static_cast<uint32_t>(myExpression.myTexts.size() - 1);
}

void TRK_ExpressionParser::toNumber(Type type)
{
    if (type != Type::NUMBER) {
        emit(Code::TO_NUMBER, 1, -1);
    }
}

/// Converts the two values on top, \p right above \p left, to numbers in that order.
void TRK_ExpressionParser::toNumbers(Type left, Type right)
{
    toNumber(right);
    if (left != Type::NUMBER) {
        toNumber(left);
        emit(Code::SWAP, 0, 0);
    }
}

/// Sets a jump's target to the next step.
void TRK_ExpressionParser::land(size_t jump)
{
    myExpression.mySteps[jump].index = static_cast<uint32_t>(myExpression.mySteps.size());
}

// ---------------------------------------------------------------- //
// Characters
// ---------------------------------------------------------------- //

void TRK_ExpressionParser::skipBlanks()
{
    while (myPosition < myLength && BASisBlank(myText[myPosition])) {
        ++myPosition;
    }
}

bool TRK_ExpressionParser::accept(char c)
{
    skipBlanks();
    if (peek() != c || failed()) {
        return false;
    }
    ++myPosition;
    return true;
}

bool TRK_ExpressionParser::expect(char c)
{
    return accept(c) || fail(EVL::EVL_SYNTAX, std::string("\"") + c + "\" is missing");
}
