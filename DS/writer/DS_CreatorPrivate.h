/// \file DS_CreatorPrivate.h
/// What the sources of the script writer share.
#pragma once

#include <ZEL/ZEL_ScriptParm.h>

/// A text with a script's escapes, without quotes. Valid until the thread's next call: it is in a
/// buffer of the thread.
inline const char *DSprotect(const char *text, int quoteEmpty = 0)
{
    return ZEL_ScriptParm::protectString(text, quoteEmpty);
}
