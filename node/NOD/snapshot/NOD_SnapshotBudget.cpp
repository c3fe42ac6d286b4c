#include <NOD/NOD_SnapshotBudget.h>

namespace
{

__thread const NOD_SnapshotLimits *theLimits __attribute__((tls_model("initial-exec")));

} // namespace

NOD_SnapshotBudget::NOD_SnapshotBudget(const NOD_SnapshotLimits &limits)
    : myNumbers(limits.steps, limits.textBytes, limits.depth), myLimits(limits), myOuter(theLimits)
{
    theLimits = &myLimits;
}

NOD_SnapshotBudget::~NOD_SnapshotBudget()
{
    theLimits = myOuter;
}

const NOD_SnapshotLimits *NOD_SnapshotBudget::find()
{
    return theLimits;
}
