/// \file BenchMemory.h
/// How much memory the process has.
#pragma once

#include <fstream>
#include <unistd.h>

/// Bytes; 0 where the system doesn't tell.
inline double benchResidentBytes()
{
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return double(resident) * double(sysconf(_SC_PAGESIZE));
}
