/// \file SNK_Result.h
/// The result of Python code.
///
/// Vocabulary: *type* = the type of the value: the requested type if the value converts to it,
///             otherwise its own.
/// Ownership:  owns its texts.
/// Threads:    one thread at a time; const calls from any.
/// Errors:     code that failed results in the exception type, with the traceback as text.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>

/// The types of results; 6 to 10 are not used.
enum SNK_ResultType : int
{
    SNK_RESULT_NONE = 0,      ///< None, or nothing was returned
    SNK_RESULT_INTEGER = 1,   ///< a whole number, a boolean
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
    /// The text of a string or an exception; otherwise unset.
    const KIT_String &getText() const { return myText; }
    /// The value of a number; otherwise 0.
    double getNumber() const { return myNumber; }
    /// The texts of a sequence; otherwise empty.
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
