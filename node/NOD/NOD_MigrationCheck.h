/// \file NOD_MigrationCheck.h
/// Whether a map covers the scripts of its versions, and does what its tests say.
///
/// Threads:    the thread that changes trees; nothing of the application's is changed.
/// Errors:     each hole is an error in the report, at the line of its version or step.
/// Cost:       each version is compared with the next once; a test walks one node.
#pragma once

#include <NOD/NOD_API.h>

class NOD_MigrationMap;
class NOD_Report;

/// Compares each version's script with the next; the scripts are loaded. A hole is: a parameter of the former version
/// that is neither carried by name, renamed nor dropped; two of them with one name in the present version; a name in a
/// step that its version hasn't; a kind of value, a number of components or an entry of a menu that is another one
/// without a step; a step that doesn't fit what its parameter is. Returns their number.
NOD_API int NODcheckMigration(const NOD_MigrationMap &map, NOD_Report &report);
/// Runs the tests in the map. Returns how many fail; `count`, where it isn't null, is how many there are.
NOD_API int NODrunMigrationTests(const NOD_MigrationMap &map, NOD_Report &report,
                                 int *count = nullptr);
