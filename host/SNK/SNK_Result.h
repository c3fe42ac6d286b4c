/// \file SNK_Result.h
/// What Python code gave.
///
/// Vocabulary: *type* = what the value is; if it can be had as the type that was asked for, that
///             type, otherwise its own.
/// Ownership:  owns its texts.
/// Threads:    one thread at a time; const calls from any.
/// Errors:     code that failed gives the exception type, with the traceback as text.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>

/// The types of results; 6 to 10 are not used.
enum SNK_ResultType : int
{
    SNK_RESULT_NONE = 0,      ///< None, or nothing was returned
    SNK_RESULT_INTEGER = 1,   ///< a whole number, a truth value
    SNK_RESULT_FLOAT = 2,     ///< another number
    SNK_RESULT_STRING = 3,    ///< one text
    SNK_RESULT_OTHER = 4,     ///< any other object
    SNK_RESULT_STRINGS = 5,   ///< a sequence of texts
    SNK_RESULT_EXCEPTION = 11 ///< an exception, or code that could not be compiled
};

class KIT_API SNK_Result
{
public:
    SNK_ResultType getType() const { return myType; }
    /// The text of a string or an exception; else unset.
    const KIT_String &getText() const { return myText; }
    /// The value of a number; else 0.
    double getNumber() const { return myNumber; }
    /// The texts of a sequence; else empty.
    const KIT_StringArray &getStrings() const { return myStrings; }

    void setType(SNK_ResultType type);
    void setNumber(SNK_ResultType type, double number);
    void setText(SNK_ResultType type, const char *text);
    void setStrings(KIT_StringArray &&strings);

private:
    SNK_ResultType myType = SNK_RESULT_NONE;
    double myNumber = 0.0;
    KIT_String myText;
    KIT_StringArray myStrings;
};
