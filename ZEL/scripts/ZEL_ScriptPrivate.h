/// \file ZEL_ScriptPrivate.h
/// What the parsers of dialog scripts share.
#pragma once

class DS_Stream;
class KIT_String;
class ZEL_SpareData;

/// Report a formatted text through the stream.
void ZELscriptError(DS_Stream &stream, const char *format, ...)
    __attribute__((format(printf, 2, 3)));
void ZELscriptWarning(DS_Stream &stream, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

/// The next token; false with that error at the end of the text.
bool ZELreadScriptToken(DS_Stream &stream, KIT_String &token, const char *error);

/// Reads a `{ name value }` block, false with an error if it can't be read. Of several pairs the
/// first one counts; without any, `name` is left alone.
bool ZELreadScriptTag(DS_Stream &stream, const char *braceError, KIT_String &name,
                      KIT_String &value);

/// Keeps a pair; false with an error without a record.
bool ZELaddScriptTag(DS_Stream &stream, ZEL_SpareData *spare, const char *name,
                     const KIT_String &value);

/// Drops the number behind "obsolete" if there is one.
void ZELskipScriptNumber(DS_Stream &stream);

/// Warns of a name that hasn't as many `#` as it should; an empty one reads "<null>".
void ZELcheckScriptName(DS_Stream &stream, const KIT_String &name, int marks);
