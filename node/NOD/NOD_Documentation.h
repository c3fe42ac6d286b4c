/// \file NOD_Documentation.h
/// An interface as pages for people who use its nodes: folders, types in words, ranges, menus, conditions in
/// words, help, and its ramps drawn.
///
/// Ownership:  owns the bytes.
/// Threads:    the one that may make nodes: ramps are drawn as those of a new node, with neither preset.
/// Errors:     what the evaluation of a ramp reports is in the report; the page is whole in any case.
#pragma once

#include <NOD/NOD_API.h>

#include <string>
#include <vector>

class NOD_Interface;
class NOD_Report;

/// A file of the documentation.
struct NOD_API NOD_Page
{
    std::string name; ///< without a folder
    std::string bytes;
};

/// The name of an interface's pages without an ending: of its type's name, what isn't a letter, a digit, `.`, `_`
/// or `-` is `_`, as is a dot in front.
NOD_API std::string NODpageName(const NOD_Interface &interface);
/// `NAME.md`, `NAME.html`, which stands alone, and for the former `NAME_TOKEN.svg` of each ramp.
NOD_API std::vector<NOD_Page> NODdocument(const NOD_Interface &interface, NOD_Report &report);

/// What the Markdown page says of one parameter or folder, without its picture and what is in it; "" if there is
/// none of that name. Any thread.
NOD_API std::string NODparmPage(const NOD_Interface &interface, const std::string &name);

/// What a word for a type means: "A number" of "float". Null for an unknown word.
NOD_API const char *NODtypeMeaning(const std::string &word);
