/// \file ZEL_Template.h
/// The description of one parameter; an array of them is a node's parameter interface.
///
/// Vocabulary: *array* = templates up to the first whose type equals ZEL_LIST_TERMINATOR in all
///             nine words; there is no count. *Component* = one value of a vector. *Channel token*
///             = the name of one component: "tx" of a ZEL_XYZ "t". *Factory default* = what the
///             node type declares; *override* = a default that replaces it later. *Switcher* = a
///             set of folders: one component a folder; folder i has its label and member count in
///             factory default i; its members are the templates that follow. A nested switcher
///             counts as one member of its folder and is followed by its own members: folders of 2
///             and 1 members, the second a switcher of 3, are 6 templates after the outer one.
///             *Multi* = a list of items that are made from a template array of their own; its own
///             value is the number of items.
/// Units:      component indices from 0, below the vector size. Masks have one bit for each of the
///             first 32 components; their shifts are modulo 32.
/// Ownership:  owns channel tokens, overrides, a menu that it created itself, a ramp's item
///             templates, and a holder of the help text. Borrows name, factory defaults, menu,
///             range, spare data, conditional and a plain multi's item templates; all of them must
///             live as long.
/// Threads:    const calls from any thread: texts and masks are created lazily and published
///             atomically. Changes belong to set-up, by one thread.
/// Errors:     none. A bad index is ignored, or gives null, "" or -1.
/// Cost:       field reads are inline. Channel tokens are created on first request.
#pragma once

#include <BAS/BAS_Relaxed.h>
#include <KIT/KIT_SmallObject.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Callback.h>
#include <ZEL/ZEL_ConditionalBase.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_Type.h>

#include <atomic>
#include <cstdint>
#include <memory>

class KIT_String;
class ZEL_ChoiceList;
class ZEL_SpareData;
struct ZEL_TemplateSpec;

/// What kind of multi-parameter a template is. Stored: append only.
enum ZEL_MultiType : uint32_t
{
    ZEL_MULTITYPE_LIST = 0,      ///< items one below the other; "multiparm" in scripts
    ZEL_MULTITYPE_SCROLL = 1,    ///< items in a scrolled area; "multiscroll"
    ZEL_MULTITYPE_SWITCHER = 2,  ///< one tab an item; "multiswitcher"
    ZEL_MULTITYPE_NONE = 4,      ///< an ordinary parameter
    ZEL_MULTITYPE_RAMP_FLT = 8,  ///< keys of a ramp of numbers; "ramp_flt"
    ZEL_MULTITYPE_RAMP_RGB = 16, ///< keys of a ramp of colours; "ramp_rgb"

    ZEL_MULTITYPE_KIND_MASK = 0x0fffffff, ///< the bits of the kind
    ZEL_MULTITYPE_INVISIBLE = 0x10000000  ///< added to a kind: the parameter is not shown
};

constexpr ZEL_MultiType operator|(ZEL_MultiType left, ZEL_MultiType right)
{
    return ZEL_MultiType(uint32_t(left) | uint32_t(right));
}
constexpr ZEL_MultiType operator&(ZEL_MultiType left, ZEL_MultiType right)
{
    return ZEL_MultiType(uint32_t(left) & uint32_t(right));
}

/// Further properties that the type has no bit for, as a number that dialog scripts set. Stored:
/// append only. Numbers without a name are allowed.
enum ZEL_TypeExtended : int32_t
{
    ZEL_TYPEX_NONE = 0,
    ZEL_TYPEX_JOINED = 1,      ///< joined to the next; what ZEL_JOINED_TOGGLE forces
    ZEL_TYPEX_JOIN_NEXT = 2,   ///< joined to the next until setJoinNext(false)
    ZEL_TYPEX_TOKEN_PATH = 4,  ///< in messages its path ends in the token, not the label
    ZEL_TYPEX_MINI_MENU = 5,   ///< its menu is small; "menumini" in scripts
    ZEL_TYPEX_NODE_PATH = 17,  ///< a text that is a node path
    ZEL_TYPEX_NODE_PATHS = 18, ///< a text that is a list of node paths
    ZEL_TYPEX_JOINED_NODE = 24 ///< joined to the next
};

