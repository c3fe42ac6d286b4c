/// \file Repeated.h
/// Long texts out of short ones.
#pragma once

#include <string>

inline std::string repeated(const std::string &text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}
