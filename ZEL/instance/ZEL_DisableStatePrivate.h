/// \file ZEL_DisableStatePrivate.h
/// The components of one instance whose overrides are disabled on a thread.
///
/// Ownership:  borrows the instance. One record for each thread, which ends with it.
/// Threads:    the record belongs to its thread; the instance may be destroyed on another.
#pragma once

#include <ZEL/ZEL_InstanceWatch.h>

#include <cstdint>

struct ZEL_DisableState
{
    /// The calling thread's, to read.
    static const ZEL_DisableState &local();
    /// The same, to change. It is empty again when the thread ends.
    static ZEL_DisableState &change();

    std::uint32_t mask = 0;
    ZEL_InstanceWatch instance; // null: no override is disabled, whatever the mask
};
