#include "ZELT_ShellCommands.h"

#include "ZELT_Commands.h"
#include "ZELT_Format.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Show.h"
#include "ZELT_State.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>

using std::cout;

const ZELT_ShellCommands::Command ZELT_ShellCommands::theCommands[] = {
    {"help", "", 0, 0, &ZELT_ShellCommands::help},
    {"list", "", 0, 0, &ZELT_ShellCommands::list},
    {"tree", "", 0, 0, &ZELT_ShellCommands::tree},
    {"show", "TOKEN", 1, 1, &ZELT_ShellCommands::show},
    {"type", "TOKEN", 1, 1, &ZELT_ShellCommands::type},
    {"time", "T", 1, 1, &ZELT_ShellCommands::time},
    {"set", "TOKEN[:I] VALUE", 2, 2, &ZELT_ShellCommands::set, true},
    {"raw", "TOKEN[:I]", 1, 1, &ZELT_ShellCommands::raw},
    {"eval", "TOKEN[:I] [T]", 1, 2, &ZELT_ShellCommands::eval},
    {"string", "TOKEN[:I] [T]", 1, 2, &ZELT_ShellCommands::text},
    {"expr", "TOKEN[:I] TEXT [expression|python]", 2, 3, &ZELT_ShellCommands::expression, true},
    {"key", "TOKEN[:I] T VALUE", 3, 3, &ZELT_ShellCommands::key, true},
    {"unkey", "TOKEN[:I]", 1, 1, &ZELT_ShellCommands::unkey, true},
    {"default", "TOKEN[:I]", 1, 1, &ZELT_ShellCommands::revert, true},
    {"lock", "TOKEN[:I]", 1, 1, &ZELT_ShellCommands::lock, true},
    {"unlock", "TOKEN[:I]", 1, 1, &ZELT_ShellCommands::unlock, true},
    {"alias", "TOKEN:I NAME", 2, 2, &ZELT_ShellCommands::alias, true},
    {"menu", "TOKEN", 1, 1, &ZELT_ShellCommands::menu},
    {"insert", "TOKEN ITEM", 2, 2, &ZELT_ShellCommands::insert, true},
    {"remove", "TOKEN ITEM", 2, 2, &ZELT_ShellCommands::removeItem, true},
    {"swap", "TOKEN A B", 3, 3, &ZELT_ShellCommands::swapItems, true},
    {"count", "TOKEN", 1, 1, &ZELT_ShellCommands::count},
    {"enabled", "TOKEN", 1, 1, &ZELT_ShellCommands::enabled},
    {"hidden", "TOKEN", 1, 1, &ZELT_ShellCommands::hidden},
    {"nocook", "TOKEN", 1, 1, &ZELT_ShellCommands::noCook},
    {"dirty", "TOKEN", 1, 1, &ZELT_ShellCommands::dirty},
    {"timedep", "[TOKEN]", 0, 1, &ZELT_ShellCommands::timeDependent},
    {"override", "TOKEN:I DATAINDEX NAME", 3, 3, &ZELT_ShellCommands::overrideValue},
    {"magic", "", 0, 0, &ZELT_ShellCommands::magic},
    {"permissions", "N", 1, 1, &ZELT_ShellCommands::permissions},
    {"save", "text|binary|compact FILE", 2, 2, &ZELT_ShellCommands::save},
    {"load", "FILE", 1, 1, &ZELT_ShellCommands::load, true},
    {"channels", "FILE", 1, 1, &ZELT_ShellCommands::channels, true},
    {"snapshot", "[NAME]", 0, 1, &ZELT_ShellCommands::snapshot},
    {"restore", "NAME", 1, 1, &ZELT_ShellCommands::restore, true},
    {"undo", "", 0, 0, &ZELT_ShellCommands::undo},
    {"redo", "", 0, 0, &ZELT_ShellCommands::redo},
    {"graph", "[clean]", 0, 1, &ZELT_ShellCommands::graph},
    {"spare", "list | add FILE|TEXT | remove TOKEN", 1, 2, &ZELT_ShellCommands::spare},
    {"adopt", "FILE", 1, 1, &ZELT_ShellCommands::adopt},
    {"preset", "list|load|save|delete [NAME] [FOLDER]", 1, 3, &ZELT_ShellCommands::preset, true},
    {"events", "on|off", 1, 1, &ZELT_ShellCommands::events},
    {"messages", "", 0, 0, &ZELT_ShellCommands::printMessages},
};

