// A build without Python: every piece of code gives the same exception.

#include <SNK/SNK_InterpreterPrivate.h>

namespace
{

constexpr char theNoPython[] = "This build has no Python.\n";

} // namespace

namespace SNK_Interpreter
{

bool isBuiltIn()
{
    return false;
}

bool isStarted()
{
    return false;
}

void *compile(const char *, SNK_CodeType, const char *, bool, KIT_String &error)
{
    error = theNoPython;
    return nullptr;
}

void *makeNames(const char *)
{
    return nullptr;
}

void release(void *) {}

void interrupt() {}

bool run(const char *, void *, KIT_String &error)
{
    error = theNoPython;
    return false;
}

void evaluate(void *, void *, SNK_ResultType, SNK_Result &result)
{
    result.setText(SNK_RESULT_EXCEPTION, theNoPython);
}

void evaluateExpression(const char *, SNK_ResultType, SNK_Result &result)
{
    result.setText(SNK_RESULT_EXCEPTION, theNoPython);
}

} // namespace SNK_Interpreter
