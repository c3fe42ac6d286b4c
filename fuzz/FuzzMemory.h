/// \file FuzzMemory.h
/// An oracle of the fuzz targets: what one input makes live at once is at most 64 times the input and
/// 64 MiB. More ends the process with a message.
///
/// Units:      bytes of malloc and new, as the sanitizer's allocator hands them out.
/// Threads:    counts those of all.
#pragma once

#include <cstddef>

/// Counts while it lives: the first line of a target's function.
class FuzzMemory
{
public:
    explicit FuzzMemory(std::size_t inputBytes);
    ~FuzzMemory();
    FuzzMemory(const FuzzMemory &) = delete;
    FuzzMemory &operator=(const FuzzMemory &) = delete;
};
