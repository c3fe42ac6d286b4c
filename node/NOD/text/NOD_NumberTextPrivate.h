/// \file NOD_NumberTextPrivate.h
/// Numbers as people write them. Not installed.
///
/// Threads:    any.
#pragma once

#include <BAS/BAS_Number.h>

#include <string>

/// False, and nothing set, unless all of the text is a number.
inline bool NODreadFloat(const std::string &text, double &number)
{
    if (!BASisFloat(text.c_str())) {
        return false;
    }
    number = BASparseFloat(text.c_str());
    return true;
}
