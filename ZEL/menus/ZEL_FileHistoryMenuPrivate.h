/// \file ZEL_FileHistoryMenuPrivate.h
/// Menus of the most recently used files.
#pragma once

#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Type.h>

/// The generator for exactly this path type; the one for all files if the type has none of its own.
ZEL_ChoiceList::NameGenerator ZELgetFileHistoryGenerator(ZEL_Type::ZEL_PathType path);
