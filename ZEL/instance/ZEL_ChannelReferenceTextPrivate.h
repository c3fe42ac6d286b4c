/// \file ZEL_ChannelReferenceTextPrivate.h
/// Texts that say nothing but which channel to read: `ch("../size")` and what old files had for it.
///
/// Threads:    any.
/// Errors:     false for any other text; `channel`, which may be null, is then left alone.
/// Cost:       one pass over the text.
#pragma once

class KIT_String;

/// One call of a reference function with a quoted name and nothing else, parentheses allowed around
/// it; in backticks unless `bare`. The name goes to `channel`.
bool ZELisChannelReference(const char *text, bool bare, KIT_String *channel);

/// The form `!!ch("name")!!` of old files, with or without backticks and quotes.
bool ZELisObsoleteChannelReference(const char *text, KIT_String *channel);
