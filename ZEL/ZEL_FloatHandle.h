/// \file ZEL_FloatHandle.h
/// A handle of a float: numbers with or without a channel, integers of the float kind too.
///
/// Vocabulary, ownership, threads, errors, cost: as ZEL_Handle.h.
#pragma once

#include <ZEL/ZEL_NumberHandle.h>

class ZEL_FloatHandle : public ZEL_NumberHandle<ZEL_FloatHandle, double>
{
public:
    /// On no list, and not valid.
    ZEL_FloatHandle() : ZEL_NumberHandle(Kind::FLOAT) {}
    /// By token, or else by channel token or alias.
    ZEL_FloatHandle(ZEL_ParmList &list, std::string_view name)
        : ZEL_NumberHandle(list, name, Kind::FLOAT)
    {}
};
