/// \file NOD_MenuFileCheck.h
/// What is wrong with a data file of a menu (ZEL_FileMenu.h), whose reader skips what it can't use without a word.
///
/// Units:      lines from 1.
/// Threads:    any.
/// Errors:     each line that gives no row, or a row that can't be chosen, is an error with its place.
#pragma once

#include <NOD/NOD_API.h>

#include <string>

class NOD_Report;

/// Whether a file is one, by its name: one of those that menus look for on the search path.
NOD_API bool NODisMenuFile(const std::string &path);
/// How many rows the file gives, separators too; -1 if it can't be read, or is none by its name.
NOD_API int NODcheckMenuFile(const std::string &path, NOD_Report &report);