class ZEL_API ZEL_Template : public KIT_SmallObject<>
{
public:
    /// How far a parameter is exported, an ordered level; callers also test it bit by bit. Stored:
    /// append only.
    enum ZEL_Export : uint8_t
    {
        ZEL_EXPORT_0 = 0, ///< not exported
        ZEL_EXPORT_1 = 1,
        ZEL_EXPORT_2 = 2, ///< a dialog script's level 1
        ZEL_EXPORT_3 = 3  ///< a dialog script's level 2
    };

    /// An array lies behind the one made before, as the parameters that they describe do.
    static void *operator new[](size_t size);
    static void operator delete[](void *memory, size_t size) noexcept;

    // ---------------------------------------------------------------- //
    /// \name Making a template
    // ---------------------------------------------------------------- //
    /// A terminator: type ZEL_LIST_TERMINATOR, vector size 1, parm group 1.
    ZEL_Template();

    /// An ordinary parameter. A null name means "parm", "Parameter".
    ZEL_Template(const ZEL_Type &type, int vectorSize = 1, ZEL_Name *name = nullptr,
                 ZEL_Default *defaults = nullptr, ZEL_ChoiceList *choices = nullptr,
                 ZEL_Range *range = nullptr, ZEL_Callback callback = ZEL_Callback(),
                 ZEL_SpareData *spare = nullptr, int parmGroup = 1, const char *help = nullptr,
                 ZEL_ConditionalBase *conditional = nullptr);
    ZEL_Template(const ZEL_Type &type, ZEL_Export exportLevel, int vectorSize = 1,
                 ZEL_Name *name = nullptr, ZEL_Default *defaults = nullptr,
                 ZEL_ChoiceList *choices = nullptr, ZEL_Range *range = nullptr,
                 ZEL_Callback callback = ZEL_Callback(), ZEL_SpareData *spare = nullptr,
                 int parmGroup = 1, const char *help = nullptr,
                 ZEL_ConditionalBase *conditional = nullptr);
    ZEL_Template(const ZEL_Type &type, ZEL_TypeExtended extended, int vectorSize = 1,
                 ZEL_Name *name = nullptr, ZEL_Default *defaults = nullptr,
                 ZEL_ChoiceList *choices = nullptr, ZEL_Range *range = nullptr,
                 ZEL_Callback callback = ZEL_Callback(), ZEL_SpareData *spare = nullptr,
                 int parmGroup = 1, const char *help = nullptr,
                 ZEL_ConditionalBase *conditional = nullptr);
    ZEL_Template(const ZEL_Type &type, ZEL_TypeExtended extended, ZEL_Export exportLevel,
                 int vectorSize = 1, ZEL_Name *name = nullptr, ZEL_Default *defaults = nullptr,
                 ZEL_ChoiceList *choices = nullptr, ZEL_Range *range = nullptr,
                 ZEL_Callback callback = ZEL_Callback(), ZEL_SpareData *spare = nullptr,
                 int parmGroup = 1, const char *help = nullptr,
                 ZEL_ConditionalBase *conditional = nullptr);

    /// A multi-parameter whose items are made from `items`, an array with a terminator. A new one has
    /// as many items as its default says, none without a default, whatever `multiSize` is; the
    /// number is held to its range, so that a ramp has one at least.
    ZEL_Template(ZEL_MultiType multiType, ZEL_Template *items, double multiSize = 1.0,
                 ZEL_Name *name = nullptr, ZEL_Default *defaults = nullptr,
                 ZEL_Range *range = nullptr, ZEL_SpareData *spare = nullptr,
                 const char *help = nullptr, ZEL_ConditionalBase *conditional = nullptr,
                 ZEL_Callback callback = ZEL_Callback());
    ZEL_Template(ZEL_MultiType multiType, ZEL_Template *items, ZEL_Export exportLevel,
                 double multiSize = 1.0, ZEL_Name *name = nullptr, ZEL_Default *defaults = nullptr,
                 ZEL_Range *range = nullptr, ZEL_SpareData *spare = nullptr,
                 const char *help = nullptr, ZEL_ConditionalBase *conditional = nullptr,
                 ZEL_Callback callback = ZEL_Callback());

    ZEL_Template(const ZEL_Template &other);
    /// assign() with the other's vector size and factory defaults; self-assignment does nothing.
    /// The other must not be one of this ramp's own items.
    ZEL_Template &operator=(const ZEL_Template &other);
    ~ZEL_Template();

