/// \file ZEL_ValueInstance.h
/// What floats, ordinals and strings share: how a component with an optional channel handles
/// defaults, keys, streams and command arguments, independently of the value's type.
///
/// Vocabulary: *frame* = a template that walks the components and calls back for each value. Those
///             declared here are defined in ZEL_ValueInstancePrivate.h; those of streams and
///             commands, which data parameters share, are in ZEL_ValueFramesPrivate.h.
/// Units:      as the base.
/// Ownership:  no data of its own.
/// Threads:    as the base.
/// Errors:     as the base.
/// Cost:       frames are templates: a callback costs no call.
#pragma once

#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Overridable.h>
#include <ZEL/ZEL_Range.h>

#include <cmath>

template <class T, int N>
class KIT_SmallArray;
struct ZEL_LoadRules;
enum class ZEL_LoadEntry : int;

class ZEL_API ZEL_ValueInstance : public ZEL_Overridable
{
public:
    ZEL_ValueInstance(ZEL_Template *templatePtr, ZEL_Parm *parm)
        : ZEL_Overridable(templatePtr, parm)
    {}

    /// `overwriteDefault` for each component.
    void overwriteDefaults(double time) override;

    using ZEL_Overridable::getValue;
    /// There is no map form: nothing is written.
    void getValue(ZEL_ParmList *list, double time, KIT_JSONValueMap &value, int index, bool expand,
                  int thread) const override;
    /// There is no data item: the pointer is emptied.
    void getValue(ZEL_ParmList *list, double time, std::shared_ptr<const ZEL_DataItem> &value,
                  int index, int thread) const override;

    using ZEL_Overridable::setValue;
    /// Sets the integer 0, whatever the item: callers of the old data form rely on it.
    void setValue(double time, const std::shared_ptr<const ZEL_DataItem> &value,
                  bool replaceExpression, int index, ZEL_AddKeyType addKey,
                  ZEL_KeySetType keySet) override;
    /// The int64 form.
    void setValue(double time, int value, bool replaceExpression, int index, ZEL_AddKeyType addKey,
                  ZEL_KeySetType keySet) override;
    /// Marks all dirty at once, then sets the components in ascending order.
    void setValues(double time, const std::int64_t *values, bool replaceExpression,
                   ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setValues(double time, const double *values, bool replaceExpression, ZEL_AddKeyType addKey,
                   ZEL_KeySetType keySet) override;

protected:
    friend class ZEL_ValueRules;

    ZEL_ValueInstance(const ZEL_ValueInstance &source, ZEL_Parm *parm)
        : ZEL_Overridable(source, parm)
    {}

    // ------------------------------------------------------------------ //
    /// \name Numbers
    // ------------------------------------------------------------------ //
    ///@{
    /// The numbers of the components: that of a single one, or with VALUES_APART where they all
    /// are. They are outside the object once there are channels: evaluation threads write them then,
    /// but only read the rest of the object. Where that of a single one is then is in the record.
    template <class T>
    union Numbers
    {
        T only;
        T *apart;
    };
    template <class T>
    T *dataOf(Numbers<T> &numbers) const
    {
        const std::uint32_t flags = loadFlags();
        if ((flags & VALUES_APART) == 0) {
            return &numbers.only;
        }
        return (flags & VALUE_MOVED) == 0 ? __atomic_load_n(&numbers.apart, __ATOMIC_ACQUIRE)
                                          : static_cast<T *>(movedValue());
    }
    /// Zeros; in the room, which the caller keeps, if there is one and they are several.
    template <class T>
    void makeNumbers(Numbers<T> &numbers, T *room);
    template <class T>
    void moveNumbersApart(Numbers<T> &numbers);
    template <class T>
    void freeNumbers(Numbers<T> &numbers);
    /// Rounds toward zero; out of range gives the nearest integer, NaN gives 0.
    template <class T>
    static T truncated(double value);
    /// floor(value + 0.5): 2.5 gives 3, -0.5 gives 0.
    static double halvesUp(double value) { return std::floor(value + 0.5); }
    /// What a float's number is as a value; without a range for null.
    static double limited(const ZEL_Range *range, bool whole, double value)
    {
        value = range ? range->constrain(value) : value;
        return whole ? halvesUp(value) : value;
    }
    /// What an ordinal's is. Both limits are compared with the original value, so if they cross, the maximum
    /// wins; for floats it is the minimum.
    static std::int64_t limited(const ZEL_Range &range, std::int64_t value);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Channels and keys
    // ------------------------------------------------------------------ //
    ///@{
    /// The list's collection, else the channel's own.
    TRK_Collection *evaluationCollection(const TRK_Channel *channel) const;
    /// The commit argument for `setKeyValue` and `setKeyString`.
    static bool commitFlag(ZEL_KeySetType keySet);
    /// The language of a text that isn't a value: for a literal meaning, the collection's.
    TRK_ExprLanguage expressionLanguage(TRK_StringMeaning meaning) const;
    /// The arguments of a set on a component that has a channel.
    struct ChannelSet
    {
        TRK_Channel *channel;
        double time;
        bool replaceExpression;
        int index;
        ZEL_AddKeyType addKey;
        ZEL_KeySetType keySet;
    };
    /// The last step of a set: hardens the change into a key. False if the change stays pending.
    bool hardenSet(const ChannelSet &set);
    /// The frame of a set of a number. `store(value)` receives the value that replaces an
    /// expression, `isCurrent(thread)` returns whether there is nothing to set, `evaluate(thread)`
    /// stores the channel's value after the set, `finish()` runs after the key is made. Errors of
    /// all but the first are dropped.
    template <class Store, class IsCurrent, class Evaluate, class Finish>
    void setChannelNumber(const ChannelSet &set, double value, const Store &store,
                          const IsCurrent &isCurrent, const Evaluate &evaluate,
                          const Finish &finish);
    /// Replaces the expression of the segment at a time by "constant()". True if there is a
    /// segment: then `stored` is its value. The pending flag is cleared in any case.
    static bool makeConstant(TRK_Channel *channel, double time, double &stored);
    /// Sets the component's expression, in a new channel with `deleteChannel`. Null when the
    /// component has no channel and none can be created.
    TRK_Channel *putExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                               bool deleteChannel);
    /// Turns the old direct channel reference, as in `!!ch(tx)`, into a call of `function`:
    /// backticks around it are removed, otherwise `quote` replaces each "!!". Any other text is
    /// left alone and gives false.
    static bool rewriteObsoleteReference(KIT_String &text, const char *function,
                                         const char *quote = "");

