#include <ZEL/ZEL_ScriptPage.h>

#include <DS/DS_Stream.h>
#include <KIT/KIT_EnvControl.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/scripts/ZEL_ScriptPrivate.h>

namespace
{

/// The keyword passed to parseGroup() for a "collection": it matches none, so that nothing
/// continues it.
constexpr const char *theNoChain = "don't match";

enum GroupKind
{
    GROUP_CHAIN,
    GROUP_COLLECTION
};

/// Reads a condition and adds it. A malformed one is dropped; the page is read on.
bool addCondition(DS_Stream &stream, int type, std::unique_ptr<ZEL_ConditionalGroup> &group)
{
    ZEL_Conditional conditional{ZEL_ConditionalType(type)};
    if (ZEL_ScriptParm::parseConditional(stream, conditional)) {
        if (!group) {
            group = std::make_unique<ZEL_ConditionalGroup>();
        }
        group->addConditional(conditional);
    }
    return true;
}

bool isMultiOwner(const ZEL_ScriptParm *owner)
{
    return owner && owner->getGroup() && owner->getGroup()->isMultiParm();
}

} // namespace

const ZEL_ScriptPage::Keyword ZEL_ScriptPage::theKeywords[] = {
#define ZEL_PAGE_KEYWORD(word, form, parser, argument, place)                                      \
    {word, &ZEL_ScriptPage::parser, argument, Place::place},
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
};

// -------------------------------------------------------------------- //
// The block
// -------------------------------------------------------------------- //

int ZEL_ScriptPage::parse(DS_Stream &stream, bool wantBrace, ZEL_ScriptParm *owner, bool isImport,
                          bool clearJoin, int depth)
{
    constexpr const char *theEndError = "Expecting close brace for script";
    const int limit = KIT_EnvControl::getLimit(KIT_ENV_MAX_SCRIPT_NESTING);
    if (myNesting > limit) {
        ZELscriptError(stream, "blocks nested deeper than the limit of %d (%s)", limit,
                       KIT_EnvControl::getVariable(KIT_ENV_MAX_SCRIPT_NESTING));
        return 0;
    }
    // One for all pages of a script.
    const ZEL_InputBudget budget(ZEL_InputBudget::DEFAULTS, 0);
    if (wantBrace) {
        if (!stream.getOpenBrace()) {
            stream.error("Expecting open brace for script");
            return 0;
        }
        myToken.clear();
    }
    startParse();

    const Context context = {owner, isImport, clearJoin, depth};
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, theEndError)) {
        return 0;
    }
    while (token != "}") {
        if (!parseWord(stream, context, token) || !ZELreadScriptToken(stream, token, theEndError)) {
            return 0;
        }
    }
    return finishParse(stream, context);
}

void ZEL_ScriptPage::nestIn(const ZEL_ScriptPage &enclosing, unsigned without)
{
    myFlags |= enclosing.myFlags & ~without;
    myNesting = enclosing.myNesting + 1;
}

void ZEL_ScriptPage::startParse()
{
    myLabel.clear();
    myDefaultText.clear();
    myBaseParmFlag = false;
    myTabBreakFlag = false;
    myParms.clear();
    if (myImports) {
        myImports->clear();
    }
}

bool ZEL_ScriptPage::parseWord(DS_Stream &stream, const Context &context, KIT_String &token)
{
    const std::string_view word = token.view();
    for (const Keyword &keyword : theKeywords) {
        if (word == keyword.word && (context.isImportFlag || keyword.place == Place::ANYWHERE)) {
            return (this->*keyword.parser)(stream, context, keyword);
        }
    }
    return handleUnknown(stream, token) != 0;
}

int ZEL_ScriptPage::finishParse(DS_Stream &stream, const Context &context)
{
    if (myToken.isEmpty()) {
        stream.error("parameter page without a name");
        return 0;
    }
    if (myLabel.isEmpty()) {
        myLabel = myToken;
    }
    if (context.clearJoinFlag && !context.isImportFlag && !myParms.empty()) {
        myParms.back()->clearJoinNext();
    }
    return 1;
}

int ZEL_ScriptPage::parseHelp(DS_Stream &stream, KIT_String &help)
{
    return stream.parseBlock(help, '\n', false);
}

