#include <ZEL/ZEL_ScriptParm.h>

#include <BAS/BAS_Number.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_EnvControl.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalInfo.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/scripts/ZEL_ScriptPrivate.h>

#include <algorithm>
#include <climits>

namespace
{

/// Reads one `{ name operator value ... }`. False if there is none, which ends a list of them, and
/// after an error.
bool parseConditionalInfo(DS_Stream &stream, ZEL_Conditional &conditional)
{
    if (!stream.getOpenBrace()) {
        return false;
    }
    const char *const name = conditional.getName(false);
    ZEL_ConditionalInfo &info = *conditional.createInfo();
    KIT_String parm;
    KIT_String value;
    for (;;) {
        if (!stream.getToken(parm)) {
            ZELscriptError(stream, "Expecting close brace for %s", name);
            return false;
        }
        if (parm == "}") {
            return true;
        }
        ZEL_ConditionalOperator op = ZEL_CONDOP_EQ;
        bool gotFlag = stream.getToken(value) != 0;
        if (gotFlag && ZEL_Conditional::getOperatorFromString(value, op)) {
            gotFlag = stream.getToken(value) != 0;
            if (gotFlag && value == "}") {
                return true;
            }
        }
        if (!gotFlag) {
            ZELscriptError(stream, "Expecting parm value for %s", name);
            return false;
        }
        info.addCondition(KIT_StringHolder(parm.nonNullStr()), KIT_StringHolder(value.nonNullStr()),
                          op);
    }
}

/// Removes the "!" of a hard limit from a range's value, and what follows it.
ZEL_RangeFlag takeLock(KIT_String &value)
{
    const size_t mark = value.view().rfind('!');
    if (mark == std::string_view::npos) {
        return ZEL_RANGE_UI;
    }
    value.truncate(mark);
    return ZEL_RANGE_HARD;
}

} // namespace

bool ZEL_ScriptParm::parseConditional(DS_Stream &stream, ZEL_Conditional &conditional)
{
    const char *const name = conditional.getName(false);
    KIT_String token;
    if (!stream.getToken(token)) {
        ZELscriptError(stream, "%s: Missing initial {", name);
        return false;
    }
    if (token == "{") {
        while (parseConditionalInfo(stream, conditional)) {
        }
        return true;
    }
    KIT_StringHolder reason;
    if (!conditional.setListFromString(token, reason)) {
        ZELscriptError(stream, "%s: %s", name, reason.nonNullStr());
        return false;
    }
    return true;
}

// -------------------------------------------------------------------- //
// The block
// -------------------------------------------------------------------- //

const ZEL_ScriptParm::Keyword ZEL_ScriptParm::theKeywords[] = {
#define ZEL_PARM_KEYWORD(word, form, parser, argument, writer)                                     \
    {word, &ZEL_ScriptParm::parser, argument},
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
};

int ZEL_ScriptParm::parse(DS_Stream &stream, int depth)
{
    constexpr const char *theEndError = "Expecting close brace for parm";
    beginParse(stream);
    if (!stream.getOpenBrace()) {
        return 0;
    }
    clearMenu();
    clearDefaults();
    const Context context = {depth};
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, theEndError)) {
        return 0;
    }
    while (token != "}") {
        if (!parseWord(stream, context, token) || !ZELreadScriptToken(stream, token, theEndError)) {
            return 0;
        }
    }
    return finishParse(stream);
}

void ZEL_ScriptParm::beginParse(const DS_Stream &stream)
{
    if (const TOK_Manager *const place = stream.getManager()) {
        myFile = KIT_StringHolder(place->getFileName());
        myLine = place->getLineNumber();
    }
    myTokenNumber = stream.getSpan().number;
}

bool ZEL_ScriptParm::parseWord(DS_Stream &stream, const Context &context, KIT_String &token)
{
    const std::string_view word = token.view();
    for (const Keyword &keyword : theKeywords) {
        if (word == keyword.word) {
            return (this->*keyword.parser)(stream, context, keyword);
        }
    }
    if (handleUnknown(stream, token)) {
        return true;
    }
    ZELscriptError(stream, "Dialog Script: unknown identifier: '%s'", token.nonNullStr());
    return false;
}

