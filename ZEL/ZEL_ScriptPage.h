/// \file ZEL_ScriptPage.h
/// A brace block of a dialog script: a whole dialog, a folder, the items of a multi-parameter or an
/// import.
///
/// Vocabulary: *record* = a parameter, a set of folders or a multi-parameter as it was read
///             (ZEL_ScriptParm). *Owner* = the record whose folder or items the page is; the dialog
///             has none. *Depth* = how many multi-parameters surround a name, which is how many `#`
///             it has. *Obsolete* = kept apart from the interface, for old files. *Nesting* = the
///             number of pages around a page, imports included; limited.
/// Units:      indices from 0, in reading order.
/// Ownership:  owns its records, imports, conditions and spare data. Templates borrow from all of
///             them, so a page must outlive the arrays that it filled.
/// Threads:    one thread at a time.
/// Errors:     a block ends at its first error, which the stream reports, and parse() returns 0,
///             keeping what was read so far. Reading continues after warnings and after the error of a
///             condition, which is then left out.
///
///     page         "{" word ... "}"
///     parameter    parm { ... }
///     folders      group { ... } group { ... }: consecutive blocks of one word are the folders of
///                  one set; groupmenu, groupradio alike. groupsimple and groupcollapsible take one
///                  block each, collection too, and tabbreak in a block ends its set.
///     items        multiparm, multiscroll, multiswitcher, dynamic { ... }
///     import       import { source, token, mask, enable and what a page has }
#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_ConditionalGroup.h>
#include <ZEL/ZEL_ScriptImports.h>
#include <ZEL/ZEL_SpareData.h>

#include <memory>
#include <string_view>
#include <vector>

class DS_Stream;
class ZEL_ScriptParm;
class ZEL_Template;

class ZEL_API ZEL_ScriptPage
{
public:
    enum PageFlag : unsigned
    {
        RENDERMAN = 0x1,      ///< "rman": a dialog for RenderMan
        SHADING = 0x4,        ///< "ksl": a dialog for the shading language
        INVISIBLE = 0x8,      ///< "invisible": the set of folders or the multi-parameter is hidden
        INVISIBLE_TAB = 0x10, ///< "invisibletab": this folder is hidden
        OBSOLETE = 0x20       ///< "obsolete": the page is moved to the obsolete ones of its set
    };

    /// A keyword that a page skips, with what follows it: a count of 0 or more is that many tokens,
    /// a negative count n is -n - 1 tokens and a block.
    struct TokenParmCount
    {
        const char *token;
        int count;
    };
    /// The application's keywords that a page accepts and skips; a null keyword ends them.
    static const TokenParmCount theTokens[];

    ZEL_ScriptPage();

    // ---------------------------------------------------------------- //
    /// \name For subclasses   (called while a page is read)
    // ---------------------------------------------------------------- //
    virtual ~ZEL_ScriptPage();
    /// What the page adds to the size of its folder. Base: the number of its records.
    virtual int countParameters() const;
    /// A new record for any of the page's parameters; the caller owns it.
    virtual ZEL_ScriptParm *newParm();
    /// A new page for an import; the caller owns it.
    virtual ZEL_ScriptPage *newImportPage();
    /// Reads the block after "help". Base: reads and discards it. 0 ends the page.
    virtual int parseHelp(DS_Stream &stream, KIT_String &help);
    /// Reads what follows an unknown keyword; 0, after reporting an error, ends the page. Base:
    /// skips those of theTokens, any other is an error.
    virtual int handleUnknown(DS_Stream &stream, KIT_String &token);

    // ---------------------------------------------------------------- //
    /// \name Reading
    // ---------------------------------------------------------------- //
    /// Reads one page; 1 on success. `wantBrace` reads the opening brace and clears the token first.
    /// `isImport` admits the keywords of imports. `clearJoin` keeps the last parameter from joining
    /// what follows the page. Records read before are deleted; flags and obsolete records stay.
    int parse(DS_Stream &stream, bool wantBrace, ZEL_ScriptParm *owner, bool isImport,
              bool clearJoin, int depth);
    /// Makes this a page inside another one: takes its flags except those in `without`.
    void nestIn(const ZEL_ScriptPage &enclosing, unsigned without);

    // ---------------------------------------------------------------- //
    /// \name Templates
    // ---------------------------------------------------------------- //
    /// The number of templates of the records, and of the obsolete records.
    int computeTemplateSize() const;
    int computeObsoleteTemplateSize() const;
    /// Writes the templates from `index` on and moves it past them. Imports are added to `imports`,
    /// which is created if there are any; the caller owns it.
    void fillTemplate(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports);
    /// Writes the templates of the obsolete records to the start of the array.
    void fillObsoleteTemplate(ZEL_Template *target);

