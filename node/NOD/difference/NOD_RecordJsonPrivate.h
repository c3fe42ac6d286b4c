/// \file NOD_RecordJsonPrivate.h
/// Records as the JSON that patches and reports of conflicts have. Not installed.
///
/// Threads:    any.
#pragma once

#include <NOD/NOD_Change.h>

#include <nlohmann/json.hpp>
#include <string>

nlohmann::ordered_json NODjsonOf(const NOD_Record &record);
nlohmann::ordered_json NODjsonOf(const NOD_RecordPath &path);
/// As it is, or its bytes where it is no text.
nlohmann::ordered_json NODjsonOf(const std::string &text);