int ZEL_ScriptParm::finishParse(DS_Stream &stream)
{
    if (myName.getTokenRef().isEmpty()) {
        stream.error("parameter without a name");
        return 0;
    }
    // Never true for the type keyword "toggle", whose type has the channel bit.
    if (myType == (ZEL_TOGGLE_E | ZEL_TYPE_JOIN_NEXT)) {
        myTypeExtended = ZEL_TYPEX_JOINED;
    }
    if (myName.getLabelRef().isEmpty()) {
        myName.setLabel(myName.getToken());
    }
    myName.harden();
    if (myType == ZEL_TOGGLE_E || myType == ZEL_CALLBACK || myType == ZEL_ORD_E) {
        clearFlag(REQUIRED);
    }
    return 1;
}

// -------------------------------------------------------------------- //
// Keywords with a value
// -------------------------------------------------------------------- //

bool ZEL_ScriptParm::parseName(DS_Stream &stream, const Context &context, const Keyword &)
{
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "parm missing name")) {
        return false;
    }
    myName.setToken(token);
    if (context.depth >= 1) {
        ZELcheckScriptName(stream, token, context.depth);
    }
    return true;
}

bool ZEL_ScriptParm::parseLabel(DS_Stream &stream, const Context &, const Keyword &)
{
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "parm missing label")) {
        return false;
    }
    myName.setLabel(token);
    return true;
}

bool ZEL_ScriptParm::parseOpFilter(DS_Stream &stream, const Context &, const Keyword &)
{
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "opfilter missing filter")) {
        return false;
    }
    ZEL_SpareData &spare = *getSpareData(true);
    spare.setOpFilter(ZEL_SpareData::getOpFilterKeyFromName(token));
    spare.setOpRelative(".");
    return true;
}

bool ZEL_ScriptParm::parseType(DS_Stream &stream, const Context &, const Keyword &)
{
    myTypeExtended = ZEL_TYPEX_NONE;
    myMultiType = ZEL_MULTITYPE_NONE;
    if (!myDefaults.isEmpty()) {
        stream.warning("Warning defaults must be specified after type");
        clearDefaults();
    }
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "parm missing type")) {
        return false;
    }
    if (const ZEL_ScriptType *const row = ZELgetScriptType(ZELlookupScriptType(token))) {
        setType(*row);
    } else {
        stream.warning("Unknown parameter type - assuming float");
    }
    if (myType == ZEL_TOGGLE_E) {
        clearFlag(KEEP_TEXT);
    }
    return true;
}

void ZEL_ScriptParm::setType(const ZEL_ScriptType &row)
{
    myType = *row.type;
    mySize = row.size ? row.size : mySize;
    setFlag(row.flags);
    myTypeExtended = row.extended;
    myMultiType = row.multiType;
    if (row.opFilter) {
        getSpareData(true)->setOpFilter(row.opFilter);
    }
    if (row.opRelative) {
        getSpareData(true)->setOpRelative(row.opRelative);
    }
    if (myType == ZEL_ORD_E) {
        myMenuType = ZEL_CHOICELIST_EXCLUSIVE;
        setMenu({});
    }
}

bool ZEL_ScriptParm::parseSize(DS_Stream &stream, const Context &, const Keyword &)
{
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "parm missing vector size")) {
        return false;
    }
    const int64_t size = token.toInteger();
    const int limit = KIT_EnvControl::getLimit(KIT_ENV_MAX_VECTOR_SIZE);
    if (size > limit) {
        ZELscriptError(stream, "vector size above the limit of %d (%s)", limit,
                       KIT_EnvControl::getVariable(KIT_ENV_MAX_VECTOR_SIZE));
        return false;
    }
    // Few components take no more than the words that describe them.
    constexpr int64_t theFew = 16;
    constexpr int64_t theBytes = 90; // measured: its value, and its channel's name in two tables
    if (size > theFew && !ZEL_InputBudget::allowBytes((size - theFew) * theBytes)) {
        ZELscriptError(stream, "components take more memory than the limit of %d MB (%s)",
                       KIT_EnvControl::getLimit(KIT_ENV_MAX_STREAM_MEGABYTES),
                       KIT_EnvControl::getVariable(KIT_ENV_MAX_STREAM_MEGABYTES));
        return false;
    }
    mySize = static_cast<int>(std::max<int64_t>(size, INT_MIN));
    if (mySize < 0) {
        stream.warning("Invalid vector size");
        mySize = 1;
    }
    if (!myDefaults.isEmpty()) {
        stream.warning("Warning defaults should be specified after size");
        clearDefaults();
    }
    return true;
}

