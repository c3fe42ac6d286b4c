#pragma once
/// \file ZEL_SharedMenus.h
/// Menus that many parameters share, as static choice lists.
///
/// Ownership:  statics; templates borrow them.
/// Threads:    read only once the library is loaded.

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_ChoiceList.h>

/// "off", "on"; tokens only. The menu of every toggle that brings none of its own.
extern ZEL_API ZEL_ChoiceList ZELtoggleMenu;

/// The seven ways between two keys of a ramp, in the order of ZEL_RampInterpType.
extern ZEL_API ZEL_ChoiceList zelRampInterpMenu;
