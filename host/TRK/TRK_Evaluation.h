/// \file TRK_Evaluation.h
/// The bookkeeping of evaluations in progress on a thread: what is being evaluated, how deep, and
/// how much work it has cost. Used by the channel library alone; not for applications.
///
/// Vocabulary: *frame* = one channel in evaluation, on the C++ stack, linked to the one that
///             requested it; *step* = one operation of a compiled expression, or 64 bytes of text.
/// Ownership:  frames unlink themselves; nothing is allocated.
/// Threads:    the chain belongs to the calling thread.
/// Errors:     raise() keeps the first error number of the thread and counts all of them.

#pragma once

#include <KIT/KIT_StringRef.h>

#include <cstdint>

class TRK_Channel;
class TRK_Collection;
class TRK_ReferenceListener;
class TRK_Segment;

/// Limits of one evaluation. Reaching one sets EVL::EVL_DEPTH and gives 0.
struct TRK_Limits
{
    static constexpr int theChannelDepth = 64;             ///< channels that depend on each other
    static constexpr int64_t theSteps = 2000000;           ///< steps below one outermost call
    static constexpr int theParserDepth = 200;             ///< nesting of an expression
    static constexpr int theStackSlots = 256;              ///< numbers, or texts, held at once
    static constexpr uint32_t theExpressionLength = 65536; ///< bytes of an expression
    static constexpr uint32_t theStringLength = 1u << 20;  ///< bytes of a text result
    static constexpr uint32_t theNameLength = 255;         ///< bytes of a channel name
};

struct TRK_EvalFrame
{
    const TRK_Channel *channel;
    TRK_EvalFrame *outer;
    int depth;
};

/// One record for each thread.
struct TRK_EvalThread
{
    TRK_EvalFrame *innermost;
    int64_t steps;
    uint32_t errors;
    TRK_ReferenceListener *listener; ///< notified of references; usually null
};

extern __thread TRK_EvalThread theTRKEvalThread __attribute__((tls_model("initial-exec")));

/// The state that the operations of an expression use.
struct TRK_EvalState
{
    const TRK_Collection *collection; ///< where names are resolved; may be null
    const TRK_Segment *segment;       ///< with the keys for linear() and the like; may be null
    double time;
    int thread;
    bool timeDependent; ///< set by anything time dependent that is read

    /// Sets the thread's error number unless one is set already.
    void raise(int error) const { raise(error, thread); }
    static void raise(int error, int thread);
};

/// Notifies the thread's listener of a reference, and for the length of a scope hides the listener
/// from the references that its evaluation reads.
class TRK_ReferenceTold
{
public:
    TRK_ReferenceTold(const TRK_Collection &collection, const KIT_StringRef &name)
        : myListener(theTRKEvalThread.listener)
    {
        if (myListener != nullptr) {
            tell(collection, name);
        }
    }
    ~TRK_ReferenceTold()
    {
        if (myListener != nullptr) {
            theTRKEvalThread.listener = myListener;
        }
    }
    TRK_ReferenceTold(const TRK_ReferenceTold &) = delete;
    TRK_ReferenceTold &operator=(const TRK_ReferenceTold &) = delete;

private:
    void tell(const TRK_Collection &collection, const KIT_StringRef &name);

    TRK_ReferenceListener *myListener;
};

/// Marks a channel as being evaluated for the length of a scope.
class TRK_EvalGuard
{
public:
    TRK_EvalGuard(const TRK_Channel *channel, int thread) : myFrame{channel, nullptr, 1}
    {
        TRK_EvalThread &self = theTRKEvalThread;
        myFrame.outer = self.innermost;
        if (myFrame.outer != nullptr) {
            myRunFlag = check(thread);
        } else {
            self.steps = 0;
        }
        self.innermost = &myFrame;
    }
    ~TRK_EvalGuard() { theTRKEvalThread.innermost = myFrame.outer; }
    TRK_EvalGuard(const TRK_EvalGuard &) = delete;
    TRK_EvalGuard &operator=(const TRK_EvalGuard &) = delete;

    /// False when the channel is being evaluated already, or too many are nested; the error has
    /// then been raised.
    bool mayRun() const { return myRunFlag; }

private:
    bool check(int thread);

    TRK_EvalFrame myFrame;
    bool myRunFlag = true;
};
