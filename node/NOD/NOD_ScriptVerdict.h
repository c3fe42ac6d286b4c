/// \file NOD_ScriptVerdict.h
/// What two versions of a script mean for the values that people have set with the first.
///
/// Ownership:  owns its texts.
/// Threads:    one thread at a time.
/// Errors:     to the report.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Migration.h>

#include <memory>
#include <vector>

class NOD_Difference;
class NOD_Interface;
class NOD_Report;

/// What becomes of a value of each parameter that isn't its default: the last entry of a menu, the end of a range. Told
/// are those that wouldn't be carried as they are. What the difference has as renamed is.
NOD_API NOD_Migration::Entries NODscriptVerdicts(const std::shared_ptr<const NOD_Interface> &from,
                                                 const std::shared_ptr<const NOD_Interface> &to,
                                                 const NOD_Difference &difference,
                                                 NOD_Report &report);
