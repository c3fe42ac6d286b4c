/// \file KIT_VarEncode.h
/// Encodes any text as a name that parameter tokens may have, and decodes it.
///
/// Vocabulary: *plain* = a text of ASCII letters, digits, "_" and "#" that doesn't start with
///             "xn__"; it is its own code. Any other text becomes "xn__" followed by its bytes:
///             letters, digits and "#" as they are, "_" as "__", every other byte as "_" and two
///             lower-case hexadecimal digits. "a:b" is "xn__a_3ab", "xn__" is "xn__xn____".
/// Ownership:  borrows its input; `out` must not be the input's buffer.
/// Threads:    any.
/// Errors:     none: every text has a code. Decoding a text that isn't a code returns it unchanged.
/// Cost:       one pass; a plain text is not touched.

#pragma once

#include <BAS/BAS_API.h>

class KIT_String;
class KIT_WorkBuffer;

class KIT_API KIT_VarEncode
{
public:
    /// Replaces the text by its code. An unset string stays unset.
    static void encodeParm(KIT_String &text);

    /// Appends the code; does nothing for a null pointer.
    static void encodeParm(const char *text, KIT_WorkBuffer &out);

    /// Replaces a code by its text. decodeParm after encodeParm gives every text back.
    static void decodeParm(KIT_String &text);

    /// Appends the code's text; does nothing for a null pointer.
    static void decodeParm(const char *text, KIT_WorkBuffer &out);
};
