/// \file ZEL_SpareValuesPrivate.h
/// The process-wide table of the values that spare data hold: equal values are one text.
///
/// Vocabulary: *use* = one entry of one record that holds the value; the same value under two tokens
///             of a record is two uses.
/// Ownership:  the table owns the texts. It is made on first use and never destroyed, so that records
///             may be built and destroyed at any time of the process.
/// Threads:    any; one spin lock guards the table.
/// Errors:     none; when memory is exhausted a value comes back in the null state and isn't counted.
/// Cost:       one probe under the lock. A value that is there already is neither copied nor hashed
///             again.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_API ZEL_SpareValues
{
public:
    /// The shared text, with one use more. The null state stays null.
    static KIT_StringHolder acquire(const KIT_StringRef &value);
    /// Takes one use back of what acquire() answered, and leaves the null state. With its last use a
    /// value leaves the table.
    static void release(KIT_StringHolder &value);

    /// How many uses the value has; 0 when it isn't in the table.
    static int64_t uses(const KIT_StringRef &value);
};
