/// \file NOD_LoadingPrivate.h
/// The library loads while it lives: nodes that are made get no presets, and access isn't checked. Not
/// installed.
///
/// Threads:    counts on the thread that makes it.
#pragma once

#include <ZEL/ZEL_ParmList.h>

class NOD_Loading
{
public:
    NOD_Loading() { ZEL_ParmList::beginLoading(); }
    ~NOD_Loading() { ZEL_ParmList::endLoading(); }
    NOD_Loading(const NOD_Loading &) = delete;
    NOD_Loading &operator=(const NOD_Loading &) = delete;
};
