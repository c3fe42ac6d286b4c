/// \file NOD_ExpressionCheck.h
/// Whether expressions can be read, before anything evaluates them.
///
/// Units:      offsets count bytes of the expression from 0.
/// Threads:    any thread; that of a script as reading its templates.
/// Errors:     a fault has the code of the category "TRK" that evaluating the expression would raise.
/// Cost:       compiles each text; one in Python starts the interpreter. Nothing is run.
///
/// Where Python doesn't run (SNKsetPythonEnabled, a build without it), texts in Python count as readable.
#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_API.h>
#include <TRK/TRK_Types.h>

#include <cstddef>
#include <string>

class NOD_Interface;
class NOD_Report;

struct NOD_API NOD_ExpressionFault
{
    int code = 0;           ///< EVL::EVL_SYNTAX and so on
    std::string text;       ///< `")" is missing`; of Python the last line of its traceback
    std::size_t offset = 0; ///< where; of Python the beginning of the line
};

/// False, with the fault, if a text can't be compiled.
NOD_API bool NODcheckExpression(const std::string &text, TRK_ExprLanguage language,
                                NOD_ExpressionFault &fault);

/// The same, with a message of the fault and its place in the text, about `subject`.
NOD_API bool NODcheckExpression(const std::string &text, TRK_ExprLanguage language,
                                const std::string &subject, NOD_Report &report,
                                KIT_ErrorSeverity severity = KIT_ERROR_WARNING);

/// The same for statements in Python, such as the script of a menu.
NOD_API bool NODcheckPythonScript(const std::string &text, NOD_ExpressionFault &fault);

/// Adds a message for each expression of a script that can't be compiled: of defaults, of the left sides of
/// conditions, and of menus. The detail has its place in the script. Returns their number.
NOD_API int NODcheckExpressions(const NOD_Interface &script, NOD_Report &report,
                                KIT_ErrorSeverity severity = KIT_ERROR_WARNING);
