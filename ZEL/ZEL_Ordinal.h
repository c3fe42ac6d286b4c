/// \file ZEL_Ordinal.h
/// The instance of every parameter whose basic type is ordinal: toggles, menus, button and icon
/// strips, callback buttons, folder switchers.
///
/// Vocabulary: *stored value* = the integer of a component, not clamped when set. *menu* = the
///             template's choice list, or "off" and "on" for a toggle without one; the value is an
///             index into it. *token-valued* = a menu whose tokens are numbers: the value is the
///             number itself. *held token* = a token read from a stream that is resolved at its
///             first read, because only the menu script knows its index; the stored value is stale
///             until then.
///             *bare word* = letters, digits and "_" only.
/// Units:      values are indices from 0 or numbers, 64 bits; the int forms clamp to 32. Component
///             indices 0-based; reading one outside the vector gives 0.
/// Ownership:  owns its values and held tokens; channels belong to the list's collection.
/// Threads:    reads from any thread at once; the first read of a held token runs the menu
///             script on the reading thread. Setting, loading, hardening one thread at a time.
/// Errors:     those of `ZEL_Float`, and "ZEL" 6 for a token in a stream that isn't in the menu:
///             the load continues with 0. Errors of a menu script are dropped.
/// Cost:       a read costs a virtual call, the limit tests, and for an exclusive menu the look-up
///             of its size; text reads and saves walk the menu. `save` builds the menu once.
#pragma once

#include <BAS/BAS_SpinLock.h>
#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_ValueInstance.h>

class ZEL_Item;
class ZEL_Name;

class ZEL_API ZEL_Ordinal : public ZEL_ValueInstance
{
public:
    ZEL_Ordinal(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_Ordinal() override;

    void adopt(ZEL_Instance &source) override;
    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;

    // ------------------------------------------------------------------ //
    /// \name Defaults
    /// The defaults of a switcher describe its folders: its factory defaults count as absent and
    /// are never overwritten. The spare value "group_default" names the folder that is open first.
    // ------------------------------------------------------------------ //
    ///@{
    void setValueToDefault(double time, int index, ZEL_AddKeyType addKey) override;
    void revertToDefault(int index) override;
    /// A switcher with "group_default" reverts only its first component, the open folder.
    void revertToDefaults(bool deleteChannels) override;
    void restoreFactoryDefault(int index) override;
    void overwriteDefault(double time, int index) override;
    bool isDefault(int index, ZEL_DefaultType type, bool checkLocks) const override;
    /// Nothing is written for an invalid index. A default's text is read as a token or a number;
    /// if it is neither, the default's number is used, truncated toward zero.
    void getDefaultValue(KIT_String &value, int index) const override;
    void getDefaultValue(std::int64_t &value, int index) const override;
    void getDefaultValue(int &value, int index) const override;
    void getDefaultValue(double &value, int index) const override;
    ///@}

    bool save(std::ostream &os, int binary, bool compiled) const override;
    bool load(KIT_IStream &is) override;
    void saveCommand(std::ostream &os, int values, int index) const override;
    int loadCommand(int argc, const char *const argv[], int index, bool asSet,
                    ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;

    using ZEL_ValueInstance::getValue;
    /// The token, or the number for a strip, a token-valued menu, or a value outside the menu.
    void getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool expand,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, double &value, int index,
                  int thread) const override;
    /// Clamped to the range's hard limits or, without a range, to the size of an exclusive menu; so
    /// are values of an override.
    void getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, int &value, int index,
                  int thread) const override;

