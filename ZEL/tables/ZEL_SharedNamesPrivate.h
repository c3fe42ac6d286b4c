/// \file ZEL_SharedNamesPrivate.h
/// Token and label of each shared name as constants, for tables that are made while the library is
/// loaded and can't count on the names being there yet.
#pragma once

namespace ZEL_NameRows
{

struct Row
{
    const char *token;
    const char *label;
};

#define ZEL_SHARED_NAME(symbol, token, label) [[maybe_unused]] constexpr Row symbol{token, label};
#include <ZEL/ZEL_SharedNames.def>
#undef ZEL_SHARED_NAME

} // namespace ZEL_NameRows