namespace
{

void printYesNo(bool yes)
{
    cout << (yes ? "yes\n" : "no\n");
}

void printEvent(ZELX_Node &, TRK_CHANGE_TYPE type, int parmIndex)
{
    cout << "event " << int(type) << ' ' << parmIndex << '\n';
}

} // namespace

ZELT_ShellCommands::ZELT_ShellCommands(const ZELT_Script &script, ZELT_Messages &messages)
    : myScript(&script), myMessages(messages), mySession(script), myUndo(mySession.getNode())
{}

bool ZELT_ShellCommands::run(std::string_view line)
{
    Words words;
    if (!ZELTsplitWords(line, words)) {
        fail("a quote isn't closed");
    } else if (!words.empty() && (words[0] == "quit" || words[0] == "exit")) {
        return false;
    } else if (!words.empty()) {
        dispatch(words, line);
    }
    return true;
}

void ZELT_ShellCommands::dispatch(const Words &words, std::string_view line)
{
    for (const Command &command : theCommands) {
        if (words[0] == command.name) {
            const std::size_t given = words.size() - 1;
            if (given < command.least || given > command.most) {
                fail(std::string("usage: ") + command.name + ' ' + command.usage);
            } else {
                call(command, words, line);
            }
            return;
        }
    }
    fail("there is no command " + words[0]);
}

void ZELT_ShellCommands::call(const Command &command, const Words &words, std::string_view line)
{
    const TRK_EvalContext::Scope context(BASgetSTID(), myTime);
    if (command.call == &ZELT_ShellCommands::printMessages) {
        printMessages(words);
        return;
    }
    // Saves and loads stop at an error, so one of before that isn't printed yet waits aside.
    KIT_ErrorManager::Scope scope(BASgetSTID());
    if (command.editFlag) {
        const ZELX_UndoStack::Step step(myUndo, std::string(line));
        (this->*command.call)(words);
    } else {
        (this->*command.call)(words);
    }
    scope.getOuterManager().stealErrors(scope.getManager());
}

void ZELT_ShellCommands::fail(const std::string &reason)
{
    cout << "! " << reason << '\n';
}

void ZELT_ShellCommands::settle(const std::string &fault, const std::string &file)
{
    if (!fault.empty()) {
        fail(file + (file.empty() ? "" : " ") + fault);
    }
}

ZEL_Parm *ZELT_ShellCommands::findParm(const std::string &token)
{
    ZEL_Parm *const parm = mySession.getParms().getParmPtr(token.c_str());
    if (!parm) {
        fail("there is no parameter " + token);
    }
    return parm;
}

bool ZELT_ShellCommands::find(const std::string &text, ZELT_Address &address)
{
    const std::string fault = mySession.resolve(text, address);
    settle(fault);
    return fault.empty();
}

bool ZELT_ShellCommands::readTime(const Words &words, std::size_t place, double &value)
{
    value = myTime;
    if (place < words.size() && !ZELTparseNumber(words[place], value)) {
        fail(words[place] + " is no time");
        return false;
    }
    return true;
}

bool ZELT_ShellCommands::readNumber(const std::string &word, int &number)
{
    if (!ZELTparseInteger(word, number) || number < 0) {
        fail(word + " is no number from 0 on");
        return false;
    }
    return true;
}

// -------------------------------------------------------------------- //
// Looking
// -------------------------------------------------------------------- //

void ZELT_ShellCommands::help(const Words &)
{
    for (const Command &command : theCommands) {
        cout << command.name << (*command.usage ? " " : "") << command.usage << '\n';
    }
    cout << "quit\n";
}