    /// A number becomes an expression like any other text.
    void setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                       bool evaluate, bool deleteChannel) override;
    using ZEL_ValueInstance::setValue;
    /// Without a channel the value is stored unclamped; with one, a key is set or the value stays
    /// pending. A value equal to the current one changes nothing.
    void setValue(double time, std::int64_t value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    /// Rounds half up, to 32 bits.
    void setValue(double time, double value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    /// A token, a number, 0 for an empty text; any other text becomes the expression.
    void setValue(double time, const char *text, TRK_StringMeaning meaning, bool replaceExpression,
                  int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setDefaultChannelValue(TRK_Channel *channel, int index) override;

    bool getMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, double time,
                        bool addIfDefault, int thread) const override;
    void hardenChanges(double time, int index, bool force, const char *pattern,
                       KIT_Array<TRK_ChannelRef> *collect) override;
    std::int64_t getMemoryUsage(bool inclusive) const override;

    /// Whether the text is a token of the template's menu; menu scripts aren't run.
    static bool isToken(const char *text, const ZEL_Template *templatePtr);
    /// Whether the text isn't empty and isn't a token.
    static bool isExpression(const char *text, const ZEL_Template *templatePtr);
    /// The same, except that a literal bare word counts as an unknown token, not as an expression.
    static bool isExpression(const ZEL_Default &record, const ZEL_Template *templatePtr);

protected:
    ZEL_Ordinal(const ZEL_Ordinal &source, ZEL_Parm *parm);

private:
    friend struct ZEL_Kind;
    friend class ZEL_ValueRules;

    /// Whether values without a range are held to the entries of the menu, and whether they are named by its tokens.
    static bool isHeldTo(const ZEL_ChoiceList &list);
    static bool isNamedBy(const ZEL_ChoiceList &list, const ZEL_Type &type);

    /// Use the room for the values of a vector, if there is one.
    ZEL_Ordinal(ZEL_Template *templatePtr, ZEL_Parm *parm, std::int64_t *room);
    ZEL_Ordinal(const ZEL_Ordinal &source, ZEL_Parm *parm, std::int64_t *room);

    class Choices;
    friend class Choices;

    std::int64_t *values() const { return dataOf(myNumbers); }
    void moveValuesApart() override;

    // Menu
    bool usesTokenValue() const;
    /// The menu's entries come only from a script.
    bool hasMenuScript() const;
    /// A token can be looked up in the menu during a load.
    bool resolvesInLoad() const { return usesTokenValue() || !hasMenuScript(); }
    std::int64_t tokenToInt(const char *text, bool &ok) const;
    /// The same without reporting errors.
    std::int64_t quietTokenToInt(const char *text, bool &ok) const;
    void intToToken(std::int64_t value, KIT_String &text) const;

    // Stored values
    std::int64_t getInternalValue(int index) const;
    /// The same with a menu that the caller has already.
    std::int64_t getInternalValue(int index, Choices &choices) const;
    void setInternalValue(int index, std::int64_t value) const;
    bool hasHeldTokens() const { return __atomic_load_n(&myNumHeld, __ATOMIC_ACQUIRE) != 0; }
    /// Null when none is held.
    KIT_StringHolder heldToken(int index) const;
    void holdToken(int index, const char *token);
    /// Value and held token. Other threads may read the source, and resolve its tokens, meanwhile.
    void copyComponent(const ZEL_Ordinal &source, int index);
    void resolveLoadedStrValue(int index, Choices &choices) const;

    // Evaluation
    std::int64_t constrained(std::int64_t value) const;
    std::int64_t resolveComponent(ZEL_ParmList *list, double time, int index, int thread) const;
    /// False without a collection.
    bool channelValue(const TRK_Channel *channel, double time, int thread,
                      std::int64_t &value) const;
    /// The same, stored; without a collection the stored value.
    std::int64_t evaluateChannel(const TRK_Channel *channel, double time, int index,
                                 int thread) const;
    void setChannelValue(const ChannelSet &set, std::int64_t value);

    // Defaults
    bool isSwitcherList() const { return getType().isSwitcher(); }
    bool groupDefault(std::int64_t &value) const;
    const ZEL_Default *valueDefault(int index) const;
    std::int64_t defaultInteger(const ZEL_Default &record) const;
    std::int64_t defaultInteger(const ZEL_Default &record, Choices &choices) const;
    void applyDefault(int index, bool allowChannel);
    bool copyNumberDefaults();

    // Streams and commands
    std::int64_t valueToSave(int index, Choices &choices) const;
    std::int64_t commandValue(int index) const;
    void saveAscii(std::ostream &os) const;
    void saveBinary(std::ostream &os) const;
    bool loadAscii(KIT_IStream &is, HeldChannels &held);
    Entry loadAsciiEntry(KIT_IStream &is, int index, HeldChannels &held);
    Entry loadAsciiLink(KIT_IStream &is, int index);
    void loadAsciiWord(const char *word, int index);
    bool loadBinary(KIT_IStream &is);
    bool loadBinaryToken(KIT_IStream &is, int index);
    bool loadBinaryInteger(KIT_IStream &is, int index);
    void loadArgument(const char *argument, int index, HeldChannels &held, bool asSet,
                      ZEL_AddKeyType addKey, ZEL_KeySetType keySet);

    mutable Numbers<std::int64_t> myNumbers;
    mutable std::unique_ptr<KIT_StringHolder[]> myLoadedStrings; // null while none was held
    mutable std::int32_t myNumHeld = 0;
    mutable BAS_ByteLock myHeldLock;
};
