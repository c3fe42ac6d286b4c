// The shell command on the dependency graph.

#include "ZELT_Shell.h"

#include <iostream>

namespace
{

void showGraph(ZELT_Shell &shell, const ZELT_ShellWords &words)
{
    const bool cleanFlag = words.size() > 1;
    if (cleanFlag && words[1] != "clean") {
        shell.fail("usage: graph [clean]");
        return;
    }
    NOD_Graph &graph = shell.getGraph();
    graph.rebuild(shell.getTime());
    if (cleanFlag) {
        std::cout << graph.update(shell.getTime()) << '\n';
    } else {
        graph.writeDOT(std::cout);
    }
}

constexpr ZELT_ShellCommand theCommands[] = {
    {"graph", "[clean]", 0, 1, ZELT_SHELL_PLAIN, showGraph},
};

} // namespace

const ZELT_ShellTable ZELTshellGraph(theCommands);
