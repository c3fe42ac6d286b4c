/// \file ZEL_TemplatePrivate.h
/// What the sources of the templates share.
#pragma once

#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Type.h>

/// The generator of the menu of files used last, for exactly that path word.
ZEL_ChoiceList::NameGenerator ZELgetFileHistoryGenerator(ZEL_Type::ZEL_PathType path);

/// Makes a record that no template frees; it stays reachable for the life of the process.
ZEL_SpareData *ZELcreateKeptSpareData();
/// Frees such a record, or one that was made by itself.
void ZELfreeSpareData(ZEL_SpareData *spare);
