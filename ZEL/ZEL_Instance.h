/// \file ZEL_Instance.h
/// What every live parameter holds per component apart from its values, and the fixed table of
/// virtual operations that each kind of value fills.
///
/// Vocabulary: *component* = one element of the parameter's vector (a translate has 3);
///             *slot* = a component's channel pointer, null while it isn't animated;
///             *alias* = a second name of a component's channel;
///             *send extra* = the flag that a component's dirtiness has yet to be propagated.
/// Units:      component indices are 0-based. A negative index means all components where flags,
///             masks and keys are set, any component in queries, and is invalid where values are
///             set. Masks are 32 bits wide and shift counts are taken modulo 32: components 32
///             apart share a bit, and the mask of all 32 components is 0. Unchecked. Time is in the
///             channel library's seconds; `thread` is the id from `BASgetSTID`.
/// Ownership:  owns its arrays, micro nodes and input-notify value. Borrows template and parm.
///             Channels belong to the list's collection; the destructor deletes those that are
///             still in a slot from the collection.
/// Threads:    the *values out* group from any thread at once. Everything else one thread at a
///             time. Dirty and time-dependence flags are accessed relaxed; lost updates are
///             tolerated.
/// Errors:     reported to the thread's error manager under "ZEL". Without a list or collection,
///             channel operations are silent no-ops.
/// Cost:       a value read is one virtual call, with no lock, allocation or shared write.
#pragma once

#include <BAS/BAS_Relaxed.h>
#include <BAS/BAS_SpinLock.h>
#include <KIT/KIT_Array.h>
#include <KIT/KIT_SmallObject.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Callback.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_Template.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>

class KIT_Color;
class KIT_ByteBuffer;
class KIT_IStream;
class KIT_JSONValueMap;
class KIT_Packet;
class KIT_String;
class KIT_StringArray;
class KIT_TokenString;
class KIT_WorkBuffer;
class LNK_MicroNode;
class TRK_Channel;
class TRK_ChannelRef;
class TRK_Collection;
struct TRK_FullKey;
class ZEL_ConstMicroNode;
class ZEL_DataItem;
class ZEL_Multi;
class ZEL_Parm;
class ZEL_ParmList;
class ZEL_ParmMicroNode;
class ZEL_ParmOwner;
struct ZEL_OverrideArray;
class ZEL_RefId;
class ZEL_UndoData;
class ZEL_Value;

/// Bits of the instance flags. Stored (bit 0x8): append only.
enum ZEL_InstanceFlag : std::uint32_t
{
    ZEL_INST_EXPRESSION = 0x8,         ///< in expression state
    ZEL_INST_UNDO_SAVED = 0x10,        ///< undo has saved this one
    ZEL_INST_ACTIVE_TAKE = 0x20,       ///< active in the current take
    ZEL_INST_ALWAYS_TAKE = 0x40,       ///< always in the take
    ZEL_INST_SAVE_AUTOSCOPE = 0x80,    ///< autoscope field differs from the template's
    ZEL_INST_SPARE = 0x100,            ///< a spare parameter
    ZEL_INST_AUTO_TAKE_UNDO = 0x400,   ///< auto-take undo has saved this one
    ZEL_INST_DEFAULTS_INIT = 0x800,    ///< defaults have been applied
    ZEL_INST_VALUE = 0x1000,           ///< value state
    ZEL_INST_BYPASS = 0x2000,          ///< bypassed; only on spare parameters
    ZEL_INST_SAVE_LABEL = 0x4000,      ///< label was changed and is saved
    ZEL_INST_SAVE_AUTOSELECT = 0x8000, ///< autoselect field differs from the template's
    ZEL_INST_LEAVING = 0x10000         ///< its list removes it together with others
};

class ZEL_API ZEL_Instance : public KIT_SmallObject<1, 1024, 0, 128>
{
public:
    ZEL_Instance(ZEL_Template *templatePtr, ZEL_Parm *parm);

    ZEL_Instance(const ZEL_Instance &) = delete;
    ZEL_Instance &operator=(const ZEL_Instance &) = delete;

    // ------------------------------------------------------------------ //
    /// \name Life and state   (one thread at a time)
    // ------------------------------------------------------------------ //
    ///@{
    virtual ~ZEL_Instance();

