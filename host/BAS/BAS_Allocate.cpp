#include <BAS/BAS_Allocate.h>

#include <atomic>
#include <tbb/scalable_allocator.h>

namespace
{
std::atomic<uint64_t> theFailures{0};
} // namespace

uint64_t BASfailedAllocations()
{
    return theFailures.load(std::memory_order_relaxed);
}

void BASnoteFailedAllocation()
{
    theFailures.fetch_add(1, std::memory_order_relaxed);
}
