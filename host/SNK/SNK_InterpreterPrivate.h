/// \file SNK_InterpreterPrivate.h
/// The interpreter behind the classes of this folder: CPython, or nothing in a build without it.
///
/// Vocabulary: *object* = a counted reference to one of the interpreter's objects.
/// Ownership:  objects that are returned are released by release().
/// Threads:    any; each call waits for the interpreter itself.
/// Errors:     null or false, and a text. Nothing throws.
#pragma once

#include <SNK/SNK_CompiledCode.h>
#include <SNK/SNK_Result.h>

class TRK_Collection;

namespace SNK_Interpreter
{

bool isBuiltIn();
bool isStarted();

/// Compiled code; null if it can't be compiled.
void *compile(const char *text, SNK_CodeType type, const char *sourceName, bool cached,
              KIT_String &error);
/// New global names with the module in them.
void *makeNames(const char *module);
void release(void *object);

bool run(const char *statements, void *names, KIT_String &error);
/// Raises KeyboardInterrupt in all code that runs for a hold.
void interrupt();
/// Null code or names result in an exception.
void evaluate(void *code, void *names, SNK_ResultType wanted, SNK_Result &result);
/// Compiles and runs the code of an expression, with its own names.
void evaluateExpression(const char *text, SNK_ResultType wanted, SNK_Result &result);

} // namespace SNK_Interpreter

/// What the thread runs code for: where names are looked up, and at which time. Scopes nest.
class SNK_EvaluationScope
{
public:
    /// Code of a script.
    SNK_EvaluationScope();
    /// An expression of a channel in the collection, which may be null.
    SNK_EvaluationScope(const TRK_Collection *collection, double time, int thread,
                        bool &timeDependent);
    ~SNK_EvaluationScope();
    SNK_EvaluationScope(const SNK_EvaluationScope &) = delete;
    SNK_EvaluationScope &operator=(const SNK_EvaluationScope &) = delete;

    const TRK_Collection *getCollection() const { return myCollection; }
    double getTime() const { return myTime; }
    int getThread() const { return myThread; }
    void markTimeDependent() const
    {
        if (myTimeDependent) {
            *myTimeDependent = true;
        }
    }

    /// The thread's innermost scope; null outside of all code that this library runs.
    static const SNK_EvaluationScope *getCurrent();

private:
    const TRK_Collection *myCollection;
    double myTime;
    int myThread;
    bool *myTimeDependent;
    SNK_EvaluationScope *myOuter;
};
