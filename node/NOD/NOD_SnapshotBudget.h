/// \file NOD_SnapshotBudget.h
/// Limits for reading snapshots that strangers have made, narrower than those that each evaluation has.
///
///     const NOD_SnapshotBudget budget({10000, 16, 4096, false}); // of this thread, until it ends
///     const double value = snapshot->getNumber(handle, time, thread);
///
/// What exceeds them fails with EVL_DEPTH, what is refused with EVL_REFUSED: a read is 0 or "" and leaves the number,
/// and NOD_Explanation::findFault tells where. The present values of Python, menus and overrides
/// (NOD_SnapshotOptions) are numbers and texts; with OWNER they are the owner's, as are files that it may read.
///
/// Units:      a step is an operation of an expression, or 64 bytes of text; depth counts channels and texts that wait.
/// Ownership:  lives on the stack; has a copy of the limits.
/// Threads:    of the thread that makes it, and of those that NOD_Snapshot::sample uses. All reads together are bounded
///             by TRK_EvalContext::Work.
/// Errors:     none; of two the inner one's permissions count, and of each number the lower one.
#pragma once

#include <NOD/NOD_API.h>
#include <TRK/TRK_EvalContext.h>

#include <cstdint>

struct NOD_SnapshotLimits
{
    std::int64_t steps = TRK_Limits::theSteps; ///< of one read
    int depth = TRK_Limits::theChannelDepth;
    std::int64_t textBytes = TRK_Limits::theTextBytes; ///< that one read makes
    bool otherNodes = true;                            ///< may be read
    bool owner = true;                                 ///< may be asked
    bool environment = true;                           ///< variables of the process may be read
};

class NOD_API NOD_SnapshotBudget
{
public:
    explicit NOD_SnapshotBudget(const NOD_SnapshotLimits &limits);
    ~NOD_SnapshotBudget();
    NOD_SnapshotBudget(const NOD_SnapshotBudget &) = delete;
    NOD_SnapshotBudget &operator=(const NOD_SnapshotBudget &) = delete;

    /// The calling thread's; null without one.
    static const NOD_SnapshotLimits *find();

private:
    TRK_EvalContext::Limits myNumbers;
    NOD_SnapshotLimits myLimits;
    const NOD_SnapshotLimits *myOuter;
};
