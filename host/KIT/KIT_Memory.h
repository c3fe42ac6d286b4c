/// \file KIT_Memory.h
/// Prints what a memory table counts.
///
/// Threads:    any thread; the numbers are those of the moment.

#pragma once

#include <BAS/BAS_API.h>

class BAS_MemoryTable;
class KIT_WorkBuffer;

class KIT_API KIT_Memory
{
public:
    /// Appends one line for each category, then a total. `level`: 0 prints the total alone, 1 the
    /// bytes in use, 2 also the highest use, 3 also the number of blocks. `skipUnused` leaves out
    /// the categories with nothing in use. The total of the highest uses is their sum.
    static void printMemory(const BAS_MemoryTable &table, KIT_WorkBuffer &buffer, int level,
                            bool skipUnused);
};
