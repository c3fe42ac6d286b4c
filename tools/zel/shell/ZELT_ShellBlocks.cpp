// Shell commands on the items of blocks.

#include "ZELT_Shell.h"

#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <iostream>

namespace
{

void insert(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    int item = 0;
    const ZEL_Parm *const parm = shell.findParm(words[1]);
    if (parm && shell.readNumber(words[2], item)) {
        if (!parm->isMultiParm() || item > parm->getMultiParmNumItems()) {
            shell.fail(words[1] + " has no place " + words[2]);
            return;
        }
        const int before = parm->getMultiParmNumItems();
        shell.getParms().insertMultiParmItem(shell.getParms().getParmIndex(parm), item);
        shell.getSession().growBlocks(shell.getTime());
        if (parm->getMultiParmNumItems() == before) {
            shell.fail("nothing is inserted in " + words[1]);
        }
    }
}

void removeItem(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    int item = 0;
    const ZEL_Parm *const parm = shell.findParm(words[1]);
    if (parm && shell.readNumber(words[2], item)) {
        if (item >= parm->getMultiParmNumItems()) {
            shell.fail(words[1] + " has no item " + words[2]);
            return;
        }
        shell.getParms().removeMultiParmItem(shell.getParms().getParmIndex(parm), item);
        shell.getSession().growBlocks(shell.getTime());
    }
}

void swapItems(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    int first = 0;
    int second = 0;
    ZEL_Parm *const parm = shell.findParm(words[1]);
    if (parm && shell.readNumber(words[2], first) && shell.readNumber(words[3], second)) {
        const int items = parm->getMultiParmNumItems();
        if (first >= items || second >= items) {
            shell.fail(words[1] + " has no item " + (first >= items ? words[2] : words[3]));
            return;
        }
        parm->swapMultiParmItem(first, second);
    }
}

void count(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (const ZEL_Parm *const parm = shell.findParm(words[1])) {
        if (parm->isMultiParm()) {
            std::cout << parm->getMultiParmNumItems() << '\n';
        } else {
            shell.fail(words[1] + " has no items");
        }
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"insert", "TOKEN ITEM", 2, 2, ZELT_SHELL_EDITS, insert},
    {"remove", "TOKEN ITEM", 2, 2, ZELT_SHELL_EDITS, removeItem},
    {"swap", "TOKEN A B", 3, 3, ZELT_SHELL_EDITS, swapItems},
    {"count", "TOKEN", 1, 1, ZELT_SHELL_PLAIN, count},
};

} // namespace

const ZELT_ShellTable ZELTshellBlocks(theCommands);
