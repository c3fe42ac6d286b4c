/// \file KIT_Filter.h
/// The reconstruction filters that images are resampled with, by number.
///
/// Vocabulary: *name* = what files and parameters say; *label* = what people read.
/// Units:      filters from 0, the cheapest first. Stored: append only.
/// Ownership:  the texts are constants.
/// Threads:    any.
/// Errors:     null, or -1, for what isn't there.

#pragma once

#include <BAS/BAS_API.h>

class KIT_API KIT_Filter
{
public:
    static int getNFilters();
    static const char *getFilterName(int filter);
    static const char *getFilterLabel(int filter);
    /// The number of a name, in the case of its letters.
    static int findFilter(const char *name);
};
