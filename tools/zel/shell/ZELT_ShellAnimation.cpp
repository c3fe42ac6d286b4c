// Shell commands on expressions and keys.

#include "ZELT_Shell.h"

#include "ZELT_Format.h"

#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Parm.h>

namespace
{

void expression(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    const bool pythonFlag = words.size() > 3 && words[3] == "python";
    if (words.size() > 3 && !pythonFlag && words[3] != "expression") {
        shell.fail("the language is expression or python");
        return;
    }
    shell.settle(shell.getSession().setExpression(
        words[1], words[2], pythonFlag ? TRK_LANGUAGE_PYTHON : TRK_LANGUAGE_NATIVE,
        shell.getTime()));
}

void key(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    double when = 0.0;
    if (shell.readTime(words, 2, when)) {
        shell.settle(shell.getSession().setKey(words[1], when, words[3]));
    }
}

void unkey(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    ZELT_Address address;
    if (shell.findComponents(words[1], address)) {
        for (int i = address.first; i < address.end; ++i) {
            TRK_Channel *const channel = address.parm->getChannel(i);
            if (!channel || !channel->removeKey(shell.getTime())) {
                shell.fail("no key at time " + ZELTnumber(shell.getTime()));
            }
        }
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"expr", "TOKEN[:I] TEXT [expression|python]", 2, 3, ZELT_SHELL_EDITS, expression},
    {"key", "TOKEN[:I] T VALUE", 3, 3, ZELT_SHELL_EDITS, key},
    {"unkey", "TOKEN[:I]", 1, 1, ZELT_SHELL_EDITS, unkey},
};

} // namespace

const ZELT_ShellTable ZELTshellAnimation(theCommands);