    /// Takes over locks, masks, channels and micro nodes of another instance of the same
    /// parameter, for instance after a change of templates; the source is left without channels.
    /// Flag bits are only added. Overrides call the base first.
    virtual void adopt(ZEL_Instance &source);
    /// Replaces the overrides by copies of the source's. Base: nothing.
    virtual void adoptOverrides(ZEL_Instance &source);
    /// A new instance for `parm` with this one's values. Base: abstract.
    virtual ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const = 0;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Defaults   (one thread at a time)
    // ------------------------------------------------------------------ //
    ///@{
    /// Sets the default as a value: a keyed component keeps its channel and gets a key.
    virtual void setValueToDefault(double time, int index, ZEL_AddKeyType addKey) = 0;
    /// Restores the default, expression included, and removes the channel. Bad index: nothing.
    virtual void revertToDefault(int index) = 0;
    /// The same for all components; channels are removed only with `deleteChannels`.
    virtual void revertToDefaults(bool deleteChannels) = 0;
    /// Makes the factory default the template's current default; no value changes.
    virtual void restoreFactoryDefault(int index) = 0;
    /// Makes the stored value the template's current default.
    virtual void overwriteDefault(double time, int index) = 0;
    virtual void overwriteDefaults(double time) = 0;
    /// Whether the component passes the tests of the mask. A bad index gives false. Base: the lock
    /// test only, and true with `checkLocks` false.
    virtual bool isDefault(int index, ZEL_DefaultType type, bool checkLocks) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Streams and commands   (one thread at a time)
    // ------------------------------------------------------------------ //
    ///@{
    /// Writes option block and values; binary packets if `binary` isn't 0 or `compiled` is set.
    virtual bool save(std::ostream &os, int binary, bool compiled) const = 0;
    /// Reads what `save` wrote, in the stream's own mode. False on failure; what was read stays.
    virtual bool load(KIT_IStream &is) = 0;
    /// Base: the text form in a `ZEL_InstanceUndoData`.
    virtual bool saveUndoData(std::shared_ptr<ZEL_UndoData> &data) const;
    /// Base: false for data of another kind.
    virtual bool loadUndoData(const std::shared_ptr<ZEL_UndoData> &data);
    /// Writes the values as command arguments, all or one. Base: abstract.
    virtual void saveCommand(std::ostream &os, int values, int index) const = 0;
    /// Sets values from command arguments; returns the number of arguments used. Base: abstract.
    virtual int loadCommand(int argc, const char *const argv[], int index, bool asSet,
                            ZEL_AddKeyType addKey, ZEL_KeySetType keySet) = 0;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Values out   (any thread; called on every evaluation)
    /// `list` may be null: then no owner is called and nothing is flagged as time dependent.
    // ------------------------------------------------------------------ //
    ///@{
    virtual void getValue(ZEL_ParmList *list, double time, KIT_JSONValueMap &value, int index,
                          bool expand, int thread) const = 0;
    virtual void getValue(ZEL_ParmList *list, double time,
                          std::shared_ptr<const ZEL_DataItem> &value, int index,
                          int thread) const = 0;
    virtual void getValue(ZEL_ParmList *list, double time, KIT_String &value, int index,
                          bool expand, int thread) const = 0;
    virtual void getValue(ZEL_ParmList *list, double time, double &value, int index,
                          int thread) const = 0;
    virtual void getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                          int thread) const = 0;
    virtual void getValue(ZEL_ParmList *list, double time, int &value, int index,
                          int thread) const = 0;
    /// All components into an array of vector size. Base: from the last to the first through the
    /// virtual `getValue`; floats go through double.
    virtual void getValues(ZEL_ParmList *list, double time, std::int64_t *values, int thread) const;
    virtual void getValues(ZEL_ParmList *list, double time, int *values, int thread) const;
    virtual void getValues(ZEL_ParmList *list, double time, double *values, int thread) const;
    virtual void getValues(ZEL_ParmList *list, double time, float *values, int thread) const;
    /// The current default, else the factory default. Base: 0 or "".
    virtual void getDefaultValue(KIT_String &value, int index) const;
    virtual void getDefaultValue(std::int64_t &value, int index) const;
    virtual void getDefaultValue(int &value, int index) const;
    virtual void getDefaultValue(double &value, int index) const;
    /// What an interface shows for an expression or override. Base: abstract.
    virtual void getExpressionStringForUI(double time, KIT_String &text, int index,
                                          int thread) const = 0;
    /// The channel's expression, else with `expand` the value as text, else "". Base: abstract.
    virtual void getExpression(double time, KIT_String &text, int index, bool expand,
                               int thread) const = 0;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Values in   (one thread at a time; `ZEL_Parm` has checked locks and access)
    /// Base: only flags the component (or all) as dirty.
    // ------------------------------------------------------------------ //
    ///@{
    /// `evaluate` stores the result at `time`; `deleteChannel` starts from a fresh channel.
    /// Base: nothing.
    virtual void setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                               bool evaluate, bool deleteChannel);
    virtual void setValue(double time, const std::shared_ptr<const ZEL_DataItem> &value,
                          bool replaceExpression, int index, ZEL_AddKeyType addKey,
                          ZEL_KeySetType keySet);
    virtual void setValue(double time, std::int64_t value, bool replaceExpression, int index,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    virtual void setValue(double time, int value, bool replaceExpression, int index,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    virtual void setValue(double time, double value, bool replaceExpression, int index,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    virtual void setValue(double time, const char *text, TRK_StringMeaning meaning,
                          bool replaceExpression, int index, ZEL_AddKeyType addKey,
                          ZEL_KeySetType keySet);
    virtual void setValues(double time, const std::int64_t *values, bool replaceExpression,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    virtual void setValues(double time, const double *values, bool replaceExpression,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    /// Stores the component's value as a new channel's default. Base: abstract.
    virtual void setDefaultChannelValue(TRK_Channel *channel, int index) = 0;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Multi-parameters   (base: not a multi-parameter)
    // ------------------------------------------------------------------ //
    ///@{
    virtual bool isMultiParm() const;
    virtual int getMultiParmNumItems() const;
    virtual int getMultiParmInstancesPerItem() const;
    /// Token of a child of an item; null for an invalid child or item. Base: null.
    virtual const char *getMultiParmToken(int child, int item) const;
    virtual void insertMultiParmItem(int item);
    virtual void removeMultiParmItem(int item);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name References and text search   (base: nothing found, nothing changed)
    // ------------------------------------------------------------------ //
    ///@{
    virtual void buildOpDependencies(const ZEL_RefId &id, int thread);
    virtual int changeOpRef(const char *oldFullPath, const char *newFullPath,
                            const char *oldRelativePath, const char *newRelativePath,
                            const char *name, void (*callback)(void *, ZEL_Parm *, int), void *data,
                            int thread);
    virtual bool findString(const char *text, bool fullWord, bool usePattern) const;
    virtual int changeString(const char *from, const char *to, bool fullWord);
    /// Whether a component's text uses the variable; any component's for a negative index.
    virtual bool notifyVarChange(int index, const char *name);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name State queries   (any thread, unless the operation says otherwise)
    // ------------------------------------------------------------------ //
    ///@{
    /// Appends this parameter's part of a cache key; true if any component is time dependent or
    /// differs from its default as `ZEL_DEFAULT_MAGIC` tests it. Base: abstract.
    virtual bool getMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, double time,
                                bool addIfDefault, int thread) const = 0;
    /// Base: true.
    virtual bool isEditable(ZEL_ParmList *list, double time, int index) const;
    virtual bool isEditableByUI(ZEL_ParmList *list, double time, int index) const;
    /// The micro node's flag if there are micro nodes, else whether the channel is.
    virtual bool isTimeDependent(int index) const;
    virtual bool isDataDependent(double time, int index) const;
    /// Records what an evaluation found; writes only the micro node's and the list's flags.
    virtual void setTimeDependent(int index, bool timeDependent) const;
    /// The same, for callers that hold a const parameter.
    void setTimeDependentForEval(int index, bool timeDependent) const
    {
        setTimeDependent(index, timeDependent);
    }
    /// OR of the components' states.
    virtual int getChanState(double time) const;
    virtual ZEL_ChanState getChanState(double time, int index) const;
    /// Keeps a pending value in a key (any value with `force`), or with `collect` only appends the
    /// channel's reference. One thread at a time. Base: abstract.
    virtual void hardenChanges(double time, int index, bool force, const char *pattern,
                               KIT_Array<TRK_ChannelRef> *collect) = 0;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Overrides   (base: none)
    // ------------------------------------------------------------------ //
    ///@{
    virtual int setOverride(int index, int dataIndex, const char *name, ZEL_OverrideType type);
    virtual bool setOverrideDisable(int index, int disable);
    virtual const char *getOverride(int index) const;
    virtual bool getOverrideType(int index, ZEL_OverrideType &type) const;
    virtual int getOverrideDataIndex(int index) const;
    virtual int getIsOverrideActive(int index) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Last operations
    // ------------------------------------------------------------------ //
    ///@{
    /// Removes the parameters of a multi-parameter's items from the list. Base: nothing.
    virtual void destroyChildParms();
    /// Bytes held, plus the object itself when `inclusive`.
    virtual std::int64_t getMemoryUsage(bool inclusive) const;
    /// Whether this is the rotation of a transform. Base: false.
    virtual bool isRotationParm() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Template and surroundings
    // ------------------------------------------------------------------ //
    ///@{
    ZEL_Template *getTemplatePtr() const { return myTemplate; }
    const ZEL_Type &getType() const { return myTemplate->getType(); }
    int getVectorSize() const { return myTemplate->getVectorSize(); }
    bool validIndex(int index) const { return unsigned(index) < unsigned(getVectorSize()); }
    const char *getToken() const { return myTemplate->getToken(); }
    const KIT_StringRef &getTokenRef() const { return myTemplate->getTokenRef(); }
    const char *getLabel() const { return myTemplate->getLabel(); }
    const KIT_StringHolder &getChannelToken(int index) const
    {
        return myTemplate->getChannelToken(index);
    }
    ZEL_Range *getRangePtr() const { return myTemplate->getRangePtr(); }
    ZEL_ChoiceList *getChoiceListPtr() const { return myTemplate->getChoiceListPtr(); }
    const ZEL_Callback &getCallback() const { return myTemplate->getCallback(); }
    ZEL_TypeExtended getTypeExtended() const { return myTemplate->getTypeExtended(); }
    ZEL_MultiType getMultiType() const { return myTemplate->getMultiType(); }
    double getMultiSize() const { return myTemplate->getMultiSize(); }
    ZEL_Template *getMultiParmTemplate() const { return myTemplate->getMultiParmTemplate(); }
    int getMultiStartOffset() const { return myTemplate->getMultiStartOffset(); }
    ZEL_Parm *getParm() const;
    /// The list of the parameter; null if it is in none.
    ZEL_ParmList *getParmList() const;
    ZEL_ParmOwner *getParmOwner() const;
    /// The list's channel collection; null without list or collection.
    TRK_Collection *getChannelGroupPtr() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Masks
    // ------------------------------------------------------------------ //
    ///@{
    bool getLockedFlag(int index) const { return testMask(getLockedField(), index); }
    std::uint32_t getLockedField() const { return rare() ? rare()->locks : 0; }
    /// Changes the field only; `reloadChannelPtrs` passes the locks on to the channels.
    void setLockedFlag(int index, bool locked);
    bool areAllComponentsLocked() const;

    /// The bit; for a negative index the whole mask.
    std::uint32_t getEnableState(int index) const;
    /// A negative index sets or clears all 32 bits. The position of a ramp's first key can't be
    /// enabled. True if the mask changed.
    bool setEnableState(bool enabled, int index);

    bool getVisibleState(int index) const;
    /// True if the mask changed.
    bool setVisibleState(bool visible, int index);

    bool getAutoScopedFlag(int index) const { return testMask(getAutoScopeField(), index); }
    /// The template's field when the instance was made, until it is changed.
    std::uint32_t getAutoScopeField() const
    {
        return testFlag(OWN_AUTO_SCOPE) ? rare()->autoScope
               : testFlag(AUTO_SCOPED)  ? sizeBits()
                                        : 0;
    }
    void setAutoScopedFlag(int index, bool flag);
    bool getAutoSelectFlag(int index) const { return testMask(getAutoSelectField(), index); }
    std::uint32_t getAutoSelectField() const
    {
        return testFlag(OWN_AUTO_SELECT) ? rare()->autoSelect : testFlag(NO_AUTO_SELECT) ? 0 : ~0u;
    }
    void setAutoSelectFlag(int index, bool flag);
    /// What the saved form has as options is as in a new instance: neither locks nor colours nor marks of
    /// what was changed, and the template's masks. A label is the template's.
    void resetOptions();

    /// Whether the user interface has the component selected; not saved. False for an index outside
    /// the vector.
    bool isActive(int index) const;
    void setActive(int index, bool active);

    bool isDirty(int index) const { return testMask(BASload(myDirtyFlags), index); }
    bool isSendExtra(int index) const { return testMask(BASload(mySendExtraFlags), index); }
    bool areAllFlagsClean() const { return BASload(myDirtyFlags) == 0; }
    bool hasAnySendExtraFlags() const { return BASload(mySendExtraFlags) != 0; }
    void clearAllDirtyFlags() { BASstore(myDirtyFlags, std::uint32_t(0)); }
    /// Flags one component, or all, and calls `setSendExtra`.
    void setDirtyFlags(int index);
    /// If none of the range's send-extra bits is set, sets them and raises the list's count.
    void setSendExtra(int index);
    /// Clears these bits and takes their number off the list's count, as `propagateDirty` does.
    void clearSendExtra();
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Flags
    // ------------------------------------------------------------------ //
    ///@{
    std::uint32_t getSaveFlags() const { return myFlags & ZEL_INST_EXPRESSION; }
    /// Can only set the expression bit.
    void setSaveFlags(std::uint32_t flags) { setFlag(flags & ZEL_INST_EXPRESSION, true); }
    bool getExpressionState() const { return testFlag(ZEL_INST_EXPRESSION); }
    void setExpressionState(bool flag) { setFlag(ZEL_INST_EXPRESSION, flag); }
    bool getUndoSavedFlag() const { return testFlag(ZEL_INST_UNDO_SAVED); }
    void setUndoSavedFlag(bool flag) { setFlag(ZEL_INST_UNDO_SAVED, flag); }
    bool getActiveTakeFlag() const { return testFlag(ZEL_INST_ACTIVE_TAKE); }
    /// Clearing changes nothing while the always-take flag is set.
    void setActiveTakeFlag(bool flag);
    bool getAlwaysTakeFlag() const { return testFlag(ZEL_INST_ALWAYS_TAKE); }
    bool getSaveAutoScopeFlag() const { return testFlag(ZEL_INST_SAVE_AUTOSCOPE); }
    bool getSaveAutoSelectFlag() const { return testFlag(ZEL_INST_SAVE_AUTOSELECT); }
    bool isSpareParm() const { return testFlag(ZEL_INST_SPARE); }
    void setSpareParm(bool flag) { setFlag(ZEL_INST_SPARE, flag); }
    /// Set by the list: the parameter is removed at the end of the present rebuild or load.
    bool isLeaving() const { return testFlag(ZEL_INST_LEAVING); }
    void setLeaving(bool flag) { setFlag(ZEL_INST_LEAVING, flag); }
    bool getAutoTakeUndoSavedFlag() const { return testFlag(ZEL_INST_AUTO_TAKE_UNDO); }
    void setAutoTakeUndoSavedFlag(bool flag) { setFlag(ZEL_INST_AUTO_TAKE_UNDO, flag); }
    bool getDefaultsInitFlag() const { return testFlag(ZEL_INST_DEFAULTS_INIT); }
    void setDefaultsInitFlag(bool flag) { setFlag(ZEL_INST_DEFAULTS_INIT, flag); }
    bool getValueState() const { return testFlag(ZEL_INST_VALUE); }
    void setValueState(bool flag) { setFlag(ZEL_INST_VALUE, flag); }
    bool getBypassFlag() const { return testFlag(ZEL_INST_BYPASS); }
    /// On a parameter that isn't spare the flag is always cleared.
    void setBypassFlag(bool flag) { setFlag(ZEL_INST_BYPASS, flag && isSpareParm()); }
    bool getSaveLabelFlag() const { return testFlag(ZEL_INST_SAVE_LABEL); }
    void setSaveLabelFlag(bool flag) { setFlag(ZEL_INST_SAVE_LABEL, flag); }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Channels
    // ------------------------------------------------------------------ //
    ///@{
    /// The index isn't checked.
    TRK_Channel *getChannel(int index) const
    {
        const Rare *record = rare();
        return record ? record->channel(index) : nullptr;
    }
    void setChannel(int index, TRK_Channel *channel);
    /// How many components have a channel.
    int getChannelCount() const;
    /// Whether the components are no more than stored values: none has a channel or a record of an override.
    bool isBare() const
    {
        const Rare *record = rare();
        return !record || (!record->overrides && getChannelCount() == 0);
    }
    bool hasOverrides() const { return rare() && rare()->overrides; }
    /// Links the collection's channel with the component's token, or creates it.
    void addChannel(int index);
    void addChannel(int index, const char *expression, TRK_ExprLanguage language);
    /// By name (alias or token): looks the channel up again. 1, or 0 if no component has that name.
    int addChannel(const KIT_StringRef &name);
    int addChannel(const KIT_StringRef &name, const char *expression, TRK_ExprLanguage language);
    /// Deletes the channel from the collection; true if there was one.
    bool removeChannel(int index);
    void clearAndDestroyChannels();
    /// Refreshes the slot of the component with that exact token; 1, or 0.
    int channelPtrModified(const KIT_StringRef &token);
    bool changePending(int index) const;
    /// Times of the nearest keys; the time itself if there is none. Negative: all components.
    double findNextKey(double time, int index) const;
    double findPrevKey(double time, int index) const;
    void setKey(double time, int index);
    void setFullKey(const TRK_FullKey &key, int index);
    TRK_StringMeaning getStringMeaning(double time, int index) const;
    TRK_ExprLanguage getExprLanguageIfMadeAnExpression(double time, int index) const;
    TRK_ExprLanguage stringMeaningToExprLanguage(TRK_StringMeaning meaning) const;
    bool isLanguageOldExprOrLiteral(double time, int index) const;
    /// Looks all channels up by token, or by alias, which renames them to the token. If the
    /// parameter had no channel before, the components still without one revert to their defaults.
    void reloadChannelPtrs();
    /// Renames channels to their tokens. A slot is emptied if its channel can't be renamed or if
    /// another parameter's channel has the token.
    void validateChannelNames(ZEL_ParmList &list);
    void validateChannelName(ZEL_ParmList &list, int index);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Aliases and colours
    // ------------------------------------------------------------------ //
    ///@{
    /// False for an invalid channel name or an index outside the vector; "" clears.
    bool setChannelAlias(const KIT_StringHolder &alias, int index);
    /// The alias if set, else the channel token; "" outside the vector.
    const KIT_StringHolder &getChannelAlias(int index) const;
    void getChannelAlias(KIT_String &alias, int index) const;
    bool hasChannelAlias(const KIT_StringRef &alias, int index) const;
    /// Alias or token.
    bool hasChannelName(const KIT_StringRef &name, int index) const;
    /// -1 if none.
    int findSubIndex(const KIT_StringRef &token, bool allowAlias) const;

    void setChannelCustomColor(int index, const KIT_Color &color);
    void resetChannelCustomColor(int index);
    bool hasChannelCustomColor(int index) const;
    const KIT_Color &getChannelCustomColor(int index) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Errors and access
    // ------------------------------------------------------------------ //
    ///@{
    /// Codes 0, 1, 2, 3, 14 and 18 carry the parameter's full path.
    void addParmWarning(ZEL_ErrorCode code) const;
    void indexError(int index) const;
    /// The owner's path, then a blank and the label, or "/" and the token for the extended type 4
    /// or without a label.
    void getFullParmPath(KIT_WorkBuffer &path) const;
    /// Reports the thread's expression error number, if set, for this component.
    void checkForExpressionErrors(ZEL_ParmList *list, int index, int thread) const;
    void evaluationError(ZEL_ParmList *list, int index, int error, int thread) const;
    bool validateAccess() const;
    bool shouldSaveData() const;
    /// Replaces `indices` by the item numbers in the enclosing multi-parameters, innermost first,
    /// and returns how many. With `useStartOffset` numbers begin at the start offset, as in tokens,
    /// else at 0.
    int getMultiInstanceIndex(KIT_Array<int> &indices, bool useStartOffset) const;
    /// Whether all components pass `isDefault`, and none is locked with ZEL_DEFAULT_UNLOCKED.
    bool isAllDefault(ZEL_DefaultType type) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Multi owner, input notification, micro nodes
    // ------------------------------------------------------------------ //
    ///@{
    const ZEL_Multi *getMultiParmOwner() const
    {
        const std::uintptr_t word = __atomic_load_n(&myRare, __ATOMIC_ACQUIRE);
        if ((word & theOwnerBit) != 0) {
            return reinterpret_cast<const ZEL_Multi *>(word - theOwnerBit);
        }
        const Rare *record = rareIn(word);
        return record ? record->multiOwner : nullptr;
    }
    void setMultiParmOwner(const ZEL_Multi *owner);

    /// Created on the first call.
    ZEL_Value *createInputNotifyValue();
    ZEL_Value *inputNotifyValue() const { return rare() ? rare()->inputNotify.get() : nullptr; }

    bool hasMicroNodes() const { return threadSafeMicroNodes() != nullptr; }
    /// The component's node; null outside the vector. The array is created on first use, by any
    /// thread, through the owner if there is one.
    ZEL_ParmMicroNode *microNode(int index);
    /// The companion of the component's node, created in the same way; creates the nodes first.
    ZEL_ConstMicroNode *constMicroNode(int index);
    /// Sets the node's flag, not the list's, and writes only if it differs. A negative index sets
    /// all.
    void setTimeDependentMicroNode(int index, bool timeDependent) const;
    /// Whether evaluating the component, or any for a negative index, used a context option. False
    /// without nodes.
    bool hasContextOptionDeps(int index) const;
    /// Replaces `names` by those options, sorted.
    void getContextOptionDeps(int index, KIT_StringArray &names) const;

    /// Append the nodes, their inputs or their outputs in component order; nothing without nodes.
    void getMicroNodes(KIT_Array<LNK_MicroNode *> &nodes) const;
    void getMicroNodeInputList(KIT_Array<LNK_MicroNode *> &inputs) const;
    void getMicroNodeOutputList(KIT_Array<LNK_MicroNode *> &outputs) const;
    std::int64_t getMicroNodeNumInputs() const;
    /// Removes the inputs of all nodes; see `ZEL_ParmMicroNode::clearInputs`.
    void clearMicroNodeInputs();
    /// Bytes of both arrays.
    std::int64_t getMicroNodesMemoryUsage() const;
    /// The dumps of the nodes, then of their companions.
    void dumpMicroNodes(std::ostream &os, int level) const;

    /// Propagates dirtiness through the graph, starting at the node of each component whose
    /// send-extra flag is set, or of every component with `all`. Without nodes, `node`, which
    /// represents all parameters of the list, is propagated once if the parameter is cookable and
    /// any flag is set; `*used` returns whether it was. All send-extra flags are cleared. The
    /// callback gets each node that becomes dirty, and may remove this parameter.
    void propagateDirty(const std::function<void(LNK_MicroNode &)> &callback, LNK_MicroNode *node,
                        bool all, bool *used);
    ///@}

    /// Whether a text is only a reference to a channel: `ch("tx")` if `bare`, else the same in
    /// backticks. Writes the referenced name to `channel` if that isn't null.
    static bool isChanRefString(const char *text, bool bare, KIT_String *channel);
    /// The old form, `!!ch(tx)` or `!!ch("tx")!!`, the latter also between backticks.
    static bool isObsoleteDirectChanRefString(const char *text, KIT_String *channel);

    // ------------------------------------------------------------------ //
    /// \name Place   (for the list, which puts parameters and instances into blocks)
    // ------------------------------------------------------------------ //
    ///@{
    static constexpr std::size_t thePlaceUnit = 16;
    static constexpr std::size_t thePlaceLimit = 256; // units
    /// The distance of the parameter from the start of its block, in bytes; 0 outside a block.
    std::size_t getPlace() const { return (myFlags >> 24) * thePlaceUnit; }
    void setPlace(std::size_t distance)
    {
        myFlags = (myFlags & ~PLACE) | std::uint32_t(distance / thePlaceUnit) << 24;
    }
    ///@}

protected:
    /// Copies for `duplicateSelf`: shares the template, starts with enable state 0 and without
    /// locks, aliases and colours; channels are looked up by token.
    ZEL_Instance(const ZEL_Instance &source, ZEL_Parm *parm);

    static std::uint32_t bit(int index) { return 1u << (unsigned(index) & 31u); }
    static bool testMask(std::uint32_t mask, int index)
    {
        return index < 0 ? mask != 0 : (mask & bit(index)) != 0;
    }
    /// All components: (1 << size) - 1 with the shift modulo 32, so 0 for a size of 32.
    std::uint32_t sizeBits() const { return bit(getVectorSize()) - 1u; }
    void setMaskBits(std::uint32_t &mask, int index, bool on) const;
    // Evaluation reads where a value is while one thread sets flags.
    bool testFlag(std::uint32_t flag) const { return (BASload(myFlags) & flag) != 0; }
    std::uint32_t loadFlags() const { return __atomic_load_n(&myFlags, __ATOMIC_ACQUIRE); }
    void setFlag(std::uint32_t flag, bool on)
    {
        __atomic_store_n(&myFlags, on ? myFlags | flag : myFlags & ~flag, __ATOMIC_RELEASE);
    }

    void internalAddChannel(int index, const char *expression, TRK_ExprLanguage language,
                            bool initialise);
    TRK_ExprLanguage getCollectionLanguage() const;
    /// The thread's evaluation time; 0 without a collection.
    double commandTime() const;
    /// Handles a token of a stream or command: the component's own channel name links that
    /// channel, anything else becomes the component's expression.
    void loadTokenAsChannelNameOrExpression(const char *token, int index);
    /// Whether a token is the component's channel token and that channel exists; false for a token
    /// in double quotes.
    bool isChannelToken(const KIT_String &token, int index) const;
    /// Finds a channel by name, then by the component's token. Null with a warning if neither
    /// exists or there is no collection.
    TRK_Channel *linkChannel(const char *name, int index);

    void saveAsciiOptions(std::ostream &os) const;
    void saveAsciiOptions(KIT_ByteBuffer &out) const;
    /// Reads on after "[". The second positional number of old files is returned in `mask`.
    bool loadAsciiOptions(KIT_IStream &is, unsigned int &mask);
    /// True if any option was written.
    bool saveBinaryOptions(int classId, KIT_Packet &packet, std::ostream &os) const;
    /// The options that are written only where they are set.
    static constexpr std::uint32_t theWrittenFlags = ZEL_INST_EXPRESSION | ZEL_INST_SAVE_AUTOSCOPE |
                                                     ZEL_INST_SAVE_AUTOSELECT | ZEL_INST_BYPASS |
                                                     ZEL_INST_SAVE_LABEL;
    /// Whether the instance has neither options to write, the always written ones aside, nor a
    /// channel: what most have, and each kind writes and reads in one piece. May be false for some
    /// that have none.
    bool isPlain() const
    {
        if ((myFlags & theWrittenFlags) != 0) {
            return false;
        }
        const Rare *record = rare();
        return !record || (record->locks == 0 && !record->colors && getChannelCount() == 0);
    }
    /// Whether a component has a channel: a load then looks at each.
    bool hasChannels() const { return rare() && rare()->channels && getChannelCount() > 0; }
    /// False for an unknown id or a failed read.
    bool loadBinaryOption(KIT_IStream &is, short id);

    /// The result of reading an option's packet.
    enum class OptionRead
    {
        DONE,
        UNKNOWN, ///< the id is no option's
        FAILED   ///< the packet is cut
    };
    /// The packets of a float's own binary form. There, locks and label are always written, and the
    /// setting that leaves labels alone is ignored.
    void saveFloatOptions(int classId, KIT_ByteBuffer &out) const;
    OptionRead loadFloatOption(KIT_IStream &is, int id);

    void setLockedField(std::uint32_t field);
    void setAutoScopeField(std::uint32_t field);
    void setAutoSelectField(std::uint32_t field);
    void setLabel(const char *label);

    /// Bits of myFlags that nothing outside sees.
    enum PrivateFlag : std::uint32_t
    {
        VALUE_MOVED = 0x1,     // with VALUES_APART: the record has the pointer, to a single value
        AUTO_SCOPED = 0x2,     // the autoscope field is all components, without it 0
        NO_AUTO_SELECT = 0x4,  // the autoselect field is 0, without it all ones
        BESIDE_PARM = 0x20000, // the parameter is the object before this one
        OWN_AUTO_SCOPE = 0x40000,
        OWN_AUTO_SELECT = 0x80000,
        OWN_VISIBLE = 0x100000,
        HIDDEN = 0x200000,       // no component is visible
        VALUES_APART = 0x400000, // the object has a pointer to its values
        VALUES_OWNED = 0x800000, // and frees them
        PLACE = 0xff000000,      // distance from the block's start, in units; 0 outside a block
        PRIVATE_FLAGS = ~0x1fff8u
    };
    struct ColorRecord;
    /// What few parameters have; made when the first of it is used, by any thread, and kept until
    /// the instance ends.
    struct Rare : KIT_SmallObject<>
    {
        // First what every evaluation reads, in one cache line.
        /// One for each component, or null while none has one. Not with the values, which evaluation
        /// threads write: these are read by all of them.
        TRK_Channel **channels = nullptr;       // owned, unless it is the next
        TRK_Channel *onlyChannel = nullptr;     // of a single component
        void *movedValue = nullptr;             // with VALUE_MOVED
        ZEL_OverrideArray *overrides = nullptr; // ZEL_Overridable's
        ZEL_ParmMicroNode *microNodes = nullptr;
        std::uint32_t locks = 0;
        std::uint32_t autoScope = 0;  // with OWN_AUTO_SCOPE
        std::uint32_t autoSelect = 0; // with OWN_AUTO_SELECT
        std::uint32_t visible = 0;    // with OWN_VISIBLE
        std::uint32_t active = 0;
        BAS_ByteLock microNodeLock;
        ZEL_Parm *parm = nullptr; // unless it is beside the instance
        const ZEL_Multi *multiOwner = nullptr;
        ZEL_ConstMicroNode *constMicroNodes = nullptr;
        std::unique_ptr<KIT_StringHolder[]> aliases;
        std::unique_ptr<ColorRecord[]> colors;
        std::unique_ptr<ZEL_Value> inputNotify;

        Rare();
        ~Rare();
        /// A channel is found after the value that its evaluation writes.
        TRK_Channel *channel(int index) const
        {
            TRK_Channel *const *slots = __atomic_load_n(&channels, __ATOMIC_ACQUIRE);
            return slots ? __atomic_load_n(slots + index, __ATOMIC_ACQUIRE) : nullptr;
        }
    };
    Rare &makeRare() const;
    /// Null while there is none.
    Rare *rare() const { return rareIn(__atomic_load_n(&myRare, __ATOMIC_ACQUIRE)); }
    /// With VALUE_MOVED, when there is a record.
    void *movedValue() const { return reinterpret_cast<const Rare *>(BASload(myRare))->movedValue; }
    /// As removeChannel(), but without tellTextsChanged().
    bool dropChannel(int index);
    /// A text of the parameter is, or is about to be, another one: TRK_PathResolver::textsChanged.
    void tellTextsChanged() const;
    /// Called once, before the first channel is put into a slot: from then on evaluating threads
    /// write the values. Kinds that hold values in the object move them out of it. Base: nothing.
    virtual void moveValuesApart();

    ZEL_ParmMicroNode *threadSafeMicroNodes() const
    {
        const Rare *record = rare();
        return record ? __atomic_load_n(&record->microNodes, __ATOMIC_ACQUIRE) : nullptr;
    }
    ZEL_ConstMicroNode *threadSafeConstMicroNodes() const
    {
        const Rare *record = rare();
        return record ? __atomic_load_n(&record->constMicroNodes, __ATOMIC_ACQUIRE) : nullptr;
    }

private:
    friend struct ZEL_ValueFrames; // the option block and the links of channels

    struct Options;

    void place(ZEL_Parm *parm);
    void readTemplateMasks();
    void initTakeFlags();
    std::uint32_t allBits() const { return getVectorSize() == 0 ? ~0u : sizeBits(); }
    std::uint32_t visibleField() const;
    TRK_Channel **makeSlots();
    void putChannel(int index, TRK_Channel *channel);
    void putAutoScope(std::uint32_t field);
    void putAutoSelect(std::uint32_t field);
    void destroyMicroNodes();
    void leavePropagations();
    void adoptOptions(const ZEL_Instance &source);
    void adoptChannels(ZEL_Instance &source);
    void adoptMicroNodes(ZEL_Instance &source);
    ZEL_ParmMicroNode *createMicroNodes() const;
    ZEL_ConstMicroNode *createConstMicroNodes() const;
    void markMicroNode(ZEL_ParmMicroNode *nodes, int index, bool timeDependent) const;
    /// The slot; null outside the vector.
    TRK_Channel *channelAt(int index) const
    {
        return validIndex(index) ? getChannel(index) : nullptr;
    }
    int findChannelName(const KIT_StringRef &name) const;
    bool reloadChannelPtr(TRK_Collection &collection, int index);
    bool isFirstRampPosition() const;

    /// Set in myRare when that is the multi owner, or the parameter that lies elsewhere, for want of
    /// anything else.
    static constexpr std::uintptr_t theOwnerBit = 1;
    static constexpr std::uintptr_t theParmBit = 2;
    static Rare *rareIn(std::uintptr_t word)
    {
        return (word & (theOwnerBit | theParmBit)) != 0 ? nullptr : reinterpret_cast<Rare *>(word);
    }

    std::uint32_t myFlags;
    std::uint32_t myEnableState;
    std::uint32_t myDirtyFlags;
    std::uint32_t mySendExtraFlags;
    ZEL_Template *myTemplate;
    mutable std::uintptr_t myRare; // the record, or what a bit says, or 0
};
