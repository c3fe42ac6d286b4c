/// \file ZEL_ChoiceList.h
/// The menu of a parameter: where its entries come from, and what a pick does to the value.
///
/// Vocabulary: *static* = a table of names or items; *generator* = a function that fills a table
///             when the menu is requested; *script* = a text whose output defines the entries.
///             *Dynamic* = generator or script. *On items* = entries carry icons. *Index* = an
///             entry's position, the value of an ordinal parameter.
/// Units:      sizes count entries without the sentinel; -1 for a list with no static table.
///             Indices from 0.
/// Ownership:  borrows table and generator, owns a copy of the script. Generated entries live until
///             the thread requests its next menu.
/// Threads:    const calls from any thread, and no lock is held while a generator or script runs;
///             changes and recounting at set-up, by one thread.
/// Errors:     a null table counts as empty. A script that fails leaves an empty menu; Python shows
///             its traceback (SNK_Python.h), the command language stays silent.
/// Cost:       the size of a static table is read from a field; that of a dynamic list is counted
///             each time, and so is the index of a token. The memory of the entries is reused for
///             the thread's next menu.
#pragma once

#include <KIT/KIT_String.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_ChoiceThread;
class ZEL_Item;
class ZEL_Name;
class ZEL_Parm;
class ZEL_ParmOwner;
class ZEL_SpareData;

/// What a pick does. Stored: append only.
enum ZEL_ChoiceListType : int32_t
{
    ZEL_CHOICELIST_REPLACE = 1,            ///< a pick replaces the field's text
    ZEL_CHOICELIST_TOGGLE = 2,             ///< a pick adds the word to the field, or takes it out
    ZEL_CHOICELIST_USE_TOKEN = 16,         ///< a bit added to the others: the value is the token
    ZEL_CHOICELIST_EXCLUSIVE_BIT = 0x1000, ///< the bit that makes a menu exclusive
    ZEL_CHOICELIST_EXCLUSIVE = 0x1001      ///< one of the listed choices and nothing else
};

class ZEL_API ZEL_ChoiceList
{
public:
    /// Fills at most `max` entries of the caller's array, which has room for a sentinel after them,
    /// and ends it with a sentinel. All elements are sentinels at first, unless the function
    /// requests another menu. `data` = the parameter's owner.
    using NameGenerator = void (*)(void *data, ZEL_Name *out, int max, const ZEL_SpareData *spare,
                                   const ZEL_Parm *parm);
    using ItemGenerator = void (*)(void *data, ZEL_Item *out, int max, const ZEL_SpareData *spare,
                                   const ZEL_Parm *parm);

    // ---------------------------------------------------------------- //
    /// \name Making a list: exactly one source
    // ---------------------------------------------------------------- //
    /// A static table that ends at its first null token. It is counted immediately; null counts 0.
    ZEL_ChoiceList(ZEL_ChoiceListType type, ZEL_Name *table);
    ZEL_ChoiceList(ZEL_ChoiceListType type, ZEL_Item *table);
    ZEL_ChoiceList(ZEL_ChoiceListType type, NameGenerator generator);
    ZEL_ChoiceList(ZEL_ChoiceListType type, ItemGenerator generator);
    /// A script, of which a copy is kept.
    ZEL_ChoiceList(ZEL_ChoiceListType type, const char *script, TRK_ScriptLanguage language);
    /// Table and generator are shared, the script is copied.
    ZEL_ChoiceList(const ZEL_ChoiceList &);
    ZEL_ChoiceList(ZEL_ChoiceList &&) noexcept;
    ZEL_ChoiceList &operator=(const ZEL_ChoiceList &);
    ZEL_ChoiceList &operator=(ZEL_ChoiceList &&) noexcept;
    ~ZEL_ChoiceList();

