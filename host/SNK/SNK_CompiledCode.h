/// \file SNK_CompiledCode.h
/// A piece of Python code, compiled once.
///
/// Vocabulary: *source name* = the name of the text in tracebacks; *body* = statements as in a
///             function: `return` gives the result, and so does an expression that ends the text.
/// Ownership:  shares the compiled code with the cache of the process, which keeps a bounded number
///             of texts.
/// Threads:    immutable once made; evaluation from any thread.
/// Errors:     code that can't be compiled evaluates to an exception that says why.
/// Cost:       compiling is slow, finding code compiled before is not. Only one thread of a process
///             runs Python code at a time.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <SNK/SNK_Result.h>

class SNK_EvaluationContext;

/// How a text is parsed.
enum SNK_CodeType : int
{
    SNK_CODE_EXPRESSION = 0, ///< one expression
    SNK_CODE_BODY = 1        ///< statements
};

class KIT_API SNK_CompiledCode
{
public:
    /// With `cached` the code is taken from the cache, or added to it.
    SNK_CompiledCode(const char *text, SNK_CodeType type, const char *sourceName, bool cached);
    ~SNK_CompiledCode();
    SNK_CompiledCode(const SNK_CompiledCode &) = delete;
    SNK_CompiledCode &operator=(const SNK_CompiledCode &) = delete;

    bool isValid() const { return myCode != nullptr; }
    /// Why it is not valid, as Python tells it; "" if it is.
    const char *getErrorText() const { return myError.nonNullStr(); }

    /// Runs the code with the context's names as its globals.
    void evaluateInContext(SNK_ResultType wanted, SNK_EvaluationContext &context,
                           SNK_Result &result) const;

private:
    KIT_String myError; // declared first: compiling sets it
    void *myCode;
};
