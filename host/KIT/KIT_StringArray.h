/// \file KIT_StringArray.h
/// A growing list of strings.
///
/// Units:      indices are 0-based and 64 bits wide; -1 means "none".
/// Ownership:  owns the strings. Appending copies the text.
/// Threads:    one thread at a time; const calls from any.
/// Errors:     as KIT_Array.

#pragma once

#include <KIT/KIT_Array.h>
#include <KIT/KIT_String.h>

class KIT_API KIT_StringArray : public KIT_Array<KIT_String>
{
public:
    /// Appends a copy of the text, returns its index. A null pointer appends an unset string.
    int64_t append(const char *text);

    /// Appends a copy of that many bytes.
    int64_t append(const char *text, size_t length);

    /// Appends the string, hardened first if it is borrowed.
    int64_t append(KIT_String text);

    /// The index of the first string with this text at or after `start`, -1 if there is none. An
    /// unset string is found as "".
    int64_t find(const char *text, int64_t start = 0) const;

    /// Sorts bytewise, or in the given order; equal ones keep their order.
    void sort(bool ascending = true, bool ignoreCase = false);

    /// The strings with the separator between them.
    void join(const char *separator, KIT_String &out) const;

    /// Heap bytes of the array and its strings, and the object's own size when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;
};
