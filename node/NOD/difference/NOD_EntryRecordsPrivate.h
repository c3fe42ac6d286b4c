/// \file NOD_EntryRecordsPrivate.h
/// One entry of a parameter stream as a record, and back. Not installed.
///
/// Threads:    any, of records and entries of one's own.
#pragma once

#include <NOD/NOD_Record.h>
#include <ZEL/ZEL_StreamEntry.h>

#include <string>
#include <vector>

/// The form of a block that has items and no entry of its own; stored in patches, as are the others.
constexpr const char *theAbsentForm = "absent";
/// The form of a block whose count is that of its items.
constexpr const char *theCountForm = "count";

/// That of a block's first item which needn't be told.
constexpr int theUsualStart = 1;

/// The number of a block's first item: far from the ends of what an int holds, whatever a patch says.
int NODfirstNumber(const NOD_Record &block);
/// What its record is called: its token, or words for a packet that is no parameter's.
std::string NODentryKey(const ZEL_StreamEntry &entry);
/// Gives the record what the entry has.
void NODaddEntry(const ZEL_StreamEntry &entry, NOD_Record &parm);
/// How many items a block says it has; -1 if that isn't a plain number.
int NODplainCount(const NOD_Record &parm);
/// Takes the count away if it is that of the items.
void NODdropCount(NOD_Record &parm, int count);
/// The tokens of all entries in the usual order: the items of a block behind it.
void NODlistTokens(const NOD_Record &contents, std::vector<std::string> &tokens);
/// All entries in that order.
std::vector<ZEL_StreamEntry> NODentriesOf(const NOD_Record &contents);