    // ---------------------------------------------------------------- //
    /// \name Reading   (any thread)
    // ---------------------------------------------------------------- //
    ZEL_ChoiceListType getType() const { return myType; }
    bool usesItems() const { return myUsesItemsFlag; }
    /// Entries of the static table; -1 when there is none.
    int getStaticSize() const { return mySize; }
    /// The static table; null when there is none or it holds the other kind.
    ZEL_Name *choiceNamesPtr() const { return myUsesItemsFlag ? nullptr : myChoices.names; }
    ZEL_Item *choiceItemsPtr() const { return myUsesItemsFlag ? myChoices.items : nullptr; }
    /// The generator; null when there is none or it makes the other kind.
    NameGenerator getChoiceGenerator() const
    {
        return myUsesItemsFlag ? nullptr : myGenerator.names;
    }
    ItemGenerator getItemGenerator() const { return myUsesItemsFlag ? myGenerator.items : nullptr; }
    const KIT_String &getScript() const { return myScript; }
    TRK_ScriptLanguage getScriptLanguage() const { return myScriptLanguage; }
    /// Entries are generated on request: by a generator, or by a script that is not empty.
    bool isDynamic() const;

    // ---------------------------------------------------------------- //
    /// \name Requesting entries   (any thread; runs generators and scripts)
    // ---------------------------------------------------------------- //
    /// The entries as an array with a sentinel after them; null when there are none. A list on
    /// items gives names of the same tokens and labels. `data`, `spare` and `parm` are passed to
    /// the generator and may be null; a script needs a `parm` with an owner. `quiet` keeps what a
    /// script reports from the thread's errors.
    void getChoiceNames(const ZEL_Name *&out, void *data, const ZEL_SpareData *spare,
                        const ZEL_Parm *parm, bool quiet) const;
    /// The same with icons; null for every list that isn't on items.
    void getChoiceItems(const ZEL_Item *&out, void *data, const ZEL_SpareData *spare,
                        const ZEL_Parm *parm, bool quiet) const;
    /// How many entries there are.
    int getSize(const ZEL_Parm *parm) const { return mySize >= 0 ? mySize : getSizeSlow(parm); }
    /// The token of an entry. False if there is no such index; `out` is then the number as text.
    bool tokenFromIndex(KIT_String &out, int64_t index, void *data, const ZEL_SpareData *spare,
                        const ZEL_Parm *parm) const;

    // ---------------------------------------------------------------- //
    /// \name Changing   (set-up, one thread)
    // ---------------------------------------------------------------- //
    void setType(ZEL_ChoiceListType type) { myType = type; }
    /// Counts again after the table was changed in place.
    void updateStaticChoiceSize();

    /// Bytes of the script's copy, and the record itself when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;

private:
    int getSizeSlow(const ZEL_Parm *parm) const;
    const ZEL_Name *generateNames(void *data, const ZEL_SpareData *spare,
                                  const ZEL_Parm *parm) const;
    const ZEL_Item *findItems(void *data, const ZEL_SpareData *spare, const ZEL_Parm *parm) const;
    const ZEL_Name *namesFromItems(const ZEL_Item *items) const;

    // The scripts replace the thread's names by theirs; false leaves the names unchanged.
    const ZEL_Name *runScript(const ZEL_Parm *parm, bool quiet) const;
    bool getChoiceNamesFromScript(ZEL_ChoiceThread &names, const ZEL_Parm *parm, bool quiet) const;
    bool getChoiceNamesFromCmdlangScript(ZEL_ChoiceThread &names, ZEL_ParmOwner &owner) const;
    bool getChoiceNamesFromPythonScript(ZEL_ChoiceThread &names, const ZEL_Parm &parm,
                                        ZEL_ParmOwner &owner) const;

    ZEL_ChoiceListType myType;
    bool myUsesItemsFlag;
    int32_t mySize;
    union
    {
        ZEL_Name *names;
        ZEL_Item *items;
    } myChoices;
    union
    {
        NameGenerator names;
        ItemGenerator items;
    } myGenerator;
    KIT_String myScript;
    TRK_ScriptLanguage myScriptLanguage;
};
