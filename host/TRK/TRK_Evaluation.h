/// \file TRK_Evaluation.h
/// The bookkeeping of evaluations in progress on a thread: what is being evaluated, how deep, and
/// how much work it has cost. Used by the channel library alone; not for applications.
///
/// Vocabulary: *frame* = one channel or text in evaluation, on the C++ stack, linked to the
///             one that requested it; *outermost* = requested by none: all below it share its limits;
///             *step* = one operation of a compiled expression, or 64 bytes of text.
/// Ownership:  frames unlink themselves; nothing is allocated.
/// Threads:    the chain belongs to the calling thread.
/// Errors:     raise() keeps the first error number of the thread and counts all of them.

#pragma once

#include <KIT/KIT_StringRef.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

class TRK_Collection;
class TRK_ReferenceListener;
class TRK_Segment;

/// Limits of one evaluation. Reaching one sets EVL::EVL_DEPTH and gives 0.
struct TRK_Limits
{
    static constexpr int theChannelDepth = 64;             ///< channels and texts that wait
    static constexpr int64_t theSteps = 2000000;           ///< steps below one outermost call
    static constexpr int theParserDepth = 200;             ///< nesting of an expression
    static constexpr int theStackSlots = 256;              ///< numbers, or texts, held at once
    static constexpr uint32_t theExpressionLength = 65536; ///< bytes of an expression
    static constexpr uint32_t theStringLength = 1u << 20;  ///< bytes of a text result
    static constexpr int64_t theTextBytes = 32 << 20;      ///< made below one outermost call
    static constexpr uint32_t theNameLength = 255;         ///< bytes of a channel name
};

/// What is counted for work that isn't a step of a program.
struct TRK_Costs
{
    static constexpr size_t theBytes = 64;       ///< of text that count as one step
    static constexpr int64_t theText = 8;        ///< reading a text
    static constexpr int64_t theFailure = 64;    ///< an error, with its message
    static constexpr int64_t thePython = 64;     ///< running an expression in Python
    static constexpr int64_t theReference = 4;   ///< a reference that Python code reads
    static constexpr int64_t theScript = 256;    ///< running the script of a menu
    static constexpr int64_t theSourceBytes = 4; ///< of an expression to compile, for one step
};

struct TRK_EvalFrame
{
    const void *subject; ///< the channel or text; null: nothing that could be read again
    TRK_EvalFrame *outer;
    int depth;
};

/// A thread's part of a total of steps, which the evaluations of several threads may share.
class TRK_EvalShare
{
public:
    TRK_EvalShare(std::atomic<int64_t> &left, int64_t steps) : myLeft(left), mySteps(steps) {}

    /// The thread has come to this many steps since the last call: all of them were done here.
    void advance(int64_t steps);
    /// The thread has come to these by others' work.
    void skipTo(int64_t steps) { mySteps = steps; }
    /// Where an outermost evaluation begins to count: later than the first if less than its limit is left.
    __attribute__((noinline)) int64_t restart(int64_t steps, int64_t first);
    /// Deducts what advance() has collected.
    void deduct();

    std::atomic<int64_t> &getLeft() const { return myLeft; }

private:
    std::atomic<int64_t> &myLeft;
    int64_t mySteps;    ///< what the thread had come to
    int64_t myUsed = 0; ///< not deducted yet: threads shall seldom write the same word
};

/// Where an outermost evaluation begins to count: later than 0 leaves it less than its limits.
struct TRK_EvalStart
{
    int64_t steps;
    int64_t textBytes;
    int depth;
};

/// One record for each thread.
struct TRK_EvalThread
{
    TRK_EvalFrame *innermost;
    TRK_EvalShare *share; ///< usually null
    int64_t steps;
    int64_t textBytes;
    uint32_t errors;                 ///< how many were raised
    int lastError;                   ///< the number of the last one
    int scriptsOff;                  ///< how many scopes turn scripts off
    TRK_ReferenceListener *listener; ///< notified of references; usually null
    double frameRate;                ///< 0: the process's
    TRK_EvalStart start;

    void restart()
    {
        steps = share == nullptr ? start.steps : share->restart(steps, start.steps);
        textBytes = start.textBytes;
    }
    /// Each counts work. False: a limit is reached; nothing has been raised.
    bool count(int64_t work)
    {
        steps += work;
        return steps <= TRK_Limits::theSteps;
    }
    bool countLooking(size_t bytes)
    {
        return count(static_cast<int64_t>(bytes / TRK_Costs::theBytes));
    }
    bool countMaking(size_t bytes)
    {
        textBytes += static_cast<int64_t>(bytes);
        return countLooking(bytes) && textBytes <= TRK_Limits::theTextBytes;
    }
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
    // Delegates, so that the destructor runs if the listener throws.
    TRK_ReferenceTold(const TRK_Collection &collection, const KIT_StringRef &name, double time)
        : TRK_ReferenceTold()
    {
        if (myListener != nullptr) {
            tell(collection, name, time);
        }
    }
    ~TRK_ReferenceTold()
    {
        if (myListener != nullptr) {
            theTRKEvalThread.listener = myListener;
        }
    }
    /// Notifies it of a path that leads to no node.
    static void tellLost(const TRK_Collection &collection, const KIT_StringRef &path);
    TRK_ReferenceTold(const TRK_ReferenceTold &) = delete;
    TRK_ReferenceTold &operator=(const TRK_ReferenceTold &) = delete;

private:
    TRK_ReferenceTold() : myListener(theTRKEvalThread.listener) {}
    void tell(const TRK_Collection &collection, const KIT_StringRef &name, double time);

    TRK_ReferenceListener *myListener;
};

/// Marks a channel or text as being evaluated for the length of a scope.
class TRK_EvalGuard
{
public:
    TRK_EvalGuard(const void *subject, int thread) : myFrame{subject, nullptr, 1}
    {
        TRK_EvalThread &self = theTRKEvalThread;
        myFrame.outer = self.innermost;
        if (myFrame.outer != nullptr) {
            myRunFlag = check(thread);
        } else {
            self.restart();
            myFrame.depth += self.start.depth;
        }
        self.innermost = &myFrame;
    }
    ~TRK_EvalGuard() { theTRKEvalThread.innermost = myFrame.outer; }
    TRK_EvalGuard(const TRK_EvalGuard &) = delete;
    TRK_EvalGuard &operator=(const TRK_EvalGuard &) = delete;

    /// False when the subject is being evaluated already, or too many are nested; the error has
    /// then been raised.
    bool mayRun() const { return myRunFlag; }

private:
    bool check(int thread);

    TRK_EvalFrame myFrame;
    bool myRunFlag = true;
};
