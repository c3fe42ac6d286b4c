/// \file ZEL_SpareData.h
/// The open end of a parameter's description: a map from token to value, both texts.
///
/// Vocabulary: *token* = the key; *absent* = no entry; an empty value is an entry. *Table order* =
///             the order of traversal, which nothing may rely on. *Built-in* = one of the 65 tokens
///             of ZEL_SpareDataTokens.def; any other token is as good to the map. *Preset* = a
///             record of ZEL_SpareDataPresets.def that many templates point at (nodsPath has two
///             entries, "opfilter" and "oprelative"). *Flag* = a switch or number as text ("1").
/// Units:      values are texts; a number or a switch is its text ("1").
/// Ownership:  owns copies of the tokens; equal values of all records of the process share one text.
///             Templates point at a record and don't own it.
/// Threads:    const calls from any thread; changes by one thread, before a template holds it.
///             Different records may change on different threads. Presets never change; those of
///             this library are ready before any code outside it runs.
/// Errors:     none: an absent token reads as the accessor's default, a bad integer as 0.
/// Cost:       a look-up is one probe of an open-addressed table with the token's hash; from a
///             literal that is a length and a hash more. A value that is read is not copied, and
///             nothing is allocated. A change takes a process-wide spin lock for a moment.
#pragma once

#include <KIT/KIT_ColorType.h>
#include <KIT/KIT_ProbeTable.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>
#include <utility>

class KIT_BitArray;
class KIT_StringArray;
class ZEL_Parm;

/// What the sliders of a colour editor show. Its word is stored.
enum ZEL_ColorType : int
{
    ZEL_COLORTYPE_VAL = 0, ///< "val": the plain values
    ZEL_COLORTYPE_RGB = 1, ///< "rgb": red, green, blue
    ZEL_COLORTYPE_HSV = 2, ///< "hsv": hue, saturation, value
    ZEL_COLORTYPE_TMI = 3, ///< "tmi": temperature, magenta, intensity
    ZEL_COLORTYPE_HIDE = 4 ///< "hide": no sliders
};

class ZEL_API ZEL_SpareData
{
public:
    using Pair = std::pair<const char *, const char *>;

    ZEL_SpareData() = default;
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
    /// Removes the entry if there is one.
    void deleteTokenValue(const KIT_StringRef &token);
    /// Removes every entry.
    void clear();
    /// How many entries there are.
    unsigned entries() const { return myTable.entries(); }
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
    /// Bytes of the table and its tokens, and the record itself when inclusive. Values count with
    /// no record, as all share them.
    int64_t getMemoryUsage(bool inclusive) const;

    // ---------------------------------------------------------------- //
    /// \name Built-in tokens
    // ---------------------------------------------------------------- //
    /// Appends the built-in tokens in the order of their rows, after making room for all of them.
    static void builtInTokens(KIT_StringArray &tokens);
    /// Whether the token is built in. "visibletabs" and "varying_default" aren't.
    static bool isBuiltInToken(const KIT_StringRef &token);

    // ---------------------------------------------------------------- //
    /// \name Scripts.  A text reads as null when it is absent; setting null deletes it.
    // ---------------------------------------------------------------- //
    /// The script to run on a change.
    const char *getCallbackData() const { return getValue(getCallbackToken()); }
    void setCallbackData(const char *script) { addTokenValue(getCallbackToken(), script); }
    /// The script's language; the command language when absent or unknown.
    TRK_ScriptLanguage getCallbackLanguage() const;
    void setCallbackLanguage(TRK_ScriptLanguage language);
    /// The script behind the action button of the parameter, with the button's help and icon.
    const char *getScriptAction() const { return getValue(getScriptActionToken()); }
    const char *getScriptActionHelp() const { return getValue(getScriptActionHelpToken()); }
    const char *getScriptActionIcon() const { return getValue(getScriptActionIconToken()); }
    /// The type under which a renderer's stream declares the value.
    const char *getRenderManType() const { return getValue(getRenderManTypeToken()); }
    void setRenderManType(const char *type) { addTokenValue(getRenderManTypeToken(), type); }
    /// Whether the text goes without quotes into a script: it does when there is an entry,
    /// whatever its value.
    bool getUnquotedState() const { return getValue(getUnquotedToken()) != nullptr; }
    void setUnquotedState(bool flag) { addTokenValue(getUnquotedToken(), flag ? "1" : nullptr); }

