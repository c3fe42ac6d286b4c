/// \file ZEL_SaveParms.h
/// Some of a list's parameters as a stream, in an order of the caller's.
///
/// Ownership:  borrows parameters and target.
/// Threads:    the list's own.
/// Errors:     as ZEL_ParmList::save, which stops at an error that is still in the error manager.
#pragma once

#include <ZEL/ZEL_API.h>

#include <iosfwd>
#include <vector>

class ZEL_Parm;

/// Writes what ZEL_ParmList::load reads; parameters without an instance have no entry. The setting for
/// sorted saving doesn't count.
ZEL_API void ZELsaveParms(const std::vector<const ZEL_Parm *> &parms, std::ostream &os,
                          bool binary);
