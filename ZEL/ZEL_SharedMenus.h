/// \file ZEL_SharedMenus.h
/// Menus that parameters of many nodes share: static choice lists, ZELaxisMenu to ZELxyzMenu.
///
/// ZEL_SharedMenus.def lists them by topic, each with its rows. Menus whose entries are only known
/// at run time are built by the functions of ZEL_MenuBuilders.h.
///
/// ZELtoggleMenu ("off", "on", tokens only) is the menu of every toggle without one of its own.
/// zelRampInterpMenu is in the order of ZEL_RampInterpType.
///
/// Ownership:  statics; templates borrow them.
/// Threads:    built when the library is loaded, read-only from then on.
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_ChoiceList.h>

#define ZEL_SHARED_MENU(symbol, type, ...) extern ZEL_API ZEL_ChoiceList symbol;
#include <ZEL/ZEL_SharedMenus.def>
#undef ZEL_SHARED_MENU

/// The keys of what a node path may point at, objects first, at most 30 of them: for the parameter
/// that chooses another one's filter.
extern ZEL_API ZEL_ChoiceList ZELopFilterTypeMenu;
