/// \file ZEL_ScriptParm.h
/// One `parm { ... }` block of a dialog script as it was read, or the record that represents a set
/// of folders or a multi-parameter.
///
/// Vocabulary: *depth* = how many multi-parameters surround the block. *Filling* = writing the
///             templates of the record and of what is nested in it into an array.
/// Units:      `size` counts components, at most the setting KIT_ENV_MAX_VECTOR_SIZE. Export levels
///             are 0, 1 and 2; the templates have 0, 2 and 3.
/// Ownership:  owns everything that it read. Templates borrow name, defaults, menu, range, spare
///             data, conditions and a multi-parameter's child templates: a record must outlive the
///             arrays that it filled. Filling again replaces the child templates.
/// Threads:    one thread at a time. Call registerDefaultScriptCallback() before reading any
///             script.
/// Errors:     an error ends the block: the stream reports it, parse() returns 0, and what was read
///             so far stays in the record. Reading continues after warnings and after the error of a
///             condition. A missing opening brace of the block, of `defaults` and of `range` has
///             no message of its own.
///
///     menus        menu { token label ... } or menu { [ script ] [ more ] language word }; the word
///                  usetokenvalue may come before the brace
///     defaults     default { value [ text meaning ] ... }, one for each component
///     range        range { 0! 10 }: "!" makes that end a hard one
///     conditions   hidewhen "{ a == 1 }" or hidewhen { { a == 1 } { b c } }
///     tags         parmtag { name value }, one pair to a block
#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Callback.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_ConditionalGroup.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Range.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <cstddef>
#include <memory>
#include <string_view>

class DS_Stream;
class KIT_WorkBuffer;
class ZEL_ScriptGroup;
class ZEL_ScriptImports;
class ZEL_ScriptPage;
struct ZEL_ScriptType;

class ZEL_API ZEL_ScriptParm
{
public:
    enum ParmFlag : unsigned
    {
        PLAIN = 0,
        REQUIRED = 0x1,      ///< "required"; never set for a toggle, button or ordinal
        DIRECTION = 0x2,     ///< type "dir", "direction"
        COLOR = 0x4,         ///< type "color", "rgb", "color4", "rgba"
        KEEP_TEXT = 0x20,    ///< a default that is a number keeps its text too
        OBSOLETE = 0x200,    ///< "obsolete": moved to the page's obsolete records
        EXPERIMENTAL = 0x400 ///< "experimental": dropped unless the application enables them
    };

    /// The page keywords that a parameter skips too, ended by a null keyword, each with the number
    /// of tokens after it.
    static const char *const theTokens[];
    static const int theNumParms[];

    ZEL_ScriptParm();
    ZEL_ScriptParm(const ZEL_ScriptParm &) = delete;
    ZEL_ScriptParm &operator=(const ZEL_ScriptParm &) = delete;

    // ---------------------------------------------------------------- //
    /// \name For subclasses
    // ---------------------------------------------------------------- //
    virtual ~ZEL_ScriptParm();
    /// The group and the pages of nested blocks; the caller owns them.
    virtual ZEL_ScriptGroup *newGroup(bool multi);
    virtual ZEL_ScriptPage *newPage();
    /// Reads what follows a keyword that this class doesn't know; 0 if it is unknown here too.
    /// Base: skips those of theTokens.
    virtual int handleUnknown(DS_Stream &stream, KIT_String &token);
    /// The callback of a parameter with a script callback. Base: the registered one.
    virtual ZEL_Callback getScriptParmCallback() const;
    /// Whether filled templates get the channel bit. Base: true.
    virtual bool wantsParametersAnimatable() const;