    /// Re-initialises this as an ordinary parameter; everything it owned is freed. A type with
    /// every bit of ZEL_SEPARATOR has vector size 0, a negative size is 0. A switcher that
    /// refreshes or cooks nothing gets parm group 0 whatever is passed. The extended type of a
    /// joined type is ZEL_TYPEX_JOINED. A file parameter without a menu gets one of its own with
    /// the recently used files.
    void initialize(const ZEL_Type &type, ZEL_TypeExtended extended, ZEL_Export exportLevel,
                    int vectorSize, ZEL_Name *name, ZEL_Default *defaults, ZEL_ChoiceList *choices,
                    ZEL_Range *range, ZEL_Callback callback, ZEL_SpareData *spare, int parmGroup,
                    const char *help, ZEL_ConditionalBase *conditional);

    /// Re-initialises this as a multi-parameter. Its type is ZEL_INT_E (with the invisible bit if
    /// the multi type has it), its vector size 1, its parm group 0, its multi size at least 1. A
    /// ramp gets item templates of its own, made from `items` or from the built-in ones, and a
    /// range from 1 (hard) to 10 if none is given.
    void initMulti(ZEL_MultiType multiType, ZEL_Template *items, ZEL_Export exportLevel,
                   double multiSize, ZEL_Name *name, ZEL_Default *defaults, ZEL_Range *range,
                   ZEL_SpareData *spare, const char *help, ZEL_ConditionalBase *conditional,
                   ZEL_Callback callback);

    /// Becomes a copy of the source with another vector size and other factory defaults. Overrides
    /// and channel tokens are not copied; decoded channel tokens already created here stay
    /// unchanged. A menu or a ramp's templates that the source owns are copied, the rest is shared.
    void assign(const ZEL_Template &source, int vectorSize, ZEL_Default *defaults);

    // ---------------------------------------------------------------- //
    /// \name What it is   (any thread)
    // ---------------------------------------------------------------- //
    const ZEL_Type &getType() const { return myType; }
    ZEL_MultiType getMultiType() const { return myMultiType; }
    ZEL_TypeExtended getTypeExtended() const { return myTypeExtended; }
    void setTypeExtended(ZEL_TypeExtended extended) { myTypeExtended = extended; }
    /// Number of components, 0 or more.
    int getVectorSize() const { return myVectorSize; }
    bool isSwitcher() const { return myType.isSwitcher(); }
    /// Ends an array: all nine words of the type are zero.
    bool isTerminator() const { return myType == ZEL_Type(); }
    /// A multi-parameter of any kind, ramps included.
    bool isMultiType() const
    {
        return (myMultiType & ZEL_MULTITYPE_KIND_MASK) != ZEL_MULTITYPE_NONE;
    }
    bool isRampType() const
    {
        return (myMultiType & (ZEL_MULTITYPE_RAMP_FLT | ZEL_MULTITYPE_RAMP_RGB)) != 0;
    }
    bool isRampTypeColor() const { return (myMultiType & ZEL_MULTITYPE_RAMP_RGB) != 0; }
    ZEL_Export exportLevel() const { return myExportLevel; }
    void setExportLevel(ZEL_Export level) { myExportLevel = level; }
    /// 0 for a multi and for a switcher that refreshes or cooks nothing; default 1.
    int getParmGroup() const { return myParmGroup; }

    // ---------------------------------------------------------------- //
    /// \name Names   (any thread)
    // ---------------------------------------------------------------- //
    /// Never null.
    ZEL_Name *getNamePtr() const { return myName; }
    /// Borrows; null means "parm", "Parameter". Channel tokens already created keep the old token.
    void setNamePtr(ZEL_Name *name);
    const char *getToken() const { return myName->getToken(); }
    const KIT_StringRef &getTokenRef() const { return myName->getTokenRef(); }
    void getToken(KIT_String &token) const { myName->getToken(token); }
    /// The label, or the token when there is none.
    const char *getLabel() const { return myName->getLabel(); }
    const KIT_StringRef &getLabelRef() const { return myName->getLabelRef(); }
    void getLabel(KIT_String &label) const { myName->getLabel(label); }
    uint32_t getTokenHash() const { return myName->getTokenHash(); }
    int getExpressionFlag() const { return myName->getExpressionFlag(); }
    /// The help text; null when there is none.
    const char *getHelpText() const { return myHelpText.c_str(); }

