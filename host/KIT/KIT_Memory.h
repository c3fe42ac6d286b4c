/// \file KIT_Memory.h
/// Prints the counts of a memory table.
///
/// Threads:    any thread; the numbers are a snapshot.

#pragma once

#include <BAS/BAS_API.h>

class BAS_MemoryTable;
class KIT_WorkBuffer;

class KIT_API KIT_Memory
{
public:
    /// Appends one line for each category, then a total. `level`: 0 prints the total alone, 1 the
    /// bytes in use, 2 also the peak, 3 also the number of blocks. `skipUnused` omits the
    /// categories with nothing in use. The total peak is the sum of the peaks.
    static void printMemory(const BAS_MemoryTable &table, KIT_WorkBuffer &buffer, int level,
                            bool skipUnused);
};
