#include "FuzzMemory.h"

#include <sanitizer/allocator_interface.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace
{

constexpr std::int64_t theBytesPerByte = 64;
constexpr std::int64_t theFreeBytes = std::int64_t(64) << 20;
constexpr std::int64_t theOff = std::numeric_limits<std::int64_t>::max();

std::atomic<std::int64_t> theLiveBytes{0};
std::atomic<std::int64_t> theMostBytes{theOff};

void allocated(const volatile void *, std::size_t bytes)
{
    const std::int64_t live = theLiveBytes.fetch_add(std::int64_t(bytes)) + std::int64_t(bytes);
    const std::int64_t most = theMostBytes.load();
    if (live > most) {
        theMostBytes = theOff; // printing allocates
        std::fprintf(stderr, "FuzzMemory: an input makes %lld bytes live, more than %lld\n",
                     static_cast<long long>(live), static_cast<long long>(most));
        std::abort();
    }
}

void freed(const volatile void *memory)
{
    theLiveBytes -= std::int64_t(__sanitizer_get_allocated_size(memory));
}

} // namespace

FuzzMemory::FuzzMemory(std::size_t inputBytes)
{
    static const int theInstalled = __sanitizer_install_malloc_and_free_hooks(allocated, freed);
    if (theInstalled == 0) {
        std::fprintf(stderr, "FuzzMemory: no hooks could be installed\n");
        std::abort();
    }
    theLiveBytes = 0;
    theMostBytes = theFreeBytes + theBytesPerByte * std::int64_t(inputBytes);
}

FuzzMemory::~FuzzMemory()
{
    theMostBytes = theOff;
}
