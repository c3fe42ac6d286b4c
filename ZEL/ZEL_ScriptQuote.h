/// \file ZEL_ScriptQuote.h
/// How dialog scripts write a text as one token.
///
/// Vocabulary: *protected* = newline, carriage return, double quote and backslash are written as
///             backslash n, r, double quote and backslash.
/// Ownership:  borrows the text, which must not lie in the buffer's heap.
/// Threads:    any.
/// Errors:     none. A null text is an empty one.
///
/// `quoteEmpty` writes an empty text as two double quotes rather than as nothing. `smartQuotes` puts
/// double quotes around a text that has a blank or a double quote in it; without it no text gets
/// them, for callers that write the quotes themselves.
#pragma once

#include <ZEL/ZEL_API.h>

class KIT_WorkBuffer;

/// Appends the protected text.
ZEL_API void ZELprotectString(KIT_WorkBuffer &out, const char *text, bool quoteEmpty,
                              bool smartQuotes);