    // ---------------------------------------------------------------- //
    /// \name Paths and looks.  Texts as above.
    // ---------------------------------------------------------------- //
    /// What a node path may point at: a key of the filters below ("!!NODS!!").
    const char *getOpFilter() const { return getValue(getOpFilterToken()); }
    void setOpFilter(const char *filter) { addTokenValue(getOpFilterToken(), filter); }
    /// The node that a path starts from (".").
    const char *getOpRelative() const { return getValue(getOpRelativeToken()); }
    void setOpRelative(const char *path) { addTokenValue(getOpRelativeToken(), path); }
    /// The icon of a button.
    const char *getButtonIcon() const { return getValue(getButtonIconToken()); }
    /// How the parameter looks ("block").
    const char *getLookValue() const { return getValue(getLookToken()); }
    void setLookValue(const char *look) { addTokenValue(getLookToken(), look); }
    /// How much height it takes ("small").
    const char *getLayoutHeightValue() const { return getValue(getLayoutHeightToken()); }
    void setLayoutHeightValue(const char *height) { addTokenValue(getLayoutHeightToken(), height); }
    /// What a path in a scene file names ("prim", "primlist") and the input ("0") whose scene it is.
    const char *getUsdPathType() const { return getValue(getUsdPathTypeToken()); }
    const char *getUsdPathInput() const { return getValue(getUsdPathInputToken()); }
    /// How a text stands for a number: getXCFModeFloatValToken() when it does.
    const char *getXCFMode() const { return getValue(getXCFModeToken()); }
    void setXCFMode(const char *mode) { addTokenValue(getXCFModeToken(), mode); }
    static constexpr const char *getXCFModeFloatValToken() { return "float"; }

    // ---------------------------------------------------------------- //
    /// \name Evaluation, saving and takes
    // ---------------------------------------------------------------- //
    /// Whether a change generates code again: the integer is above 0. Absent: true, and so is the
    /// word "false" in any case. Setting true deletes the token, setting false stores "0".
    bool getCodeGenDependent() const;
    void setCodeGenDependent(bool flag);
    /// Whether a change recomputes the owner although nothing else says so: "true" in any case, or
    /// an integer above 0. Absent: false. Setting false deletes the token.
    bool getCookDependent() const;
    void setCookDependent(bool flag);
    /// Whether the default differs from element to element: read and set as the flag above.
    bool getHasVaryingDefault() const;
    void setHasVaryingDefault(bool flag);
    /// Whether the value is saved even at its default ("1") or never ("0"); null when absent.
    const char *getSaveValue() const { return getValue(getSaveValueToken()); }
    void setSaveValue(bool always) { addTokenValue(getSaveValueToken(), always ? "1" : "0"); }
    /// One character a component, '1' = scoped by itself; null when absent.
    const char *getAutoScope() const { return getValue(getAutoScopeToken()); }
    /// One character a component, '1' = selected by itself; null when absent.
    const char *getAutoSelect() const { return getValue(getAutoSelectToken()); }
    /// When the parameter takes part in takes; "always" is the one value that counts. Null: absent.
    const char *getTakeControl() const { return getValue(getTakeControlToken()); }

    // ---------------------------------------------------------------- //
    /// \name Colours.  Setting a flag to false deletes its token.
    // ---------------------------------------------------------------- //
    /// Whether a colour editor shows its wheel: "true" in any case, or an integer other than 0.
    /// Absent: false.
    bool getColorWheel() const;
    void setColorWheel(bool flag);
    /// Whether a colour updates while it is dragged: an integer other than 0. Absent: false.
    bool getColorDynamic() const;
    void setColorDynamic(bool flag);
    /// What the sliders show; ZEL_COLORTYPE_VAL when absent or unknown.
    ZEL_ColorType getColorType() const;
    void setColorType(ZEL_ColorType type);
    /// The word of a colour type; that of type 0 for a number out of range.
    static const char *getColorTypeValueToken(ZEL_ColorType type);

    // ---------------------------------------------------------------- //
    /// \name Ramps.  Texts as above.
    // ---------------------------------------------------------------- //
    /// The space a colour ramp blends in; KIT_COLORTYPE_RGB when absent or unknown.
    KIT_ColorType getRampColorType() const;
    void setRampColorType(KIT_ColorType type);
    /// The word of a colour space; "rgb" for a number out of range.
    static const char *getRampColorTypeValueToken(KIT_ColorType type);
    /// The default of a colour or a float ramp, as one text.
    const char *getColorRampDefaultValue() const { return getValue(getColorRampDefaultToken()); }
    const char *getFloatRampDefaultValue() const { return getValue(getFloatRampDefaultToken()); }
    /// Sets a ramp's keys from the text of its kind (ZEL_RampUtils.h); the count of keys stays.
    /// False, and no change, without a text or for another parameter.
    bool getRampDefaultToParm(ZEL_Parm &parm) const;
    /// Makes a ramp's present keys the text of its kind. Nothing for another parameter.
    void setRampDefaultFromParm(const ZEL_Parm &parm);
    /// The interpolation of a new key.
    const char *getRampBasisDefault() const { return getValue(getRampBasisDefaultToken()); }
    void setRampBasisDefault(const char *basis)
    {
        addTokenValue(getRampBasisDefaultToken(), basis);
    }
    /// The variables that take the interpolations, positions and values of a ramp.
    const char *getRampBasisVar() const { return getValue(getRampBasisVarToken()); }
    void setRampBasisVar(const char *name) { addTokenValue(getRampBasisVarToken(), name); }
    const char *getRampKeysVar() const { return getValue(getRampKeysVarToken()); }
    void setRampKeysVar(const char *name) { addTokenValue(getRampKeysVarToken(), name); }
    const char *getRampValuesVar() const { return getValue(getRampValuesVarToken()); }
    void setRampValuesVar(const char *name) { addTokenValue(getRampValuesVarToken(), name); }
    /// Whether a ramp starts with its controls shown: unless the value begins with "0". Absent:
    /// true. Stores "1" or "0".
    bool getRampShowControlsDefault() const;
    void setRampShowControlsDefault(bool flag);

