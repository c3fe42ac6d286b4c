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

/// The next thread gets the id of one that ended, and its record.
struct Emptier
{
    ~Emptier()
    {
        state.mask = 0;
        state.instance.set(nullptr);
    }

    ZEL_DisableState &state;
};
} // namespace

const ZEL_DisableState &ZEL_DisableState::local()
{
    return record();
}

ZEL_DisableState &ZEL_DisableState::change()
{
    ZEL_DisableState &state = record();
    static thread_local const Emptier theEmptier{state};
    return state;
}
