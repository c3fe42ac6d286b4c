// zel: reads, shows, evaluates, converts and compares the parameters of dialog scripts.

#include "ZELT_CommandLine.h"
#include "ZELT_Messages.h"
#include "ZELT_Terminal.h"

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_Error.h>
#include <SNK/SNK_Python.h>
#include <TOK/TOK_TokenStream.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <unistd.h>

namespace
{

int runCommand(const ZELT_CommandLine &line, ZELT_Messages &messages)
{
    messages.setJson(line.getOptions().json);
    messages.setForm(line.getOptions().messages);
    KIT_EnvControl::readEnvironment();
    messages.takeErrors("");
    SNKsetPythonEnabled(!line.getOptions().noScripts);
    TOK_TokenStream::setAllIncludesConfined(line.getOptions().noScripts);
    return line.run(messages);
}

int run(int argc, char **argv)
{
    std::optional<ZELT_Terminal> terminal;
    if (isatty(STDOUT_FILENO) == 1) {
        terminal.emplace(std::cout);
    }
    ZELT_Messages messages;
    messages.setArguments({argv + 1, argv + argc});
    ZELT_CommandLine line;
    const std::optional<int> ended = line.parse(argc, argv, messages);
    const int result = ended ? *ended : runCommand(line, messages);
    std::cout.flush();
    if (!std::cout) {
        messages.error("", "the output can't be written: " + KITsystemReason());
        return 1;
    }
    if (BASfailedAllocations() > 0) {
        messages.error("", "there was not enough memory: texts may be missing");
        return 1;
    }
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    // A reader that has gone is output that can't be written.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc &) {
        std::cerr << "zel: there is not enough memory\n";
        return 1;
    } catch (const std::exception &fault) {
        std::cerr << "zel: " << fault.what() << '\n';
        return 1;
    }
}