void ZELT_ShellCommands::list(const Words &)
{
    const ZEL_ParmList &parms = mySession.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        cout << parm.getToken();
        const int size = parm.getTemplatePtr()->isSwitcher() ? 0 : parm.getVectorSize();
        for (int k = 0; k < size; ++k) {
            cout << ' ' << ZELTcomponentText(parm, k, myTime, BASgetSTID());
        }
        cout << '\n';
    }
}

void ZELT_ShellCommands::tree(const Words &)
{
    cout << ZELTdescribeTree(myScript->getTemplates());
}

void ZELT_ShellCommands::show(const Words &words)
{
    if (const ZEL_Parm *const parm = findParm(words[1])) {
        cout << ZELTdescribeLine(*parm->getTemplatePtr()) << '\n';
    }
}

void ZELT_ShellCommands::type(const Words &words)
{
    if (const ZEL_Parm *const parm = findParm(words[1])) {
        cout << ZELTtypeDump(*parm->getTemplatePtr()) << '\n';
    }
}

void ZELT_ShellCommands::time(const Words &words)
{
    double value = 0.0;
    if (readTime(words, 1, value)) {
        myTime = value;
    }
}

void ZELT_ShellCommands::menu(const Words &words)
{
    const ZEL_Parm *const parm = findParm(words[1]);
    if (!parm) {
        return;
    }
    const ZEL_ChoiceList *const menu = parm->getChoiceListPtr();
    if (!menu) {
        fail(words[1] + " has no menu");
        return;
    }
    const ZEL_Name *names = nullptr;
    constexpr bool quiet = false;
    menu->getChoiceNames(names, parm->getParmOwner(), parm->getSparePtr(), parm, quiet);
    for (; names && !names->isSentinel(); ++names) {
        cout << names->getToken() << ' ' << ZELTquote(names->getLabel()) << '\n';
    }
}

// -------------------------------------------------------------------- //
// Values
// -------------------------------------------------------------------- //

void ZELT_ShellCommands::set(const Words &words)
{
    settle(mySession.set(words[1], words[2], myTime));
}

void ZELT_ShellCommands::raw(const Words &words)
{
    constexpr bool asWritten = false;
    ZELT_Address address;
    if (find(words[1], address)) {
        for (int i = address.first; i < address.end; ++i) {
            KIT_String value;
            address.parm->getValue(myTime, value, i, asWritten, BASgetSTID());
            cout << ZELTquote(value.view()) << '\n';
        }
    }
}

void ZELT_ShellCommands::eval(const Words &words)
{
    const int thread = BASgetSTID();
    ZELT_Address address;
    double when = 0.0;
    if (!find(words[1], address) || !readTime(words, 2, when)) {
        return;
    }
    for (int i = address.first; i < address.end; ++i) {
        EVL::theErrNo[thread] = EVL::EVL_OK;
        const std::string value = ZELTcomponentText(*address.parm, i, when, thread);
        if (EVL::theErrNo[thread] != EVL::EVL_OK) {
            fail(ZELTevaluationError(EVL::theErrNo[thread]));
        } else {
            cout << value << '\n';
        }
    }
    EVL::theErrNo[thread] = EVL::EVL_OK;
}

void ZELT_ShellCommands::text(const Words &words)
{
    constexpr bool expanded = true;
    ZELT_Address address;
    double when = 0.0;
    if (find(words[1], address) && readTime(words, 2, when)) {
        for (int i = address.first; i < address.end; ++i) {
            KIT_String value;
            address.parm->getValue(when, value, i, expanded, BASgetSTID());
            cout << ZELTquote(value.view()) << '\n';
        }
    }
}

void ZELT_ShellCommands::expression(const Words &words)
{
    const bool pythonFlag = words.size() > 3 && words[3] == "python";
    if (words.size() > 3 && !pythonFlag && words[3] != "expression") {
        fail("the language is expression or python");
        return;
    }
    settle(mySession.setExpression(words[1], words[2],
                                   pythonFlag ? TRK_LANGUAGE_PYTHON : TRK_LANGUAGE_NATIVE, myTime));
}

