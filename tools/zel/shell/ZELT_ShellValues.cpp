// Shell commands that set and print values.

#include "ZELT_Shell.h"

#include "ZELT_Cell.h"
#include "ZELT_Format.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TextEdit.h>
#include <ZEL/ZEL_Parm.h>

#include <iostream>

namespace
{

void set(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    NOD_Report report;
    NOD_TextEdit(shell.getNode(), shell.getTime(), report).set(words[1], words[2]);
    shell.tell(report);
}

void raw(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    constexpr bool asWritten = false;
    ZELT_Address address;
    if (shell.findComponents(words[1], address)) {
        for (int i = address.first; i < address.end; ++i) {
            KIT_String value;
            address.parm->getValue(shell.getTime(), value, i, asWritten, BASgetSTID());
            std::cout << ZELTquote(value.view()) << '\n';
        }
    }
}

/// Prints the value of each component that `words` name, or why there is none.
template <class Read>
void printValues(ZELT_Shell &shell, const ZELT_ShellWords &words, const Read &read)
{
    const int thread = BASgetSTID();
    ZELT_Address address;
    double when = 0.0;
    if (!shell.findComponents(words[1], address) || !shell.readTime(words, 2, when)) {
        return;
    }
    for (int i = address.first; i < address.end; ++i) {
        ZELT_EvaluationErrors errors(thread);
        const std::string value = read(*address.parm, i, when, thread);
        if (const int error = errors.find()) {
            shell.fail(ZELTevaluationError(error));
        } else {
            std::cout << value << '\n';
        }
    }
}

void eval(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    printValues(shell, words, [](const ZEL_Parm &parm, int index, double when, int thread) {
        constexpr bool failed = false; // what failed isn't printed
        return ZELTwordText(NODordinalWords(parm), ZELTevaluate(parm, index, when, thread), failed);
    });
}

void string(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    printValues(shell, words, [](const ZEL_Parm &parm, int index, double when, int thread) {
        constexpr bool expanded = true;
        KIT_String value;
        parm.getValue(when, value, index, expanded, thread);
        return ZELTquote(value.view());
    });
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"set", "TOKEN[:I] VALUE", 2, 2, ZELT_SHELL_EDITS, set},
    {"raw", "TOKEN[:I]", 1, 1, ZELT_SHELL_PLAIN, raw},
    {"eval", "TOKEN[:I] [T]", 1, 2, ZELT_SHELL_PLAIN, eval},
    {"string", "TOKEN[:I] [T]", 1, 2, ZELT_SHELL_PLAIN, string},
};

} // namespace

const ZELT_ShellTable ZELTshellValues(theCommands);
