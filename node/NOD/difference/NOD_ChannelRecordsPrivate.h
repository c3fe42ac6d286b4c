/// \file NOD_ChannelRecordsPrivate.h
/// Channels as records, and back. Not installed.
///
/// Threads:    one thread at a time.
/// Errors:     false after an error in the report.
#pragma once

#include <NOD/NOD_Record.h>

#include <string>
#include <string_view>

class NOD_Report;

/// Adds the language and the channels of a channel file in either form, and what they have.
bool NODreadChannels(std::string_view bytes, const std::string &name, NOD_Record &contents,
                     NOD_Report &report);
/// The text of those that the contents have; "" without any.
std::string NODchannelText(const NOD_Record &contents);
