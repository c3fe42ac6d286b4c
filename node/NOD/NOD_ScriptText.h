/// \file NOD_ScriptText.h
/// The way back from templates to a dialog script.
///
/// Vocabulary: *loss* = what a script has no words for.
/// Threads:    one thread at a time; scripts are read and written by one.
/// Errors:     each loss is an error with the parameter's token; the text then has the nearest that a
///             script can say. Without errors NOD_Interface::fromText() of the text has the same
///             templates, field by field: the text is read again to know.
/// Cost:       of writing and reading the script once.
///
/// What DS_Creator writes is a part of the language; this writes all of it that templates can come
/// from: blocks of items, folders of each kind with their conditions and tags, all kinds of menus and
/// conditions, meanings of defaults. In the templates there are no obsolete parameters, no imports, no
/// options of command lines, no page's words of applications, and no names of the second and later
/// folders of a set, so the text has none of them, or made-up ones. What the records differ in without
/// a difference for anybody is no loss: the number beside the text of a string parameter, a menu of the
/// library's own, an override in place of the default.
#pragma once

#include <NOD/NOD_API.h>

#include <string>

class NOD_Interface;
class NOD_Report;
class ZEL_Template;

/// The script of an array up to its terminator; null is a script without parameters. `label` may be
/// empty.
NOD_API std::string NODscriptText(const ZEL_Template *templates, const std::string &name,
                                  const std::string &label, NOD_Report &losses);
/// The text that the interface was read from, so that nothing of it is lost; that of its templates if it
/// was made of templates, or, with a warning, if its script includes files.
NOD_API std::string NODscriptText(const NOD_Interface &interface, NOD_Report &losses);
