/// \file ZEL_DialogScript.h
/// The kinds of dialog scripts, and their names; ZEL_DialogScript.def tells what each describes.
///
/// Units:      kinds from 0. Stored: append only.
/// Threads:    the interface's thread only: the table of names is made, without a lock, by the first
///             look-up.
/// Errors:     ZEL_DIALOG_NONE for an unknown name, null for a number that is no kind.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstdint>

enum ZEL_DialogScript : int32_t
{
    ZEL_DIALOG_NONE = -1, ///< no kind
#define ZEL_DIALOG_SCRIPT(word, what) ZEL_DIALOG_##word,
#include <ZEL/ZEL_DialogScript.def>
#undef ZEL_DIALOG_SCRIPT
    ZEL_DIALOG_COUNT ///< how many there are
};

/// The kind of a name such as "KSLsurface", in the case of its letters.
ZEL_API ZEL_DialogScript ZELlookupDialogScript(const char *name);
/// The name of a kind, a constant.
ZEL_API const char *ZELlookupDialogScript(ZEL_DialogScript script);
