#include <TRK/TRK_EvalContext.h>

#include <BAS/BAS_PerThread.h>
#include <KIT/KIT_EnvControl.h>
#include <TRK/TRK_Manager.h>

#include <algorithm>

namespace
{

BAS_PerThread<TRK_EvalContext::Scope *> &innermostScopes()
{
    static BAS_PerThread<TRK_EvalContext::Scope *> theScopes;
    return theScopes;
}

} // namespace

TRK_EvalContext::Scope::Scope(int thread)
    : Scope(thread, TRK_Manager::getContext().getEvaluateTime(thread))
{}

TRK_EvalContext::Scope::Scope(int thread, double time, TRK_Collection *collection,
                              const char *channel)
    : myTime(time), myCollection(collection), myChannel(channel), myThread(thread)
{
    Scope *&innermost = innermostScopes().get(thread);
    myOuter = innermost;
    innermost = this;
}

TRK_EvalContext::Scope::~Scope()
{
    innermostScopes().get(myThread) = myOuter;
}

TRK_EvalContext::OneEvaluation::OneEvaluation(int thread) : myGuard(nullptr, thread) {}

TRK_EvalContext::OneEvaluation::~OneEvaluation() = default;

TRK_EvalContext::Work::Work(const Work *shared)
    : myTotal(KIT_EnvControl::getLimit(KIT_ENV_MAX_WORK_STEPS)),
      myShare(shared != nullptr ? shared->myShare.getLeft() : myTotal, theTRKEvalThread.steps),
      myOuter(theTRKEvalThread.share)
{
    if (myOuter != nullptr) {
        myOuter->advance(theTRKEvalThread.steps);
    }
    theTRKEvalThread.share = &myShare;
}

TRK_EvalContext::Work::~Work()
{
    TRK_EvalThread &self = theTRKEvalThread;
    myShare.advance(self.steps);
    myShare.deduct();
    if (myOuter != nullptr) {
        myOuter->skipTo(self.steps);
    }
    self.share = myOuter;
}

TRK_EvalContext::Limits::Limits(int64_t steps, int64_t textBytes, int depth)
    : myOuter(theTRKEvalThread.start)
{
    const auto startOf = [](auto most, auto limit, auto outer) {
        return std::max(outer, static_cast<decltype(outer)>(
                                   most - std::clamp(limit, decltype(limit)(0), most)));
    };
    TRK_EvalStart &start = theTRKEvalThread.start;
    start.steps = startOf(TRK_Limits::theSteps, steps, myOuter.steps);
    start.textBytes = startOf(TRK_Limits::theTextBytes, textBytes, myOuter.textBytes);
    start.depth = startOf(TRK_Limits::theChannelDepth, depth, myOuter.depth);
}

TRK_EvalContext::Limits::~Limits()
{
    theTRKEvalThread.start = myOuter;
}

TRK_EvalContext::NoScripts::NoScripts()
{
    ++theTRKEvalThread.scriptsOff;
}

TRK_EvalContext::NoScripts::~NoScripts()
{
    --theTRKEvalThread.scriptsOff;
}

bool TRK_EvalContext::NoScripts::isOpen()
{
    return theTRKEvalThread.scriptsOff > 0;
}

TRK_EvalContext::FrameRate::FrameRate(double framesPerSecond) : myOuter(theTRKEvalThread.frameRate)
{
    theTRKEvalThread.frameRate = framesPerSecond;
}

TRK_EvalContext::FrameRate::~FrameRate()
{
    theTRKEvalThread.frameRate = myOuter;
}

const TRK_EvalContext::Scope *TRK_EvalContext::getCurrent(int thread)
{
    return innermostScopes().get(thread);
}
