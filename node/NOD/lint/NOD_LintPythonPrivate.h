/// \file NOD_LintPythonPrivate.h
/// Whether Python can compile a text. Nothing is run.
///
/// Threads:    any; waits for the interpreter, and starts it if needed.
#pragma once

#include <string>

/// The last line of Python's reason; "" if the text can be compiled, or nobody can say: a build without
/// Python, or one that is switched off. `body` has statements, else the text is one expression.
std::string NODpythonFault(const std::string &text, bool body);
