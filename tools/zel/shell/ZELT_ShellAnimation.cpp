// Shell commands on expressions and keys.

#include "ZELT_Shell.h"

#include "ZELT_Format.h"

#include <NOD/NOD_Report.h>
#include <NOD/NOD_TextEdit.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_FullKey.h>
#include <ZEL/ZEL_Parm.h>

#include <iostream>
#include <vector>

namespace
{

void expression(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    const bool pythonFlag = words.size() > 3 && words[3] == "python";
    if (words.size() > 3 && !pythonFlag && words[3] != "expression") {
        shell.fail("the language is expression or python");
        return;
    }
    NOD_Report report;
    NOD_TextEdit(shell.getNode(), shell.getTime(), report)
        .setExpression(words[1], words[2], pythonFlag ? TRK_LANGUAGE_PYTHON : TRK_LANGUAGE_NATIVE);
    shell.tell(report);
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
    for (const NOD_Place &place : shell.findPlaces(words[1])) {
        for (int i = place.first; i < place.end; ++i) {
            TRK_Channel *const channel = place.find()->getChannel(i);
            if (!channel || !channel->removeKey(shell.getTime())) {
                shell.fail("no key at time " + ZELTnumber(shell.getTime()));
            }
        }
    }
}

/// A line for each key: channel, time, value, what runs to the next.
void keys(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    for (const NOD_Place &place : shell.findPlaces(words[1])) {
        const ZEL_Parm &parm = *place.find();
        for (int i = place.first; i < place.end; ++i) {
            const TRK_Channel *const channel = parm.getChannel(i);
            for (int k = 0; channel && k < channel->getNKeys(); ++k) {
                TRK_FullKey key;
                if (!channel->getFullKey(channel->getKeyTime(k), key)) {
                    continue;
                }
                std::cout << parm.getChannelToken(i).nonNullStr() << "  " << ZELTnumber(key.time)
                          << "  " << ZELTnumber(key.out.value) << "  "
                          << ZELTprintable(key.expression.nonNullStr()) << '\n';
            }
        }
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"expr", "TOKEN[:I] TEXT [expression|python]", 2, 3, ZELT_SHELL_EDITS, expression},
    {"key", "TOKEN[:I] T VALUE", 3, 3, ZELT_SHELL_EDITS, key},
    {"keys", "ADDRESS", 1, 1, ZELT_SHELL_PLAIN, keys},
    {"unkey", "ADDRESS", 1, 1, ZELT_SHELL_EDITS, unkey},
};

} // namespace

const ZELT_ShellTable ZELTshellAnimation(theCommands);
