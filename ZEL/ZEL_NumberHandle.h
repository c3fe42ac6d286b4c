/// \file ZEL_NumberHandle.h
/// What ZEL_FloatHandle and ZEL_IntHandle share: reading, setting and keying numbers.
///
/// Vocabulary, ownership, threads, errors, cost: as ZEL_Handle.h.
#pragma once

#include <ZEL/ZEL_Handle.h>

/// SELF is the handle, NUMBER what it reads and sets: double or a 64-bit integer.
template <class SELF, class NUMBER>
class ZEL_NumberHandle : public ZEL_HandleOf<SELF>
{
public:
    // ------------------------------------------------------------------ //
    /// \name Reading   (any thread)
    // ------------------------------------------------------------------ //
    ///@{
    NUMBER operator()(double time) const { return this->template read<NUMBER>(time, BASgetSTID()); }
    NUMBER operator()(double time, int thread) const
    {
        return this->template read<NUMBER>(time, thread);
    }
    /// All components of the parameter; 0 for those past its vector.
    template <std::size_t N>
    std::array<NUMBER, N> values(double time) const
    {
        return this->template readArray<NUMBER, N>(time);
    }
    /// Into an array of `size()` entries.
    void values(double time, NUMBER *out) const
    {
        if (const ZEL_Instance *const held = this->instance()) {
            held->getValues(this->list(), time, out, BASgetSTID());
        }
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Setting   (one thread at a time)
    // ------------------------------------------------------------------ //
    ///@{
    bool set(NUMBER value, ZEL_SetOptions options = {})
    {
        return setAt(this->now(), value, options);
    }
    bool setAt(double time, NUMBER value, ZEL_SetOptions options = {})
    {
        return this->write(time, value, options);
    }
    /// All components of the parameter, except for locked ones. False also if it has another number
    /// of components.
    template <std::size_t N>
    bool setValues(const std::array<NUMBER, N> &all, ZEL_SetOptions options = {})
    {
        return this->size() == int(N) && setValues(all.data(), options);
    }
    /// From an array of `size()` entries.
    bool setValues(const NUMBER *all, ZEL_SetOptions options = {})
    {
        return this->writeArray(this->now(), all, options);
    }
    /// Makes a key with that value, on a channel that is made if there is none: one call, one key.
    /// An expression ends there, and is a constant from there to the next key. False for a type that
    /// isn't animated, while an override provides the value, and where `expression` is refused.
    bool key(double time, NUMBER value)
    {
        return this->makeKey(time, [&](ZEL_SetOptions options) { setAt(time, value, options); });
    }
    ///@}

protected:
    using ZEL_HandleOf<SELF>::ZEL_HandleOf;
};
