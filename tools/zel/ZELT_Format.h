/// \file ZELT_Format.h
/// Values as text, and words out of a line.
///
/// Threads:    any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// "1 script", "2 scripts".
std::string ZELTcounted(std::int64_t count, const std::string &what);
/// The shortest text that reads back as the same number, in every locale.
std::string ZELTnumber(double value);
/// In double quotes, with the escapes \" \\ \n \r \t and \ooo for other control bytes.
std::string ZELTquote(std::string_view text);
/// As it is, but for \ooo in the place of bytes that would drive a terminal: names and texts of files
/// may hold them.
std::string ZELTprintable(std::string_view text);

/// Splits a line as a shell does: at blanks, with '...' and "..." (in which \" and \\ are escapes,
/// and \n and \t line end and tab), a backslash for the next byte, and # at the start of a word for
/// a comment. False if a quote isn't closed.
bool ZELTsplitWords(std::string_view line, std::vector<std::string> &words);

/// The whole text as a number; false if it is none.
bool ZELTparseNumber(const std::string &text, double &value);
bool ZELTparseInteger(const std::string &text, int &value);

/// Rows of cells in columns, the first row being the heading: two blanks apart, no blanks at the
/// ends of lines.
std::string ZELTtable(const std::vector<std::vector<std::string>> &rows);
