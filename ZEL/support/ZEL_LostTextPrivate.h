/// \file ZEL_LostTextPrivate.h
/// Notices that a text got no memory while one lives. Such a text is empty, which a value may be; a
/// name or what is kept for the whole process may not.
///
/// Threads: any. The count is the process's: another thread's loss is noticed too.
#pragma once

#include <BAS/BAS_Allocate.h>

#include <new>

class ZEL_LostText
{
public:
    /// Throws std::bad_alloc if there was one.
    void check() const
    {
        if (BASfailedAllocations() != myBefore) {
            throw std::bad_alloc();
        }
    }

private:
    std::uint64_t myBefore = BASfailedAllocations();
};
