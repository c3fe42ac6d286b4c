/// \file BAS_LostText.h
/// Detects that a text was lost for lack of memory during its lifetime. Such a text is empty, which
/// is allowed for a value, but not for a name or for what is kept for the whole process.
///
/// Threads: any. The count is the process's: another thread's loss is detected too.
#pragma once

#include <BAS/BAS_Allocate.h>

#include <new>

class BAS_LostText
{
public:
    /// Throws std::bad_alloc if a text was lost.
    void check() const
    {
        if (BASfailedAllocations() != myBefore) {
            throw std::bad_alloc();
        }
    }

private:
    std::uint64_t myBefore = BASfailedAllocations();
};