    /// The first half of `hardenChanges`: the channel that gets a key, null when nothing is left
    /// to do: nothing is pending, only the reference was collected, or the pattern excludes it.
    TRK_Channel *channelToHarden(double time, int index, bool force, const char *pattern,
                                 KIT_Array<TRK_ChannelRef> *collect);
    /// The second half: inserts a key and lets `change` adjust the key there, as one event.
    template <class Change>
    static void insertHardKey(TRK_Channel *channel, double time, const Change &change);
    /// Both cases of a number: sets the value of a hard key that is there, else inserts one.
    static void hardenNumber(TRK_Channel *channel, double time, double value);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Defaults
    // ------------------------------------------------------------------ //
    ///@{
    const ZEL_Default *currentDefault(int index) const
    {
        return getTemplatePtr()->getDefault(index);
    }
    /// Null for an invalid index, too.
    const ZEL_Default *factoryDefault(int index) const;
    /// The current default, else the factory default, else null. The index must be valid.
    const ZEL_Default *defaultOf(int index) const;
    /// The language of a default's text; 0 for a literal.
    TRK_ExprLanguage defaultLanguage(const ZEL_Default &record) const;
    /// Whether the channel consists of the factory default's expression and nothing else.
    bool hasFactoryExpression(int index) const;
    /// What `revertToDefaults` does where all defaults are numbers without texts: `store(index, record)`
    /// for each component, with null where there is no default. False, with nothing done, where one
    /// isn't, or where a default was overridden, or there is rare state.
    template <class Store>
    bool copyNumberDefaults(const Store &store);
    /// The frame of `revertToDefaults`: `apply(index)` for each component.
    template <class Apply>
    void revertComponents(bool deleteChannels, const Apply &apply);
    /// The frame of `restoreFactoryDefault`: `clear()` where there are no factory defaults.
    template <class Clear>
    void restoreFactory(int index, const Clear &clear);
    /// `isDefault` of a number. `factory` may be null. `equals(record)` compares the stored value
    /// with a default, with 0 for null; `hasExpression(record)` returns whether a default has an
    /// expression.
    template <class Equals, class HasExpression>
    bool isNumberDefault(int index, ZEL_DefaultType type, bool checkLocks,
                         const ZEL_Default *factory, const Equals &equals,
                         const HasExpression &hasExpression) const;
    ///@}

    /// The frame of `getMagicString`: `read(index, value)` for the components from the last to the
    /// first, then `append(index, value)` for those that aren't plain. An expression error is
    /// reported for the component whose read set it. Afterwards the thread's error number is the
    /// first that there was, one from before included.
    template <class T, class Read, class Append>
    bool buildMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, bool addIfDefault,
                          int thread, const Read &read, const Append &append) const;

    // ------------------------------------------------------------------ //
    /// \name Streams and commands
    // ------------------------------------------------------------------ //
    ///@{
    using HeldChannels = KIT_SmallArray<TRK_Channel *, 8>;
    using LoadRules = ZEL_LoadRules;
    using Entry = ZEL_LoadEntry;

    /// Whether the stored value rather than the default is saved: false if a channel without a
    /// pending value drives it.
    bool savesStoredValue(int index) const
    {
        const TRK_Channel *channel = getChannel(index);
        return shouldSaveData() && (!channel || channel->getPendingFlag());
    }
    ///@}
};
