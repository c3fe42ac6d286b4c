#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <SNK/SNK_InterpreterPrivate.h>
#include <SNK/SNK_Python.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_ValueSource.h>

#include <cmath>
#include <string>

namespace
{

__thread std::string *theExpressionError __attribute__((tls_model("initial-exec")));

const BAS_ThreadEnd theEnd([] {
    delete theExpressionError;
    theExpressionError = nullptr;
});

bool fail(const char *error)
{
    if (!theExpressionError) {
        BASgetSTID(); // a thread without an id isn't known to end
        theExpressionError = new std::string;
    }
    *theExpressionError = error ? error : "";
    return false;
}

/// Passes the channels' expressions of language 1 to the interpreter.
class Evaluator : public TRK_LanguageEvaluator
{
public:
    bool evaluateNumber(const char *text, double time, const TRK_Collection *collection, int thread,
                        double &value, bool &timeDependent) override
    {
        SNK_Result result;
        evaluate(text, SNK_RESULT_FLOAT, time, collection, thread, timeDependent, result);
        switch (result.getType()) {
        case SNK_RESULT_INTEGER:
        case SNK_RESULT_FLOAT: value = result.getNumber(); break;
        case SNK_RESULT_STRING:
            if (result.getText().isEmpty() || !BASisFloat(result.getText().c_str())) {
                return fail("The expression gives a text that is not a number.");
            }
            value = BASparseFloat(result.getText().c_str());
            break;
        case SNK_RESULT_EXCEPTION: return fail(result.getText().c_str());
        default: return fail("The expression doesn't give a number.");
        }
        return std::isfinite(value) || fail("The number is not finite.");
    }

    bool evaluateString(const char *text, double time, const TRK_Collection *collection, int thread,
                        KIT_String &value, bool &timeDependent) override
    {
        SNK_Result result;
        evaluate(text, SNK_RESULT_STRING, time, collection, thread, timeDependent, result);
        switch (result.getType()) {
        case SNK_RESULT_STRING: value = result.getText(); return true;
        case SNK_RESULT_INTEGER:
        case SNK_RESULT_FLOAT: value = KIT_Digits(result.getNumber()).buffer(); return true;
        case SNK_RESULT_EXCEPTION: return fail(result.getText().c_str());
        default: return fail("The expression gives neither text nor a number.");
        }
    }

private:
    static void evaluate(const char *text, SNK_ResultType wanted, double time,
                         const TRK_Collection *collection, int thread, bool &timeDependent,
                         SNK_Result &result)
    {
        const SNK_EvaluationScope scope(collection, time, thread, timeDependent);
        SNK_Interpreter::evaluateExpression(text ? text : "", wanted, result);
    }
};

/// Registers with the channels when the library is loaded, without starting the interpreter.
const struct Registration
{
    Registration()
    {
        if (SNK_Interpreter::isBuiltIn()) {
            static Evaluator theEvaluator;
            TRK_Manager::getContext().setPythonEvaluator(&theEvaluator);
        }
    }
} theRegistration;

} // namespace

const char *SNKgetExpressionError()
{
    return theExpressionError ? theExpressionError->c_str() : "";
}
