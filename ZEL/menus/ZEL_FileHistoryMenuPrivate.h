/// \file ZEL_FileHistoryMenuPrivate.h
/// Menus of the files that were used last.
#pragma once

#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Type.h>

/// The generator for exactly that path word; that of all files for a word that has none of its own.
ZEL_ChoiceList::NameGenerator ZELgetFileHistoryGenerator(ZEL_Type::ZEL_PathType path);
