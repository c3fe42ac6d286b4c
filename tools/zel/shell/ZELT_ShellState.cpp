// Shell commands on the state of parameters and of the list: conditions, flags, overrides, permissions.

#include "ZELT_Shell.h"

#include <KIT/KIT_TokenString.h>
#include <NOD/NOD_Conditions.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace
{

void printYesNo(bool yes)
{
    std::cout << (yes ? "yes\n" : "no\n");
}

/// What conditions say of a parameter.
void printState(ZELT_Shell &shell, const std::string &token, bool NOD_ConditionState::*flag,
                bool yes)
{
    if (const ZEL_Parm *const parm = shell.findParm(token)) {
        const ZEL_ParmList &parms = shell.getParms();
        printYesNo(NOD_Conditions::stateOf(parms, parms.getParmIndex(parm)).*flag == yes);
    }
}

void enabled(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    printState(shell, words[1], &NOD_ConditionState::disabledFlag, false);
}

void hidden(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    printState(shell, words[1], &NOD_ConditionState::hiddenFlag, true);
}

void noCook(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    printState(shell, words[1], &NOD_ConditionState::noCookFlag, true);
}

void dirty(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    constexpr int anyComponent = -1;
    if (const ZEL_Parm *const parm = shell.findParm(words[1])) {
        printYesNo(parm->isDirty(anyComponent));
    }
}

void timeDependent(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZEL_ParmList &parms = shell.getParms();
    if (words.size() < 2) {
        constexpr bool evaluate = true;
        parms.clearTimeDependent();
        printYesNo(parms.checkTimeDependence(evaluate));
    } else if (const ZEL_Parm *const parm = shell.findParm(words[1])) {
        bool anyFlag = false;
        for (int i = 0; i < parm->getVectorSize(); ++i) {
            anyFlag = parm->isTimeDependent(i) || anyFlag;
        }
        printYesNo(anyFlag);
    }
}

void overrideValue(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZELT_Address address;
    int dataIndex = 0;
    if (shell.findComponents(words[1], address) && shell.readNumber(words[2], dataIndex)) {
        if (!address.parm->setOverride(address.first, dataIndex, words[3].c_str(),
                                       ZEL_OVERRIDE_OVERRIDDEN)) {
            shell.fail(words[1] + " takes no override");
        }
    }
}

void magic(ZELT_Shell &shell, const ZELT_ShellWords &)
{
    constexpr unsigned allExports = 0xff;
    KIT_TokenString tokens;
    shell.getParms().getMagicString(tokens, shell.getTime(), allExports);
    char text[32];
    std::snprintf(text, sizeof(text), "%08x", unsigned(tokens.hash()));
    std::cout << text << ' ' << tokens.size() << " bytes\n";
}

void permissions(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    char *end = nullptr;
    const unsigned long mask = std::strtoul(words[1].c_str(), &end, 8);
    if (words[1].empty() || *end || mask > 0777) {
        shell.fail(words[1] + " is no octal mask up to 777");
    } else {
        shell.getParms().setPermissions(std::uint32_t(mask));
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"enabled", "TOKEN", 1, 1, ZELT_SHELL_PLAIN, enabled},
    {"hidden", "TOKEN", 1, 1, ZELT_SHELL_PLAIN, hidden},
    {"nocook", "TOKEN", 1, 1, ZELT_SHELL_PLAIN, noCook},
    {"dirty", "TOKEN", 1, 1, ZELT_SHELL_PLAIN, dirty},
    {"timedep", "[TOKEN]", 0, 1, ZELT_SHELL_PLAIN, timeDependent},
    {"override", "TOKEN:I DATAINDEX NAME", 3, 3, ZELT_SHELL_PLAIN, overrideValue},
    {"magic", "", 0, 0, ZELT_SHELL_PLAIN, magic},
    {"permissions", "N", 1, 1, ZELT_SHELL_PLAIN, permissions},
};

} // namespace

const ZELT_ShellTable ZELTshellState(theCommands);
