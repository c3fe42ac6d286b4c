/// \file ZEL_TemplatePrivate.h
/// What the sources of the templates share.
#pragma once

class ZEL_SpareData;

/// Creates a record that no template frees; it stays reachable until the process ends.
ZEL_SpareData *ZELcreateKeptSpareData();
/// Frees such a record, or one that was allocated on its own.
void ZELfreeSpareData(ZEL_SpareData *spare);
