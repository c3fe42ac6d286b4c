/// \file KIT_Filter.h
/// The reconstruction filters that images are resampled with, by number.
///
/// Vocabulary: *name* = as files and parameters store it; *label* = as people read it.
/// Units:      filters from 0, the cheapest first. Stored: append only.
/// Ownership:  the texts are constants.
/// Threads:    any.
/// Errors:     null, or -1, for a filter that doesn't exist.

#pragma once

#include <BAS/BAS_API.h>

class KIT_API KIT_Filter
{
public:
    static int getNFilters();
    static const char *getFilterName(int filter);
    static const char *getFilterLabel(int filter);
    /// The number of a name; case matters.
    static int findFilter(const char *name);
};
