#include <SNK/SNK_Python.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <SNK/SNK_EvaluationContext.h>
#include <SNK/SNK_InterpreterPrivate.h>
#include <TRK/TRK_Manager.h>

#include <atomic>
#include <iostream>
#include <string>

namespace
{

std::atomic<bool> theEnabledFlag{true};
std::atomic<SNK_TracebackHandler> theHandler{nullptr};
std::atomic<void *> theHandlerData{nullptr};
thread_local SNK_EvaluationScope *theScope = nullptr;
thread_local const SNK_TracebackScope *theTracebacks = nullptr;

} // namespace

bool SNKrunPythonStatements(const char *statements, SNK_EvaluationContext &context,
                            KIT_String *error)
{
    const SNK_EvaluationScope scope;
    KIT_String text;
    const bool goodFlag =
        SNK_Interpreter::run(statements ? statements : "", context.getNames(), text);
    if (error) {
        error->adopt(text);
    }
    return goodFlag;
}

void SNKdisplayPythonTraceback(const char *header, const char *detail)
{
    if (KITgetErrorManager().getFlags() & KIT_ErrorManager::theDiscardFlag) {
        return;
    }
    header = header ? header : "";
    detail = detail ? detail : "";
    if (theTracebacks) {
        theTracebacks->show(header, detail);
        return;
    }
    if (const SNK_TracebackHandler handler = theHandler.load(std::memory_order_acquire)) {
        handler(theHandlerData.load(std::memory_order_relaxed), header, detail);
        return;
    }
    // One write, so that the texts of two threads don't mix.
    std::string text = std::string(header) + "\n" + detail;
    if (text.back() != '\n') {
        text += '\n';
    }
    std::cerr << text << std::flush;
}

void SNKsetTracebackHandler(SNK_TracebackHandler handler, void *data)
{
    theHandlerData.store(data, std::memory_order_relaxed);
    theHandler.store(handler, std::memory_order_release);
}

SNK_TracebackScope::SNK_TracebackScope(SNK_TracebackHandler handler, void *data)
    : myHandler(handler), myData(data), myOuter(theTracebacks)
{
    theTracebacks = this;
}

SNK_TracebackScope::~SNK_TracebackScope()
{
    theTracebacks = myOuter;
}

bool SNKisPythonBuiltIn()
{
    return SNK_Interpreter::isBuiltIn();
}

bool SNKisPythonStarted()
{
    return SNK_Interpreter::isStarted();
}

void SNKinterruptPython()
{
    SNK_Interpreter::interrupt();
}

void SNKsetPythonEnabled(bool enabled)
{
    theEnabledFlag.store(enabled, std::memory_order_relaxed);
}

bool SNKisPythonEnabled()
{
    return theEnabledFlag.load(std::memory_order_relaxed);
}

// ---------------------------------------------------------------- //
// For whom the thread runs code
// ---------------------------------------------------------------- //

SNK_EvaluationScope::SNK_EvaluationScope()
    : myCollection(nullptr), myThread(BASgetSTID()), myTimeDependent(nullptr), myOuter(theScope)
{
    myTime = TRK_Manager::getContext().getEvaluateTime(myThread);
    theScope = this;
}

SNK_EvaluationScope::SNK_EvaluationScope(const TRK_Collection *collection, double time, int thread,
                                         bool &timeDependent)
    : myCollection(collection), myTime(time), myThread(thread), myTimeDependent(&timeDependent),
      myOuter(theScope)
{
    theScope = this;
}

SNK_EvaluationScope::~SNK_EvaluationScope()
{
    theScope = myOuter;
}

const SNK_EvaluationScope *SNK_EvaluationScope::getCurrent()
{
    return theScope;
}
