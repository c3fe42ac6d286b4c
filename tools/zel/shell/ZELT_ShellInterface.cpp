// Shell commands that show what there is, and the current time.

#include "ZELT_Shell.h"

#include "ZELT_Cell.h"
#include "ZELT_Format.h"
#include "ZELT_Script.h"
#include "ZELT_Show.h"

#include <BAS/BAS_Interrupt.h>
#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_TextEdit.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <iostream>

namespace
{

constexpr const char *theQuit = "quit"; // the shell's own

void printUsage(const ZELT_ShellCommand &command)
{
    std::cout << command.name << (*command.usage ? " " : "") << command.usage << '\n';
}

void help(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (words.size() > 1) {
        const ZELT_ShellCommand *const command = ZELTfindShellCommand(words[1]);
        if (command) {
            printUsage(*command);
        } else if (words[1] != theQuit) {
            shell.failUnknown(words[1]);
        } else {
            std::cout << theQuit << '\n';
        }
        return;
    }
    for (const ZELT_ShellTable *const table : theZELTShellTables) {
        for (const ZELT_ShellCommand &command : *table) {
            printUsage(command);
        }
    }
    std::cout << theQuit << '\n';
}

/// What a value alone doesn't show: `  (animated locked changed)`.
std::string marksOf(const ZEL_Parm &parm)
{
    bool animatedFlag = false;
    bool lockedFlag = false;
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        animatedFlag |= parm.getChannel(k) != nullptr;
        lockedFlag |= parm.getLockedFlag(k);
    }
    const std::string marks = std::string(animatedFlag ? " animated" : "") +
                              (lockedFlag ? " locked" : "") +
                              (parm.isTrueFactoryDefault() ? "" : " changed");
    return marks.empty() ? "" : "  (" + marks.substr(1) + ")";
}

void printParm(ZELT_Shell &shell, const std::string &path, const ZEL_Parm &parm)
{
    if (BAS_Interrupt::isRequested()) {
        return;
    }
    const int thread = BASgetSTID();
    std::cout << path << parm.getToken();
    const int size = parm.getTemplatePtr()->isSwitcher() ? 0 : parm.getVectorSize();
    const std::vector<std::string> names = NODordinalWords(parm);
    for (int k = 0; k < size; ++k) {
        ZELT_EvaluationErrors errors(thread);
        const ZELT_Cell cell = ZELTevaluate(parm, k, shell.getTime(), thread);
        std::cout << ' ' << ZELTwordText(names, cell, errors.find() != EVL::EVL_OK);
    }
    std::cout << marksOf(parm) << '\n';
}

/// Of other nodes, with their paths.
void printPlaces(ZELT_Shell &shell, const std::vector<NOD_Place> &places)
{
    for (const NOD_Place &place : places) {
        KIT_WorkBuffer path;
        if (const ZEL_Parm *const parm = place.find()) {
            printParm(shell, std::string(place.node->getFullPath(path)) + "/", *parm);
        }
    }
}

void list(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (words.size() > 1 && words[1].find('/') != std::string::npos) {
        printPlaces(shell, shell.findPlaces(words[1]));
        return;
    }
    if (words.size() < 2 && !shell.getNode().getParent()) {
        for (NOD_Node *const node : shell.getSession().getNodes()) {
            printPlaces(shell, NODallPlaces(*node));
        }
        return;
    }
    const ZEL_ParmList &parms = shell.getParms();
    bool anyFlag = false;
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        // A base parameter has no value.
        const bool listedFlag =
            parm.getTemplatePtr() &&
            (words.size() < 2 || KIT_String::matchPattern(parm.getToken(), words[1].c_str()));
        if (listedFlag) {
            printParm(shell, "", parm);
        }
        anyFlag = anyFlag || listedFlag;
    }
    if (words.size() > 1 && !anyFlag) {
        shell.fail("there is no parameter " + words[1]);
    }
}

void tree(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    if (const NOD_Interface *const script = shell.findScript()) {
        std::cout << ZELTdescribeTree(script->getTemplates());
    }
}

/// The script describes what has no value, too. Null, with a message, for an unknown name.
const ZEL_Template *findDescription(ZELT_Shell &shell, const std::string &token)
{
    const ZEL_Parm *const parm = shell.findParm(token);
    if (!parm || parm->getTemplatePtr()) {
        return parm ? parm->getTemplatePtr() : nullptr;
    }
    const NOD_Interface *const script = shell.findScript();
    if (!script) {
        return nullptr;
    }
    const ZEL_Template *at = script->getTemplates();
    while (!at->isTerminator() && at->getTokenRef() != KIT_StringRef(token.c_str())) {
        ++at;
    }
    if (at->isTerminator()) {
        shell.fail(token + " has no description");
        return nullptr;
    }
    return at;
}

void show(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (const ZEL_Template *const description = findDescription(shell, words[1])) {
        std::cout << ZELTdescribeLine(*description) << '\n';
    }
}

void type(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (const ZEL_Template *const description = findDescription(shell, words[1])) {
        std::cout << ZELTtypeDump(*description) << '\n';
    }
}

void setTime(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    double value = 0.0;
    if (words.size() == 1) {
        const double frame = shell.getSession().getScene().timeToFrame(shell.getTime());
        std::cout << ZELTnumber(shell.getTime()) << "  frame " << ZELTnumber(frame) << '\n';
    } else if (shell.readTime(words, 1, value)) {
        shell.setTime(value);
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"help", "[COMMAND]", 0, 1, ZELT_SHELL_PLAIN, help},
    {"list", "[PATTERN]", 0, 1, ZELT_SHELL_PLAIN, list},
    {"tree", "", 0, 0, ZELT_SHELL_PLAIN, tree},
    {"show", "TOKEN", 1, 1, ZELT_SHELL_PLAIN, show},
    {"type", "TOKEN", 1, 1, ZELT_SHELL_PLAIN, type},
    {"time", "[T]", 0, 1, ZELT_SHELL_PLAIN, setTime},
};

} // namespace

const ZELT_ShellTable ZELTshellInterface(theCommands);