void ZELT_ShellCommands::key(const Words &words)
{
    double when = 0.0;
    if (readTime(words, 2, when)) {
        settle(mySession.setKey(words[1], when, words[3]));
    }
}

void ZELT_ShellCommands::unkey(const Words &words)
{
    ZELT_Address address;
    if (find(words[1], address)) {
        for (int i = address.first; i < address.end; ++i) {
            TRK_Channel *const channel = address.parm->getChannel(i);
            if (!channel || !channel->removeKey(myTime)) {
                fail("no key at time " + ZELTnumber(myTime));
            }
        }
    }
}

void ZELT_ShellCommands::revert(const Words &words)
{
    constexpr bool propagate = true;
    ZELT_Address address;
    if (find(words[1], address)) {
        for (int i = address.first; i < address.end; ++i) {
            address.parm->revertToDefault(myTime, i, propagate);
        }
        mySession.growBlocks(myTime);
    }
}

void ZELT_ShellCommands::setLocked(const std::string &words, bool locked)
{
    ZELT_Address address;
    if (find(words, address)) {
        for (int i = address.first; i < address.end; ++i) {
            address.parm->setLockedFlag(i, locked);
        }
    }
}

void ZELT_ShellCommands::lock(const Words &words)
{
    setLocked(words[1], true);
}

void ZELT_ShellCommands::unlock(const Words &words)
{
    setLocked(words[1], false);
}

void ZELT_ShellCommands::alias(const Words &words)
{
    ZELT_Address address;
    if (find(words[1], address) &&
        !mySession.getParms().setChannelAlias(address.parm, address.first,
                                              KIT_StringHolder(words[2].c_str()))) {
        fail("the alias isn't allowed or is in use");
    }
}

void ZELT_ShellCommands::overrideValue(const Words &words)
{
    ZELT_Address address;
    int dataIndex = 0;
    if (find(words[1], address) && readNumber(words[2], dataIndex)) {
        if (!address.parm->setOverride(address.first, dataIndex, words[3].c_str(),
                                       ZEL_OVERRIDE_OVERRIDDEN)) {
            fail(words[1] + " takes no override");
        }
    }
}

// -------------------------------------------------------------------- //
// Blocks
// -------------------------------------------------------------------- //

void ZELT_ShellCommands::insert(const Words &words)
{
    int item = 0;
    const ZEL_Parm *const parm = findParm(words[1]);
    if (parm && readNumber(words[2], item)) {
        if (!parm->isMultiParm() || item > parm->getMultiParmNumItems()) {
            fail(words[1] + " has no place " + words[2]);
            return;
        }
        mySession.getParms().insertMultiParmItem(mySession.getParms().getParmIndex(parm), item);
        mySession.growBlocks(myTime);
    }
}

void ZELT_ShellCommands::removeItem(const Words &words)
{
    int item = 0;
    const ZEL_Parm *const parm = findParm(words[1]);
    if (parm && readNumber(words[2], item)) {
        if (item >= parm->getMultiParmNumItems()) {
            fail(words[1] + " has no item " + words[2]);
            return;
        }
        mySession.getParms().removeMultiParmItem(mySession.getParms().getParmIndex(parm), item);
        mySession.growBlocks(myTime);
    }
}

void ZELT_ShellCommands::swapItems(const Words &words)
{
    int first = 0;
    int second = 0;
    ZEL_Parm *const parm = findParm(words[1]);
    if (parm && readNumber(words[2], first) && readNumber(words[3], second)) {
        const int items = parm->getMultiParmNumItems();
        if (first >= items || second >= items) {
            fail(words[1] + " has no item " + (first >= items ? words[2] : words[3]));
            return;
        }
        parm->swapMultiParmItem(first, second);
    }
}

void ZELT_ShellCommands::count(const Words &words)
{
    if (const ZEL_Parm *const parm = findParm(words[1])) {
        if (parm->isMultiParm()) {
            cout << parm->getMultiParmNumItems() << '\n';
        } else {
            fail(words[1] + " has no items");
        }
    }
}

// -------------------------------------------------------------------- //
// State
// -------------------------------------------------------------------- //

