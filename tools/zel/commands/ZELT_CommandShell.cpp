#include "ZELT_CommandLine.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"
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
    bool stop = false;
    bool keepGoing = false;
};

bool readLine(bool terminalFlag, std::string &line)
{
    return terminalFlag ? readFromTerminal(line) : bool(std::getline(std::cin, line));
}

int runShell(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.file, messages);
    if (!session) {
        return 1;
    }
    ZELT_Shell shell(std::move(session), messages);
    shell.setJson(options.json);
    // What making the parameters reported.
    const bool wholeFlag = ZELTtakeFault(call.file, "", messages);
    const bool terminalFlag = isatty(STDIN_FILENO) == 1;
    const bool stopFlag = call.stop || (!terminalFlag && !call.keepGoing);
    std::string text;
    for (int number = 1; readLine(terminalFlag, text) && shell.run(text); ++number) {
        if (stopFlag && shell.getFailureCount() > 0) {
            messages.add(KIT_ERROR_ABORT, "", 0, "standard input", number,
                         "this command failed, and what follows isn't done (see --keep-going)");
            break;
        }
    }
    return wholeFlag && shell.getFailureCount() == 0 ? 0 : 1;
}

} // namespace

void ZELTaddShell(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("shell", "A session on a terminal, or commands on standard input",
                 "echo 'eval t' | zel shell examples/transform.ds", runShell);
    command.add_option("FILE", call.file, "A dialog script, or a scene or node file")->required();
    CLI::Option *const stop = command.add_flag(
        "-e,--stop", call.stop, "End at the first command that fails, as without a terminal");
    command.add_flag("-k,--keep-going", call.keepGoing, "Go on after it, as on a terminal")
        ->excludes(stop);
}
