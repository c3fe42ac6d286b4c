/// \file ZEL_SharedNamesPrivate.h
/// Token and label of each shared name as constants, for tables that are initialized while the
/// library is loaded and can't rely on the name objects being constructed yet.
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
