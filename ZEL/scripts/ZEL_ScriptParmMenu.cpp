#include <ZEL/ZEL_ScriptParm.h>

#include <CON/CON_Manager.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/scripts/ZEL_ScriptPrivate.h>
#include <ZEL/support/ZEL_LoadScopePrivate.h>

#include <algorithm>
#include <string_view>

namespace
{

// "Expecing" is kept: tools that read the messages search for this text.
constexpr const char *theMenuEndError = "Expecing close brace for menu";

/// Whether menu tokens may hold surplus backslashes, which earlier versions added on each save:
/// always true, except while loading a scene that none of those versions saved.
bool mayHoldSurplusBackslashes()
{
    if (!ZEL_LoadScope::isLoading()) {
        return true;
    }
    KIT_String version;
    int major = 0;
    int minor = 0;
    int build = 0;
    if (!CON_Manager::getContext().getEnv("_SCN_SAVEVERSION", version) ||
        std::sscanf(version.nonNullStr(), "%d.%d.%d", &major, &minor, &build) != 3) {
        return false;
    }
    return (major == 12 && minor == 0 && build >= 8 && build <= 26) ||
           (major == 13 && minor == 5 && build >= 357 && build <= 375);
}

/// Drops each run of five or more backslashes.
void dropSurplusBackslashes(KIT_String &token)
{
    constexpr size_t theLongestRun = 4;
    const std::string_view text = token.view();
    if (text.find(std::string_view("\\\\\\\\\\")) == std::string_view::npos) {
        return;
    }
    KIT_WorkBuffer repaired;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find_first_not_of('\\', at), text.size());
        if (end - at <= theLongestRun) {
            repaired.append(text.substr(at, end - at));
        }
        at = end;
        if (at < text.size()) {
            repaired.append(text[at++]);
        }
    }
    repaired.copyIntoString(token);
}

/// Appends the tokens up to the "]", with blanks between them.
bool readScriptPart(DS_Stream &stream, KIT_WorkBuffer &script)
{
    KIT_String token;
    for (bool firstFlag = true;; firstFlag = false) {
        if (!ZELreadScriptToken(stream, token, "Expecting close bracket for menu")) {
            return false;
        }
        if (token == "]") {
            return true;
        }
        if (token == "}") {
            stream.error("Expecting close bracket before brace for menu");
            return false;
        }
        if (!firstFlag) {
            script.append(' ');
        }
        script.append(token);
    }
}

} // namespace

bool ZEL_ScriptParm::parseMenuWord(DS_Stream &stream, const Context &, const Keyword &keyword)
{
    const int kind = keyword.argument;
    myMenuType = ZEL_CHOICELIST_EXCLUSIVE;
    if (kind == MENU_MINI) {
        myTypeExtended = ZEL_TYPEX_MINI_MENU;
    } else if (kind == MENU_JOIN) {
        myTypeExtended = ZEL_TYPEX_JOINED_NODE;
    }
    if (myType != ZEL_ORD_E) {
        if (kind == MENU_REPLACE) {
            myMenuType = ZEL_CHOICELIST_REPLACE;
        } else if (kind == MENU_TOGGLE) {
            const bool manyFlag =
                myType.isStringType() || myType.hasAnyOf(ZEL_TYPE_BUTTONSTRIP | ZEL_TYPE_ICONSTRIP);
            myMenuType = manyFlag ? ZEL_CHOICELIST_TOGGLE : ZEL_CHOICELIST_REPLACE;
        }
    }
    return parseMenu(stream);
}

bool ZEL_ScriptParm::parseMenu(DS_Stream &stream)
{
    KIT_String token;
    for (;;) {
        if (!ZELreadScriptToken(stream, token, "Expecting menu definition")) {
            return false;
        }
        if (token != "usetokenvalue") {
            break;
        }
        myMenuType = ZEL_ChoiceListType(myMenuType | ZEL_CHOICELIST_USE_TOKEN);
    }
    if (token != "{") {
        stream.error("Expecting open brace for menu");
        return false;
    }
    clearMenu();
    if (!ZELreadScriptToken(stream, token, theMenuEndError)) {
        return false;
    }
    return token == "[" ? parseMenuScript(stream) : parseMenuItems(stream, token);
}

bool ZEL_ScriptParm::parseMenuItems(DS_Stream &stream, KIT_String &token)
{
    const bool repairFlag = mayHoldSurplusBackslashes();
    KIT_Array<ZEL_Name> items;
    KIT_String label;
    while (token != "}") {
        if (token == "[") {
            stream.error("Unexpected script command for menu");
            return false;
        }
        if (!ZELreadScriptToken(stream, label, "Expecting close brace for menu")) {
            return false;
        }
        if (label == "}") {
            stream.error("Unexpected close brace for menu");
            return false;
        }
        if (repairFlag) {
            dropSurplusBackslashes(token);
        }
        ZEL_Name item;
        item.setTokenAndLabel(token.nonNullStr(), label.nonNullStr());
        items.append(std::move(item));
        if (!ZELreadScriptToken(stream, token, theMenuEndError)) {
            return false;
        }
    }
    setMenu(items);
    return true;
}

bool ZEL_ScriptParm::parseMenuScript(DS_Stream &stream)
{
    KIT_WorkBuffer script;
    TRK_ScriptLanguage language = TRK_SCRIPT_COMMAND;
    KIT_String token;
    if (!readScriptPart(stream, script)) {
        return false;
    }
    for (;;) {
        if (!ZELreadScriptToken(stream, token, "Expecting close bracket for menu")) {
            return false;
        }
        if (token == "}") {
            myMenu = std::make_unique<ZEL_ChoiceList>(myMenuType, script.buffer(), language);
            return true;
        }
        if (token == "[") {
            script.append('\n');
            if (!readScriptPart(stream, script)) {
                return false;
            }
        } else if (token == "language") {
            if (!ZELreadScriptToken(stream, token, "Expecting language for menu")) {
                return false;
            }
            if (!TRKstringToScriptLanguage(token, language)) {
                stream.error("Invalid language for menu");
                return false;
            }
        } else {
            stream.error("Expecting open bracket for menu");
            return false;
        }
    }
}

void ZEL_ScriptParm::setMenu(const KIT_Array<ZEL_Name> &items)
{
    clearMenu();
    myMenuNames.reset(new ZEL_Name[static_cast<size_t>(items.entries()) + 1]);
    std::copy(items.begin(), items.end(), myMenuNames.get());
    myMenuNames[static_cast<size_t>(items.entries())].setAsSentinel();
    myMenu = std::make_unique<ZEL_ChoiceList>(myMenuType, myMenuNames.get());
}

void ZEL_ScriptParm::clearMenu()
{
    myMenu.reset();
    myMenuNames.reset();
}
