/// \file TRK_ExpressionFunctions.h
/// The functions and variables of expressions, as tables. Used by the channel library alone.
///
/// Vocabulary: *signature* = one letter for each argument, n a number and s a text; "*" after the
///             last means that it may repeat, "?" that it and those after it may be omitted.
/// Threads:    immutable.

#pragma once

#include <TRK/TRK_Expression.h>

/// The kind of a name before a parenthesis.
enum class TRK_FunctionKind : uint8_t
{
    NUMBERS,      ///< of numbers only; the result is written as text where a text is needed
    TEXTS,        ///< with a text among its arguments
    OPERATION,    ///< the step of an operator; one that joins is emitted between each two texts
    CHANNEL,      ///< ch, chf
    CHANNEL_INT,  ///< chi
    CHANNEL_TEXT, ///< chs, chsop
    INTERPOLATOR, ///< the segment's own curve
    CONDITION     ///< if
};

struct TRK_FunctionEntry
{
    const char *name;
    TRK_FunctionKind kind;
    const char *signature;
    TRK_Expression::Type result;
    TRK_Expression::NumberFunction function = nullptr;   ///< for NUMBERS
    TRK_Expression::TextFunction textFunction = nullptr; ///< for TEXTS
    int detail = 0; ///< the TRK_Expression::Code of an OPERATION, the TRK_Interpolator
};

/// The entry of a function; null if there is none.
const TRK_FunctionEntry *TRKfindFunction(const char *name, size_t length);
/// Truncation toward zero, for chi.
double TRKtruncate(const double *args, int count, bool &failed);

/// Whether a function never falls where none of its arguments does.
bool TRKisMonotone(TRK_Expression::NumberFunction function);

/// Smallest and largest argument count of a signature, and the kind of one argument.
int TRKleastArguments(const char *signature);
int TRKmostArguments(const char *signature);
bool TRKargumentIsText(const char *signature, int index);
