#include <SNK/SNK_CompiledCode.h>

#include <SNK/SNK_EvaluationContext.h>
#include <SNK/SNK_InterpreterPrivate.h>

SNK_CompiledCode::SNK_CompiledCode(const char *text, SNK_CodeType type, const char *sourceName,
                                   bool cached)
    : myCode(SNK_Interpreter::compile(text ? text : "", type, sourceName ? sourceName : "", cached,
                                      myError))
{}

SNK_CompiledCode::~SNK_CompiledCode()
{
    SNK_Interpreter::release(myCode);
}

void SNK_CompiledCode::evaluateInContext(SNK_ResultType wanted, SNK_EvaluationContext &context,
                                         SNK_Result &result) const
{
    if (!myCode) {
        result.setText(SNK_RESULT_EXCEPTION, myError.c_str());
        return;
    }
    const SNK_EvaluationScope scope;
    SNK_Interpreter::evaluate(myCode, context.getNames(), wanted, result);
}
