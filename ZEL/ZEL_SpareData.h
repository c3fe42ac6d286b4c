/// \file ZEL_SpareData.h
/// The extensible part of a parameter's description: a map from token to value, both texts.
///
/// Vocabulary: *token* = the key; *absent* = no entry; an empty value is an entry. *Table order* =
///             the order of traversal, which nothing may rely on. *Built-in* = a ZEL_SPARE_TOKEN
///             of ZEL_SpareDataTokens.def; the map accepts any other token too. *Preset* = a record
///             of ZEL_SpareDataPresets.def that many templates point at (nodsPath has two entries,
///             "opfilter" and "oprelative"). *Flag* = a switch or number as text ("1").
/// Units:      values are texts; a number or a switch is its text ("1").
/// Ownership:  owns copies of the tokens; equal values of all records of the process share one text.
///             Templates point at a record and don't own it.
/// Threads:    const calls from any thread; changes by one thread, before a template holds it.
///             Different records may change on different threads. Presets never change; those of
///             this library are ready before any code outside it runs.
/// Errors:     none: an absent token reads as the accessor's default, a bad integer as 0.
/// Cost:       a look-up is one probe of an open-addressed table with the token's hash; for a
///             literal, length and hash are computed first. Reading copies and allocates nothing. A
///             change briefly takes a process-wide spin lock.
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

