// Shell commands on what is reported: events and messages.

#include "ZELT_Shell.h"

#include "ZELT_Format.h"

#include <KIT/KIT_Error.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_MessageCatalogue.h>

#include <iostream>

namespace
{

void printEvent(NOD_Node &, TRK_CHANGE_TYPE type, int parmIndex)
{
    std::cout << "event " << int(type) << ' ' << parmIndex << '\n';
}

void events(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    if (words[1] == "on") {
        shell.getNode().setChangeCallback(printEvent);
    } else if (words[1] == "off") {
        shell.getNode().setChangeCallback(nullptr);
    } else {
        shell.fail("events are on or off");
    }
}

void printMessages(ZELT_Shell &, const ZELT_ShellWords &)
{
    KIT_ErrorManager &manager = KITgetErrorManager();
    for (std::int64_t i = 0; i < manager.entries(); ++i) {
        const KIT_ErrorManager::Error &entry = manager.getError(i);
        std::cout << (entry.severity >= KIT_ERROR_ABORT ? "error " : "warning ") << entry.category
                  << ' ' << entry.code << ' '
                  << ZELTprintable(
                         KITformatMessage(entry.category.c_str(), entry.code, entry.text.c_str()))
                  << '\n';
    }
    manager.clearAndDestroyErrors();
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"events", "on|off", 1, 1, ZELT_SHELL_PLAIN, events},
    {"messages", "", 0, 0, ZELT_SHELL_SEES_MESSAGES, printMessages},
};

} // namespace

const ZELT_ShellTable ZELTshellMessages(theCommands);
