/// \file TOK_ConditionPrivate.h
/// The value of an `#if` expression.
///
/// Vocabulary: *name* = a run of letters, digits and underscores that doesn't begin with a digit;
///             the value of a macro is that of its text, evaluated separately.
/// Units:      64-bit integers that wrap around.
/// Threads:    one thread at a time.
/// Errors:     evaluate() returns the error as a text, null if there is none.

#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

struct TOK_Macro
{
    std::string text;
    bool activeFlag = false; // its text is being read
};

using TOK_MacroMap = std::map<std::string, TOK_Macro, std::less<>>;

class TOK_Condition
{
public:
    explicit TOK_Condition(const TOK_MacroMap &macros) : myMacros(macros) {}

    const char *evaluate(std::string_view text, int64_t &value);

    /// Removes and returns the name at the start of a text; empty if there is none.
    static std::string_view takeName(std::string_view &text);
    static void skipBlanks(std::string_view &text);

private:
    int64_t binary(int lowest);
    int64_t unary();
    int64_t primary();
    int64_t definedName();
    int64_t macroValue(std::string_view name);
    bool takeWord(std::string_view word);
    int64_t fail(const char *fault);
    bool enter();

    const TOK_MacroMap &myMacros;
    std::string_view myText;
    const char *myFault = nullptr;
    int myDepth = 0;
    int mySteps = 0;
};
