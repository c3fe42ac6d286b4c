/// \file NOD_PageTextPrivate.h
/// Texts of any bytes as parts of pages.
///
/// Bytes that are no UTF-8, and controls other than line end and tab, become U+FFFD.
#pragma once

#include <string>
#include <string_view>

std::string NODplainText(std::string_view text);
/// With the entities of HTML, between tags and in attributes.
std::string NODhtmlText(std::string_view text);
/// With backslashes in front of what has a meaning in Markdown, and on one line.
std::string NODmarkdownText(std::string_view text);
/// Between backquotes, on one line.
std::string NODmarkdownCode(std::string_view text);
