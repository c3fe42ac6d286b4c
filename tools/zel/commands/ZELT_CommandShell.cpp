#include "ZELT_CommandLine.h"
#include "ZELT_Script.h"
#include "shell/ZELT_Shell.h"

#ifdef ZELT_WITH_EDIT
#include <editline/readline.h>
#endif

#include <cstdlib>
#include <iostream>
#include <unistd.h>

namespace
{

constexpr const char *thePrompt = "zel> ";

/// One line from a terminal, which may be edited and recalled with the arrow keys; false at the end.
bool readFromTerminal(std::string &line)
{
#ifdef ZELT_WITH_EDIT
    std::cout.flush();
    char *const text = readline(thePrompt);
    if (!text) {
        return false;
    }
    line = text;
    if (!line.empty()) {
        add_history(text);
    }
    std::free(text);
    return true;
#else
    std::cout << thePrompt << std::flush;
    return bool(std::getline(std::cin, line));
#endif
}

struct Call
{
    std::string file;
};

int runShell(const Call &call, const ZELT_Options &, ZELT_Messages &messages)
{
    ZELT_ScriptPtr script = ZELTloadScript(call.file, messages);
    if (!script) {
        return 1;
    }
    ZELT_Shell shell(std::move(script), messages);
    // What making the parameters reported.
    const bool wholeFlag = ZELTtakeFault(call.file, "", messages);
    const bool terminalFlag = isatty(STDIN_FILENO) == 1;
    std::string line;
    while (terminalFlag ? readFromTerminal(line) : bool(std::getline(std::cin, line))) {
        if (!shell.run(line)) {
            break;
        }
    }
    return wholeFlag ? 0 : 1;
}

} // namespace

void ZELTaddShell(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("shell", "A session on a terminal, or commands on standard input",
                 "echo 'eval t' | zel shell examples/transform.ds", runShell);
    command.add_option("FILE", call.file, "A dialog script")->required();
}
