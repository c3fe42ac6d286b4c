/// \file TRK_EvalContext.h
/// What a thread is evaluating: the time, and optionally collection and channel name.
///
/// Ownership: a scope lives on the C++ stack; it borrows the collection and the name.
/// Threads:   a scope belongs to the thread number it was opened with. Only that thread may query
///            its innermost scope.

#pragma once

#include <BAS/BAS_API.h>
#include <TRK/TRK_Evaluation.h>

class TRK_Collection;

class KIT_API TRK_EvalContext
{
public:
    /// Opens a context for a thread; its destructor restores the outer one.
    class KIT_API Scope
    {
    public:
        /// Keeps the thread's present evaluation time.
        explicit Scope(int thread);
        Scope(int thread, double time, TRK_Collection *collection = nullptr,
              const char *channel = nullptr);
        ~Scope();
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

        double getTime() const { return myTime; }
        TRK_Collection *getCollection() const { return myCollection; }
        const char *getChannelName() const { return myChannel; }
        void setCollection(TRK_Collection *collection) { myCollection = collection; }
        void setChannelName(const char *channel) { myChannel = channel; }

    private:
        Scope *myOuter;
        double myTime;
        TRK_Collection *myCollection;
        const char *myChannel;
        int myThread;
    };

    /// While it lives, the evaluations of the calling thread are parts of one: they share its limits.
    class KIT_API OneEvaluation
    {
    public:
        explicit OneEvaluation(int thread);
        ~OneEvaluation();
        OneEvaluation(const OneEvaluation &) = delete;
        OneEvaluation &operator=(const OneEvaluation &) = delete;

    private:
        TRK_EvalGuard myGuard;
    };

    /// While it lives, the evaluations of the calling thread share a total of steps beside the limit of
    /// each: one command that evaluates a list of many parameters ends in bounded time. Once the total
    /// is used up, or while a BAS_Interrupt stands, evaluations that take steps end at once, as at their own
    /// limit. An application
    /// opens one around what it does at a request; one inside of another has a total of its own.
    class KIT_API Work
    {
    public:
        /// The total is that of another thread's, which outlives this one, or else the setting
        /// KIT_ENV_MAX_WORK_STEPS. What threads have begun when it is used up isn't cut short.
        explicit Work(const Work *shared = nullptr);
        ~Work();
        Work(const Work &) = delete;
        Work &operator=(const Work &) = delete;

    private:
        std::atomic<int64_t> myTotal;
        TRK_EvalShare myShare;
        TRK_EvalShare *myOuter;
    };

    /// While it lives, each evaluation that the calling thread begins has at most so many steps, bytes of text that it
    /// makes, and channels and texts that wait for each other. More than TRK_Limits says it never has, nor more than
    /// an outer scope leaves. What needs more fails with EVL_DEPTH.
    class KIT_API Limits
    {
    public:
        Limits(int64_t steps, int64_t textBytes, int depth);
        ~Limits();
        Limits(const Limits &) = delete;
        Limits &operator=(const Limits &) = delete;

    private:
        TRK_EvalStart myOuter;
    };

    /// While it lives, the calling thread runs no script for a value or menu: an expression in Python
    /// fails with EVL_PYTHON, and the menu of a script is empty.
    class KIT_API NoScripts
    {
    public:
        NoScripts();
        ~NoScripts();
        NoScripts(const NoScripts &) = delete;
        NoScripts &operator=(const NoScripts &) = delete;

        static bool isOpen();
    };

    /// While it lives, expressions and texts that the calling thread evaluates see this frame rate, not the
    /// process's.
    class KIT_API FrameRate
    {
    public:
        explicit FrameRate(double framesPerSecond);
        ~FrameRate();
        FrameRate(const FrameRate &) = delete;
        FrameRate &operator=(const FrameRate &) = delete;

    private:
        double myOuter;
    };

    /// The innermost scope of a thread; null if none is open.
    static const Scope *getCurrent(int thread);
};
