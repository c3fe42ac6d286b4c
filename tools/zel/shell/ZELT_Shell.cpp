#include "ZELT_Shell.h"

#include "ZELT_Captured.h"
#include "ZELT_Format.h"
#include "ZELT_Interrupts.h"
#include "ZELT_Json.h"
#include "ZELT_Script.h"

#include <BAS/BAS_Interrupt.h>
#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TimeText.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_ParmList.h>

#include <cstdint>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>
#include <utility>

const ZELT_ShellCommand *ZELTfindShellCommand(const std::string &name)
{
    for (const ZELT_ShellTable *const table : theZELTShellTables) {
        for (const ZELT_ShellCommand &command : *table) {
            if (name == command.name) {
                return &command;
            }
        }
    }
    return nullptr;
}

std::vector<std::string> ZELTshellCommandNames()
{
    std::vector<std::string> names{"quit", "exit"};
    for (const ZELT_ShellTable *const table : theZELTShellTables) {
        for (const ZELT_ShellCommand &command : *table) {
            names.emplace_back(command.name);
        }
    }
    return names;
}

namespace
{

void printReply(std::string_view line, const std::string &output,
                const std::vector<std::string> &errors)
{
    ZELT_Json json;
    json["line"] = line;
    json["ok"] = errors.empty();
    json["output"] = ZELT_Json::array();
    std::istringstream lines(output);
    for (std::string one; std::getline(lines, one);) {
        json["output"].push_back(one);
    }
    json["errors"] = errors;
    std::cout << ZELTjsonText(json) << std::endl; // a program waits for it
}

} // namespace

ZELT_Shell::ZELT_Shell(std::unique_ptr<ZELT_Session> session, ZELT_Messages &messages)
    : myMessages(messages), mySession(std::move(session)), myTime(mySession->getTime())
{}

ZELT_Shell::~ZELT_Shell() = default;

// -------------------------------------------------------------------- //
// Lines
// -------------------------------------------------------------------- //

bool ZELT_Shell::run(std::string_view line)
{
    myReasons.clear();
    bool goesOn = true;
    if (myJsonFlag) {
        ZELT_Captured output;
        goesOn = runLine(line);
        ZELT_ShellWords words;
        if (goesOn && (!ZELTsplitWords(line, words) || !words.empty())) {
            printReply(line, output.end(), myReasons);
        }
    } else {
        goesOn = runLine(line);
    }
    myFailures += !myReasons.empty();
    return goesOn;
}

bool ZELT_Shell::runLine(std::string_view line)
{
    ZELT_ShellWords words;
    if (line.find('\0') != std::string_view::npos) {
        fail("the line has a byte of zero");
    } else if (!ZELTsplitWords(line, words)) {
        fail("a quote isn't closed");
    } else if (!words.empty() && (words[0] == "quit" || words[0] == "exit")) {
        return false;
    } else if (!words.empty()) {
        dispatch(words, line);
    }
    return true;
}

void ZELT_Shell::dispatch(ZELT_ShellWords &words, std::string_view line)
{
    const ZELT_ShellCommand *const command = ZELTfindShellCommand(words[0]);
    myLineAllowsFlag =
        command && (command->flags & ZELT_SHELL_WRITES) != 0 && words.back() == theZELTAllowLoss;
    if (myLineAllowsFlag) {
        words.pop_back();
    }
    const std::size_t given = words.size() - 1;
    if (!command) {
        failUnknown(words[0]);
    } else if (given < command->least || given > command->most) {
        fail(std::string("usage: ") + command->name + ' ' + command->usage);
    } else {
        call(*command, words, line);
    }
}

void ZELT_Shell::failUnknown(const std::string &command)
{
    fail("there is no command " + command + KITdidYouMean(command, ZELTshellCommandNames()));
}

/// Whatever a command evaluates and doesn't report itself.
void ZELT_Shell::callAndTell(const ZELT_ShellCommand &command, const ZELT_ShellWords &words)
{
    int &error = EVL::theErrNo[BASgetSTID()];
    error = EVL::EVL_OK;
    command.call(*this, words);
    if (error != EVL::EVL_OK) {
        fail("an evaluation failed: " + ZELTevaluationError(error));
        error = EVL::EVL_OK;
    }
}

