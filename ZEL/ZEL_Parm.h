/// \file ZEL_Parm.h
/// The handle through which applications read, change and watch one parameter.
///
/// Vocabulary: *component* = one element of the parameter's vector (a translate has 3);
///             *locked* = refused to setters, component by component;
///             *callback type* = a type whose fields from basic to channel equal those of
///             `ZEL_CALLBACK`: a button, which has no value that could be out of date;
///             *change* = flags as dirty, then notifies the list's event handler; *event 4* = the
///             TRK_CHANGE_TYPE of that number.
/// Units:      component indices are 0-based; a negative index means all components where flags,
///             masks and keys are set and any in queries; values, expressions and defaults are set
///             one component at a time. Time is in the channel library's seconds; `thread` is the
///             id from `BASgetSTID`. Access masks are octal permission bits: 0222 is write access.
/// Ownership:  owns its instance, borrows template and list. A parameter whose template is null, or
///             of no known basic type, has no instance: it returns null, 0, false, "" or the
///             caller's time, is clean, leaves arrays and maps unchanged; its setters do nothing.
/// Threads:    the *values out* groups from any thread at once; the rest from the thread that owns
///             the list, since change events call the owner directly.
/// Errors:     a refused change returns false and reports nothing. "ZEL" 12 for a null source, 21
///             for a value or expression outside the vector.
/// Cost:       a value read is one null test and one virtual call. A parameter takes two pointers.
#pragma once

#include <KIT/KIT_Array.h>
#include <KIT/KIT_Color.h>
#include <KIT/KIT_SmallObject.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>

class KIT_IStream;
class KIT_JSONValueMap;
class KIT_StringArray;
class KIT_TokenString;
class KIT_WorkBuffer;
class TRK_Channel;
class TRK_ChannelRef;
class TRK_Collection;
struct TRK_FullKey;
class ZEL_ChoiceList;
class ZEL_DataItem;
class ZEL_Multi;
class ZEL_ParmList;
class ZEL_ParmMicroNode;
class ZEL_ParmOwner;
class ZEL_Range;
class ZEL_RefId;
class ZEL_SpareData;
class ZEL_UndoData;
class ZEL_Value;

struct ZEL_Kind;

class ZEL_API ZEL_Parm : public KIT_SmallObject<1, 1024, 0, 128>
{
public:
    // ------------------------------------------------------------------ //
    /// \name Life   (one thread at a time)
    // ------------------------------------------------------------------ //
    ///@{
    /// Creates the instance: a `ZEL_Multi` for the multi types, else by the basic type. The list
    /// applies the defaults (`ZEL_ParmList::buildDelayedDefaults`).
    ZEL_Parm(ZEL_Template *templatePtr, ZEL_ParmList *list);
    /// Takes a duplicate of the source's instance. A null source is fatal error 12.
    ZEL_Parm(const ZEL_Parm *source, ZEL_ParmList *list);
    ~ZEL_Parm();

    ZEL_Parm(const ZEL_Parm &) = delete;
    ZEL_Parm &operator=(const ZEL_Parm &) = delete;

