/// \file ZEL_Float.h
/// The instance of every parameter whose basic type is float, integers among them.
///
/// Vocabulary: *stored value* = the raw number of a component: never clamped or rounded when set;
///             for an animated component a cache of the last evaluation.
/// Units:      values in the parameter's own unit; angles have no special treatment. Integers round
///             by floor(x + 0.5) on reading. Component indices 0-based; reading one outside the
///             vector gives 0.
/// Ownership:  owns its values; channels belong to the list's collection.
/// Threads:    reads from any thread at once: a racing reader gets one of the evaluated values.
///             Setting, loading and hardening one thread at a time.
/// Errors:     "ZEL" 0, 2, 3, 4, 9, 14 on load, 18 on evaluation, 21 on a bad index in a set;
///             a failed load keeps what it had stored and linked until then.
/// Cost:       a plain read costs a virtual call and the limit tests; `getValues` reads template,
///             range and flags once for the vector.
#pragma once

#include <ZEL/ZEL_ValueInstance.h>

class ZEL_API ZEL_Float : public ZEL_ValueInstance
{
public:
    /// For a class that is derived from it: it has a record, and each read of a component calls
    /// `setTimeDependent`, which it may override.
    ZEL_Float(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_Float() override;

    void adopt(ZEL_Instance &source) override;
    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;

    void setValueToDefault(double time, int index, ZEL_AddKeyType addKey) override;
    void revertToDefault(int index) override;
    void revertToDefaults(bool deleteChannels) override;
    void restoreFactoryDefault(int index) override;
    void overwriteDefault(double time, int index) override;
    bool isDefault(int index, ZEL_DefaultType type, bool checkLocks) const override;

    bool save(std::ostream &os, int binary, bool compiled) const override;
    bool load(KIT_IStream &is) override;
    void saveCommand(std::ostream &os, int values, int index) const override;
    int loadCommand(int argc, const char *const argv[], int index, bool asSet,
                    ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;

    using ZEL_ValueInstance::getValue;
    void getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool expand,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, double &value, int index,
                  int thread) const override;
    /// The double value truncated toward zero.
    void getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, int &value, int index,
                  int thread) const override;
    void getValues(ZEL_ParmList *list, double time, std::int64_t *values,
                   int thread) const override;
    void getValues(ZEL_ParmList *list, double time, int *values, int thread) const override;
    void getValues(ZEL_ParmList *list, double time, double *values, int thread) const override;
    void getValues(ZEL_ParmList *list, double time, float *values, int thread) const override;

    /// Nothing is written for an invalid index.
    void getDefaultValue(KIT_String &value, int index) const override;
    void getDefaultValue(std::int64_t &value, int index) const override;
    void getDefaultValue(int &value, int index) const override;
    void getDefaultValue(double &value, int index) const override;

    void setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                       bool evaluate, bool deleteChannel) override;
    using ZEL_ValueInstance::setValue;
    void setValue(double time, std::int64_t value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    /// With no channel the value is stored raw; with one, a key is set or the change stays
    /// pending. A value equal to the current one changes nothing.
    void setValue(double time, double value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    /// A number is set, any other text becomes the component's expression.
    void setValue(double time, const char *text, TRK_StringMeaning meaning, bool replaceExpression,
                  int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setDefaultChannelValue(TRK_Channel *channel, int index) override;

    bool getMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, double time,
                        bool addIfDefault, int thread) const override;
    void hardenChanges(double time, int index, bool force, const char *pattern,
                       KIT_Array<TRK_ChannelRef> *collect) override;
    std::int64_t getMemoryUsage(bool inclusive) const override;
    /// A vector of 3 with the XYZW naming and the token "r".
    bool isRotationParm() const override;

    /// The number as it was set, outside of the range's limits too; 0 for an invalid index.
    double getRawValue(int index) const { return validIndex(index) ? storedValue(index) : 0.0; }
    /// Stores it beside channels and overrides, without a notification: what a load does.
    void setRawValue(int index, double value);

    /// A non-null, non-empty text.
    static bool isExpression(const char *text);
    /// The stored, or given, value within the range's hard limits, rounded for integers.
    double constrainedRawValue(int index) const;
    double constrainedValue(double value) const;
    /// The same with three flags instead of the range's hard bits and the type.
    double constrainedValue(double value, bool useMin, bool useMax, bool round) const;

protected:
    ZEL_Float(const ZEL_Float &source, ZEL_Parm *parm);

    double storedValue(int index) const { return BASload(values()[index]); }

private:
    friend struct ZEL_Kind;
    friend class ZEL_Multi;

    /// Use the room for the values of a vector, if there is one.
    ZEL_Float(ZEL_Template *templatePtr, ZEL_Parm *parm, double *room);
    ZEL_Float(const ZEL_Float &source, ZEL_Parm *parm, double *room);

    enum class OwnerStep
    {
        ASK,
        SKIP
    };

    /// The value of one component, as every numeric read returns it.
    double resolveComponent(ZEL_ParmList *list, double time, int index, int thread,
                            OwnerStep ownerStep) const;
    /// The same, in the caller's code.
    double readComponent(ZEL_ParmList *list, double time, int index, int thread,
                         OwnerStep ownerStep) const;
    /// The same where the owner has overrides to cook first.
    double resolvePending(ZEL_ParmList *list, ZEL_ParmOwner &owner, double time, int index,
                          int thread) const;
    /// The same with rare state, which may contain an override or a channel.
    double resolveRare(ZEL_ParmList *list, const Rare &record, double time, int index,
                       int thread) const;
    double limited(double value) const;
    double evaluateChannel(ZEL_ParmList *list, TRK_Channel *channel, double time, int index,
                           int thread, bool &timeDependent) const;
    template <class T>
    void fillValues(ZEL_ParmList *list, double time, T *values, int thread) const;

    template <class T>
    static T narrowed(double number);
    double *values() const { return dataOf(myNumbers); }
    void moveValuesApart() override;
    double defaultFloat(int index) const;
    void storeValue(int index, double value) const;
    void applyDefault(int index, bool allowChannel);
    bool copyNumberDefaults();
    void setChannelValue(const ChannelSet &set, double value);
    void keyWholeTuple(double time, int index);

    const double *plainValues() const;
    double valueToSave(int index) const;
    double commandValue(int index) const;
    void saveAscii(KIT_ByteBuffer &out) const;
    void saveBinary(KIT_ByteBuffer &out) const;
    void savePackets(KIT_ByteBuffer &out) const;
    /// The packets of a float without channels, label and masks, in one piece. False, with nothing
    /// written, for all others.
    bool savePlainBinary(KIT_ByteBuffer &out) const;
    /// For a float without rare state: reads what is saved of up to four components without channels
    /// and options. False, with nothing read, for anything else.
    bool loadPlainAscii(KIT_IStream &is);
    bool loadAscii(KIT_IStream &is, HeldChannels &held, unsigned &keyMask);
    Entry loadAsciiEntry(KIT_IStream &is, std::string_view word, int index, HeldChannels &held);
    /// Reads what savePlainBinary() writes. False, with nothing read, for anything else.
    bool loadPlainBinary(KIT_IStream &is);
    bool loadBinary(KIT_IStream &is);
    bool loadBinaryValue(KIT_IStream &is, int index);
    /// A packet of flags or of an option.
    bool loadBinaryExtra(KIT_IStream &is, int packetId);
    void loadArgument(const char *argument, int index, HeldChannels &held, bool asSet,
                      ZEL_AddKeyType addKey, ZEL_KeySetType keySet);

    mutable Numbers<double> myNumbers;
};
