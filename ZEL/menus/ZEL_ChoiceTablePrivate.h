/// \file ZEL_ChoiceTablePrivate.h
/// The length of a table of menu entries.
#pragma once

#include <cstdint>

/// Entries up to the sentinel; 0 for a null table.
template <class Entry>
int32_t ZELcountChoices(const Entry *table)
{
    int32_t count = 0;
    while (table && !table[count].isSentinel()) {
        count++;
    }
    return count;
}
