/// \file ZEL_ChannelReferenceTextPrivate.h
/// Texts that only name a channel to read: `ch("../size")` and the form of old files.
///
/// Threads:    any.
/// Errors:     false for any other text; `channel`, which may be null, is then unchanged.
/// Cost:       one pass over the text.
#pragma once

class KIT_String;

/// One call of a reference function with a quoted name and nothing else, optionally in parentheses;
/// in backticks unless `bare`. The name is stored in `channel`.
bool ZELisChannelReference(const char *text, bool bare, KIT_String *channel);

/// The form `!!ch("name")!!` of old files, with or without backticks and quotes.
bool ZELisObsoleteChannelReference(const char *text, KIT_String *channel);