int ZEL_ScriptPage::handleUnknown(DS_Stream &stream, KIT_String &token)
{
    for (const TokenParmCount *known = theTokens; known->token; known++) {
        if (token == known->token) {
            KIT_String skipped;
            const int count = known->count < 0 ? -known->count - 1 : known->count;
            for (int i = 0; i < count && stream.getToken(skipped); i++) {
            }
            // An incomplete block has its message.
            return known->count >= 0 || stream.parseBlock(skipped, '\n', false);
        }
    }
    ZELscriptError(stream, "script unknown identifier %s", token.nonNullStr());
    return 0;
}

// -------------------------------------------------------------------- //
// Keywords about the page
// -------------------------------------------------------------------- //

bool ZEL_ScriptPage::parseName(DS_Stream &stream, const Context &context, const Keyword &)
{
    if (!ZELreadScriptToken(stream, myToken, "script missing name")) {
        return false;
    }
    // The name of a multi-parameter is outside of its own items: one `#` less.
    const int marks = isMultiOwner(context.owner) ? context.depth - 1 : context.depth;
    if (marks >= 1) {
        ZELcheckScriptName(stream, myToken, marks);
    }
    return true;
}

bool ZEL_ScriptPage::parseHelpWord(DS_Stream &stream, const Context &, const Keyword &)
{
    KIT_String help;
    return parseHelp(stream, help) != 0;
}

bool ZEL_ScriptPage::parseLabel(DS_Stream &stream, const Context &, const Keyword &)
{
    return ZELreadScriptToken(stream, myLabel, "script missing label");
}

bool ZEL_ScriptPage::parseDefault(DS_Stream &stream, const Context &, const Keyword &)
{
    constexpr const char *theEndError = "script missing default";
    KIT_String brace;
    if (!ZELreadScriptToken(stream, myDefaultText, theEndError)) {
        return false;
    }
    if (myDefaultText != "{") {
        return true;
    }
    if (!ZELreadScriptToken(stream, myDefaultText, theEndError)) {
        return false;
    }
    if (!stream.getToken(brace) || brace != "}") {
        stream.error("script missing closing brace for default");
        return false;
    }
    return true;
}

bool ZEL_ScriptPage::parseRange(DS_Stream &stream, const Context &context, const Keyword &)
{
    if (!isMultiOwner(context.owner)) {
        stream.error("range only valid in multi[parm|scroll|switcher] or dynamic block");
        return false;
    }
    return context.owner->parseRange(stream) != 0;
}

bool ZEL_ScriptPage::parseFlag(DS_Stream &, const Context &, const Keyword &keyword)
{
    setFlag(static_cast<unsigned>(keyword.argument));
    return true;
}

bool ZEL_ScriptPage::parseObsolete(DS_Stream &stream, const Context &, const Keyword &)
{
    ZELskipScriptNumber(stream);
    setFlag(OBSOLETE);
    return true;
}

bool ZEL_ScriptPage::parseTabBreak(DS_Stream &, const Context &, const Keyword &)
{
    myTabBreakFlag = true;
    return true;
}

bool ZEL_ScriptPage::parseBaseParm(DS_Stream &, const Context &, const Keyword &)
{
    myBaseParmFlag = true;
    return true;
}

bool ZEL_ScriptPage::parseGroupCondition(DS_Stream &stream, const Context &, const Keyword &keyword)
{
    return addCondition(stream, keyword.argument, myGroupConditional);
}

bool ZEL_ScriptPage::parseTabCondition(DS_Stream &stream, const Context &, const Keyword &keyword)
{
    return addCondition(stream, keyword.argument, myPageConditional);
}

bool ZEL_ScriptPage::parseTag(DS_Stream &stream, const Context &, const Keyword &)
{
    KIT_String name;
    KIT_String value;
    return ZELreadScriptTag(stream, "Expecting open brace for parmtag", name, value) &&
           (!name.c_str() || ZELaddScriptTag(stream, getSpareData(true), name, value));
}

bool ZEL_ScriptPage::parseGroupTag(DS_Stream &stream, const Context &context, const Keyword &)
{
    if (!context.owner) {
        stream.error("grouptag only valid in group or groupmenu block");
        return false;
    }
    return context.owner->parseGroupAttribute(stream) != 0;
}

// -------------------------------------------------------------------- //
// Parameters
// -------------------------------------------------------------------- //

