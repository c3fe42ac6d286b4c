/// \file NOD_InterfaceCheck.h
/// Finds what is wrong in the description of an interface, before a node has it.
///
/// Vocabulary: *pattern* = the token of a parameter in a block, with a `#` for each block around it:
///             its items have a number there. *Known* = a token or channel token of the interface; a
///             pattern's are known with numbers too.
/// Threads:    as reading the templates.
/// Errors:     each fault is a message of the severity asked for, with the parameter's token as subject.
/// Cost:       proportional to the templates and their components, with a look-up for each name.
///
/// What is checked, each a row of NOD_InterfaceCheck.cpp:
///
///     tokens        empty; not to be held by the text of a stream; `#` outside of a block, or not one
///                   for each block around (the name of a block itself needs one less)
///     duplicates    a token or a channel token that another parameter has, items of blocks included
///     ranges        a least value above the greatest
///     defaults      numbers outside of a hard range; of an ordinal, outside of its menu; a word that a
///                   menu without other choices doesn't have. Texts that are expressions aren't evaluated.
///     menus         two entries of the same token
///     conditions    a name that is not known; a regular expression that is none. Left operands that are
///                   expressions aren't evaluated.
///     folders       member counts that reach past the last template, or are no whole numbers
///     blocks        one that is in itself
#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_API.h>

class NOD_Interface;
class NOD_Report;
class ZEL_Template;

/// Adds each fault to the report; returns how many there are. An array up to its terminator, null is
/// empty.
NOD_API int NODcheckInterface(const ZEL_Template *templates, NOD_Report &report,
                              KIT_ErrorSeverity severity = KIT_ERROR_WARNING);
/// The same, with file, line and column of what is at fault where the script says it.
NOD_API int NODcheckInterface(const NOD_Interface &script, NOD_Report &report,
                              KIT_ErrorSeverity severity = KIT_ERROR_WARNING);
/// Menus whose script has no language, for applications without a command language: they are empty, and nothing
/// else says why.
NOD_API int NODcheckMenuScripts(const ZEL_Template *templates, NOD_Report &report,
                                KIT_ErrorSeverity severity = KIT_ERROR_WARNING);
NOD_API int NODcheckMenuScripts(const NOD_Interface &script, NOD_Report &report,
                                KIT_ErrorSeverity severity = KIT_ERROR_WARNING);
/// Warns of names of a script's parameters that can't be used everywhere, with their lines: one that the text
/// form can't hold, one whose expression no channel can hold. In a block, those of the last item that it
/// begins with.
NOD_API void NODcheckNames(const NOD_Interface &script, NOD_Report &report);