void ZELT_ShellCommands::enabled(const Words &words)
{
    if (const ZEL_Parm *const parm = findParm(words[1])) {
        printYesNo(!ZELTholds(*parm, ZEL_CONDTYPE_DISABLE));
    }
}

void ZELT_ShellCommands::hidden(const Words &words)
{
    if (const ZEL_Parm *const parm = findParm(words[1])) {
        printYesNo(ZELTholds(*parm, ZEL_CONDTYPE_HIDE));
    }
}

void ZELT_ShellCommands::noCook(const Words &words)
{
    if (const ZEL_Parm *const parm = findParm(words[1])) {
        printYesNo(ZELTholds(*parm, ZEL_CONDTYPE_NOCOOK));
    }
}

void ZELT_ShellCommands::dirty(const Words &words)
{
    constexpr int anyComponent = -1;
    if (const ZEL_Parm *const parm = findParm(words[1])) {
        printYesNo(parm->isDirty(anyComponent));
    }
}

void ZELT_ShellCommands::timeDependent(const Words &words)
{
    ZEL_ParmList &parms = mySession.getParms();
    if (words.size() < 2) {
        constexpr bool evaluate = true;
        parms.clearTimeDependent();
        printYesNo(parms.checkTimeDependence(evaluate));
    } else if (const ZEL_Parm *const parm = findParm(words[1])) {
        bool anyFlag = false;
        for (int i = 0; i < parm->getVectorSize(); ++i) {
            anyFlag = parm->isTimeDependent(i) || anyFlag;
        }
        printYesNo(anyFlag);
    }
}

void ZELT_ShellCommands::magic(const Words &)
{
    constexpr unsigned allExports = 0xff;
    KIT_TokenString tokens;
    mySession.getParms().getMagicString(tokens, myTime, allExports);
    char text[32];
    std::snprintf(text, sizeof(text), "%08x", unsigned(tokens.hash()));
    cout << text << ' ' << tokens.size() << " bytes\n";
}

void ZELT_ShellCommands::permissions(const Words &words)
{
    char *end = nullptr;
    const unsigned long mask = std::strtoul(words[1].c_str(), &end, 8);
    if (words[1].empty() || *end || mask > 0777) {
        fail(words[1] + " is no octal mask up to 777");
    } else {
        mySession.getParms().setPermissions(std::uint32_t(mask));
    }
}

// -------------------------------------------------------------------- //
// Files and messages
// -------------------------------------------------------------------- //

void ZELT_ShellCommands::save(const Words &words)
{
    if (words[1] != "text" && words[1] != "binary" && words[1] != "compact") {
        fail("the form is text, binary or compact");
        return;
    }
    std::ostringstream os;
    mySession.getParms().save(os, words[1] != "text", words[1] == "compact");
    if (words[2] == "-") {
        cout << os.str();
    } else if (!ZELTwriteFile(words[2], os.str(), myMessages)) {
        fail(words[2] + " isn't written");
    }
}

void ZELT_ShellCommands::load(const Words &words)
{
    settle(mySession.loadValues(words[1]), words[1]);
}

void ZELT_ShellCommands::channels(const Words &words)
{
    settle(mySession.loadChannels(words[1]), words[1]);
}

void ZELT_ShellCommands::events(const Words &words)
{
    if (words[1] == "on") {
        mySession.getNode().setChangeCallback(printEvent);
    } else if (words[1] == "off") {
        mySession.getNode().setChangeCallback(nullptr);
    } else {
        fail("events are on or off");
    }
}

void ZELT_ShellCommands::printMessages(const Words &)
{
    KIT_ErrorManager &manager = KITgetErrorManager();
    for (std::int64_t i = 0; i < manager.entries(); ++i) {
        const KIT_ErrorManager::Error &entry = manager.getError(i);
        cout << (entry.severity >= KIT_ERROR_ABORT ? "error " : "warning ") << entry.category << ' '
             << entry.code << ' '
             << KITformatMessage(entry.category.c_str(), entry.code, entry.text.c_str()) << '\n';
    }
    manager.clearAndDestroyErrors();
}