    // ---------------------------------------------------------------- //
    /// \name Channels   (any thread; created on first request)
    ///
    /// One component: the token itself. More: token and ending, chosen by the type's channel word.
    ///     NAMEXYZW  x y z w      NAMERGB  r g b a      NAMEXYWH  x y w h      NAMEUVW  u v w
    ///     NAMEMINMAX  2: min max, 4: minu minv maxu maxv      NAMESTARTEND  2, 3: start end inc
    ///     NAMEMAXMIN  2: max min, 4: maxu maxv minu minv
    ///     NAMEBEGINEND  2: begin and end, in front of the token
    /// Components past the letters, other sizes, and no style: the index from 1 in two characters
    /// at most (from 100 on the first of them isn't a decimal digit).
    // ---------------------------------------------------------------- //
    /// The component's token; the empty text outside the vector.
    const KIT_StringHolder &getChannelToken(int index) const;
    void getChannelToken(KIT_String &token, int index) const;
    /// The whole array, vector-size long.
    const KIT_StringHolder *getChannelTokens() const
    {
        const KIT_StringHolder *tokens = myChannelTokens.get();
        return tokens ? tokens : buildChannelNames(false);
    }
    /// As getChannelToken(), built from the decoded token.
    const KIT_StringHolder &getDecodedChannelToken(int index) const;
    /// Compares with the token of that component; the index is not checked.
    bool hasChannelToken(const KIT_StringRef &token, int index) const
    {
        return getChannelTokens()[index] == token;
    }
    /// The component of that channel token; -1 when there is none.
    int findSubIndex(const KIT_StringRef &token) const;
    /// The component's label in the interface: "X", "Min", "#3". Empty for a vector of one and for
    /// an index outside.
    void getChannelLabel(KIT_String &label, int index) const;

    // ---------------------------------------------------------------- //
    /// \name Masks over the components   (any thread; computed on first request)
    // ---------------------------------------------------------------- //
    /// A bit for each component that is scoped by itself: the spare value "autoscope", one
    /// character a component, the last repeating. 0 without one.
    uint32_t getAutoScopeField() const
    {
        const uint32_t field = BASload(myAutoScopeField);
        return field & unknownBit() ? computeAutoScopeField() : field;
    }
    /// The same for "autoselect"; all ones without one.
    uint32_t getAutoSelectField() const
    {
        const uint32_t field = BASload(myAutoSelectField);
        return field & unknownBit() ? computeAutoSelectField() : field;
    }

    /// Replaces the mask until the template is re-initialised.
    void setAutoScopeField(uint32_t field) { BASstore(myAutoScopeField, field); }
    void setAutoSelectField(uint32_t field) { BASstore(myAutoSelectField, field); }

    // ---------------------------------------------------------------- //
    /// \name Defaults
    // ---------------------------------------------------------------- //
    /// The override; null without one and outside the vector. Never returns a factory default.
    ZEL_Default *getDefault(int index) const
    {
        return myDefaults && index >= 0 && index < myVectorSize ? myDefaults[size_t(index)].get()
                                                                : nullptr;
    }
    /// At least vector-size records, or null; borrowed.
    ZEL_Default *getFactoryDefaults() const { return myFactoryDefaults; }
    void setFactoryDefaults(ZEL_Default *defaults) { myFactoryDefaults = defaults; }
    /// Set-up. An override takes number and text of the given record, a copy of the text; a new one
    /// is literal whatever the record's meaning, an existing one keeps its meaning. An empty text
    /// is stored as none. The one-field forms leave the other field of an existing override alone.
    void setDefault(int index, const ZEL_Default &value);
    void setFloatDefault(int index, double value);
    void setOrdinalDefault(int index, int value);
    void setStringDefault(int index, const char *text);
    /// Removes all overrides.
    void restoreFactoryDefaults();

