#include "ZELT_CommandLine.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"
#include "shell/ZELT_Interrupts.h"
#include "shell/ZELT_LineReader.h"
#include "shell/ZELT_Shell.h"
#include "shell/ZELT_ShellCompletion.h"

#include <KIT/KIT_Error.h>

#include <cstdio>
#include <iostream>
#include <optional>
#include <unistd.h>

namespace
{

constexpr const char *thePrompt = "zel> ";

struct Call
{
    std::string file;
    bool stop = false;
    bool keepGoing = false;
    bool allowLoss = false;
};

int runShell(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    if (call.file == "-") {
        constexpr int theWrongCall = 2;
        messages.error("", "standard input has the commands, so FILE can't be - (see --help)");
        return theWrongCall;
    }
    std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.file, messages);
    if (!session) {
        return 1;
    }
    ZELT_Shell shell(std::move(session), messages);
    shell.setJson(options.json);
    shell.setAllowLoss(call.allowLoss);
    // What making the parameters reported.
    const bool wholeFlag = ZELTtakeFault(call.file, "", messages);
    const bool terminalFlag = isatty(STDIN_FILENO) == 1;
    const bool stopFlag = call.stop || (!terminalFlag && !call.keepGoing);
    std::optional<ZELT_Interrupts> interrupts;
    std::optional<ZELT_LineReader> terminal;
    if (terminalFlag) {
        interrupts.emplace();
        terminal.emplace(thePrompt,
                         [&](const std::string &text) { return ZELTcompleteLine(shell, text); });
    }
    const auto read = [&](std::string &line) {
        return terminal ? terminal->read(line) : bool(std::getline(std::cin, line));
    };
    std::string text;
    for (int number = 1; read(text) && shell.run(text); ++number) {
        if (stopFlag && shell.getFailureCount() > 0) {
            messages.add(KIT_ERROR_ABORT, "", 0, "standard input", number,
                         "this command failed, and what follows isn't done (see --keep-going)");
            break;
        }
    }
    // A folder, or nothing at all.
    const bool unreadFlag = !terminal && std::ferror(stdin) != 0;
    if (unreadFlag) {
        messages.error("standard input", "can't be read: " + KITsystemReason());
    }
    return wholeFlag && !unreadFlag && shell.getFailureCount() == 0 ? 0 : 1;
}

} // namespace

void ZELTaddShell(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("shell", "A session on a terminal, or commands on standard input",
                 "echo 'eval t' | zel shell examples/transform.ds", runShell);
    command.addOption("FILE", call.file, "A dialog script, or a scene or node file").required();
    const ZELT_Option stop = command.addFlag(
        "-e,--stop", call.stop, "End at the first command that fails, as without a terminal");
    command.addFlag("-k,--keep-going", call.keepGoing, "Go on after it, as on a terminal")
        .excludes(stop);
    ZELTaddAllowLoss(command, call.allowLoss,
                     "Let all lines write also what isn't all that there is");
}