    /// Takes over values, locks, channels and micro nodes of another parameter's instance.
    void adopt(ZEL_Parm &source);
    /// Replaces the overrides by copies of the source's.
    void adoptOverrides(ZEL_Parm &source);
    /// Removes the parameters of a multi-parameter's items from the list.
    void destroyChildParms();
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Surroundings
    // ------------------------------------------------------------------ //
    ///@{
    ZEL_Instance *getInstance() { return myInstance.get(); }
    const ZEL_Instance *getInstance() const { return myInstance.get(); }
    ZEL_ParmList *getParmList() const { return myParmList; }
    ZEL_ParmOwner *getParmOwner() const
    {
        return myInstance ? myInstance->getParmOwner() : nullptr;
    }
    TRK_Collection *getChannelGroupPtr() const
    {
        return myInstance ? myInstance->getChannelGroupPtr() : nullptr;
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Values out   (any thread; called on every evaluation)
    // ------------------------------------------------------------------ //
    ///@{
    void getValue(double time, double &value, int index, int thread) const
    {
        if (myInstance) {
            myInstance->getValue(myParmList, time, value, index, thread);
        } else {
            value = 0.0;
        }
    }
    void getValue(double time, std::int64_t &value, int index, int thread) const
    {
        if (myInstance) {
            myInstance->getValue(myParmList, time, value, index, thread);
        } else {
            value = 0;
        }
    }
    void getValue(double time, int &value, int index, int thread) const
    {
        if (myInstance) {
            myInstance->getValue(myParmList, time, value, index, thread);
        } else {
            value = 0;
        }
    }
    /// `expand` replaces variables and backticks.
    void getValue(double time, KIT_String &value, int index, bool expand, int thread) const;
    void getValue(double time, KIT_StringHolder &value, int index, bool expand, int thread) const;
    void getValue(double time, std::shared_ptr<const ZEL_DataItem> &value, int index,
                  int thread) const;
    /// A data parameter's dictionary; nothing is written for other kinds.
    void getValue(double time, KIT_JSONValueMap &value, int index, bool expand, int thread) const;

    /// All components into an array of vector size: double, float, int or 64-bit int.
    template <class T>
    void getValues(double time, T *values, int thread) const
    {
        if (myInstance) {
            myInstance->getValues(myParmList, time, values, thread);
        }
    }

    /// The current default, else the factory default. Nothing is written for an invalid index.
    template <class T>
    void getDefaultValue(T &value, int index) const
    {
        if (myInstance) {
            myInstance->getDefaultValue(value, index);
        } else {
            value = T();
        }
    }

    /// The channel's expression, "" without a channel; a string's text without one comes as an
    /// expression, in quotes.
    void getExpressionOnly(double time, KIT_String &text, int index, int thread) const;
    /// The channel's expression, else the value as text; a string's, unless an override provides
    /// it, comes as an expression, in quotes.
    void getExpressionOrValue(double time, KIT_String &text, int index, int thread) const;
    /// What an interface shows for an expression or override.
    void getExpressionStringForUI(double time, KIT_String &text, int index, int thread) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Values in
    /// False, and no change, for a locked component or one that isn't editable; a negative index
    /// counts as locked when any component is. An index outside the vector, negative ones included,
    /// sets no value and is reported, except for data; flags, events and the return value are as
    /// if the value had been set. `replaceExpression` replaces an expression at that time by the
    /// constant. `propagate` ends in `privateValueChanged`. No key is made unless the component has a
    /// channel (`addChannel`), whatever `addKey` is.
    // ------------------------------------------------------------------ //
    ///@{
    bool setValue(double time, double value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, bool propagate);
    bool setValue(double time, std::int64_t value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, bool propagate);
    bool setValue(double time, int value, bool replaceExpression, int index, ZEL_AddKeyType addKey,
                  bool propagate);
    bool setValue(double time, const std::shared_ptr<const ZEL_DataItem> &value,
                  bool replaceExpression, int index, ZEL_AddKeyType addKey, bool propagate);
    bool setValue(double time, const char *text, TRK_StringMeaning meaning, bool replaceExpression,
                  int index, ZEL_AddKeyType addKey, bool propagate);

    /// All components from an array of vector size. Locked components are left out, editability
    /// isn't checked, and the change is notified even if all are locked. True if a value was set.
    bool setValues(double time, const double *values, bool replaceExpression, ZEL_AddKeyType addKey,
                   bool propagate);
    bool setValues(double time, const std::int64_t *values, bool replaceExpression,
                   ZEL_AddKeyType addKey, bool propagate);

    /// `evaluate` stores the result at `time`; `deleteChannel` starts from a fresh channel.
    bool setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                       bool evaluate, bool deleteChannel, bool propagate);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Defaults
    // ------------------------------------------------------------------ //
    ///@{
    /// Sets the default as a value; while the destructive flag is set, removes channels too.
    /// Nothing for a locked component, nor for an invisible type unless the flag for those is set.
    void revertToDefault(double time, int index, bool propagate);
    /// The same for each component, with one change each.
    void revertToDefaults(double time);
    /// Drops the template's overriding defaults; no value changes.
    void restoreFactoryDefaults();
    /// Makes the stored value the template's current default.
    void overwriteDefault(double time, int index);
    void overwriteDefaults(double time);
    bool isDefault(int index, ZEL_DefaultType type, bool checkLocks) const
    {
        return myInstance && myInstance->isDefault(index, type, checkLocks);
    }
    bool isAllDefault(ZEL_DefaultType type) const
    {
        return myInstance && myInstance->isAllDefault(type);
    }
    /// Whether every component equals the factory default in value and expression, locked or not.
    bool isTrueFactoryDefault() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Copying and comparing
    // ------------------------------------------------------------------ //
    ///@{
    /// Copies the values at time 0 of as many components as both have, and all items if both are
    /// multi-parameters. Channels aren't copied, nor are changes notified.
    void copyParm(const ZEL_Parm &source);
    /// Copies one component and its alias. With `copyChannels` a source channel is copied as a
    /// whole; otherwise the value at that time, by the source's kind, a literal text as it was set
    /// (raw). If the source has no such component, this parameter reverts to its defaults. Locks
    /// are ignored.
    void copyValue(double time, int index, const ZEL_Parm &source, int sourceIndex,
                   bool replaceExpression, bool propagate, bool copyChannels, ZEL_AddKeyType addKey,
                   ZEL_KeySetType keySet);
    /// Compares values at that time: as expanded text if either is a string, as data items if
    /// either is data.
    bool isParmValueEqual(int index, const ZEL_Parm &other, int otherIndex, double time,
                          int thread) const;
    bool isParmValueEqual(const ZEL_Parm &other, int index, double time, int thread) const
    {
        return isParmValueEqual(index, other, index, time, thread);
    }
    /// Whether tokens, types and vector sizes are equal.
    bool isCompatible(const ZEL_Parm &other) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Change notification
    // ------------------------------------------------------------------ //
    ///@{
    /// The last step of every change of a value. With `updateMulti` a multi-parameter first creates
    /// or removes items to match its count, and drops errors. A callback type then rebuilds its
    /// dependency without dirty flag and event; any other is flagged as dirty, and `sendEvent`
    /// sends event 4.
    void privateValueChanged(int index, bool sendEvent, bool updateMulti);
    /// For a value that changed because something it refers to did: sends no event, but flags the
    /// channels as changed; `dirtyCaches` also drops their expression caches.
    void indirectChange(int index, bool dirtyCaches, bool updateMulti);
    /// Flags as dirty; with `sendEvent` sends event 4.
    void sendValueChanged(int index, bool sendEvent);
    /// Notifies the owner, which rebuilds what depends on this parameter.
    void rebuildParmDependency();
    void setDirtyFlags(int index)
    {
        if (myInstance) {
            myInstance->setDirtyFlags(index);
        }
    }
    void setSendExtra(int index)
    {
        if (myInstance) {
            myInstance->setSendExtra(index);
        }
    }
    void clearAllDirtyFlags()
    {
        if (myInstance) {
            myInstance->clearAllDirtyFlags();
        }
    }
    bool isDirty(int index) const { return myInstance && myInstance->isDirty(index); }
    bool isSendExtra(int index) const { return myInstance && myInstance->isSendExtra(index); }
    bool areAllFlagsClean() const { return !myInstance || myInstance->areAllFlagsClean(); }
    bool hasAnySendExtraFlags() const { return myInstance && myInstance->hasAnySendExtraFlags(); }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Access
    // ------------------------------------------------------------------ //
    ///@{
    /// Whether the list's permissions, the lock of an asset and the open take allow the access.
    /// Always true without a list, and while a multi-parameter adds or removes parameters.
    bool canAccess(unsigned mask) const;
    /// Write access.
    static constexpr unsigned theWriteMask = 0222;
    bool isEditable(double time, int index) const
    {
        return myInstance && myInstance->isEditable(myParmList, time, index);
    }
    bool isEditableByUI(double time, int index) const
    {
        return myInstance && myInstance->isEditableByUI(myParmList, time, index);
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Masks and flags with events
    // ------------------------------------------------------------------ //
    ///@{
    /// Events 4 and 8. Nothing for a callback type.
    void setLockedFlag(int index, bool locked);
    /// No event. Nothing for a callback type.
    void setAutoScopedFlag(int index, bool flag);
    void setAutoSelectFlag(int index, bool flag);
    /// Event 4. Only for a spare parameter, and only when the flag changes.
    void setBypassFlag(bool flag);
    /// Any state but 0 enables. True, and event 6, if the mask changed.
    bool setEnableState(int state, int index);
    /// True, and event 7, if the mask changed.
    bool setVisibleState(bool visible, int index);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Masks and flags read   (a negative index means any component)
    // ------------------------------------------------------------------ //
    ///@{
    bool getLockedFlag(int index) const { return myInstance && myInstance->getLockedFlag(index); }
    std::uint32_t getLockedField() const { return myInstance ? myInstance->getLockedField() : 0; }
    bool areAllComponentsLocked() const
    {
        return myInstance && myInstance->areAllComponentsLocked();
    }
    /// The bit; the whole mask for a negative index.
    std::uint32_t getEnableState(int index) const
    {
        return myInstance ? myInstance->getEnableState(index) : 0;
    }
    bool getVisibleState(int index) const
    {
        return myInstance && myInstance->getVisibleState(index);
    }
    bool getAutoScopedFlag(int index) const
    {
        return myInstance && myInstance->getAutoScopedFlag(index);
    }
    std::uint32_t getAutoScopedField() const
    {
        return myInstance ? myInstance->getAutoScopeField() : 0;
    }
    bool getAutoSelectFlag(int index) const
    {
        return myInstance && myInstance->getAutoSelectFlag(index);
    }
    std::uint32_t getAutoSelectField() const
    {
        return myInstance ? myInstance->getAutoSelectField() : 0;
    }
    /// Whether the user interface has the component selected; false outside the vector.
    bool isActive(int index) const { return myInstance && myInstance->isActive(index); }
    bool getActiveTakeFlag() const { return myInstance && myInstance->getActiveTakeFlag(); }
    bool getAlwaysTakeFlag() const { return myInstance && myInstance->getAlwaysTakeFlag(); }
    bool getAutoTakeUndoSavedFlag() const
    {
        return myInstance && myInstance->getAutoTakeUndoSavedFlag();
    }
    bool getUndoSavedFlag() const { return myInstance && myInstance->getUndoSavedFlag(); }
    bool getBypassFlag() const { return myInstance && myInstance->getBypassFlag(); }
    bool getExpressionState() const { return myInstance && myInstance->getExpressionState(); }
    bool getValueState() const { return myInstance && myInstance->getValueState(); }
    bool getSaveLabelFlag() const { return myInstance && myInstance->getSaveLabelFlag(); }
    bool isSpareParm() const { return myInstance && myInstance->isSpareParm(); }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Flags set   (no event)
    // ------------------------------------------------------------------ //
    ///@{
    void setActive(int index, bool on)
    {
        if (myInstance) {
            myInstance->setActive(index, on);
        }
    }
    void setActiveTakeFlag(bool on)
    {
        if (myInstance) {
            myInstance->setActiveTakeFlag(on);
        }
    }
    void setAutoTakeUndoSavedFlag(bool on)
    {
        if (myInstance) {
            myInstance->setAutoTakeUndoSavedFlag(on);
        }
    }
    void setUndoSavedFlag(bool on)
    {
        if (myInstance) {
            myInstance->setUndoSavedFlag(on);
        }
    }
    void setExpressionState(bool on)
    {
        if (myInstance) {
            myInstance->setExpressionState(on);
        }
    }
    void setValueState(bool on)
    {
        if (myInstance) {
            myInstance->setValueState(on);
        }
    }
    void setSaveLabelFlag(bool on)
    {
        if (myInstance) {
            myInstance->setSaveLabelFlag(on);
        }
    }
    void setSpareParm(bool on)
    {
        if (myInstance) {
            myInstance->setSpareParm(on);
        }
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Channels
    // ------------------------------------------------------------------ //
    ///@{
    /// Null for an index outside the vector.
    TRK_Channel *getChannel(int index) const
    {
        return myInstance && myInstance->validIndex(index) ? myInstance->getChannel(index)
                                                           : nullptr;
    }
    int getChannelCount() const { return myInstance ? myInstance->getChannelCount() : 0; }
    /// Links the collection's channel with the component's token, or creates it, with a key at time 0
    /// that has the component's value. Nothing without a collection.
    void addChannel(int index);
    /// By alias or token; 1, or 0 if no component has that name.
    int addChannel(const KIT_StringRef &name)
    {
        return myInstance ? myInstance->addChannel(name) : 0;
    }
    int addChannel(const KIT_StringRef &name, const char *expression, TRK_ExprLanguage language)
    {
        return myInstance ? myInstance->addChannel(name, expression, language) : 0;
    }
    /// True if the component had one.
    bool removeChannel(int index);
    /// With `sendEvent` ends in a change of all components.
    void clearAndDestroyChannels(bool sendEvent);
    /// Deletes the channels that `other` doesn't hold, from the last component to the first; only
    /// empties the slots of those that it does.
    void clearAndDestroyUnrefChannels(const ZEL_Parm &other);
    void reloadChannelPtrs()
    {
        if (myInstance) {
            myInstance->reloadChannelPtrs();
        }
    }
    void validateChannelNames(ZEL_ParmList &list)
    {
        if (myInstance) {
            myInstance->validateChannelNames(list);
        }
    }
    int channelPtrModified(const KIT_StringRef &token)
    {
        return myInstance ? myInstance->channelPtrModified(token) : 0;
    }
    bool changePending(int index) const { return myInstance && myInstance->changePending(index); }
    int getChanState(double time) const { return myInstance ? myInstance->getChanState(time) : 0; }
    ZEL_ChanState getChanState(double time, int index) const
    {
        return myInstance ? myInstance->getChanState(time, index) : ZEL_CHAN_NONE;
    }
    /// Times of the nearest keys; the time itself if there is none.
    double findNextKey(double time, int index) const
    {
        return myInstance ? myInstance->findNextKey(time, index) : time;
    }
    double findPrevKey(double time, int index) const
    {
        return myInstance ? myInstance->findPrevKey(time, index) : time;
    }
    /// Makes a key with the present, or pending, value. Nothing without a channel.
    void setKey(double time, int index)
    {
        if (myInstance) {
            myInstance->setKey(time, index);
        }
    }
    void setFullKey(const TRK_FullKey &key, int index)
    {
        if (myInstance) {
            myInstance->setFullKey(key, index);
        }
    }
    /// Keeps a pending value in a key (any value with `force`), or with `collect` only appends the
    /// channel's reference.
    void hardenChanges(double time, int index, bool force, const char *pattern,
                       KIT_Array<TRK_ChannelRef> *collect)
    {
        if (myInstance) {
            myInstance->hardenChanges(time, index, force, pattern, collect);
        }
    }
    TRK_StringMeaning getStringMeaning(double time, int index) const
    {
        return myInstance ? myInstance->getStringMeaning(time, index) : TRK_MEANING_LITERAL;
    }
    TRK_ExprLanguage getExprLanguageIfMadeAnExpression(double time, int index) const
    {
        return myInstance ? myInstance->getExprLanguageIfMadeAnExpression(time, index)
                          : TRK_LANGUAGE_NATIVE;
    }
    bool isLanguageOldExprOrLiteral(double time, int index) const
    {
        return myInstance && myInstance->isLanguageOldExprOrLiteral(time, index);
    }
    /// Whether any component's channel holds a compiled expression.
    bool getHaveCompiledExpressions() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Channel names, aliases and colours
    // ------------------------------------------------------------------ //
    ///@{
    /// Refused without write access, for an invalid channel name, or an index outside the vector;
    /// "" clears. `ZEL_ParmList::setChannelAlias` also adds the alias to the list's look-up.
    bool setChannelAlias(const KIT_StringHolder &alias, int index);
    /// The alias if set, else the channel token; "" outside the vector.
    const KIT_StringHolder &getChannelAlias(int index) const
    {
        return myInstance ? myInstance->getChannelAlias(index) : KIT_StringHolder::theEmptyString;
    }
    void getChannelAlias(KIT_String &alias, int index) const;
    bool hasChannelAlias(const KIT_StringRef &alias, int index) const
    {
        return myInstance && myInstance->hasChannelAlias(alias, index);
    }
    /// Alias or token.
    bool hasChannelName(const KIT_StringRef &name, int index) const
    {
        return myInstance && myInstance->hasChannelName(name, index);
    }
    /// The component of that token, or alias if allowed; -1 if none.
    int findSubIndex(const KIT_StringRef &token, bool allowAlias) const
    {
        return myInstance ? myInstance->findSubIndex(token, allowAlias) : -1;
    }
    void setChannelCustomColor(int index, const KIT_Color &color)
    {
        if (myInstance) {
            myInstance->setChannelCustomColor(index, color);
        }
    }
    void resetChannelCustomColor(int index)
    {
        if (myInstance) {
            myInstance->resetChannelCustomColor(index);
        }
    }
    bool hasChannelCustomColor(int index) const
    {
        return myInstance && myInstance->hasChannelCustomColor(index);
    }
    const KIT_Color &getChannelCustomColor(int index) const
    {
        return myInstance ? myInstance->getChannelCustomColor(index) : KIT_Color::theNoColor;
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Channel references and texts for the user
    // ------------------------------------------------------------------ //
    ///@{
    /// Text of an expression that reads another channel: `ch("path/name")`, `chs(...)` for a string
    /// in language 0, `chsop(...)` for one that names nodes. A null or empty name leaves only the
    /// path.
    void constructChannelReference(KIT_String &reference, TRK_ExprLanguage language,
                                   const char *path, const char *channelName) const;
    /// Makes the component's channel read another one. `freshChannel` drops the channel first,
    /// unless the component is locked. Nothing for an index outside the vector.
    void setChannelReference(double time, int index, const char *path, const char *channelName,
                             bool propagate, bool freshChannel);
    /// The label and the component's letter or number: `Translate [Y]`. A label with "%s" gets the
    /// component's alias there instead; with a negative index all aliases, separated by blanks.
    void getChannelLabelForUI(KIT_String &label, int index) const;
    /// Channel tokens, aliases, help, and the take that defines the parameter, line by line.
    void getHelpText(KIT_WorkBuffer &text) const;
    /// From the help manager; false, and "", without one or if it has none.
    bool getHelpTitle(KIT_String &title) const;
    bool getHelpUrl(KIT_String &url) const;
    /// The owner's path and the label, or "/" and the token.
    void getFullParmPath(KIT_WorkBuffer &path) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Template
    // ------------------------------------------------------------------ //
    ///@{
    ZEL_Template *getTemplatePtr() const
    {
        return myInstance ? myInstance->getTemplatePtr() : nullptr;
    }
    const ZEL_Type &getType() const
    {
        return myInstance ? myInstance->getType() : ZEL_LIST_TERMINATOR;
    }
    ZEL_TypeExtended getTypeExtended() const
    {
        return myInstance ? myInstance->getTypeExtended() : ZEL_TypeExtended(0);
    }
    int getVectorSize() const { return myInstance ? myInstance->getVectorSize() : 0; }
    const char *getToken() const { return myInstance ? myInstance->getToken() : ""; }
    const KIT_StringRef &getTokenRef() const
    {
        return myInstance ? myInstance->getTokenRef() : KIT_StringHolder::theEmptyString;
    }
    std::uint32_t getTokenHash() const { return getTokenRef().hash(); }
    const char *getLabel() const { return myInstance ? myInstance->getLabel() : ""; }
    /// "" outside the vector.
    const KIT_StringHolder &getChannelToken(int index) const
    {
        return myInstance ? myInstance->getChannelToken(index) : KIT_StringHolder::theEmptyString;
    }
    void getChannelToken(KIT_String &token, int index) const;
    void getChannelLabel(KIT_String &label, int index) const;
    ZEL_ChoiceList *getChoiceListPtr() const
    {
        return myInstance ? myInstance->getChoiceListPtr() : nullptr;
    }
    ZEL_Range *getRangePtr() const { return myInstance ? myInstance->getRangePtr() : nullptr; }
    ZEL_SpareData *getSparePtr() const
    {
        return myInstance ? myInstance->getTemplatePtr()->getSparePtr() : nullptr;
    }
    ZEL_MultiType getMultiType() const
    {
        return myInstance ? myInstance->getMultiType() : ZEL_MULTITYPE_NONE;
    }
    double getMultiSize() const { return myInstance ? myInstance->getMultiSize() : 0.0; }
    int getMultiStartOffset() const { return myInstance ? myInstance->getMultiStartOffset() : 0; }
    bool isRampType() const { return myInstance && myInstance->getTemplatePtr()->isRampType(); }
    bool isRampTypeColor() const
    {
        return myInstance && myInstance->getTemplatePtr()->isRampTypeColor();
    }
    /// Whether the type's fields from basic to channel equal those of `ZEL_CALLBACK`. The only
    /// comparison that ignores the interface and behaviour fields, the others compare all nine.
    bool isCallbackType() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Multi-parameters
    // ------------------------------------------------------------------ //
    ///@{
    bool isMultiParm() const { return myInstance && myInstance->isMultiParm(); }
    /// The instance as a multi-parameter; null if it is of another kind.
    ZEL_Multi *asMulti() const;
    int getMultiParmNumItems() const { return myInstance ? myInstance->getMultiParmNumItems() : 0; }
    int getMultiParmInstancesPerItem() const
    {
        return myInstance ? myInstance->getMultiParmInstancesPerItem() : 0;
    }
    /// Token of a child of an item; null for an invalid child or item.
    const char *getMultiParmToken(int child, int item) const
    {
        return myInstance ? myInstance->getMultiParmToken(child, item) : nullptr;
    }
    /// The child at item * instances per item + child; null for an invalid index, or if this isn't
    /// a multi-parameter.
    ZEL_Parm *getMultiParm(int flatIndex) const;
    /// The multi-parameter whose item this parameter belongs to, or null.
    const ZEL_Multi *getMultiParmOwner() const
    {
        return myInstance ? myInstance->getMultiParmOwner() : nullptr;
    }
    void setMultiParmOwner(const ZEL_Multi *owner)
    {
        if (myInstance) {
            myInstance->setMultiParmOwner(owner);
        }
    }
    /// Replaces `indices` by the item numbers in the enclosing multi-parameters, innermost first,
    /// and returns how many. With `useStartOffset` they are those in the tokens, else 0-based.
    int getMultiInstanceIndex(KIT_Array<int> &indices, bool useStartOffset) const
    {
        return myInstance ? myInstance->getMultiInstanceIndex(indices, useStartOffset) : 0;
    }
    /// Nothing if all components are locked, but `notify` still notifies. An item outside the range
    /// is as in `ZEL_Multi`. Channel aliases don't move with their items;
    /// `ZEL_ParmList::insertMultiParmItem` moves them too.
    void insertMultiParmItem(int item, bool notify);
    void removeMultiParmItem(int item, bool notify);
    /// Exchanges two items without notifying. Nothing if all components are locked.
    void swapMultiParmItem(int first, int second);
    /// The template of an item's child by the child's token; null if there is none.
    ZEL_Template *findMultiParmTemplate(const char *token) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Streams and commands
    // ------------------------------------------------------------------ //
    ///@{
    bool save(std::ostream &os, int binary, bool compiled) const;
    /// Reads what `save` wrote, then notifies, even if reading failed.
    bool load(KIT_IStream &is);
    void saveCommand(std::ostream &os, int values, int index) const;
    /// Returns the number of arguments used.
    int loadCommand(int argc, const char *const argv[], int index, bool asSet,
                    ZEL_AddKeyType addKey, ZEL_KeySetType keySet);
    bool saveUndoData(std::shared_ptr<ZEL_UndoData> &data) const;
    /// Notifies as `load` does.
    bool loadUndoData(const std::shared_ptr<ZEL_UndoData> &data);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name References, text search, dependence
    // ------------------------------------------------------------------ //
    ///@{
    /// For an owner that keeps edges between nodes: reports each reference to a node or parameter in
    /// the texts without a channel to the collection's path resolver
    /// (`TRK_PathResolver::referenceFound`), which makes the edges; `id` says who refers. What
    /// expressions of channels refer to isn't reported here. Only strings report anything.
    void buildOpDependencies(const ZEL_RefId &id, int thread);
    int changeOpRef(const char *oldFullPath, const char *newFullPath, const char *oldRelativePath,
                    const char *newRelativePath, const char *name,
                    void (*callback)(void *, ZEL_Parm *, int), void *data, int thread);
    bool findString(const char *text, bool fullWord, bool usePattern) const
    {
        return myInstance && myInstance->findString(text, fullWord, usePattern);
    }
    int changeString(const char *from, const char *to, bool fullWord)
    {
        return myInstance ? myInstance->changeString(from, to, fullWord) : 0;
    }
    bool notifyVarChange(int index, const char *name)
    {
        return myInstance && myInstance->notifyVarChange(index, name);
    }
    bool isTimeDependent(int index) const
    {
        return myInstance && myInstance->isTimeDependent(index);
    }
    bool isDataDependent(double time, int index) const
    {
        return myInstance && myInstance->isDataDependent(time, index);
    }
    /// Whether this is the rotation of a transform.
    bool isRotationParm() const { return myInstance && myInstance->isRotationParm(); }
    /// Appends this parameter's part of a cache key, nothing if all is default; true if any
    /// component is time dependent or differs from its default.
    bool getMagicString(KIT_TokenString &tokens, double time, int thread) const
    {
        return myInstance &&
               myInstance->getMagicString(tokens, myParmList, getVectorSize(), time, false, thread);
    }
    bool hasMicroNodes() const { return myInstance && myInstance->hasMicroNodes(); }
    /// Null outside the vector.
    ZEL_ParmMicroNode *microNode(int index)
    {
        return myInstance ? myInstance->microNode(index) : nullptr;
    }
    void setTimeDependentMicroNode(int index, bool timeDependent) const
    {
        if (myInstance) {
            myInstance->setTimeDependentMicroNode(index, timeDependent);
        }
    }
    /// Whether the component's node, or any for a negative index, has recorded context options.
    bool hasContextOptionDeps(int index) const
    {
        return myInstance && myInstance->hasContextOptionDeps(index);
    }
    void getContextOptionDeps(int index, KIT_StringArray &names) const;
    ZEL_Value *createInputNotifyValue()
    {
        return myInstance ? myInstance->createInputNotifyValue() : nullptr;
    }
    ZEL_Value *inputNotifyValue() const
    {
        return myInstance ? myInstance->inputNotifyValue() : nullptr;
    }
    std::int64_t getMemoryUsage(bool inclusive) const
    {
        return myInstance ? myInstance->getMemoryUsage(inclusive) : 0;
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Overrides   (a provider's values for single components: see ZEL_Overridable.h)
    // ------------------------------------------------------------------ //
    ///@{
    int setOverride(int index, int dataIndex, const char *name, ZEL_OverrideType type)
    {
        return myInstance ? myInstance->setOverride(index, dataIndex, name, type) : 0;
    }
    bool setOverrideDisable(int index, int disable)
    {
        return myInstance && myInstance->setOverrideDisable(index, disable);
    }
    const char *getOverride(int index) const
    {
        return myInstance ? myInstance->getOverride(index) : nullptr;
    }
    bool getOverrideType(int index, ZEL_OverrideType &type) const
    {
        return myInstance && myInstance->getOverrideType(index, type);
    }
    int getOverrideDataIndex(int index) const
    {
        return myInstance ? myInstance->getOverrideDataIndex(index) : 0;
    }
    int getIsOverrideActive(int index) const
    {
        return myInstance ? myInstance->getIsOverrideActive(index) : 0;
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Statics: settings of the process and helpers
    /// The settings aren't synchronised: set them before threads start. A multi-parameter sets the
    /// destructive-revert flag while it reverts an item destructively.
    // ------------------------------------------------------------------ //
    ///@{
    /// Every set makes a key instead of a pending value. Off by default.
    static bool getAlwaysHardenFlag() { return theSettings.alwaysHarden; }
    static void setAlwaysHardenFlag(bool on) { theSettings.alwaysHarden = on; }
    /// Reverting removes the channels. Off by default.
    static bool getDestructiveRevertToDefaultFlag() { return theSettings.destructiveRevert; }
    static void setDestructiveRevertToDefaultFlag(bool on) { theSettings.destructiveRevert = on; }
    /// Reverting includes invisible parameters. On by default.
    static bool getRevertInvisibleToDefaultsFlag() { return theSettings.revertInvisible; }
    static void setRevertInvisibleToDefaultsFlag(bool on) { theSettings.revertInvisible = on; }
    /// Whether a load may create spare parameters for unknown names. Read only by the owner, in
    /// `createSpareParametersForLoad`. On by default.
    static bool getMakeSpareParmsForUnknownChannelsFlag() { return theSettings.makeSpareParms; }
    static void setMakeSpareParmsForUnknownChannelsFlag(bool on)
    {
        theSettings.makeSpareParms = on;
    }
    /// `ZEL_ADDKEY_HARDEN` while the always-harden flag is set, else the argument.
    static ZEL_AddKeyType getAddKeyValue(ZEL_AddKeyType addKey)
    {
        return theSettings.alwaysHarden ? ZEL_ADDKEY_HARDEN : addKey;
    }

    /// True while the calling thread adds or removes parameters of any multi-parameter.
    static bool getIsAddingOrRemovingMultiParms();
    /// Replaces the `#` marks of a name by instance numbers; see `ZEL_Multi::instanceString`.
    static void instanceMultiString(KIT_WorkBuffer &out, const KIT_StringRef &name,
                                    const int *instances, int count, bool fillToken, bool repeat);
    /// Whether expansion could change a text; see `ZEL_String`.
    static bool isStringThatCanExpand(const char *text);
    /// Converts a literal with backticks to one expression, and back; see `ZEL_String`.
    static void convertStringToExprLanguage(const char *text, KIT_WorkBuffer &out);
    static void convertStringFromExprLanguage(const char *text, KIT_String &out);
    /// Whether a string's text with that meaning is an expression.
    static bool isStringExpression(const char *text, TRK_StringMeaning meaning,
                                   const ZEL_Template *templatePtr);
    /// Whether an ordinal's text, or default, is an expression; see `ZEL_Ordinal::isExpression`.
    static bool isOrdinalExpression(const char *text, const ZEL_Template *templatePtr);
    static bool isOrdinalExpression(const ZEL_Default &record, const ZEL_Template *templatePtr);
    static bool isChanRefString(const char *text, bool bare, KIT_String *channel)
    {
        return ZEL_Instance::isChanRefString(text, bare, channel);
    }
    ///@}

private:
    struct Settings
    {
        bool alwaysHarden = false;
        bool destructiveRevert = false;
        bool revertInvisible = true;
        bool makeSpareParms = true;
    };

    template <class T>
    bool applyValue(double time, const T &value, bool replaceExpression, int index,
                    ZEL_AddKeyType addKey, bool propagate);
    template <class T>
    bool applyValues(double time, const T *values, bool replaceExpression, ZEL_AddKeyType addKey,
                     bool propagate);
    bool copyChannel(int index, const TRK_Channel &channel);
    bool acceptsChange(double time, int index) const;
    void notify(TRK_CHANGE_TYPE type) const;
    void announceValue(int index);
    void loadedFromStream();
    void joinAliases(KIT_WorkBuffer &out) const;

    static Settings theSettings;

    friend class ZEL_ParmPlaces;
    /// Makes the instance in the memory after this object; `place` is its distance from the start of
    /// the block.
    ZEL_Parm(ZEL_Template *templatePtr, ZEL_ParmList *list, const ZEL_Kind &kind,
             std::size_t place);
    ZEL_Parm(const ZEL_Instance &source, ZEL_ParmList *list, const ZEL_Kind &kind,
             std::size_t place);

    struct InstanceDeleter
    {
        void operator()(ZEL_Instance *instance) const;
    };

    std::unique_ptr<ZEL_Instance, InstanceDeleter> myInstance;
    ZEL_ParmList *myParmList;
};

static_assert(sizeof(ZEL_Parm) == 2 * sizeof(void *), "a parameter is two pointers");

/// Prints "ZEL_Parm: " and the token into `buffer`, always terminated; returns the untruncated
/// length.
ZEL_API std::size_t format(char *buffer, std::size_t size, const ZEL_Parm &parm);
