/// \file ZEL_Memory.h
/// The library's memory accounts, for applications that want their parameter data counted.
///
/// Vocabulary: *category* = one account of the table.
/// Units:      bytes.
/// Ownership:  memory is freed by Free() with the size it was allocated with.
/// Threads:    any; the counts are atomic.
/// Errors:     null when memory is exhausted, nothing counted.
///
/// The library itself keeps nothing in these accounts.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstddef>

class BAS_MemoryTable;
class KIT_WorkBuffer;

class ZEL_API ZEL_Memory
{
public:
    enum ZEL_MemoryCategory : int
    {
        ZEL_MEMORY_DEBUG = 0,         ///< "Debug"
        ZEL_MEMORY_SET_VALUE_DATA = 1 ///< "SetValueData"
    };

    ZEL_Memory() = delete;

    static void *Malloc(ZEL_MemoryCategory category, size_t size);
    /// Zeroed bytes.
    static void *Calloc(ZEL_MemoryCategory category, size_t size);
    static void *Realloc(ZEL_MemoryCategory category, void *memory, size_t oldSize, size_t newSize);
    static void Free(ZEL_MemoryCategory category, void *memory, size_t size);
    /// Add, and subtract, bytes that are allocated elsewhere.
    static void acquire(ZEL_MemoryCategory category, size_t size);
    static void release(ZEL_MemoryCategory category, size_t size);

    static BAS_MemoryTable &getTable();
    /// Appends one line for each category and a total: bytes, highest use, blocks.
    static void printUsage(KIT_WorkBuffer &buffer);
};
