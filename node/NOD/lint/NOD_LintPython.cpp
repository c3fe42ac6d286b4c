#include <NOD/lint/NOD_LintPythonPrivate.h>

#include <SNK/SNK_CompiledCode.h>
#include <SNK/SNK_Python.h>

std::string NODpythonFault(const std::string &text, bool body)
{
    if (!SNKisPythonBuiltIn() || !SNKisPythonEnabled()) {
        return "";
    }
    constexpr bool cachedFlag = false;
    const SNK_CompiledCode code(text.c_str(), body ? SNK_CODE_BODY : SNK_CODE_EXPRESSION, "script",
                                cachedFlag);
    if (code.isValid() || !SNKisPythonStarted()) {
        return "";
    }
    std::string reason = code.getErrorText();
    while (!reason.empty() && reason.back() == '\n') {
        reason.pop_back();
    }
    return reason.substr(reason.rfind('\n') + 1); // npos + 1 is 0
}
