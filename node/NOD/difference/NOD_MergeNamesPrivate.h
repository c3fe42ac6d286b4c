/// \file NOD_MergeNamesPrivate.h
/// Names of parameters in the conditions and expressions of a script that is merged: what one side renames or removes,
/// the other one may have begun to refer to. Not installed.
///
/// Threads:    one thread at a time.
/// Cost:       linear in the script; nothing where no name is lost.
#pragma once

#include <NOD/difference/NOD_MergeReferencesPrivate.h>

/// A conflict for each condition and expression of the merged script with a name that it hasn't any more.
void NODtellLostNames(NOD_Record &made, const NOD_States &states, NOD_MergeJudge &judge);
