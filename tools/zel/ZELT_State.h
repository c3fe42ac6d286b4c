/// \file ZELT_State.h
/// The present results of the conditions of parameters and folders.
///
/// Threads:    as the evaluation of a condition: any, but blocks on the list's own.
#pragma once

#include <ZEL/ZEL_ConditionalBase.h>

class ZEL_Parm;

/// Whether the parameter's condition of that type holds; false without one.
bool ZELTholds(const ZEL_Parm &parm, ZEL_ConditionalType type);
/// The same for one tab of a set of folders.
bool ZELTtabHolds(const ZEL_Parm &parm, int tab, ZEL_ConditionalType type);
