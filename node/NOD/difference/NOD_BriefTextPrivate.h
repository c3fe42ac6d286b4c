/// \file NOD_BriefTextPrivate.h
/// Texts of files, which may have any bytes and any length, in lines for people. Not installed.
///
/// Units:      bytes.
/// Threads:    any.
#pragma once

#include <string>
#include <string_view>

/// Cut between two characters, with dots, where it is longer.
std::string NODcutText(std::string text, std::size_t longest);
/// Line feeds and what else moves a terminal's cursor as escapes.
std::string NODescapedText(std::string_view text);
/// Runs of blanks and line feeds as one blank, none at the ends.
std::string NODcollapsedText(std::string_view text);
