/// \file ZEL_PlaceMemoryPrivate.h
/// The memory of the blocks in which a list's parameters lie, and of arrays of templates: what is
/// allocated one after the other lies one after the other, over many lists, so that a walk over a scene
/// runs forward in memory, and what a list gives back the next list gets. Not installed.
///
/// Vocabulary: *chunk* = 2 MB of memory, from the system; *line* = a cache line.
/// Units:      sizes in bytes; blocks begin at a line and take whole lines.
/// Ownership:  the allocating code gives a block back with the same size. A chunk without blocks goes
///             back to the system, except for some that the next blocks are cut from.
/// Threads:    any thread. One lock, for two of its operations in a block's life.
/// Errors:     out of memory throws std::bad_alloc.
/// Cost:       a few steps, whatever was allocated and freed before. In builds with a sanitizer each
///             block is an allocation of its own.
#pragma once

#include <cstddef>

class ZEL_PlaceMemory
{
public:
    static constexpr std::size_t theLineSize = 64;
    static constexpr std::size_t theMostBytes = 4096;

    static void *allocate(std::size_t bytes);
    static void deallocate(void *memory, std::size_t bytes) noexcept;
};
