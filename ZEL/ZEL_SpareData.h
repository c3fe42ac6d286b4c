#pragma once
/// \file ZEL_SpareData.h
/// The open end of a parameter's description: a map from token to value, both texts.
///
/// Vocabulary: *token* = the key; *absent* = no entry; an empty value is an entry. *Table order* =
///             the order of traversal, which nothing may rely on.
/// Units:      values are texts; a number or a switch is its text ("1").
/// Ownership:  owns copies of tokens and values. Templates point at a record and don't own it.
/// Threads:    const calls from any thread; changes by one thread, before a template holds it.
/// Errors:     none: an absent token reads as the row's default, a bad integer as 0.
/// Cost:       a look-up is one probe of an open-addressed table with the token's cached hash; a
///             value that is read is not copied.

#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>
#include <utility>

class ZEL_API ZEL_SpareData
{
public:
    using Pair = std::pair<const char *, const char *>;

    ZEL_SpareData();
    /// From pairs of token and value; a later pair wins over an earlier one of the same token.
    template <class... Pairs>
    ZEL_SpareData(const Pair &first, const Pairs &...others) : ZEL_SpareData()
    {
        const Pair pairs[] = {first, others...};
        for (const Pair &pair : pairs) {
            addTokenValue(KIT_StringHolder(pair.first), pair.second);
        }
    }
    ZEL_SpareData(const ZEL_SpareData &other);
    ZEL_SpareData &operator=(const ZEL_SpareData &other)
    {
        copyFrom(other);
        return *this;
    }
    ~ZEL_SpareData();

    // ---------------------------------------------------------------- //
    /// \name The map
    // ---------------------------------------------------------------- //
    /// Sets or replaces. A null value deletes the token; a null token does nothing.
    void addTokenValue(const KIT_StringHolder &token, const char *value);
    /// The value; null when the token is absent. It lasts until the entry changes.
    const char *getValue(const KIT_StringRef &token) const;
    void deleteTokenValue(const KIT_StringRef &token);
    void clear();
    unsigned entries() const { return myCount; }
    /// Becomes an exact copy; copying from itself does nothing.
    void copyFrom(const ZEL_SpareData &other);
    /// Adds what is absent here; a token that is here keeps its value.
    void mergeFrom(const ZEL_SpareData &other);
    /// Every entry of the other is here with an equal value; true for an empty other.
    bool containsAll(const ZEL_SpareData &other) const;
    /// At least one entry of the other is here with an equal value.
    bool containsAny(const ZEL_SpareData &other) const;
    /// Calls for each entry in table order until a call answers 0. The callback may not change the
    /// record.
    void traverseConst(int (*visit)(const char *token, const char *value)) const;
    void traverseConst(int (*visit)(const char *token, const char *value, void *data),
                       void *data) const;
    /// Bytes of the table and its texts, and the record itself when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;

    // ---------------------------------------------------------------- //
    /// \name Known tokens. Each static getter answers the token's text.
    // ---------------------------------------------------------------- //
    static const char *getAutoScopeToken() { return "autoscope"; }
    static const char *getAutoSelectToken() { return "autoselect"; }
    static const char *getCallbackToken() { return "script_callback"; }
    static const char *getCallbackLanguageToken() { return "script_callback_language"; }
    static const char *getCookDependentToken() { return "cook_dependent"; }
    static const char *getMultiStartOffsetToken() { return "multistartoffset"; }
    static const char *getSaveValueToken() { return "orvane::save_value"; }
    static const char *getTakeControlToken() { return "takecontrol"; }

    /// One character a component, '1' = scoped by itself; null when absent.
    const char *getAutoScope() const;
    /// One character a component, '1' = selected by itself; null when absent.
    const char *getAutoSelect() const;

    /// The script to run on a change; null when absent. Null deletes it.
    const char *getCallbackData() const;
    void setCallbackData(const char *script);
    /// The script's language; the command language when absent.
    TRK_ScriptLanguage getCallbackLanguage() const;
    void setCallbackLanguage(TRK_ScriptLanguage language);

    /// Whether a change recomputes the owner although nothing else says so: "true" in any case, or
    /// an integer above 0. Absent: false. Setting false deletes the token.
    bool getCookDependent() const;
    void setCookDependent(bool flag);

    /// The number of a multi-parameter's first item; 1 when absent or empty.
    int getMultiStartOffset() const;
    void setMultiStartOffset(int offset);

    /// Whether the value is saved even at its default ("1") or never ("0"); null when absent.
    const char *getSaveValue() const;
    void setSaveValue(bool always);

    /// When the parameter takes part in takes; "always" is the one value that counts. Null: absent.
    const char *getTakeControl() const;

private:
    struct Slot;

    Slot *find(const KIT_StringRef &token) const;
    void insertUnique(const KIT_StringHolder &token, const KIT_StringHolder &value);
    void resize(uint32_t capacity);
    void freeTable();

    Slot *mySlots;
    uint32_t myCapacity; // a power of two, or 0
    uint32_t myCount;
};
