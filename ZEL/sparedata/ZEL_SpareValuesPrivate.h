/// \file ZEL_SpareValuesPrivate.h
/// The process-wide table of spare data values: equal values share one text.
///
/// Vocabulary: *use* = one entry of one record that holds the value; the same value under two tokens
///             of a record is two uses.
/// Ownership:  the table owns the texts. It is created on first use and never destroyed, so that
///             records may be created and destroyed at any time in the process.
/// Threads:    any; one spin lock guards the table.
/// Errors:     none; when memory is exhausted a null value is returned and isn't counted.
/// Cost:       one probe under the lock. A value already in the table is neither copied nor hashed
///             again.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_API ZEL_SpareValues
{
public:
    /// The shared text, with one more use. A null value stays null.
    static KIT_StringHolder acquire(const KIT_StringRef &value);
    /// Releases one use of what acquire() returned, and sets the value to null. The last use
    /// removes the value from the table.
    static void release(KIT_StringHolder &value);

    /// How many uses the value has; 0 when it isn't in the table.
    static int64_t uses(const KIT_StringRef &value);
};