    // ---------------------------------------------------------------- //
    /// \name What it points to
    // ---------------------------------------------------------------- //
    /// The menu; for a toggle without one ZELtoggleMenu; else null.
    ZEL_ChoiceList *getChoiceListPtr() const;
    /// Borrows. A menu that the template owns is freed.
    void setChoiceListPtr(ZEL_ChoiceList *choices);
    /// Whether the library supplies the menu: recently used files, off and on.
    bool isAutomaticallyGeneratedChoiceList() const;
    ZEL_Range *getRangePtr() const { return myRange; }
    const ZEL_Callback &getCallback() const { return myCallback; }
    void setCallback(ZEL_Callback callback) { myCallback = callback; }
    ZEL_SpareData *getSparePtr() const { return mySpare; }
    void setSparePtr(ZEL_SpareData *spare) { mySpare = spare; }
    /// The spare data, created if there is none. The template never frees a record created here: it
    /// lives as long as the process, unless it came with a ramp's templates.
    ZEL_SpareData *getOrCreateSparePtr();
    ZEL_ConditionalBase *getConditionalBasePtr() const { return myConditional; }
    void setConditionalBasePtr(ZEL_ConditionalBase *conditional) { myConditional = conditional; }
    /// The condition of that type; null when there is none.
    ZEL_Conditional *getConditionalPtr(ZEL_ConditionalType type) const
    {
        return myConditional ? myConditional->getConditional(type) : nullptr;
    }
    ZEL_Conditional *getDisablePtr() const { return getConditionalPtr(ZEL_CONDTYPE_DISABLE); }

    // ---------------------------------------------------------------- //
    /// \name Multi-parameters
    // ---------------------------------------------------------------- //
    /// The array that items are made from; null for an ordinary parameter.
    ZEL_Template *getMultiParmTemplate() const { return myMultiParmTemplate; }
    /// Set-up. Stores the pointer itself; a ramp takes ownership.
    void setMultiParmTemplate(ZEL_Template *items) { myMultiParmTemplate = items; }
    /// The size given to initMulti(), at least 1; 0 for an ordinary parameter. Informational: a new
    /// parameter's number of items is its default.
    double getMultiSize() const { return myMultiSize; }
    /// The number of the first item, from the spare data; 1 without.
    int getMultiStartOffset() const;

    // ---------------------------------------------------------------- //
    /// \name Flags of the type   (set-up)
    // ---------------------------------------------------------------- //
    bool getInvisible() const;
    void setInvisible(bool flag);
    bool getJoinNext() const;
    /// False also turns the extended type ZEL_TYPEX_JOIN_NEXT into ZEL_TYPEX_NONE.
    void setJoinNext(bool flag);
    bool getLabelNone() const;
    void setLabelNone(bool flag);
    void setBaseParm(bool flag);
    void setNoResim(bool flag);
    /// For a ramp, its item templates too.
    void setNoCook(bool flag);
    /// Sets the flag from "cook_dependent" of the spare data: set for no, cleared for yes. Without
    /// that token, set if `noCookByDefault`, else unchanged. Returns whether the flag is set
    /// afterwards.
    bool setNoCook(const ZEL_SpareData &spare, bool noCookByDefault);

    /// Bytes of channel tokens, overrides, an own menu and a ramp's templates, and the record
    /// itself when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;

    // ---------------------------------------------------------------- //
    /// \name Arrays   (null counts as empty)
    // ---------------------------------------------------------------- //
    /// Templates before the terminator. `skipSwitcherMembers` leaves out members of folders,
    /// `skipJoined` those with the extended type 1, 2 or 24, `skipJoinNext` those with
    /// ZEL_TYPE_JOIN_NEXT.
    static int countTemplates(const ZEL_Template *templates, bool skipSwitcherMembers = false,
                              bool skipJoined = false, bool skipJoinNext = false);
    /// The first template of that token, compared byte for byte; -1 when there is none.
    static int getTemplateIndexByToken(const ZEL_Template *templates, const char *token);
    /// The largest export level, 0 for an empty array.
    static ZEL_Export getHighestExportLevel(const ZEL_Template *templates);

    // ---------------------------------------------------------------- //
    /// \name Switchers. Counts that reach past the terminator end at it.
    // ---------------------------------------------------------------- //
    /// The template after the last member; the template itself when it is no switcher.
    static const ZEL_Template *getEndOfSwitcher(const ZEL_Template *templatePtr);
    /// The same by index in an array of pointers, which ends it.
    static int64_t getEndOfSwitcher(const KIT_Array<ZEL_Template *> &templates, int64_t index);
    /// The innermost folder around the template at `index`; false when it is in none.
    static bool getEnclosingSwitcherFolder(const ZEL_Template *templates, int index,
                                           int &switcherIndex, int &folderIndex);
    /// For each folder, how many switchers it contains directly, and how many other members. Both
    /// are empty if this is no switcher.
    static void getSwitcherStats(const ZEL_Template *templatePtr, KIT_ValArray<int> &switchers,
                                 KIT_ValArray<int> &others);
    /// The first folder with exactly that label; -1 when there is none, for no or an empty label,
    /// and when this is no switcher.
    int findSwitcherFolderWithLabel(const char *label) const;

