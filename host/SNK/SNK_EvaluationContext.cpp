#include <SNK/SNK_EvaluationContext.h>

#include <SNK/SNK_InterpreterPrivate.h>

SNK_EvaluationContext::SNK_EvaluationContext(const char *module)
    : myNames(SNK_Interpreter::makeNames(module))
{}

SNK_EvaluationContext::~SNK_EvaluationContext()
{
    SNK_Interpreter::release(myNames);
}
