/// \file TRK_Types.h
/// The small enumerations of the channel library and their keywords.
///
/// Vocabulary: *meaning* = how a text is interpreted: literally, or as an expression in a language;
///             "collection" leaves the language to the channel collection.
/// Threads:    immutable.
/// Errors:     an unknown word gives the first value, or false in the forms that report.

#pragma once

#include <BAS/BAS_API.h>

/// How the text of a value is interpreted. Stored: append only.
enum TRK_StringMeaning : int
{
    TRK_MEANING_LITERAL = 0,   ///< literally
    TRK_MEANING_NATIVE = 1,    ///< expression of language 0
    TRK_MEANING_PYTHON = 2,    ///< expression of language 1
    TRK_MEANING_UNUSED = 3,    ///< no longer written; reads as a literal
    TRK_MEANING_COLLECTION = 4 ///< expression in the collection's own language
};

/// Languages of expressions. Stored: append only.
enum TRK_ExprLanguage : int
{
    TRK_LANGUAGE_NATIVE = 0, ///< the small language of TRK_Expression.h
    TRK_LANGUAGE_PYTHON = 1  ///< Python
};

/// Languages of callback and menu scripts. Stored: append only.
enum TRK_ScriptLanguage : int
{
    TRK_SCRIPT_COMMAND = 0, ///< the command language
    TRK_SCRIPT_PYTHON = 1   ///< Python
};

/// What a change event reports.
enum TRK_CHANGE_TYPE : int
{
    TRK_CHANGE_VALUE = 4,   ///< a value, key or expression
    TRK_CHANGE_ENABLE = 6,  ///< the enabled state
    TRK_CHANGE_VISIBLE = 7, ///< the visible state
    TRK_CHANGE_LOCK = 8     ///< a lock
};

/// How a segment computes its value between its two keys: TRK_INTERP_CONSTANT and so on, a curve
/// for each row of TRK_Interpolators.def.
enum TRK_Interpolator : unsigned char
{
#define TRK_INTERPOLATOR(ENUMERATOR, WORD, FUNCTION) TRK_INTERP_##ENUMERATOR,
#include <TRK/TRK_Interpolators.def>
    TRK_INTERP_EXPRESSION ///< any other text: the expression drives the segment
};

/// The language of a meaning; TRK_MEANING_COLLECTION gives \p collectionLanguage.
KIT_API TRK_ExprLanguage TRKstringMeaningToExprLanguage(
    TRK_StringMeaning meaning, TRK_ExprLanguage collectionLanguage = TRK_LANGUAGE_NATIVE);

/// The meaning of a word ("literal", "expression", "python", "unused", "collection"), or of its
/// number as text. An unknown word is a literal.
KIT_API TRK_StringMeaning TRKstringToMeaning(const char *word);
/// The same; false for an unknown word, which leaves \p meaning unchanged.
KIT_API bool TRKstringToMeaning(const char *word, TRK_StringMeaning &meaning);
/// The word of a meaning; "literal" for a number out of range.
KIT_API const char *TRKmeaningToString(TRK_StringMeaning meaning);

/// The language of a word ("command", "python"), or of its number as text. Unknown: command.
KIT_API TRK_ScriptLanguage TRKstringToScriptLanguage(const char *word);
/// The same; false for an unknown word, which leaves \p language unchanged.
KIT_API bool TRKstringToScriptLanguage(const char *word, TRK_ScriptLanguage &language);
/// The word of a script language; "command" for a number out of range.
KIT_API const char *TRKscriptLanguageAsString(TRK_ScriptLanguage language);

/// The text of an interpolator ("linear()"); null for TRK_INTERP_EXPRESSION.
KIT_API const char *TRKinterpolatorToString(TRK_Interpolator interpolator);
/// Recognises a text that is exactly one interpolator call, blanks allowed; anything else is
/// TRK_INTERP_EXPRESSION.
KIT_API TRK_Interpolator TRKstringToInterpolator(const char *text);
