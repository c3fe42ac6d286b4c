#include <ZEL/instance/ZEL_DisableStatePrivate.h>

#include <BAS/BAS_PerThread.h>

namespace
{
/// Never destroyed: threads may outlive the statics.
ZEL_DisableState &record()
{
    static auto *const theStates = new BAS_PerThread<ZEL_DisableState>;
    return theStates->local();
}

__thread ZEL_DisableState *theChanged __attribute__((tls_model("initial-exec")));

/// The next thread gets the id of one that ended, and its record.
const BAS_ThreadEnd theEnd([] {
    if (theChanged) {
        theChanged->mask = 0;
        theChanged->instance.set(nullptr);
        theChanged = nullptr;
    }
});
} // namespace

const ZEL_DisableState &ZEL_DisableState::local()
{
    return record();
}

ZEL_DisableState &ZEL_DisableState::change()
{
    theChanged = &record();
    return *theChanged;
}