    // ---------------------------------------------------------------- //
    /// \name Statics
    // ---------------------------------------------------------------- //
    static void registerDefaultScriptCallback(ZEL_Callback callback);
    /// Appends a text as scripts write it (ZEL_ScriptQuote.h).
    static void protectStrcat(KIT_WorkBuffer &out, const char *text, int quoteEmpty,
                              bool smartQuotes = false);
    /// The same as a text that is valid until the thread's next call.
    static const char *protectString(const char *text, int quoteEmpty, bool smartQuotes = false);
    /// Reads a condition: a text, or a block of groups. False with an error if it can't be read.
    /// An error inside a block is reported and ends the block, but the result is true.
    static bool parseConditional(DS_Stream &stream, ZEL_Conditional &conditional);

    // ---------------------------------------------------------------- //
    /// \name Reading
    // ---------------------------------------------------------------- //
    /// Reads one block; 1 on success. A second call clears menu and defaults and keeps the rest.
    int parse(DS_Stream &stream, int depth);
    /// Reads the pages of a set of folders, one for each block with the same keyword in a row.
    int parseGroup(DS_Stream &stream, ZEL_ScriptPage *page, const char *keyword, int depth);
    /// Reads the page of a multi-parameter.
    bool parseMultiParm(DS_Stream &stream, ZEL_MultiType type, ZEL_ScriptPage *page, int depth);
    /// Reads a `grouptag` of the folder that is being read.
    int parseGroupAttribute(DS_Stream &stream);
    int parseRange(DS_Stream &stream);

    // ---------------------------------------------------------------- //
    /// \name Templates
    // ---------------------------------------------------------------- //
    /// The number of templates to fill. The children of a multi-parameter are in an array of their
    /// own and don't count.
    int computeTemplateSize() const;
    /// Writes the templates from `index` on and moves it past them.
    void fillTemplate(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports, int depth);
    /// The child templates of a multi-parameter, created if necessary; null for anything else.
    ZEL_Template *getMultiTemplate();

    // ---------------------------------------------------------------- //
    /// \name Contents
    // ---------------------------------------------------------------- //
    const ZEL_Name &getName() const { return myName; }
    /// The file and line, from 1, where the block begins; "" and 0 of a source without a name.
    const KIT_StringHolder &getFile() const { return myFile; }
    int getLine() const { return myLine; }
    /// The number of the keyword that the block follows among the tokens of the script, from 0.
    std::size_t getTokenNumber() const { return myTokenNumber; }
    const ZEL_Type &getType() const { return myType; }
    ZEL_TypeExtended getTypeExtended() const { return myTypeExtended; }
    /// The kind of a ramp; ZEL_MULTITYPE_NONE for anything else. A multi-parameter's kind is its
    /// group's.
    ZEL_MultiType getMultiType() const { return myMultiType; }
    int getSize() const { return mySize; }
    /// One record for each component, or none.
    const KIT_ValArray<ZEL_Default> &getDefaults() const { return myDefaults; }
    ZEL_Range *getRange() const { return myRange.get(); }
    ZEL_ChoiceList *getMenu() const { return myMenu.get(); }
    const KIT_String &getHelpText() const { return myHelpText; }
    const KIT_String &getOption() const { return myOption; }
    /// Null for an ordinary parameter.
    ZEL_ScriptGroup *getGroup() const { return myGroup.get(); }
    bool hasObsoleteGroup() const { return myObsoleteGroup != nullptr; }
    bool getBaseParm() const { return myBaseParmFlag; }
    int getExportLevel() const { return myExportLevel; }
    const ZEL_ConditionalGroup &getConditionalGroup() const { return myConditionals; }
    /// Null if there is none and none is created.
    ZEL_SpareData *getSpareData(bool create);
    void setFlag(unsigned flags) { myFlags |= flags; }
    void clearFlag(unsigned flags) { myFlags &= ~flags; }
    /// The given bits that are set.
    unsigned getFlag(unsigned flags) const { return myFlags & flags; }

