/// \file SNK_EvaluationContext.h
/// The global names of a piece of Python code.
///
/// Ownership:  owns the names. Each context starts with the module that it is created for, under
///             the module's name, and Python's built-in functions.
/// Threads:    one thread at a time.
/// Errors:     without an interpreter the context is empty; running code in it reports why.
/// Cost:       the first one of the process starts the interpreter.

#pragma once

#include <BAS/BAS_API.h>

class KIT_API SNK_EvaluationContext
{
public:
    explicit SNK_EvaluationContext(const char *module);
    ~SNK_EvaluationContext();
    SNK_EvaluationContext(const SNK_EvaluationContext &) = delete;
    SNK_EvaluationContext &operator=(const SNK_EvaluationContext &) = delete;

    /// The interpreter's object; null without an interpreter.
    void *getNames() const { return myNames; }

private:
    void *myNames;
};
