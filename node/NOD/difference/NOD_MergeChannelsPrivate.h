/// \file NOD_MergeChannelsPrivate.h
/// Channels of items follow their parameters while states are merged: a channel's name begins with the token of its
/// parameter, which has another number once items come or go in front. Not installed.
///
/// Vocabulary: *bound* = said of contents in which a channel of an item's parameter is a part of it, and names have no
///             numbers.
/// Ownership:  the records are changed in place.
/// Threads:    one thread at a time.
#pragma once

#include <NOD/NOD_Change.h>

/// Whether an item has a parameter that is driven by a channel of its name.
bool NODhasItemChannels(const NOD_Record &contents);
void NODbindChannels(NOD_Record &contents);
/// With the numbers that the items have now.
void NODreleaseChannels(NOD_Record &contents);
/// Of a record in bound contents, in those that they were made of.
NOD_RecordPath NODreleasedPath(const NOD_Record &record);
/// `copy` is one of `record` in bound contents.
void NODreleaseNames(const NOD_Record &record, NOD_Record &copy);
