/// \file NOD_LinesPrivate.h
/// The small sections of a scene file: a keyword a line, with words behind it. Not installed.
///
/// Units:      lines from 0.
/// Threads:    one thread at a time.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A line's keyword and the words behind it, quotes taken off.
struct NOD_Line
{
    int number;
    std::vector<std::string> words; ///< the keyword first; never empty
};

/// Empty lines, and those that begin with "#", are left out.
std::vector<NOD_Line> NODreadLines(std::string_view text);
/// In double quotes, with escapes.
std::string NODquoted(std::string_view text);
/// The shortest text that is read back to the same bits.
std::string NODnumberText(double value);
/// False unless all of the text is a finite number.
bool NODreadNumber(const std::string &text, double &value);
