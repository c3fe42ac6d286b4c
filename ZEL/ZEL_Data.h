/// \file ZEL_Data.h
/// The instance of every parameter whose basic type is data: a component holds an immutable, shared
/// object, or nothing.
///
/// Vocabulary: *item* = such an object (ZEL_DataItem.h); *typed text* = an item in text
///             (ZEL_DataFactory.h); *reference* = what a channel means here: another data
///             parameter, which the list's owner looks up. The channel's expression isn't
///             evaluated.
/// Units:      component indices 0-based; reading one outside the vector gives nothing.
/// Ownership:  shares its items; channels belong to the list's collection. Of one item, threads may
///             be given owners with different counts.
/// Threads:    reads from any thread at once. Replacing an item, loading and restoring one thread at
///             a time, and not while the parameter evaluates: a racing reader gets the old or the
///             new item.
/// Errors:     "ZEL" 2, 3, 9 on load, with the common messages under "String Parameter Load", and 21
///             on a bad index in `setExpression`. A text that can't be read as an item gives an
///             empty dictionary, an unknown kind gives nothing, both without a message.
/// Cost:       reading copies one pointer, without a lock or a write to a word that another thread
///             uses (ZEL_DataRep.h). Text is only created by saving and by reading as a string.
///
/// The default is always nothing, there are no overrides, and numbers read as 0.

#pragma once

#include <KIT/KIT_Array.h>
#include <KIT/KIT_SmallArray.h>
#include <ZEL/ZEL_DataRep.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_UndoData.h>

#include <memory>

enum class ZEL_LoadEntry : int;

class ZEL_API ZEL_Data : public ZEL_Instance
{
public:
    using Item = ZEL_DataRep::Item;

    ZEL_Data(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_Data() override;

    /// The component's own item, ignoring any channel; empty outside the vector.
    Item getData(double time, int index) const;
    /// Marks the component dirty and replaces the item. False outside the vector.
    bool setData(const Item &item, double time, int index);

    void adopt(ZEL_Instance &source) override;
    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;

    void setValueToDefault(double time, int index, ZEL_AddKeyType addKey) override;
    void revertToDefault(int index) override;
    void revertToDefaults(bool deleteChannels) override;
    void restoreFactoryDefault(int) override {}
    void overwriteDefault(double, int) override {}
    void overwriteDefaults(double) override {}
    /// Tests all components together; the index only has to be valid where the base checks it.
    bool isDefault(int index, ZEL_DefaultType type, bool checkLocks) const override;

    /// A component with a channel saves neither an item nor the channel's name.
    bool save(std::ostream &os, int binary, bool compiled) const override;
    bool load(KIT_IStream &is) override;
    /// The items themselves.
    bool saveUndoData(std::shared_ptr<ZEL_UndoData> &data) const override;
    /// Deletes all channels, too.
    bool loadUndoData(const std::shared_ptr<ZEL_UndoData> &data) override;
    void saveCommand(std::ostream &os, int values, int index) const override;
    /// An argument without ":" empties its component.
    int loadCommand(int argc, const char *const argv[], int index, bool asSet,
                    ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;

    /// The item's dictionary. `expand` replaces variables and backticks in keys and values, which
    /// all become texts; it stops at the first error, which is reported.
    void getValue(ZEL_ParmList *list, double time, KIT_JSONValueMap &value, int index, bool expand,
                  int thread) const override;
    /// With a channel, the item of the referenced parameter.
    void getValue(ZEL_ParmList *list, double time, Item &value, int index,
                  int thread) const override;
    /// The dictionary as one line of JSON; "" for items of another kind.
    void getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool expand,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, double &value, int index,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, int &value, int index,
                  int thread) const override;
    void getExpressionStringForUI(double time, KIT_String &text, int index,
                                  int thread) const override;
    void getExpression(double time, KIT_String &text, int index, bool expand,
                       int thread) const override;

    /// Nothing is evaluated: `evaluate` is ignored.
    void setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                       bool evaluate, bool deleteChannel) override;
    /// `replaceExpression` removes the channel.
    void setValue(double time, const Item &value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    /// Any number or text empties the component.
    void setValue(double time, std::int64_t value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setValue(double time, int value, bool replaceExpression, int index, ZEL_AddKeyType addKey,
                  ZEL_KeySetType keySet) override;
    void setValue(double time, double value, bool replaceExpression, int index,
                  ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setValue(double time, const char *text, TRK_StringMeaning meaning, bool replaceExpression,
                  int index, ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setDefaultChannelValue(TRK_Channel *, int) override {}

    /// Appends nothing.
    bool getMagicString(KIT_TokenString &, ZEL_ParmList *, int, double, bool, int) const override
    {
        return false;
    }
    void hardenChanges(double, int, bool, const char *, KIT_Array<TRK_ChannelRef> *) override {}
    std::int64_t getMemoryUsage(bool inclusive) const override;

    // ------------------------------------------------------------------ //
    /// \name Dictionaries   (any thread)
    // ------------------------------------------------------------------ //
    ///@{
    /// Puts every key and value of `source`, expanded, into `destination`. Sets the component's
    /// time dependence by the inserted entries.
    void expandJSONMap(ZEL_ParmList *list, double time, int index, int thread,
                       const KIT_JSONValueMap &source, KIT_JSONValueMap &destination) const;
    /// Expands one text. False, after reporting the error, when it can't be expanded; otherwise
    /// sets `timeDependent` if the text depends on time, and leaves it alone if not.
    bool expandJSONString(ZEL_ParmList *list, double time, int index, int thread, const char *text,
                          KIT_String &out, bool &timeDependent) const;
    /// Copies every key and value unexpanded.
    static void copyJSONMap(const KIT_JSONValueMap &source, KIT_JSONValueMap &destination);
    ///@}

protected:
    ZEL_Data(const ZEL_Data &source, ZEL_Parm *parm);

private:
    friend struct ZEL_Kind;

    using HeldChannels = KIT_SmallArray<TRK_Channel *, 8>;

    /// The index must be valid.
    Item fetch(int index) const { return myData[index].get(myLock); }
    void store(int index, const Item &item) { myData[index].set(myLock, item); }
    void copyItems(const ZEL_Data &source);
    void followReference(ZEL_ParmList *list, double time, int index, int thread, Item &out) const;

    /// The item to write to a stream: none for default data or with a channel.
    Item itemToSave(int index) const;
    bool saveAscii(std::ostream &os) const;
    bool saveBinary(std::ostream &os) const;
    bool loadAscii(KIT_IStream &is);
    ZEL_LoadEntry readAsciiEntry(KIT_IStream &is, int index);
    bool loadBinary(KIT_IStream &is);
    void loadArgument(const char *argument, int index, HeldChannels &held, bool asSet);

    mutable ZEL_DataRep::Lock myLock; // guards the items of all components
    KIT_SmallArray<ZEL_DataRep, 4> myData;
};

/// The items of all components.
class ZEL_API ZEL_DataUndoData : public ZEL_UndoData
{
public:
    explicit ZEL_DataUndoData(KIT_Array<ZEL_Data::Item> items) : myItems(std::move(items)) {}
    ~ZEL_DataUndoData() override;

    std::int64_t getMemoryUsage() const override;
    const KIT_Array<ZEL_Data::Item> &getItems() const { return myItems; }

private:
    KIT_Array<ZEL_Data::Item> myItems;
};