bool ZEL_ScriptParm::parseOption(DS_Stream &stream, const Context &, const Keyword &)
{
    return ZELreadScriptToken(stream, myOption, "parm missing option name");
}

bool ZEL_ScriptParm::parseHelp(DS_Stream &stream, const Context &, const Keyword &)
{
    return ZELreadScriptToken(stream, myHelpText, "parm missing help text");
}

bool ZEL_ScriptParm::parseCallback(DS_Stream &stream, const Context &, const Keyword &)
{
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "parm missing callback string")) {
        return false;
    }
    getSpareData(true)->setCallbackData(token);
    return true;
}

bool ZEL_ScriptParm::parseRenderManType(DS_Stream &stream, const Context &, const Keyword &)
{
    // The message is the callback's: tools that read the messages expect it.
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "parm missing callback string")) {
        return false;
    }
    getSpareData(true)->setRenderManType(token);
    return true;
}

bool ZEL_ScriptParm::parseExport(DS_Stream &stream, const Context &, const Keyword &)
{
    constexpr const char *theLevels[][2] = {{"0", "none"}, {"1", "dialog"}, {"2", "all"}};
    KIT_String token;
    if (!ZELreadScriptToken(stream, token, "parm missing export value")) {
        return false;
    }
    for (int level = 0; level < 3; level++) {
        if (token == theLevels[level][0] || token == theLevels[level][1]) {
            myExportLevel = level;
            return true;
        }
    }
    stream.error("parm has bad export value");
    return false;
}

// -------------------------------------------------------------------- //
// Keywords without arguments
// -------------------------------------------------------------------- //

bool ZEL_ScriptParm::parseBaseParm(DS_Stream &, const Context &, const Keyword &)
{
    myBaseParmFlag = true;
    return true;
}

bool ZEL_ScriptParm::parseLook(DS_Stream &, const Context &, const Keyword &keyword)
{
    myType |= ZEL_Type(ZEL_Type::ZEL_InterfaceType(keyword.argument));
    return true;
}

bool ZEL_ScriptParm::parseFlag(DS_Stream &, const Context &, const Keyword &keyword)
{
    setFlag(static_cast<unsigned>(keyword.argument));
    return true;
}

bool ZEL_ScriptParm::parseLogarithmic(DS_Stream &, const Context &, const Keyword &)
{
    if (myType.isFloatType() && !myType.hasAnyOf(ZEL_TYPE_INTEGER)) {
        myType |= ZEL_TYPE_LOGARITHMIC;
    }
    return true;
}

bool ZEL_ScriptParm::parseUnquoted(DS_Stream &, const Context &, const Keyword &)
{
    getSpareData(true)->setUnquotedState(true);
    return true;
}

bool ZEL_ScriptParm::parseObsolete(DS_Stream &stream, const Context &, const Keyword &)
{
    ZELskipScriptNumber(stream);
    setFlag(OBSOLETE);
    return true;
}

// -------------------------------------------------------------------- //
// Keywords with a block
// -------------------------------------------------------------------- //

bool ZEL_ScriptParm::parseTag(DS_Stream &stream, const Context &, const Keyword &)
{
    KIT_String name;
    KIT_String value;
    return ZELreadScriptTag(stream, "Expecting open brace for parmtag", name, value) &&
           (!name.c_str() || ZELaddScriptTag(stream, getSpareData(true), name, value));
}