    // ---------------------------------------------------------------- //
    /// \name Text editors
    // ---------------------------------------------------------------- //
    /// Whether a text is edited in an editor: an integer other than 0. Absent: false.
    bool getUseEditor() const;
    /// The language of the text ("python"); null when absent.
    const char *getEditorLanguage() const { return getValue(getEditorLanguageToken()); }
    /// The least and the most lines that an editor shows, each at least 1 and in that order: from
    /// one integer or two, apart by blanks, a comma or a dash ("12", "5 20", "5-20"). Anything else
    /// gives the two defaults.
    void getEditorLinesRange(int &min, int &max) const;
    static constexpr int getEditorLinesRangeDefaultMin() { return 8; }
    static constexpr int getEditorLinesRangeDefaultMax() { return 40; }

    // ---------------------------------------------------------------- //
    /// \name Multi-parameters, key-value tables and folders
    // ---------------------------------------------------------------- //
    /// The number of a multi-parameter's first item; 1 when absent or empty.
    int getMultiStartOffset() const;
    void setMultiStartOffset(int offset);
    /// The headings of a key-value table; texts as above.
    const char *getKeyValueDictKeyLabel() const { return getValue(getKeyValueDictKeyLabelToken()); }
    void setKeyValueDictKeyLabel(const char *label);
    const char *getKeyValueDictValueLabel() const;
    void setKeyValueDictValueLabel(const char *label);
    /// Whether the table has a chooser (an integer other than 0; absent: false; setting false
    /// deletes the token), and the chooser's label and script.
    bool getKeyValueDictUseChooser() const;
    void setKeyValueDictUseChooser(bool flag);
    const char *getKeyValueDictChooserLabel() const;
    void setKeyValueDictChooserLabel(const char *label);
    const char *getKeyValueDictChooserCallback() const;
    void setKeyValueDictChooserCallback(const char *script);
    /// Whether a folder's tab shows. A tab that the value doesn't reach does, as all do when the
    /// token is absent.
    bool getVisibleTab(int tab) const;
    /// One bit a tab; no bits at all when the token is absent.
    void getVisibleTabs(KIT_BitArray &tabs) const;
    /// Stores one character a tab; no bits delete the token.
    void setVisibleTabs(const KIT_BitArray &tabs);

    // ---------------------------------------------------------------- //
    /// \name Filters of node paths
    ///
    /// A filter has a *name* (what a dialog script says: "nods/geo"), a *key* (the value of
    /// "opfilter": "!!NODS/GEOMETRY!!") and a *label* (for a menu: "Object: Geometry Only"). Case
    /// doesn't count, and the first of several rows with the same text answers. A text of no row
    /// comes back as it stands. Null is answered for null, for an empty text, and for the key of
    /// the filter "all", which is empty: no filter at all.
    // ---------------------------------------------------------------- //
    static const char *getOpFilterKeyFromName(const char *name);
    static const char *getOpFilterNameFromKey(const char *key);
    static const char *getOpFilterKeyFromLabel(const char *label);
    static const char *getOpFilterLabelFromKey(const char *key);

    // ---------------------------------------------------------------- //
    /// \name Known tokens
    ///
    /// For each row of ZEL_SpareDataTokens.def a getter of the token's static text: getLookToken()
    /// answers "orvane::look". What the tokens mean stands in the rows.
    // ---------------------------------------------------------------- //
#define ZEL_SPARE_TOKEN(stem, text)                                                                \
    static constexpr const char *get##stem##Token()                                                \
    {                                                                                              \
        return text;                                                                               \
    }
#define ZEL_SPARE_EXTRA_TOKEN(stem, text)                                                          \
    static constexpr const char *get##stem##Token()                                                \
    {                                                                                              \
        return text;                                                                               \
    }
#include <ZEL/ZEL_SpareDataTokens.def>

    // ---------------------------------------------------------------- //
    /// \name Presets
    ///
    /// For each record row of ZEL_SpareDataPresets.def a static record: nodsPath, unitsLength, ...
    /// Templates take records that can change, so these aren't const; nobody changes one. Statics of
    /// this library may take their addresses but not read them while they are built. The pairs are
    /// for building records of one's own, at any time.
    // ---------------------------------------------------------------- //
#define ZEL_SPARE_RECORD(name, ...) static ZEL_SpareData name;
#define ZEL_SPARE_PAIR(name, stem, value) static const Pair name;
#include <ZEL/ZEL_SpareDataPresets.def>

private:
    struct Slot
    {
        const KIT_StringRef &key() const { return token; }

        KIT_StringHolder token;
        KIT_StringHolder value; // one use in the table of values
    };

    Slot *find(const KIT_StringRef &token) const;
    void store(const KIT_StringHolder &token, const KIT_StringRef &value);

    KIT_ProbeTable<Slot, KIT_MaskSizing> myTable;
};