/// What the sliders of a colour editor show. The keyword is stored.
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
    /// The value; null when the token is absent. Valid until the entry changes.
    const char *getValue(const KIT_StringRef &token) const;
    /// Removes the entry if there is one.
    void deleteTokenValue(const KIT_StringRef &token);
    /// Removes every entry.
    void clear();
    /// How many entries there are.
    unsigned entries() const { return myTable.entries(); }
    /// Becomes an exact copy; copying from itself does nothing.
    void copyFrom(const ZEL_SpareData &other);
    /// Adds the absent tokens; a token that is present keeps its value.
    void mergeFrom(const ZEL_SpareData &other);
    /// Whether every entry of the other is present with an equal value; true for an empty other.
    bool containsAll(const ZEL_SpareData &other) const;
    /// Whether at least one entry of the other is present with an equal value.
    bool containsAny(const ZEL_SpareData &other) const;
    /// Calls the callback for each entry in table order until it returns 0. The callback must not
    /// change the record.
    void traverseConst(int (*visit)(const char *token, const char *value)) const;
    void traverseConst(int (*visit)(const char *token, const char *value, void *data),
                       void *data) const;
    /// Bytes of the table and its tokens, and the record itself when inclusive. Values, which all
    /// records share, are not counted.
    int64_t getMemoryUsage(bool inclusive) const;

    // ---------------------------------------------------------------- //
    /// \name Built-in tokens
    // ---------------------------------------------------------------- //
    /// Appends the built-in tokens in the order of their rows, after making room for all of them.
    static void builtInTokens(KIT_StringArray &tokens);
    /// Whether the token is built in. "visibletabs" and "varying_default" aren't.
    static bool isBuiltInToken(const KIT_StringRef &token);

    // ---------------------------------------------------------------- //
    /// \name Scripts.  An absent text reads as null; setting null deletes it.
    // ---------------------------------------------------------------- //
    /// The script to run on a change.
    const char *getCallbackData() const { return getValue(getCallbackToken()); }
    void setCallbackData(const char *script) { addTokenValue(getCallbackToken(), script); }
    /// The script's language; the command language when absent or unknown.
    TRK_ScriptLanguage getCallbackLanguage() const;
    void setCallbackLanguage(TRK_ScriptLanguage language);
    /// The script of the parameter's action button, with the button's help and icon.
    const char *getScriptAction() const { return getValue(getScriptActionToken()); }
    const char *getScriptActionHelp() const { return getValue(getScriptActionHelpToken()); }
    const char *getScriptActionIcon() const { return getValue(getScriptActionIconToken()); }
    /// The type with which a renderer's stream declares the value.
    const char *getRenderManType() const { return getValue(getRenderManTypeToken()); }
    void setRenderManType(const char *type) { addTokenValue(getRenderManTypeToken(), type); }
    /// Whether the text is written to a script without quotes: true when there is an entry,
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
    /// The look of the parameter ("block").
    const char *getLookValue() const { return getValue(getLookToken()); }
    void setLookValue(const char *look) { addTokenValue(getLookToken(), look); }
    /// The height of its layout ("small").
    const char *getLayoutHeightValue() const { return getValue(getLayoutHeightToken()); }
    void setLayoutHeightValue(const char *height) { addTokenValue(getLayoutHeightToken(), height); }
    /// What a path into a scene names ("prim", "primlist"), and the input ("0") that supplies the
    /// scene.
    const char *getUsdPathType() const { return getValue(getUsdPathTypeToken()); }
    const char *getUsdPathInput() const { return getValue(getUsdPathInputToken()); }
    /// How a text represents a number: getXCFModeFloatValToken() when it does.
    const char *getXCFMode() const { return getValue(getXCFModeToken()); }
    void setXCFMode(const char *mode) { addTokenValue(getXCFModeToken(), mode); }
    static constexpr const char *getXCFModeFloatValToken() { return "float"; }

    // ---------------------------------------------------------------- //
    /// \name Evaluation, saving and takes
    // ---------------------------------------------------------------- //
    /// Whether a change regenerates code: an integer above 0. Absent: true, and so is the text
    /// "false" in any case. Setting true deletes the token, setting false stores "0".
    bool getCodeGenDependent() const;
    void setCodeGenDependent(bool flag);
    /// Whether a change recomputes the owner even if nothing else requires it: "true" in any case,
    /// or an integer above 0. Absent: false. Setting false deletes the token.
    bool getCookDependent() const;
    void setCookDependent(bool flag);
    /// Whether the default differs from element to element: read and set like the flag above.
    bool getHasVaryingDefault() const;
    void setHasVaryingDefault(bool flag);
    /// Whether the value is saved even at its default ("1") or never ("0"); null when absent.
    const char *getSaveValue() const { return getValue(getSaveValueToken()); }
    void setSaveValue(bool always) { addTokenValue(getSaveValueToken(), always ? "1" : "0"); }
    /// One character a component, '1' = scoped by itself; null when absent.
    const char *getAutoScope() const { return getValue(getAutoScopeToken()); }
    /// One character a component, '1' = selected by itself; null when absent.
    const char *getAutoSelect() const { return getValue(getAutoSelectToken()); }
    /// When the parameter takes part in takes; only "always" has an effect. Null when absent.
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
    /// The keyword of a colour type; that of type 0 for a number out of range.
    static const char *getColorTypeValueToken(ZEL_ColorType type);

    // ---------------------------------------------------------------- //
    /// \name Ramps.  Texts as above.
    // ---------------------------------------------------------------- //
    /// The colour space in which a colour ramp blends; KIT_COLORTYPE_RGB when absent or unknown.
    KIT_ColorType getRampColorType() const;
    void setRampColorType(KIT_ColorType type);
    /// The keyword of a colour space; "rgb" for a number out of range.
    static const char *getRampColorTypeValueToken(KIT_ColorType type);
    /// The default of a colour or a float ramp, as one text.
    const char *getColorRampDefaultValue() const { return getValue(getColorRampDefaultToken()); }
    const char *getFloatRampDefaultValue() const { return getValue(getFloatRampDefaultToken()); }
    /// Sets a ramp's keys from the text of its kind (ZEL_RampUtils.h); the number of keys stays.
    /// Returns false without a change if there is no text or the parameter is no ramp.
    bool getRampDefaultToParm(ZEL_Parm &parm) const;
    /// Stores a ramp's current keys as the text of its kind. Does nothing if the parameter is no
    /// ramp.
    void setRampDefaultFromParm(const ZEL_Parm &parm);
    /// The interpolation of a new key.
    const char *getRampBasisDefault() const { return getValue(getRampBasisDefaultToken()); }
    void setRampBasisDefault(const char *basis)
    {
        addTokenValue(getRampBasisDefaultToken(), basis);
    }
    /// The variables that receive the interpolations, positions and values of a ramp.
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
    /// one or two integers, separated by blanks, a comma or a dash ("12", "5 20", "5-20"). Anything
    /// else gives the two defaults.
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
    /// Whether a folder's tab is shown. True for a tab past the end of the value, and for all when
    /// the token is absent.
    bool getVisibleTab(int tab) const;
    /// One bit a tab; empty when the token is absent.
    void getVisibleTabs(KIT_BitArray &tabs) const;
    /// Stores one character a tab; an empty set deletes the token.
    void setVisibleTabs(const KIT_BitArray &tabs);

    // ---------------------------------------------------------------- //
    /// \name Filters of node paths
    ///
    /// A filter has a *name* (what a dialog script says: "nods/geo"), a *key* (the value of
    /// "opfilter": "!!NODS/GEOMETRY!!") and a *label* (for a menu: "Object: Geometry Only"). Case
    /// is ignored, and of several rows with the same text the first counts. A text that matches no
    /// row is returned as it is; null and an empty text give null. The key of the filter "all" is
    /// empty: no filter.
    // ---------------------------------------------------------------- //
    static const char *getOpFilterKeyFromName(const char *name);
    static const char *getOpFilterNameFromKey(const char *key);
    static const char *getOpFilterKeyFromLabel(const char *label);
    static const char *getOpFilterLabelFromKey(const char *key);

    // ---------------------------------------------------------------- //
    /// \name Known tokens
    ///
    /// For each row of ZEL_SpareDataTokens.def a getter of the token's static text: getLookToken()
    /// returns "orvane::look". The rows say what the tokens mean.
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
    /// They aren't const, because templates take non-const records, but must never be changed.
    /// Statics of this library may take their addresses but must not read them during static
    /// initialisation. The pairs are for building further records, at any time.
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
