/// \file ZEL_TemplatePrivate.h
/// What the sources of the templates share.
#pragma once

class ZEL_SpareData;

/// Makes a record that no template frees; it stays reachable for the life of the process.
ZEL_SpareData *ZELcreateKeptSpareData();
/// Frees such a record, or one that was made by itself.
void ZELfreeSpareData(ZEL_SpareData *spare);