    // ---------------------------------------------------------------- //
    /// \name Contents
    // ---------------------------------------------------------------- //
    const KIT_String &getToken() const { return myToken; }
    void setToken(const char *token) { myToken.harden(token); }
    const KIT_String &getLabel() const { return myLabel; }
    /// The number of a multi-parameter's items, as text.
    const KIT_String &getDefault() const { return myDefaultText; }
    /// Sets the default of a page that has none.
    void setEmptyDefault(const char *text);
    bool getBaseParm() const { return myBaseParmFlag; }
    bool getTabBreak() const { return myTabBreakFlag; }
    int getParmEntries() const { return int(myParms.size()); }
    /// Null outside 0 .. entries - 1.
    ZEL_ScriptParm *getParm(int index) const
    {
        return index >= 0 && index < getParmEntries() ? myParms[size_t(index)].get() : nullptr;
    }
    int getObsoleteParmEntries() const { return int(myObsoleteParms.size()); }
    ZEL_ScriptParm *getObsoleteParm(int index) const
    {
        return index >= 0 && index < getObsoleteParmEntries() ? myObsoleteParms[size_t(index)].get()
                                                              : nullptr;
    }
    /// The imports of this page alone, null when there are none.
    const ZEL_ScriptImports *getImports() const { return myImports.get(); }
    /// The conditions of the page's tab, and those that it declares for the whole set; null if
    /// none.
    ZEL_ConditionalGroup *getPageConditional() const { return myPageConditional.get(); }
    ZEL_ConditionalGroup *getGroupConditional() const { return myGroupConditional.get(); }
    /// Null if there is none and none is created.
    ZEL_SpareData *getSpareData(bool create);
    void setFlag(unsigned flags) { myFlags |= flags; }
    void clearFlag(unsigned flags) { myFlags &= ~flags; }
    /// The given bits that are set.
    unsigned getFlag(unsigned flags) const { return myFlags & flags; }

    /// Gives each record without an option its token as option.
    void enforceOptions();
    /// Whether a record of this page or of a folder inside belongs to the base interface.
    bool containsReservedName() const;
    /// Appends the records outside the base interface, those in its sets of folders included.
    void appendScriptParms(KIT_ValArray<ZEL_ScriptParm *> &parms) const;

protected:
    friend class ZEL_ScriptGroup;
    friend class ZEL_ScriptParm;

    /// Does the flattening. `depth`, `switcherIndex` and `folder` are stored in the import blocks.
    void fillTemplate(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports, int depth,
                      int switcherIndex, int folder);

private:
    /// What parse() was called with.
    struct Context
    {
        ZEL_ScriptParm *owner;
        bool isImportFlag;
        bool clearJoinFlag;
        int depth;
    };
    enum class Place
    {
        ANYWHERE,
        IMPORT
    };
    struct Keyword;
    using Parser = bool (ZEL_ScriptPage::*)(DS_Stream &, const Context &, const Keyword &);
    struct Keyword
    {
        std::string_view word;
        Parser parser;
        int argument; ///< a flag, a multi type or a kind of condition
        Place place;
    };
    static const Keyword theKeywords[];

    void startParse();
    bool parseWord(DS_Stream &stream, const Context &context, KIT_String &token);
    int finishParse(DS_Stream &stream, const Context &context);

    bool parseName(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseHelpWord(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseLabel(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseDefault(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseRange(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseGroup(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseMulti(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseGroupTag(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseImportWord(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseSource(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseImportToken(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseMask(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseEnable(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseFlag(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseObsolete(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseGroupCondition(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseTabCondition(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseTag(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseTabBreak(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseBaseParm(DS_Stream &stream, const Context &context, const Keyword &keyword);
    bool parseParm(DS_Stream &stream, const Context &context, const Keyword &keyword);

    int parseImport(DS_Stream &stream, int depth);
    void processImportPage(ZEL_ScriptPage &page);
    void addGroup(std::unique_ptr<ZEL_ScriptParm> parm, bool clearJoin);

    KIT_String myToken;
    KIT_String myLabel;
    KIT_String myDefaultText;
    KIT_String mySource;
    KIT_String myImportToken;
    KIT_String myMask;
    bool myEnableFlag = true;
    std::vector<std::unique_ptr<ZEL_ScriptParm>> myParms;
    std::vector<std::unique_ptr<ZEL_ScriptParm>> myObsoleteParms;
    std::unique_ptr<ZEL_ScriptImports> myImports;
    std::unique_ptr<ZEL_ConditionalGroup> myPageConditional;
    std::unique_ptr<ZEL_ConditionalGroup> myGroupConditional;
    bool myBaseParmFlag = false;
    bool myTabBreakFlag = false;
    std::unique_ptr<ZEL_SpareData> mySpareData;
    unsigned myFlags = 0;
    int myNesting = 0;
};
