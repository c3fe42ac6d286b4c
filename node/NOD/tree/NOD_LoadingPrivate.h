/// \file NOD_LoadingPrivate.h
/// While one lives, its thread loads lists: no presets, no checks of access. Not installed.
///
/// Threads:    any; scopes nest.
#pragma once

#include <ZEL/ZEL_ParmList.h>

struct NOD_Loading
{
    NOD_Loading() { ZEL_ParmList::beginLoading(); }
    ~NOD_Loading() { ZEL_ParmList::endLoading(); }
    NOD_Loading(const NOD_Loading &) = delete;
    NOD_Loading &operator=(const NOD_Loading &) = delete;
};
