/// \file ZEL_ScriptPrivate.h
/// What the parsers of dialog scripts share.
#pragma once

class DS_Stream;
class KIT_String;
class ZEL_SpareData;

/// Report a formatted message through the stream.
void ZELscriptError(DS_Stream &stream, const char *format, ...)
    __attribute__((format(printf, 2, 3)));
void ZELscriptWarning(DS_Stream &stream, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

/// Reads the next token; at the end of the text false, and reports `error`.
bool ZELreadScriptToken(DS_Stream &stream, KIT_String &token, const char *error);

/// Reads a `{ name value }` block; false after an error. Of several pairs the first one counts;
/// without any, `name` is left unchanged.
bool ZELreadScriptTag(DS_Stream &stream, const char *braceError, KIT_String &name,
                      KIT_String &value);

/// Stores a pair; without a record false, and an error is reported.
bool ZELaddScriptTag(DS_Stream &stream, ZEL_SpareData *spare, const char *name,
                     const KIT_String &value);

/// Skips the number after "obsolete" if there is one.
void ZELskipScriptNumber(DS_Stream &stream);

/// Warns of a name with the wrong number of `#`; an empty name is reported as "<null>".
void ZELcheckScriptName(DS_Stream &stream, const KIT_String &name, int marks);
