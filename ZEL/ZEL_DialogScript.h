/// \file ZEL_DialogScript.h
/// The kinds of dialog scripts, and their names; ZEL_DialogScript.def says what each describes.
///
/// Units:      kinds from 0. Stored: append only.
/// Threads:    the interface's thread only: the first look-up builds the table of names without a
///             lock.
/// Errors:     ZEL_DIALOG_NONE for an unknown name, null for an unknown number.
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

/// The kind of a name such as "KSLsurface", case-sensitive.
ZEL_API ZEL_DialogScript ZELlookupDialogScript(const char *name);
/// The name of a kind, a constant.
ZEL_API const char *ZELlookupDialogScript(ZEL_DialogScript script);