bool ZEL_ScriptPage::parseParm(DS_Stream &stream, const Context &context, const Keyword &)
{
    std::unique_ptr<ZEL_ScriptParm> parm(newParm());
    if (!parm->parse(stream, context.depth)) {
        return false;
    }
    if (parm->getFlag(ZEL_ScriptParm::OBSOLETE)) {
        myObsoleteParms.push_back(std::move(parm));
    } else if (!parm->getFlag(ZEL_ScriptParm::EXPERIMENTAL) ||
               KIT_EnvControl::getInt(KIT_ENV_EXPERIMENTAL_PARMS)) {
        myParms.push_back(std::move(parm));
    }
    return true;
}

bool ZEL_ScriptPage::parseMulti(DS_Stream &stream, const Context &context, const Keyword &keyword)
{
    std::unique_ptr<ZEL_ScriptParm> parm(newParm());
    if (!parm->parseMultiParm(stream, ZEL_MultiType(keyword.argument), this, context.depth)) {
        return false;
    }
    myParms.push_back(std::move(parm));
    return true;
}

bool ZEL_ScriptPage::parseGroup(DS_Stream &stream, const Context &context, const Keyword &keyword)
{
    const bool collectionFlag = keyword.argument == GROUP_COLLECTION;
    std::unique_ptr<ZEL_ScriptParm> parm(newParm());
    if (!parm->parseGroup(stream, this, collectionFlag ? theNoChain : keyword.word.data(),
                          context.depth)) {
        return false;
    }
    addGroup(std::move(parm), context.clearJoinFlag && !collectionFlag);
    return true;
}

void ZEL_ScriptPage::addGroup(std::unique_ptr<ZEL_ScriptParm> parm, bool clearJoin)
{
    if (std::unique_ptr<ZEL_ScriptParm> obsolete{parm->createObsoleteGroupParm()}) {
        myObsoleteParms.push_back(std::move(obsolete));
    }
    // Without pages (all are obsolete) the record would be a switcher without folders.
    if (!parm->getGroup()) {
        return;
    }
    if (clearJoin && !myParms.empty()) {
        myParms.back()->clearJoinNext();
    }
    myParms.push_back(std::move(parm));
}

// -------------------------------------------------------------------- //
// Imports
// -------------------------------------------------------------------- //

bool ZEL_ScriptPage::parseSource(DS_Stream &stream, const Context &, const Keyword &)
{
    return ZELreadScriptToken(stream, mySource, "script missing source");
}

bool ZEL_ScriptPage::parseImportToken(DS_Stream &stream, const Context &, const Keyword &)
{
    return ZELreadScriptToken(stream, myImportToken, "script missing token");
}

bool ZEL_ScriptPage::parseMask(DS_Stream &stream, const Context &, const Keyword &)
{
    return ZELreadScriptToken(stream, myMask, "script missing mask");
}

bool ZEL_ScriptPage::parseEnable(DS_Stream &stream, const Context &, const Keyword &)
{
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "script missing enable")) {
        return false;
    }
    myEnableFlag = token.toInteger() == 1;
    return true;
}

bool ZEL_ScriptPage::parseImportWord(DS_Stream &stream, const Context &context, const Keyword &)
{
    const std::unique_ptr<ZEL_ScriptPage> page(newImportPage());
    page->myNesting = myNesting + 1;
    if (!page->parseImport(stream, context.depth)) {
        return false;
    }
    processImportPage(*page);
    return true;
}

int ZEL_ScriptPage::parseImport(DS_Stream &stream, int depth)
{
    if (myToken.isEmpty()) {
        myToken = "import";
    }
    if (!stream.getOpenBrace()) {
        stream.error("Expecting open brace for import");
        return 0;
    }
    if (!parse(stream, false, nullptr, true, true, depth)) {
        return 0;
    }
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "missing closing brace on import")) {
        return 0;
    }
    stream.ungetToken(token);
    return 1;
}

void ZEL_ScriptPage::processImportPage(ZEL_ScriptPage &page)
{
    const int first = getParmEntries();
    if (!myImports) {
        myImports = std::make_unique<ZEL_ScriptImports>();
    }
    myImports
        ->appendBlock(first, page.getParmEntries(), page.mySource, page.myImportToken, page.myMask,
                      page.myLabel, page.myEnableFlag)
        .nestLevel = 0;
    for (auto &parm : page.myParms) {
        myParms.push_back(std::move(parm));
    }
    page.myParms.clear();
    for (int i = 0; page.myImports && i < page.myImports->entries(); i++) {
        ZEL_ScriptImportBlock &inner = myImports->appendBlock(*page.myImports->getBlock(i));
        inner.offset += first;
        inner.nestLevel++;
    }
    page.myImports.reset();
}
