/// \file ZEL_InstanceString.h
/// Replaces the marks of a name by instance numbers, which makes the templates of one block into
/// the parameters of many items.
///
/// Vocabulary: *mark* = a `#` that no backslash precedes; a backslash makes the next character
///             ordinary and stays in the text. *Numbers* = the item numbers of all nesting levels,
///             outermost first.
/// Ownership:  borrows its input; `out` may not hold it, unless an overload says so.
/// Threads:    any.
/// Errors:     none. Without numbers the text is copied.
/// Cost:       one pass over the text.
///
/// Each mark takes the next number: "t#_#" with 1 and 2 gives "t1_2". The flags select the rest:
///
///     fillToken   surplus numbers are appended, "_" before each but the first number written
///                 ("foo" with 3 and 2 gives "foo3_2"), and every remaining `#`, escaped or not,
///                 becomes "_" ("t#_#" with 1 gives "t1__")
///     repeat      for a text that isn't a token: the numbers are repeated until all marks are
///                 filled
///     neither     for a label: surplus marks stay, surplus numbers are ignored
#pragma once

#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>

class KIT_String;
class KIT_StringHolder;
class KIT_StringRef;
class KIT_WorkBuffer;

/// Clears `out` and writes the text with its numbers; `repeat` is ignored with `fillToken`.
ZEL_API void ZELinstanceString(KIT_WorkBuffer &out, const KIT_StringRef &text, const int *instances,
                               int count, bool fillToken, bool repeat);
ZEL_API void ZELinstanceString(KIT_WorkBuffer &out, const KIT_StringRef &text,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat);

/// The same into a string, which may be the source of the text.
ZEL_API void ZELinstanceString(KIT_String &out, const KIT_StringRef &text, const int *instances,
                               int count, bool fillToken, bool repeat);
ZEL_API void ZELinstanceString(KIT_String &out, const KIT_StringRef &text,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat);

/// The same into a holder, which may be the source of the text.
ZEL_API void ZELinstanceString(KIT_StringHolder &out, const KIT_StringRef &text,
                               const int *instances, int count, bool fillToken, bool repeat);
ZEL_API void ZELinstanceString(KIT_StringHolder &out, const KIT_StringRef &text,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat);