    // ---------------------------------------------------------------- //
    /// \name Instances
    // ---------------------------------------------------------------- //
    /// Whether the name is the pattern with each `#` replaced by decimal digits (leading zeros
    /// allowed, any length). A number counts when it equals the entry of `instances` for its `#`,
    /// or, without an entry, when it is `startOffset` or more. `instance` becomes the number found
    /// for the last `#`, and is `startOffset` - 1 without one; numbers past 31 bits read as the
    /// largest int. Null texts and a name that holds a `#` never match. Linear in name times
    /// pattern.
    static bool matchMultiInstance(const char *name, const char *pattern, int startOffset,
                                   int &instance, const KIT_ValArray<int> *instances = nullptr);

private:
    /// Frees tokens that newTokens() made.
    struct TokensDeleter
    {
        void operator()(KIT_StringHolder *tokens) const noexcept;
    };
    using Tokens = std::unique_ptr<KIT_StringHolder[], TokensDeleter>;

    /// An array of tokens, created on first request by any thread.
    class TokenArray
    {
    public:
        TokenArray() = default;
        ~TokenArray() { drop(); }
        TokenArray(const TokenArray &) = delete;
        TokenArray &operator=(const TokenArray &) = delete;

        const KIT_StringHolder *get() const { return myTokens.load(std::memory_order_acquire); }
        /// If another thread was first, returns that thread's array and drops this one.
        const KIT_StringHolder *publish(Tokens made);
        /// Only while no other thread reads.
        void drop()
        {
            if (KIT_StringHolder *tokens = myTokens.load(std::memory_order_relaxed)) {
                TokensDeleter()(tokens);
                myTokens.store(nullptr, std::memory_order_relaxed);
            }
        }

    private:
        std::atomic<KIT_StringHolder *> myTokens{nullptr};
    };

    /// Frees a default with its text.
    struct OverrideDeleter
    {
        void operator()(ZEL_Default *record) const;
    };
    using Override = std::unique_ptr<ZEL_Default, OverrideDeleter>;

    /// The bit that flags a mask as not computed yet; a mask of all ones has it too and is
    /// recomputed at each request.
    uint32_t unknownBit() const { return 1u << (uint32_t(myVectorSize) & 31u); }
    uint32_t computeAutoScopeField() const;
    uint32_t computeAutoSelectField() const;
    uint32_t readMask(const char *bits, uint32_t without) const;

    friend struct ZEL_TemplateSpec;
    void become(const ZEL_TemplateSpec &content);
    void becomeMulti(const ZEL_TemplateSpec &content);
    static Tokens newTokens(int count);
    const KIT_StringHolder *buildChannelNames(bool decoded) const;
    ZEL_Default *makeOverride(int index);
    void setFlag(const ZEL_Type &flag, bool on);
    void dropChannelTokens();
    void dropOverrides();
    void dropOwnedChoiceList();
    void dropRampTemplates();
    void clearOurData();

    ZEL_Type myType;
    ZEL_MultiType myMultiType = ZEL_MULTITYPE_NONE;
    ZEL_TypeExtended myTypeExtended = ZEL_TYPEX_NONE;
    int32_t myVectorSize = 0;
    ZEL_Range *myRange = nullptr; // up to here what each evaluation reads
    ZEL_Name *myName = nullptr;
    std::unique_ptr<Override[]> myDefaults; // vector-size slots
    ZEL_Default *myFactoryDefaults = nullptr;
    ZEL_ChoiceList *myChoiceList = nullptr;
    ZEL_Callback myCallback;
    ZEL_SpareData *mySpare = nullptr;
    ZEL_ConditionalBase *myConditional = nullptr;
    ZEL_Export myExportLevel = ZEL_EXPORT_0;
    uint8_t myParmGroup = 1;
    bool myOwnsChoiceListFlag = false;
    mutable uint32_t myAutoScopeField = 0;
    mutable uint32_t myAutoSelectField = ~0u;
    ZEL_Template *myMultiParmTemplate = nullptr;
    double myMultiSize = 0.0;
    KIT_StringHolder myHelpText;
    mutable TokenArray myChannelTokens; // vector-size
    mutable TokenArray myDecodedTokens; // myDecodedSize
    mutable int32_t myDecodedSize = 0;
};
