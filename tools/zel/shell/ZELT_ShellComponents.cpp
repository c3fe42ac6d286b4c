// Shell commands on what a component has beside its value: default, lock, alias, menu.

#include "ZELT_Shell.h"

#include "ZELT_Format.h"

#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <iostream>

namespace
{

void revert(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    constexpr bool propagate = true;
    for (const NOD_Place &place : shell.findPlaces(words[1])) {
        // The items of a block go with its count.
        ZEL_Parm *const parm = place.find();
        for (int i = place.first; parm && i < place.end; ++i) {
            parm->revertToDefault(shell.getTime(), i, propagate);
        }
        shell.getSession().growBlocks(shell.getTime());
    }
}

void setLocked(ZELT_Shell &shell, const std::string &text, bool locked)
{
    for (const NOD_Place &place : shell.findPlaces(text)) {
        for (int i = place.first; i < place.end; ++i) {
            place.find()->setLockedFlag(i, locked);
        }
    }
}

void lock(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    setLocked(shell, words[1], true);
}

void unlock(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    setLocked(shell, words[1], false);
}

void alias(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZELT_Address address;
    if (shell.findComponents(words[1], address) &&
        !shell.getParms().setChannelAlias(address.parm, address.first,
                                          KIT_StringHolder(words[2].c_str()))) {
        shell.fail("the alias isn't allowed or is in use");
    }
}

void printMenu(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    const ZEL_Parm *const parm = shell.findParm(words[1]);
    if (!parm) {
        return;
    }
    const ZEL_ChoiceList *const menu = parm->getChoiceListPtr();
    if (!menu) {
        shell.fail(words[1] + " has no menu");
        return;
    }
    const ZEL_Name *names = nullptr;
    constexpr bool quiet = false;
    menu->getChoiceNames(names, parm->getParmOwner(), parm->getSparePtr(), parm, quiet);
    for (; names && !names->isSentinel(); ++names) {
        std::cout << names->getToken() << ' ' << ZELTquote(names->getLabel()) << '\n';
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"default", "ADDRESS", 1, 1, ZELT_SHELL_EDITS, revert},
    {"lock", "ADDRESS", 1, 1, ZELT_SHELL_EDITS, lock},
    {"unlock", "ADDRESS", 1, 1, ZELT_SHELL_EDITS, unlock},
    {"alias", "TOKEN:I NAME", 2, 2, ZELT_SHELL_EDITS, alias},
    {"menu", "TOKEN", 1, 1, ZELT_SHELL_PLAIN, printMenu},
};

} // namespace

const ZELT_ShellTable ZELTshellComponents(theCommands);
