/// \file NOD_ScriptParmsPrivate.h
/// The parameter blocks of a script by the names that its templates have.
///
/// Ownership:  borrows the interface's page.
#pragma once

#include <NOD/NOD_Interface.h>

#include <unordered_map>

class ZEL_Name;
class ZEL_ScriptParm;

using NOD_ScriptParms = std::unordered_map<const ZEL_Name *, const ZEL_ScriptParm *>;

/// Empty for an interface without a script.
NOD_ScriptParms NODscriptParms(const NOD_Interface &script);
