/// \file TRK_ExpressionParser.h
/// Turns the text of an expression into a program. Used by the channel library alone.
///
/// Vocabulary: see TRK_Expression.h. *Emit* = append a step and account for the stacks.
/// Ownership:  lives for one parse; borrows text and expression.
/// Errors:     the first error is stored in the expression with its position; its program is then
///             empty.
/// Cost:       linear in the text.

#pragma once

#include <TRK/TRK_Expression.h>
#include <TRK/TRK_ExpressionFunctions.h>

#include <string>

class TRK_ExpressionParser
{
public:
    TRK_ExpressionParser(const char *text, TRK_Expression &expression);
    void parse();

private:
    using Code = TRK_Expression::Code;
    using Type = TRK_Expression::Type;
    struct Operator;

    Type parseTernary();
    Type parseBinary(int least);
    Type parseUnary();
    Type parseOperand();
    Type parsePower();
    Type parsePrimary();
    Type parseNumber();
    Type parseText();
    Type parseVariable();
    Type parseCall();
    Type parseCondition();
    Type parseNumbersCall(const TRK_FunctionEntry &entry);
    Type parseTextsCall(const TRK_FunctionEntry &entry);
    Type parseOperationCall(const TRK_FunctionEntry &entry);
    Type parseChannelCall(const TRK_FunctionEntry &entry);
    int parseArguments(const TRK_FunctionEntry &entry, int first);
    bool parseLiteralName(std::string &name);
    Type parseBranches(size_t jump, char separator);

    Type combine(Code code, Type left, Type right);
    Type add(Type left, Type right);
    void compare(Code code, Type left, Type right);
    void shortCut(const Operator &op, Type left);

    void readEscape(char quote, std::string &text);
    bool startsVariable() const;
    bool readVariableName(std::string &name, std::string &written);
    /// With \p written the variable is inside a text, and its value becomes text.
    Type emitVariable(const std::string &name, const std::string *written);

    size_t emit(Code code, int numbers, int texts, uint32_t index = 0);
    void emitNumber(double value);
    void emitText(const std::string &text);
    uint32_t addText(const std::string &text);
    void toNumber(Type type);
    void toNumbers(Type left, Type right);
    void land(size_t jump);

    bool fail(int error, const std::string &what);
    bool isTooDeep();
    bool failed() const { return myExpression.myError != 0; }
    void skipBlanks();
    bool accept(char c);
    bool expect(char c);
    char peek() const { return myPosition < myLength ? myText[myPosition] : '\0'; }
    char peek(size_t ahead) const
    {
        return myPosition + ahead < myLength ? myText[myPosition + ahead] : '\0';
    }
    const Operator *peekOperator() const;

    const char *myText;
    size_t myLength;
    size_t myPosition = 0;
    TRK_Expression &myExpression;
    int myDepth = 0;
    int myNumbers = 0;
    int myTexts = 0;
};