bool ZEL_ScriptParm::parseCondition(DS_Stream &stream, const Context &, const Keyword &keyword)
{
    ZEL_Conditional conditional{ZEL_ConditionalType(keyword.argument)};
    parseConditional(stream, conditional);
    myConditionals.addConditional(conditional);
    return true;
}

bool ZEL_ScriptParm::parseDefaults(DS_Stream &stream, const Context &, const Keyword &)
{
    const bool stringFlag = (myType & ZEL_TYPE_BASIC_TYPE) == ZEL_TYPE_STRING;
    if (!stream.getOpenBrace()) {
        return false;
    }
    clearDefaults();
    myDefaults.setSize(mySize);
    myDefaultStrings.setSize(mySize);
    int count = 0;
    if (!readDefaults(stream, count)) {
        return false;
    }
    for (int i = 0; i < mySize; i++) {
        if (i >= count) {
            myDefaultStrings[i] = stringFlag ? "" : "0";
        }
        setDefault(i, stringFlag);
    }
    return true;
}

bool ZEL_ScriptParm::readDefaults(DS_Stream &stream, int &count)
{
    constexpr const char *theEndError = "Expecting close brace for defaults";
    KIT_String text;
    KIT_String word;
    for (;;) {
        if (!ZELreadScriptToken(stream, text, theEndError)) {
            return false;
        }
        if (text == "}") {
            return true;
        }
        TRK_StringMeaning meaning = TRK_MEANING_LITERAL;
        if (text == "[") {
            if (!ZELreadScriptToken(stream, text, theEndError) ||
                !ZELreadScriptToken(stream, word, theEndError)) {
                return false;
            }
            if (!TRKstringToMeaning(word, meaning)) {
                stream.warning("Invalid string meaning");
                meaning = TRK_MEANING_LITERAL;
            }
            // The closing bracket; any token is accepted.
            if (!ZELreadScriptToken(stream, word, theEndError)) {
                return false;
            }
        }
        if (count < mySize) {
            myDefaultStrings[count] = text;
            myDefaults[count].setStringMeaning(meaning);
            count++;
        } else {
            stream.warning("Too many defaults specified");
        }
    }
}

void ZEL_ScriptParm::setDefault(int index, bool isString)
{
    const KIT_String &text = myDefaultStrings[index];
    const bool numberFlag = text.isFloat();
    const double value = numberFlag ? BASparseFloat(text) : 0.0;
    if (numberFlag && !isString && !getFlag(KEEP_TEXT)) {
        myDefaults[index].set(value);
    } else {
        myDefaults[index].set(value, text.nonNullStr(), myDefaults[index].getStringMeaning());
    }
}

void ZEL_ScriptParm::clearDefaults()
{
    myDefaults.clear();
    myDefaultStrings.clear();
}

bool ZEL_ScriptParm::parseRangeWord(DS_Stream &stream, const Context &, const Keyword &)
{
    return parseRange(stream) != 0;
}

int ZEL_ScriptParm::parseRange(DS_Stream &stream)
{
    if (!stream.getOpenBrace()) {
        return 0;
    }
    // "Expeced" is kept: tools that read the messages search for this text.
    KIT_String min;
    KIT_String max;
    if (!stream.getToken(min) || min == "}") {
        stream.error("Expeced minimum value for range");
        return 0;
    }
    if (!stream.getToken(max) || max == "}") {
        stream.error("Expeced maximum value for range");
        return 0;
    }
    const ZEL_RangeFlag minFlag = takeLock(min);
    const ZEL_RangeFlag maxFlag = takeLock(max);
    const double low = BASparseFloat(min);
    const double high = BASparseFloat(max);
    if (low < high) {
        myRange = std::make_unique<ZEL_Range>(minFlag, low, maxFlag, high);
    } else {
        stream.warning("Invalid range specification: the maximum value is less than the minimum "
                       "value.");
    }

    KIT_String token;
    for (bool firstFlag = true;; firstFlag = false) {
        if (!ZELreadScriptToken(stream, token, "Expecting close brace for range")) {
            return 0;
        }
        if (token == "}") {
            return 1;
        }
        if (firstFlag) {
            stream.warning("Too many range values specified");
        }
    }
}