void ZELT_Shell::call(const ZELT_ShellCommand &command, const ZELT_ShellWords &words,
                      std::string_view line)
{
    const TRK_EvalContext::Scope context(BASgetSTID(), myTime);
    const TRK_EvalContext::Work work;
    const ZEL_InputBudget budget(std::int64_t(line.size()));
    const ZELT_Interrupts::Command running;
    if ((command.flags & ZELT_SHELL_SEES_MESSAGES) != 0) {
        callAndTell(command, words);
        takeInterrupt([] { return false; });
        return;
    }
    // Saves and loads stop at an error, so earlier ones that aren't printed yet are set aside.
    KIT_ErrorManager::Scope scope(BASgetSTID());
    NOD_UndoStack &stack = getUndo();
    const std::size_t before = stack.getUndoCount();
    const bool editsFlag = (command.flags & ZELT_SHELL_EDITS) != 0;
    {
        std::optional<NOD_Edit> step;
        if (editsFlag) {
            // What a command edits is known when it has.
            step.emplace(stack, std::string(line));
            step->change(getNode());
        }
        callAndTell(command, words);
        ZELT_Interrupts::Command::goOn();
        takeInterrupt([&] { return step && step->cancel(); });
    }
    // Of what the step's end has evaluated.
    takeInterrupt([&] {
        const bool fullFlag = before == NOD_UndoStack::theUsualMost && stack.getUndoLabel() == line;
        return editsFlag && (stack.getUndoCount() > before || fullFlag) && stack.undo();
    });
    scope.getOuterManager().stealErrors(scope.getManager());
}

/// What a command that was stopped has changed may be half of it.
void ZELT_Shell::takeInterrupt(const std::function<bool()> &takeBack)
{
    if (wasStopped()) {
        const bool backFlag = takeBack();
        BAS_Interrupt::clear(); // once more: what is taken back is whole
        fail(backFlag ? "interrupted: nothing is changed" : "interrupted");
    }
}

bool ZELT_Shell::wasStopped()
{
    const bool stoppedFlag = BAS_Interrupt::isRequested();
    BAS_Interrupt::clear();
    return stoppedFlag;
}

bool ZELT_Shell::finish()
{
    return ZELT_Interrupts::Command::finish();
}

bool ZELT_Shell::runAction(const ZELT_ShellAction *begin, const ZELT_ShellAction *end,
                           const ZELT_ShellWords &words)
{
    const std::size_t given = words.size() - 2;
    for (const ZELT_ShellAction *action = begin; action != end; ++action) {
        if (words[1] == action->name && given >= action->least && given <= action->most) {
            action->call(*this, words);
            return true;
        }
    }
    return false;
}

// -------------------------------------------------------------------- //
// What commands work on
// -------------------------------------------------------------------- //

const NOD_Interface *ZELT_Shell::findScript()
{
    const NOD_Interface *const script = getNode().getInterface().get();
    if (!script) {
        fail("the node has no script");
    }
    return script;
}

// -------------------------------------------------------------------- //
// Output and words
// -------------------------------------------------------------------- //

void ZELT_Shell::fail(const std::string &reason)
{
    if (BAS_Interrupt::isRequested()) {
        return; // what was cut short fails; takeInterrupt() says so
    }
    myReasons.push_back(reason);
    if (!myJsonFlag) {
        std::cout << "! " << ZELTprintable(reason) << '\n';
    }
}

void ZELT_Shell::tell(const NOD_Report &report)
{
    for (const NOD_Message &message : report.getMessages()) {
        if (message.severity >= KIT_ERROR_ABORT) {
            fail(message.asText());
        } else {
            std::cout << ZELTprintable(message.asText()) << '\n';
        }
    }
}

void ZELT_Shell::settle(const std::string &fault, const std::string &file)
{
    if (!fault.empty()) {
        fail(file + (file.empty() ? "" : " ") + fault);
    }
}

ZEL_Parm *ZELT_Shell::findParm(const std::string &token)
{
    ZEL_Parm *const parm = getParms().getParmPtr(token.c_str());
    if (!parm) {
        fail("there is no parameter " + token);
    }
    return parm;
}

bool ZELT_Shell::findComponents(const std::string &text, ZELT_Address &address)
{
    const std::string fault = mySession->resolve(text, address);
    settle(fault);
    return fault.empty();
}

std::vector<NOD_Place> ZELT_Shell::findPlaces(const std::string &address)
{
    NOD_Report report;
    std::vector<NOD_Place> places = NODfindPlaces(getNode(), address, report);
    tell(report);
    return places;
}

bool ZELT_Shell::readTime(const ZELT_ShellWords &words, std::size_t place, double &value)
{
    value = myTime;
    if (place < words.size() && !NODreadTime(words[place], value)) {
        fail(words[place] + " is no time");
        return false;
    }
    return true;
}

bool ZELT_Shell::readNumber(const std::string &word, int &number)
{
    if (!ZELTparseInteger(word, number) || number < 0) {
        fail(word + " is no number from 0 on");
        return false;
    }
    return true;
}