    /// Keeps the parameter from joining the next. True if its type joined; if only its extended
    /// type did, that is cleared and the result is false.
    bool clearJoinNext();
    /// Gives a parameter without an option its token as option, and those in a group too.
    void enforceOptions();
    /// Moves the obsolete pages to a new record of the same type and name, which the caller owns;
    /// null when there are none.
    ZEL_ScriptParm *createObsoleteGroupParm();
    /// Appends the records of every page of the group.
    void appendScriptParms(KIT_ValArray<ZEL_ScriptParm *> &parms) const;

private:
    enum MenuKind : int
    {
        MENU_PLAIN,
        MENU_JOIN,
        MENU_MINI,
        MENU_REPLACE,
        MENU_TOGGLE
    };
    /// What parse() was called with.
    struct Context
    {
        int depth;
    };
    struct Keyword;
    using Parser = bool (ZEL_ScriptParm::*)(DS_Stream &, const Context &, const Keyword &);
    struct Keyword
    {
        std::string_view word;
        Parser parser;
        int argument; ///< a bit of the look, a flag, or a kind of menu or condition
    };
    static const Keyword theKeywords[];

    void beginParse(const DS_Stream &stream);
    bool parseWord(DS_Stream &stream, const Context &context, KIT_String &token);
    int finishParse(DS_Stream &stream);

    bool parseName(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseLabel(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseOpFilter(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseType(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseBaseParm(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseLook(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseFlag(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseLogarithmic(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseTag(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseMenuWord(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseSize(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseDefaults(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseRangeWord(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseOption(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseHelp(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseCallback(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseRenderManType(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseUnquoted(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseCondition(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseExport(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseObsolete(DS_Stream &stream, const Context &context, const Keyword &keyword);

    void setType(const ZEL_ScriptType &row);
    bool readDefaults(DS_Stream &stream, int &count);
    void setDefault(int index, bool isString);
    void clearDefaults();

    bool parseMenu(DS_Stream &stream);
    bool parseMenuItems(DS_Stream &stream, KIT_String &token);
    bool parseMenuScript(DS_Stream &stream);
    void setMenu(const KIT_Array<ZEL_Name> &items);
    void clearMenu();

    void adoptFirstPage(ZEL_ScriptPage &page, bool singleFlag);
    void addGroupPage(std::unique_ptr<ZEL_ScriptPage> page);

    void fillGroup(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports, int depth);
    void fillMulti(ZEL_Template &target, ZEL_ScriptImports *&imports, int depth);
    void fillBaseParm(ZEL_Template &target);
    void fillParm(ZEL_Template &target);
    int buildMultiParmTemplate(ZEL_ScriptImports *&imports, int depth);
    ZEL_Callback getCallback() const;
    ZEL_Template::ZEL_Export getExport() const;
    const ZEL_SpareData &getSpareDataOrEmpty() const;

    std::unique_ptr<ZEL_ScriptGroup> myGroup;
    std::unique_ptr<ZEL_ScriptGroup> myObsoleteGroup;
    std::unique_ptr<ZEL_ChoiceList> myMenu;
    std::unique_ptr<ZEL_Name[]> myMenuNames;
    std::unique_ptr<ZEL_Template[]> myMultiTemplate;
    ZEL_ChoiceListType myMenuType = ZEL_CHOICELIST_EXCLUSIVE;
    ZEL_Name myName;
    ZEL_Type myType;
    ZEL_TypeExtended myTypeExtended = ZEL_TYPEX_NONE;
    ZEL_MultiType myMultiType = ZEL_MULTITYPE_NONE;
    int mySize = 1;
    KIT_ValArray<ZEL_Default> myDefaults;
    KIT_StringArray myDefaultStrings;
    std::unique_ptr<ZEL_Range> myRange;
    std::unique_ptr<ZEL_SpareData> mySpareData;
    ZEL_ConditionalGroup myConditionals;
    unsigned myFlags = 0;
    KIT_String myHelpText;
    int myExportLevel = 0;
    bool myBaseParmFlag = false;
    KIT_String myOption;
    KIT_StringHolder myFile;
    int myLine = 0;
    std::size_t myTokenNumber = 0;
};
