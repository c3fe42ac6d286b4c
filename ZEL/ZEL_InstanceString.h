/// \file ZEL_InstanceString.h
/// Puts instance numbers into a name: how one description becomes the parameters of many items.
///
/// Vocabulary: *mark* = a `#` that no backslash precedes; a backslash makes the next character
///             ordinary and stays in the text. *Numbers* = those of all nesting levels, outermost
///             first.
/// Ownership:  borrows its input; `out` may not hold it.
/// Threads:    any.
/// Errors:     none. No numbers copy the text.
/// Cost:       one pass over the text.
///
/// Each mark takes the next number: "t#_#" with 1 and 2 gives "t1_2". What differs by the flags:
///
///     fillToken   numbers left over go behind the text, "_" before each but the first number
///                 written ("foo" with 3 and 2 gives "foo3_2"), and every `#` that is left, however
///                 protected, becomes "_" ("t#_#" with 1 gives "t1__")
///     repeat      for a text that is no token: the numbers start over until every mark is filled
///     neither     a label: marks left over stay, numbers left over are not used
#pragma once

#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>

class KIT_String;
class KIT_StringHolder;
class KIT_StringRef;
class KIT_WorkBuffer;

/// Clears `out` and writes the text with its numbers; `repeat` counts only without `fillToken`.
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
