/// \file ZEL_Overridable.h
/// Lets an override provider outside the library supply the value of single components, leaving
/// the stored value and the channel as they are.
///
/// Vocabulary: *override* = a component's record: a data index, and the text that an interface
///             shows; *counting* = data index 0 or more, a provider installed, and not disabled
///             for this component on the calling thread.
/// Ownership:  owns the records and their names; borrows the provider, which the application
///             installs by `ZEL_ParmList::setORCallback`.
/// Threads:    evaluation reads records from any thread and writes their two state fields with
///             relaxed stores. Everything else one thread at a time. The disable state is per
///             thread.
/// Errors:     code 21 for an invalid index in `setOverrideFloat` and `setOverrideInt`.
/// Cost:       an instance without overrides pays one null test for each access.
#pragma once

#include <ZEL/ZEL_Instance.h>

#include <memory>

class ZEL_ORCallback;

/// The override record of one component.
struct zelOverrideInfoData
{
    int dataIndex = -1;            ///< -1: no override
    std::uint8_t timeDepState = 2; ///< 0 no, 1 yes, 2 not yet known
    std::uint8_t activeState = 1;  ///< 0 off, 1 on, 2 unsure (-1 from the provider)
    std::uint8_t layered = 0;      ///< the `ZEL_OverrideType`
    std::unique_ptr<char[]> name;  ///< the text of the override
};

class ZEL_API ZEL_Overridable : public ZEL_Instance
{
public:
    ZEL_Overridable(ZEL_Template *templatePtr, ZEL_Parm *parm) : ZEL_Instance(templatePtr, parm) {}
    ~ZEL_Overridable() override;

    /// The base, then copies of the source's overrides if this instance has none.
    void adopt(ZEL_Instance &source) override;
    /// Drops this instance's overrides, then copies the source's.
    void adoptOverrides(ZEL_Instance &source) override;
    void getExpressionStringForUI(double time, KIT_String &text, int index,
                                  int thread) const override;
    void getExpression(double time, KIT_String &text, int index, bool expand,
                       int thread) const override;
    bool isTimeDependent(int index) const override;
    bool isDataDependent(double time, int index) const override;
    /// If the data index or the name changes, returns 1 and flags the component as dirty. Overrides
    /// can't be removed; one with a data index of -1 doesn't count.
    int setOverride(int index, int dataIndex, const char *name, ZEL_OverrideType type) override;
    /// For the calling thread, until it ends or the instance does. Leaves bits of another instance
    /// as they are. Returns whether the component of this instance was disabled before.
    bool setOverrideDisable(int index, int disable) override;
    const char *getOverride(int index) const override;
    bool getOverrideType(int index, ZEL_OverrideType &type) const override;
    int getOverrideDataIndex(int index) const override;
    /// 0 without a name, while disabled on this thread, or when the data source was off at the last
    /// evaluation; else 1, or -1 for "unsure".
    int getIsOverrideActive(int index) const override;
    std::int64_t getMemoryUsage(bool inclusive) const override;

protected:
    /// The copy form: overrides aren't copied.
    ZEL_Overridable(const ZEL_Overridable &source, ZEL_Parm *parm) : ZEL_Instance(source, parm) {}

    bool hasOverrideData() const { return overrides() != nullptr; }

    /// Lets the list's owner cook pending overrides. True if that failed; false without a list or
    /// owner.
    bool ownerFails(ZEL_ParmList *list, double time, int index, int thread) const;
    /// Lets the owner cook its pending overrides. No item is removed meanwhile.
    bool cookFails(ZEL_ParmOwner &owner, double time, int index, int thread) const;

    /// Calls `ownerFails`, then evaluates the override. Returns -1 if the owner failed (`value` is
    /// 0 then), 1 if `value` comes from the override, else 0.
    int evalOverrideValue(ZEL_ParmList *list, double time, int index, int thread,
                          double &value) const;
    int evalOverrideValue(ZEL_ParmList *list, double time, int index, int thread,
                          std::int64_t &value) const;
    int evalOverrideValue(ZEL_ParmList *list, double time, int index, int thread,
                          KIT_String &value) const;
    /// Evaluates the override only; an inactive one may write `value` too. Requires
    /// `hasOverrideData`.
    int evalOverrideValueImpl(ZEL_ParmList *list, double time, int index, int thread,
                              double &value) const;
    int evalOverrideValueImpl(ZEL_ParmList *list, double time, int index, int thread,
                              std::int64_t &value) const;
    int evalOverrideValueImpl(ZEL_ParmList *list, double time, int index, int thread,
                              KIT_String &value) const;

    /// The first step of every set: flags the component as dirty and forwards the value to the
    /// provider. False if the value class must stop (bad index, or the provider took the value).
    bool setOverrideFloat(double time, double value, bool replaceExpression, int index,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    bool setOverrideInt(double time, std::int64_t value, bool replaceExpression, int index,
                        ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    /// The text forms convert to a number first and don't check the index.
    bool setOverrideFloat(double time, const char *text, bool replaceExpression, int index,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    bool setOverrideInt(double time, const char *text, bool replaceExpression, int index,
                        ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    bool setOverrideString(double time, const char *text, bool replaceExpression, int index,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet);

    /// -1 if the owner failed, 0 without an active override, 1 if `text` holds what to show.
    int getExpressionOverride(double time, KIT_String &text, int index, int thread,
                              bool forUI) const;

    /// The override's value for a saved command; `flag` becomes non-zero if it is active.
    void saveCommandOverride(int index, double time, double &value, int &flag) const;
    void saveCommandOverride(int index, double time, std::int64_t &value, int &flag) const;
    void saveCommandOverride(int index, double time, KIT_StringHolder &value, int &flag) const;

private:
    ZEL_OverrideArray *overrides() const
    {
        const Rare *record = rare();
        return record ? record->overrides : nullptr;
    }
    bool isDisabledHere(int index) const;
    /// The record, null without overrides or outside the vector.
    zelOverrideInfoData *recordAt(int index) const;
    /// Whether the component, or any for a negative index, has a counting override that passes.
    template <class Test>
    bool anyCounting(int index, Test &&test) const;
    /// The record of a counting override, else null.
    zelOverrideInfoData *countingRecord(int index) const;
    /// The record if its data source takes writes, even while disabled.
    const zelOverrideInfoData *writableRecord(int index) const;
    bool isPendingInOwner(int index) const;
    void noteState(zelOverrideInfoData &record, ZEL_ParmList *list, int index, int timeDep,
                   int active) const;
    template <class T>
    int evaluateRecord(ZEL_ParmList *list, double time, int index, T &value) const;
    template <class T>
    int evaluateOverride(ZEL_ParmList *list, double time, int index, int thread, T &value) const;
    template <class T>
    void evaluateForCommand(int index, double time, T &value, int &flag) const;
    template <class Number>
    bool setOverrideNumber(double time, Number value, bool replaceExpression, int index,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    /// False when the provider took the value.
    template <class Number>
    bool offer(double time, Number value, int index) const;
    ZEL_OverrideArray &makeOverrides();
    void copyOverrides(const ZEL_Overridable &source);
    void dropOverrides();
};
